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

TEST(LinuxHostProcStat, StatLinesAndStatus) {
    auto f = parse_stat_line(stat_line("a) (b c)", "S", "34816"));
    ASSERT_TRUE(f);
    // The name runs to the last parenthesis.
    EXPECT_EQ(
        std::tie(f->pid, f->command_name, f->state, f->parent_pid, f->process_group, f->tty_nr,
                 f->kernel_flags, f->priority, f->start_ticks),
        std::make_tuple(4242, "a) (b c)"s, 'S', 17, 4240, 34816LL, 4194304ULL, 20LL, 123456ULL));
    EXPECT_EQ(parse_stat_line(stat_line(""))->command_name, "");
    for (const std::string& damaged :
         {"4242 sleep S 1 1"s, "4242 (sleep) S 1 4242 4242 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0"s,
          stat_line("sleep", "SS"), stat_line("sleep", "S", "x"),
          stat_line("sleep", "S", "0", "0", "20", "-5"), "abcd" + stat_line("sleep").substr(4)}) {
        EXPECT_FALSE(parse_stat_line(damaged)) << damaged;
    }

    auto status = parse_status("Name:\tx\nUid:\t1000\t1001\t1002\t1003\nTracerPid:\t0\n");
    EXPECT_EQ(status.effective_uid, 1001u);
    EXPECT_FALSE(status.traced);
    EXPECT_TRUE(parse_status("TracerPid:\t77\nUid:\t0\t0\t0\t0").traced);
    EXPECT_FALSE(parse_status("Uid:\t1000\n").effective_uid);
}

// Too little to tell (an executable that could not be read): as wide as the host.
TEST(LinuxHostProcStat, WordSizeFromTheElfClassElseTheHosts) {
    constexpr bool kHostIs64Bit = sizeof(void*) == 8;
    EXPECT_TRUE(is_elf_64_bit("\x7f"s + "ELF\x02\x01\x01"));
    EXPECT_FALSE(is_elf_64_bit("\x7f"s + "ELF\x01\x01\x01"));
    EXPECT_FALSE(is_elf_64_bit("#!/bin/sh\n"));
    EXPECT_EQ(is_elf_64_bit(""), kHostIs64Bit);
    EXPECT_EQ(is_elf_64_bit("\x7f"s + "ELF"), kHostIs64Bit);
}

TEST(LinuxHostProcStat, FlagsAreSynthesisedFromTheEvidence) {
    auto user = *parse_stat_line(stat_line("bash", "S", "34816", "4194304"));
    EXPECT_EQ(process_flags(user, {}, true), kFlag64Bit | kFlagControllingTerminal | kFlagExecuted);
    // A kernel thread: PF_KTHREAD and PF_FORKNOEXEC, never exec'd, no terminal.
    auto kernel = *parse_stat_line(stat_line("kworker/0:1", "I", "0", "2129984"));
    EXPECT_EQ(process_flags(kernel, {}, false), kFlagSystem);
    auto zombie = *parse_stat_line(stat_line("defunct", "Z"));
    EXPECT_TRUE(process_flags(zombie, {}, false) & kFlagExiting);
    auto exiting = *parse_stat_line(stat_line("leaving", "R", "0", "4194308"));
    EXPECT_TRUE(process_flags(exiting, {}, false) & kFlagExiting);
    EXPECT_TRUE(process_flags(user, {std::nullopt, true}, false) & kFlagTraced);
}

TEST(LinuxHostProcStat, RecordCarriesTheMacMeanings) {
    auto stat = *parse_stat_line(stat_line("my tool", "T", "34817", "4194304", "-100"));
    StatusFields status = parse_status("Uid:\t501\t502\t502\t502\n");
    ProcessRecord record = make_process_record(stat, status, true, {1'700'000'000, 47'000});
    EXPECT_EQ(record.state, 4);  // stopped
    EXPECT_EQ(record.effective_uid, 502u);
    EXPECT_EQ(record.priority, 156);  // -100 as one unsigned byte
    EXPECT_EQ(record.terminal_device, 34817);
    EXPECT_EQ(record.start_microseconds, 47'000);
    auto detached = *parse_stat_line(stat_line("daemon"));
    EXPECT_EQ(make_process_record(detached, status, false, {}).terminal_device, -1);

    // Start times add ticks to the boot time; three years at 1000 Hz must not overflow.
    constexpr std::int64_t kBoot = 1'700'000'000'000'000;  // microseconds
    auto odd_rate = start_time(kBoot + 999'999, 1, 250);
    EXPECT_EQ(std::tie(odd_rate.seconds, odd_rate.microseconds),
              std::make_tuple(1'700'000'001, 3'999));
    auto long_up = start_time(kBoot, 94'608'000'123ull, 1000);
    EXPECT_EQ(std::tie(long_up.seconds, long_up.microseconds),
              std::make_tuple(1'700'000'000 + 94'608'000, 123'000));
}

TEST(LinuxHostTtyNames, DecodingAndFixedNames) {
    // tty_nr as the kernel encodes it: minor bits 0-7 low, the rest from bit 20.
    EXPECT_EQ(decode_tty_nr(34816), (DeviceNumber{136, 0}));
    EXPECT_EQ(decode_tty_nr((0x12345 & 0xff) | (188 << 8) | ((0x12345 & ~0xff) << 12)),
              (DeviceNumber{188, 0x12345}));

    const std::pair<DeviceNumber, std::optional<std::string>> names[] = {
        {{136, 300}, "pts/300"}, {{137, 4}, "pts/260"},    {{4, 63}, "tty63"},
        {{4, 64}, "ttyS0"},      {{4, 255}, "ttyS191"},    {{5, 1}, "console"},
        {{5, 3}, std::nullopt},  {{4, 256}, std::nullopt}, {{135, 0}, std::nullopt},
    };
    for (const auto& [device, name] : names) {
        EXPECT_EQ(well_known_terminal_name(device), name) << device.major << ":" << device.minor;
    }
}

}  // namespace
}  // namespace platform::linux_host
