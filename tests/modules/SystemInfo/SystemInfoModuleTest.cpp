#include <gtest/gtest.h>

#include "libs/plist/XmlWriter.h"
#include "support/FakeMachine.h"
#include "support/ModuleRun.h"
#include "support/TempDir.h"

namespace {

class SystemInfoModule : public ::testing::Test {
protected:
    test::TempDir root;
    std::shared_ptr<test::FakeLiveSystem> live = std::make_shared<test::FakeLiveSystem>();
    sys::Machine machine = test::fake_machine(root.path(), live);
};

TEST_F(SystemInfoModule, AParsableProfileIsWrittenAgainAsXml) {
    const plist::Value profile = plist::Array{plist::Dictionary{
        {"_items", plist::Array{plist::Dictionary{{"machine_model", "MacBookPro18,3"}}}},
        {"_timeStamp", plist::Date{734620000}}}};
    live->profile = plist::to_xml(profile);
    const test::ModuleRun info = test::run_module("SystemInfo", machine);
    EXPECT_EQ(info.plist, profile);
}

TEST_F(SystemInfoModule, UnparsableOutputIsKeptByteForByte) {
    live->profile = std::string("<?xml version=\"1.0\"?>\n<plist><array><dict>\0\x01", 44);
    const test::ModuleRun info = test::run_module("SystemInfo", machine);
    EXPECT_EQ(info.plist_bytes, live->profile);
    // The heading, then the parser's reason on a line of its own (not an empty message).
    const std::size_t reason = info.log.find("ERROR - Making dict from NSData\n");
    ASSERT_NE(reason, std::string::npos) << info.log;
    EXPECT_EQ(info.log.find("] \n", reason), std::string::npos) << info.log;
}

TEST_F(SystemInfoModule, WithoutLiveSourcesTheProfileIsAnEmptyArray) {
    const test::ModuleRun info = test::run_module("SystemInfo", test::fake_machine(root.path()));
    EXPECT_EQ(info.plist, plist::Value(plist::Array{}));
    EXPECT_TRUE(info.logged("is not the running system"));
}

}  // namespace
