#include <gtest/gtest.h>

#include "libs/plist/Reader.h"
#include "libs/plist/XmlWriter.h"
#include "modules/Net/LsofFields.h"
#include "support/FakeMachine.h"
#include "support/ModuleRun.h"
#include "support/TempDir.h"

namespace {

using plist::Array;
using plist::Dictionary;
using plist::Value;

Value connection(const char* type, const char* name) {
    return Dictionary{{"type", type}, {"name", name}};
}

Value process(const char* command, Array net) {
    return Dictionary{{"command", command}, {"net", std::move(net)}};
}

TEST(NetLsofFields, SocketsAndPipesUnderTheirProcess) {
    const std::pair<const char*, Dictionary> cases[] = {
        // A name before any type line is judged by the empty type; a named FIFO is no pipe.
        {"p1\ncfinder\nn*:80\nf3\ntREG\nn/etc/hosts\ntFIFO\nn/tmp/fifo\n", {}},
        // Later records of a process go under its first command; the type carries over.
        {"p7\ncfirst\ntIPv4\nn1.2.3.4:1\np8\ncother\ntREG\nn/x\n"
         "p7\ncrenamed\ntIPv6\nn[::1]:2\n\nf9\nnstill IPv6\n",
         {{"7", process("first", {connection("IPv4", "1.2.3.4:1"), connection("IPv6", "[::1]:2"),
                                  connection("IPv6", "still IPv6")})}}},
        // Linux: no descriptor lines, pipes as FIFO "pipe" (PIPE on a Mac), no final newline.
        {"p4242\ncpython3\ntDIR\nn/srv\ntREG\nn/usr/bin/python3.11\ntIPv4\nnlocalhost:37869\n"
         "tunix\nn/run/app.sock type=STREAM\ntFIFO\nnpipe\nta_inode\nn[eventfd:1]",
         {{"4242", process("python3", {connection("IPv4", "localhost:37869"),
                                       connection("unix", "/run/app.sock type=STREAM"),
                                       connection("PIPE", "pipe")})}}},
    };
    for (const auto& [stream, expected] : cases) {
        EXPECT_EQ(modules::parse_lsof_fields(stream), expected) << stream;
    }
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
        live->profile = plist::to_xml(Array{Dictionary{{"_dataType", "SPNetworkDataType"}}});
        programs->outputs["/usr/sbin/lsof"] = "p120\ncmDNSResponder\nf5\ntIPv4\nn*:5353\n";
    }

    // Runs the module, whose report is always empty.
    test::ModuleRun run(const sys::Machine& machine) {
        test::ModuleRun net = test::run_module("Net", machine);
        EXPECT_TRUE(net.report.empty());
        EXPECT_TRUE(net.plist) << net.plist_bytes;
        return net;
    }
    Array profile() const { return *plist::parse_xml(live->profile)->as_array(); }

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

    const test::ModuleRun files_only = run(test::fake_machine(root.path(), nullptr, programs));
    EXPECT_EQ(*files_only.plist, net_plist("127.0.0.1 localhost\n", "nameserver 10.0.0.1\n",
                                           anchors, {}, {}, "anchor \"com.apple/*\"\n"));
    EXPECT_TRUE(programs->calls.empty());
    EXPECT_TRUE(files_only.logged("is not the running system"));

    const test::ModuleRun net = run(machine);
    EXPECT_EQ(*net.plist,
              net_plist("127.0.0.1 localhost\n", "nameserver 10.0.0.1\n", anchors, profile(),
                        {{"120", process("mDNSResponder", {connection("IPv4", "*:5353")})}},
                        "anchor \"com.apple/*\"\n"));
    ASSERT_EQ(programs->calls.size(), 1u);
    EXPECT_EQ(programs->calls[0].arguments, live->lsof.arguments);
    // What the profiler printed stays behind in the temporary directory.
    EXPECT_EQ(test::read_text(net.temporary_directory() / "net.tmp"), live->profile);
}

TEST_F(NetModule, WithoutLsofAndPrivateFoldersTheRestIsStillCollected) {
    // A Linux machine: no lsof, and the configuration in /etc rather than /private/etc.
    programs->missing.push_back("/usr/sbin/lsof");
    root.write("etc/hosts", "127.0.0.1 localhost\n");
    root.write("etc/resolv.conf", "nameserver 10.0.0.1\n");
    root.write("etc/pf.anchors/custom", "block all\n");
    const test::ModuleRun net = run(machine);
    EXPECT_EQ(*net.plist, net_plist("127.0.0.1 localhost\n", "nameserver 10.0.0.1\n",
                                    {{"custom", "block all\n"}}, profile()));
    EXPECT_TRUE(net.logged("Could not start /usr/sbin/lsof: launch path not accessible"));
}

TEST_F(NetModule, EverySourceFailsSoftIntoAnEmptyValue) {
    programs->outputs["/usr/sbin/lsof"] = "p1\ncbad\xff\ntIPv4\nn*:1\n";
    live->profile = "not a property list <";
    const test::ModuleRun net = run(machine);
    EXPECT_EQ(*net.plist, net_plist(""));
    EXPECT_TRUE(net.logged("lsof initWithData failed!"));
    EXPECT_TRUE(net.logged("Error at arrayWithContentsOfFile for " +
                           (net.temporary_directory() / "net.tmp").string() + "!"));
}

}  // namespace
