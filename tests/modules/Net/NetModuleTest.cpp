#include <gtest/gtest.h>

#include "libs/plist/Reader.h"
#include "libs/plist/XmlWriter.h"
#include "modules/Net/Net.h"
#include "modules/Registry.h"
#include "support/FakeMachine.h"
#include "support/ModuleRun.h"
#include "support/TempDir.h"

namespace {

class NetModule : public ::testing::Test {
protected:
    NetModule() {
        live->profile =
            plist::to_xml(plist::Array{plist::Dictionary{{"_dataType", "SPNetworkDataType"}}});
        programs->outputs["/usr/sbin/lsof"] = "p120\ncmDNSResponder\nf5\ntIPv4\nn*:5353\n";
    }

    // Runs the module and checks that its report has exactly the six keys.
    test::ModuleRun run(const sys::Machine& machine) {
        auto module = modules::Registry::builtin().create("Net", machine);
        test::ModuleRun net = test::run_module(*module, "Net");
        EXPECT_TRUE(net.report.empty());
        EXPECT_TRUE(net.plist && net.plist->as_dict()) << net.plist_bytes;
        std::vector<std::string> keys;
        if (net.plist && net.plist->as_dict()) {
            for (const auto& [key, value] : *net.plist->as_dict()) keys.push_back(key);
        }
        EXPECT_EQ(keys, (std::vector<std::string>{"Network", "hosts", "lsof", "pf.anchors",
                                                  "pf.conf", "resolv.conf"}));
        return net;
    }

    test::TempDir root;
    test::TempDir temporary;
    std::shared_ptr<test::FakeLiveSystem> live = std::make_shared<test::FakeLiveSystem>();
    std::shared_ptr<test::FakeProgramRunner> programs = std::make_shared<test::FakeProgramRunner>();
    sys::Machine machine = test::fake_machine(root.path(), live, programs, temporary.path());
};

TEST_F(NetModule, CollectsEverySource) {
    root.write("private/etc/hosts", "127.0.0.1 localhost\n");
    root.write("private/var/run/resolv.conf", "nameserver 10.0.0.1\n");
    root.write("private/etc/pf.conf", "anchor \"com.apple/*\"\n");
    root.write("private/etc/pf.anchors/com.apple", "anchor \"200.AirDrop/*\"\n");
    root.write("private/etc/pf.anchors/custom", "block all\n");

    const test::ModuleRun net = run(machine);
    const plist::Dictionary mdns{
        {"command", "mDNSResponder"},
        {"net", plist::Array{plist::Dictionary{{"type", "IPv4"}, {"name", "*:5353"}}}}};
    EXPECT_EQ(*net.plist,
              plist::Value(plist::Dictionary{
                  {"lsof", plist::Dictionary{{"120", mdns}}},
                  {"hosts", "127.0.0.1 localhost\n"},
                  {"resolv.conf", "nameserver 10.0.0.1\n"},
                  {"pf.conf", "anchor \"com.apple/*\"\n"},
                  {"pf.anchors", plist::Dictionary{{"com.apple", "anchor \"200.AirDrop/*\"\n"},
                                                   {"custom", "block all\n"}}},
                  {"Network", *plist::parse_xml(live->profile)}}));

    ASSERT_EQ(programs->calls.size(), 1u);
    EXPECT_EQ(programs->calls[0].arguments, (std::vector<std::string>{"-F", "cnt", "+c0"}));
    EXPECT_EQ(live->profile_requests,
              (std::vector<std::vector<std::string>>{
                  {"SPNetworkDataType", "SPFirewallDataType", "SPNetworkLocationDataType",
                   "SPNetworkVolumeDataType", "SPWWANDataType", "SPAirPortDataType", "-xml"}}));
    // What the profiler printed stays behind in the temporary directory.
    EXPECT_EQ(test::read_text(temporary / "net.tmp"), live->profile);
}

TEST_F(NetModule, EverySourceFailsSoftIntoAnEmptyValue) {
    programs->outputs["/usr/sbin/lsof"] = "p1\ncbad\xff\ntIPv4\nn*:1\n";
    live->profile = "not a property list <";
    const test::ModuleRun net = run(machine);
    EXPECT_EQ(*net.plist, plist::Value(plist::Dictionary{{"lsof", plist::Dictionary{}},
                                                         {"hosts", ""},
                                                         {"resolv.conf", ""},
                                                         {"pf.conf", ""},
                                                         {"pf.anchors", plist::Dictionary{}},
                                                         {"Network", plist::Array{}}}));
    for (const std::string& line :
         {std::string("lsof initWithData failed!"), std::string("hosts file does not exist!"),
          std::string("/private/etc/pf.anchors does not exist!"),
          "Error at arrayWithContentsOfFile for " + (temporary / "net.tmp").string() + "!"}) {
        EXPECT_NE(net.log.find(line), std::string::npos) << line;
    }
}

TEST_F(NetModule, WithoutLiveSourcesOnlyTheFilesAreRead) {
    root.write("private/etc/hosts", "::1 localhost\n");
    const test::ModuleRun net =
        run(test::fake_machine(root.path(), nullptr, programs, temporary.path()));
    EXPECT_EQ(*net.plist->find("lsof"), plist::Value(plist::Dictionary{}));
    EXPECT_EQ(*net.plist->find("Network"), plist::Value(plist::Array{}));
    EXPECT_EQ(*net.plist->find("hosts"), plist::Value("::1 localhost\n"));
    EXPECT_TRUE(programs->calls.empty());
    EXPECT_NE(net.log.find("is not the running system"), std::string::npos);
}

}  // namespace
