#include <gtest/gtest.h>

#include "libs/plist/Reader.h"
#include "libs/plist/XmlWriter.h"
#include "modules/Net/LsofFields.h"
#include "support/FakeMachine.h"
#include "support/ModuleRun.h"
#include "support/TempDir.h"

namespace {

using modules::parse_lsof_fields;
using plist::Array;
using plist::Dictionary;

plist::Value connection(const char* type, const char* name) {
    return Dictionary{{"type", type}, {"name", name}};
}

plist::Value process(const char* command, Array net) {
    return Dictionary{{"command", command}, {"net", std::move(net)}};
}

TEST(NetLsofFields, OnlySocketsAndPipesCount) {
    // Regular files only: no entry. A name before any type line is judged by the empty type.
    EXPECT_TRUE(parse_lsof_fields("p1\ncfinder\nf3\ntREG\nn/etc/hosts\n").empty());
    EXPECT_TRUE(parse_lsof_fields("p1\ncfinder\nn*:80\n").empty());
    // A named FIFO has a path and is no pipe.
    EXPECT_TRUE(parse_lsof_fields("p1\ncx\ntFIFO\nn/tmp/fifo\n").empty());
}

TEST(NetLsofFields, LaterRecordsOfAProcessAreAppendedUnderItsFirstCommand) {
    const Dictionary table = parse_lsof_fields(
        "p7\ncfirst\ntIPv4\nn1.2.3.4:1\np8\ncother\ntREG\nn/x\n"
        "p7\ncrenamed\ntIPv6\nn[::1]:2\n\nf9\nnstill IPv6\n");
    EXPECT_EQ(table, (Dictionary{{"7", process("first", {connection("IPv4", "1.2.3.4:1"),
                                                         connection("IPv6", "[::1]:2"),
                                                         connection("IPv6", "still IPv6")})}}));
}

TEST(NetLsofFields, LinuxAndMacOSStreamsGiveTheSameShape) {
    // Linux: no descriptor lines, anonymous pipes as FIFO "pipe", no trailing newline.
    const char* linux_stream =
        "p4242\ncpython3\ntDIR\nn/srv\ntREG\nn/usr/bin/python3.11\ntIPv4\nnlocalhost:37869\n"
        "tunix\nn/run/app.sock type=STREAM\ntFIFO\nnpipe\nta_inode\nn[eventfd:1]";
    EXPECT_EQ(
        parse_lsof_fields(linux_stream),
        (Dictionary{{"4242", process("python3", {connection("IPv4", "localhost:37869"),
                                                 connection("unix", "/run/app.sock type=STREAM"),
                                                 connection("PIPE", "pipe")})}}));

    const char* macos_stream =
        "p4242\ncSafari\nfcwd\ntDIR\nn/\nf3\ntPIPE\nn->0x1a2b3c4d5e6f7081\nf5\ntunix\n"
        "n/var/run/mDNSResponder\n";
    EXPECT_EQ(
        parse_lsof_fields(macos_stream),
        (Dictionary{{"4242", process("Safari", {connection("PIPE", "->0x1a2b3c4d5e6f7081"),
                                                connection("unix", "/var/run/mDNSResponder")})}}));
}

// The module's plist when every source but the hosts file is missing or unreadable.
plist::Value nothing_but_hosts(const char* hosts) {
    return Dictionary{{"lsof", Dictionary{}},       {"hosts", hosts},
                      {"resolv.conf", ""},          {"pf.conf", ""},
                      {"pf.anchors", Dictionary{}}, {"Network", Array{}}};
}

class NetModule : public ::testing::Test {
protected:
    NetModule() {
        live->profile = plist::to_xml(Array{Dictionary{{"_dataType", "SPNetworkDataType"}}});
        programs->outputs["/usr/sbin/lsof"] = "p120\ncmDNSResponder\nf5\ntIPv4\nn*:5353\n";
    }

    // Runs the module and checks that its report is empty.
    test::ModuleRun run(const sys::Machine& machine) {
        test::ModuleRun net = test::run_module("Net", machine);
        EXPECT_TRUE(net.report.empty());
        EXPECT_TRUE(net.plist) << net.plist_bytes;
        return net;
    }

    test::TempDir root;
    std::shared_ptr<test::FakeLiveSystem> live = std::make_shared<test::FakeLiveSystem>();
    std::shared_ptr<test::FakeProgramRunner> programs = std::make_shared<test::FakeProgramRunner>();
    sys::Machine machine = test::fake_machine(root.path(), live, programs);
};

TEST_F(NetModule, CollectsEverySource) {
    root.write("private/etc/hosts", "127.0.0.1 localhost\n");
    root.write("private/var/run/resolv.conf", "nameserver 10.0.0.1\n");
    root.write("private/etc/pf.conf", "anchor \"com.apple/*\"\n");
    root.write("private/etc/pf.anchors/com.apple", "anchor \"200.AirDrop/*\"\n");
    root.write("private/etc/pf.anchors/custom", "block all\n");

    const test::ModuleRun net = run(machine);
    EXPECT_EQ(
        *net.plist,
        plist::Value(Dictionary{
            {"lsof", Dictionary{{"120", process("mDNSResponder", {connection("IPv4", "*:5353")})}}},
            {"hosts", "127.0.0.1 localhost\n"},
            {"resolv.conf", "nameserver 10.0.0.1\n"},
            {"pf.conf", "anchor \"com.apple/*\"\n"},
            {"pf.anchors",
             Dictionary{{"com.apple", "anchor \"200.AirDrop/*\"\n"}, {"custom", "block all\n"}}},
            {"Network", *plist::parse_xml(live->profile)}}));
    ASSERT_EQ(programs->calls.size(), 1u);
    EXPECT_EQ(programs->calls[0].arguments, (std::vector<std::string>{"-F", "cnt", "+c0"}));
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
    const plist::Dictionary& report = *net.plist->as_dict();
    EXPECT_EQ(report.size(), 6u);
    EXPECT_EQ(report.at("lsof"), plist::Value(Dictionary{}));
    EXPECT_EQ(report.at("hosts"), plist::Value("127.0.0.1 localhost\n"));
    EXPECT_EQ(report.at("resolv.conf"), plist::Value("nameserver 10.0.0.1\n"));
    EXPECT_EQ(report.at("pf.anchors"), plist::Value(Dictionary{{"custom", "block all\n"}}));
    EXPECT_EQ(report.at("Network"), *plist::parse_xml(live->profile));
    EXPECT_TRUE(net.logged("Could not start /usr/sbin/lsof: launch path not accessible"));
}

TEST_F(NetModule, EverySourceFailsSoftIntoAnEmptyValue) {
    programs->outputs["/usr/sbin/lsof"] = "p1\ncbad\xff\ntIPv4\nn*:1\n";
    live->profile = "not a property list <";
    const test::ModuleRun net = run(machine);
    EXPECT_EQ(*net.plist, nothing_but_hosts(""));
    EXPECT_TRUE(net.logged("lsof initWithData failed!"));
    EXPECT_TRUE(net.logged("Error at arrayWithContentsOfFile for " +
                           (net.temporary_directory() / "net.tmp").string() + "!"));
}

TEST_F(NetModule, WithoutLiveSourcesOnlyTheFilesAreRead) {
    root.write("private/etc/hosts", "::1 localhost\n");
    const test::ModuleRun net = run(test::fake_machine(root.path(), nullptr, programs));
    EXPECT_EQ(*net.plist, nothing_but_hosts("::1 localhost\n"));
    EXPECT_TRUE(programs->calls.empty());
    EXPECT_TRUE(net.logged("is not the running system"));
}

}  // namespace
