#include <gtest/gtest.h>

#include "libs/plist/XmlWriter.h"
#include "support/FakeMachine.h"
#include "support/ModuleRun.h"
#include "support/TempDir.h"

namespace {

const std::string kProduct = "/Library/Tervalon/SHLD";
const std::string kEngines = kProduct + "/antivirus.bundle/engines";
const std::string kLogs = "/Library/Application Support/Shieldwell/Logs";

TEST(TVModule, AMachineWithoutTheProductGivesEmptyValuesAndTheReasons) {
    test::TempDir root;
    // A real folder where the link belongs is no way to the update record.
    root.write(kEngines + "/Plugins/update.txt", "engine 1.0");
    test::ModuleRun tv = test::run_module("TV", test::fake_machine(root.path()));
    EXPECT_EQ(tv.plist, plist::Value(plist::Dictionary{{"update.txt", ""},
                                                       {"logs", plist::Dictionary{}},
                                                       {"Info.plist", plist::Dictionary{}}}));
    EXPECT_TRUE(tv.logged(kEngines + " is not a symlink!"));
    EXPECT_TRUE(tv.logged(kLogs + " does not exist!"));
    EXPECT_TRUE(tv.logged("Error at dictionaryWithContentsOfFile for " + kProduct +
                          "/Shieldwell.app/Contents/Info.plist!"));
}

TEST(TVModule, ReadsTheProductsFiles) {
    test::TempDir root;
    root.write(kProduct + "/engines-2.4/Plugins/update.txt", "Last update: today\n");
    root.symlink(kEngines, kProduct + "/engines-2.4");
    const plist::Dictionary a{{"event", "scan"}, {"count", 3}}, info{{"CFBundleVersion", "7.1"}};
    const plist::Array b{"one", "two"};
    root.write(kLogs + "/a.plist", plist::to_xml(a));
    root.write(kLogs + "/b.plist", plist::to_xml(b));
    root.write(kLogs + "/c.plist", "{ \"unterminated\" = ");
    root.write(kLogs + "/d.log", "plain text");
    root.write(kProduct + "/Shieldwell.app/Contents/Info.plist", plist::to_xml(info));
    test::ModuleRun tv = test::run_module("TV", test::fake_machine(root.path()));
    EXPECT_EQ(
        tv.plist,
        plist::Value(plist::Dictionary{
            {"update.txt", "Last update: today\n"},
            {"logs",
             plist::Dictionary{{"a.plist", a}, {"b.plist", b}, {"c.plist", plist::Dictionary{}}}},
            {"Info.plist", info}}));
    EXPECT_TRUE(tv.logged("But arrayWithContentsOfFile for " + kLogs + "/b.plist worked!"));
    EXPECT_TRUE(tv.logged("Error at arrayWithContentsOfFile for " + kLogs + "/c.plist!"));
}

}  // namespace
