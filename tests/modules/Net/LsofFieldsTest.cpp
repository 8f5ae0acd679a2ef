#include "modules/Net/LsofFields.h"

#include <gtest/gtest.h>

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

}  // namespace
