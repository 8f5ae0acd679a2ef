#include "platform/linux/ProcStat.h"
#include "platform/linux/TtyNames.h"

#include <gtest/gtest.h>

#include <string>

namespace platform::linux_host {
namespace {

using namespace std::string_literals;

// A stat line as proc(5) prints it, with the command name and the fields that matter settable.
std::string stat_line(const std::string& comm, const std::string& state = "S",
                      const std::string& tty = "0", const std::string& flags = "4194304",
                      const std::string& priority = "20", const std::string& start = "123456") {
    return "4242 (" + comm + ") " + state + " 17 4240 4240 " + tty + " -1 " + flags +
           " 100 0 0 0 5 3 0 0 " + priority + " 0 1 0 " + start +
           " 1000 200 18446744073709551615\n";
}

// The name runs to the last parenthesis; the record carries the Mac's meanings of the fields.
TEST(LinuxHostProcStat, StatLineAndStatusMakeARecord) {
    auto stat = parse_stat_line(stat_line("a) (b c)", "T", "34817", "4194304", "-100"));
    ASSERT_TRUE(stat);
    EXPECT_EQ(std::tie(stat->kernel_flags, stat->start_ticks), std::tuple(4194304ULL, 123456ULL));
    const StatusFields status = parse_status("Name:\tx\nUid:\t501\t502\t503\t504\nTracerPid:\t1\n");
    // Start times add ticks (three years of them here) to the boot time; microseconds carry.
    const StartTime start = start_time(1'700'000'000'999'999, 94'608'000'001ull, 250);
    EXPECT_EQ(start.seconds, 1'700'000'000 + 378'432'001);
    const ProcessRecord r = make_process_record(*stat, status, true, start);
    EXPECT_EQ(std::tie(r.pid, r.short_name, r.state, r.parent_pid, r.process_group, r.effective_uid,
                       r.terminal_device, r.start_microseconds),
              std::tuple(4242, "a) (b c)"s, 4, 17, 4240, 502u, 34817, 3'999));  // 4: stopped
    EXPECT_EQ(r.priority, 156);  // -100 as one unsigned byte
    EXPECT_EQ(r.flags, kFlag64Bit | kFlagControllingTerminal | kFlagExecuted | kFlagTraced);
    auto detached = *parse_stat_line(stat_line("daemon"));
    EXPECT_EQ(make_process_record(detached, {}, false, {}).terminal_device, -1);
    // A kernel thread: PF_KTHREAD and PF_FORKNOEXEC, never exec'd, no terminal.
    auto kernel = *parse_stat_line(stat_line("kworker/0:1", "I", "0", "2129984"));
    EXPECT_EQ(process_flags(kernel, {}, false), kFlagSystem);
    auto zombie = *parse_stat_line(stat_line("defunct", "Z"));
    EXPECT_TRUE(process_flags(zombie, {}, false) & kFlagExiting);
    for (const std::string& damaged : {"4242 sleep S 1 1"s, stat_line("sleep", "SS"),
                                       stat_line("sleep", "S", "0", "0", "20", "-5")})
        EXPECT_FALSE(parse_stat_line(damaged)) << damaged;
}

// The ELF class tells the word size; too little to tell (an executable that could not be read)
// means as wide as the host.
TEST(LinuxHostProcStat, WordSizeFromTheElfClassElseTheHosts) {
    EXPECT_TRUE(is_elf_64_bit("\x7f"s + "ELF\x02\x01\x01"));
    EXPECT_FALSE(is_elf_64_bit("\x7f"s + "ELF\x01\x01\x01"));
    EXPECT_FALSE(is_elf_64_bit("#!/bin/sh\n"));
    EXPECT_EQ(is_elf_64_bit("\x7f"s + "ELF"), sizeof(void*) == 8);
}

TEST(LinuxHostTtyNames, DecodingAndFixedNames) {
    // tty_nr as the kernel encodes it: minor bits 0-7 low, the rest from bit 20.
    EXPECT_EQ(decode_tty_nr(34816), (DeviceNumber{136, 0}));
    EXPECT_EQ(decode_tty_nr((0x12345 & 0xff) | (188 << 8) | ((0x12345 & ~0xff) << 12)),
              (DeviceNumber{188, 0x12345}));
    const std::pair<DeviceNumber, std::optional<std::string>> names[] = {
        {{136, 300}, "pts/300"}, {{137, 4}, "pts/260"}, {{4, 63}, "tty63"},
        {{4, 64}, "ttyS0"},      {{5, 1}, "console"},   {{5, 3}, std::nullopt},
        {{4, 256}, std::nullopt}};
    for (const auto& [device, name] : names)
        EXPECT_EQ(well_known_terminal_name(device), name) << device.major << ":" << device.minor;
}

}  // namespace
}  // namespace platform::linux_host
