#include <gtest/gtest.h>

#include "libs/plist/XmlWriter.h"
#include "support/FakeMachine.h"
#include "support/ModuleRun.h"
#include "support/TempDir.h"

namespace {

using plist::Array, plist::Dictionary, plist::Value;

Value connection(const char* type, const char* name) {
    return Dictionary{{"type", type}, {"name", name}};
}

// Net.plist as the module writes it; every source that fails leaves an empty value.
Value net_plist(const char* hosts, const char* resolv = "", Dictionary anchors = {},
                Array network = {}, Dictionary lsof = {}, const char* pf = "") {
    return Dictionary{{"lsof", std::move(lsof)},
                      {"hosts", hosts},
                      {"resolv.conf", resolv},
                      {"pf.conf", pf},
                      {"pf.anchors", std::move(anchors)},
                      {"Network", std::move(network)}};
}

class NetModule : public ::testing::Test {
protected:
    NetModule() {
        live->profile = plist::to_xml(network);
        // Later records of a process go under its first command and the type carries over;
        // sockets and pipes are kept (Linux: FIFO "pipe", PIPE on a Mac), files and named FIFOs
        // are not.
        programs->outputs["/usr/sbin/lsof"] =
            "p7\ncfirst\ntIPv4\nn1.2.3.4:1\np8\ncother\ntREG\nn/x\np7\ncrenamed\ntunix\nn/run/s\n"
            "\nf9\nnstill unix\ntFIFO\nnpipe\ntFIFO\nn/tmp/fifo\nta_inode\nn[eventfd:1]";
    }

    const Array network{Dictionary{{"_dataType", "SPNetworkDataType"}}};
    test::TempDir root;
    std::shared_ptr<test::FakeLiveSystem> live = std::make_shared<test::FakeLiveSystem>();
    std::shared_ptr<test::FakeProgramRunner> programs = std::make_shared<test::FakeProgramRunner>();
    sys::Machine machine = test::fake_machine(root.path(), live, programs);
};

TEST_F(NetModule, CollectsEverySourceAndWithoutLiveSourcesOnlyTheFiles) {
    root.write("private/etc/hosts", "127.0.0.1 localhost\n");
    root.write("private/var/run/resolv.conf", "nameserver 10.0.0.1\n");
    root.write("private/etc/pf.conf", "anchor \"com.apple/*\"\n");
    root.write("private/etc/pf.anchors/com.apple", "anchor \"200.AirDrop/*\"\n");
    root.write("private/etc/pf.anchors/custom", "block all\n");
    const Dictionary anchors{{"com.apple", "anchor \"200.AirDrop/*\"\n"},
                             {"custom", "block all\n"}};

    const test::ModuleRun files_only =
        test::run_module("Net", test::fake_machine(root.path(), nullptr, programs));
    EXPECT_EQ(files_only.plist, net_plist("127.0.0.1 localhost\n", "nameserver 10.0.0.1\n", anchors,
                                          {}, {}, "anchor \"com.apple/*\"\n"));
    EXPECT_TRUE(programs->calls.empty());

    const test::ModuleRun net = test::run_module("Net", machine);
    EXPECT_TRUE(net.report.empty());
    EXPECT_EQ(net.plist,
              net_plist("127.0.0.1 localhost\n", "nameserver 10.0.0.1\n", anchors, network,
                        {{"7", Dictionary{{"command", "first"},
                                          {"net", Array{connection("IPv4", "1.2.3.4:1"),
                                                        connection("unix", "/run/s"),
                                                        connection("unix", "still unix"),
                                                        connection("PIPE", "pipe")}}}}},
                        "anchor \"com.apple/*\"\n"));
    ASSERT_EQ(programs->calls.size(), 1u);
    EXPECT_EQ(programs->calls[0].arguments, live->lsof.arguments);
    // What the profiler printed stays behind in the temporary directory.
    EXPECT_EQ(test::read_text(net.temporary_directory() / "net.tmp"), live->profile);
}

// A Linux machine: no lsof, and the configuration in /etc rather than /private/etc. A profile
// that does not parse leaves an empty value, as every source that fails does.
TEST_F(NetModule, WithoutLsofAndPrivateFoldersTheRestIsStillCollected) {
    programs->missing.push_back("/usr/sbin/lsof");
    live->profile = "not a property list <";
    root.write("etc/hosts", "127.0.0.1 localhost\n");
    root.write("etc/resolv.conf", "nameserver 10.0.0.1\n");
    root.write("etc/pf.anchors/custom", "block all\n");
    const test::ModuleRun net = test::run_module("Net", machine);
    EXPECT_EQ(net.plist, net_plist("127.0.0.1 localhost\n", "nameserver 10.0.0.1\n",
                                   {{"custom", "block all\n"}}));
    EXPECT_TRUE(net.logged("Could not start /usr/sbin/lsof: launch path not accessible"));
}

}  // namespace
