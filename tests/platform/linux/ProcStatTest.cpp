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

TEST(LinuxHostProcStat, StatLines) {
    auto fields = parse_stat_line(stat_line("a) (b c)"));
    ASSERT_TRUE(fields);
    EXPECT_EQ(fields->pid, 4242);
    EXPECT_EQ(fields->command_name, "a) (b c)");  // the name runs to the last parenthesis
    EXPECT_EQ(fields->state, 'S');
    EXPECT_EQ(fields->parent_pid, 17);
    EXPECT_EQ(fields->process_group, 4240);
    EXPECT_EQ(fields->kernel_flags, 4194304u);
    EXPECT_EQ(fields->priority, 20);
    EXPECT_EQ(fields->start_ticks, 123456u);
    EXPECT_EQ(parse_stat_line(stat_line(""))->command_name, "");

    // Damaged lines are refused.
    EXPECT_FALSE(parse_stat_line("4242 sleep S 1 1"));
    EXPECT_FALSE(parse_stat_line("4242 (sleep) S 1 4242 4242 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0"));
    EXPECT_FALSE(parse_stat_line(stat_line("sleep", "SS")));
    EXPECT_FALSE(parse_stat_line(stat_line("sleep", "S", "x")));
    EXPECT_FALSE(parse_stat_line(stat_line("sleep", "S", "0", "0", "20", "-5")));
    EXPECT_FALSE(parse_stat_line("abcd" + stat_line("sleep").substr(4)));
}

TEST(LinuxHostProcStat, StatusGivesTheEffectiveUidAndTracer) {
    auto status = parse_status("Name:\tx\nUid:\t1000\t1001\t1002\t1003\nTracerPid:\t0\n");
    EXPECT_EQ(status.effective_uid, 1001u);
    EXPECT_FALSE(status.traced);
    EXPECT_TRUE(parse_status("TracerPid:\t77\nUid:\t0\t0\t0\t0").traced);
    EXPECT_FALSE(parse_status("Uid:\t1000\n").effective_uid);
}

TEST(LinuxHostProcStat, StateLettersAndWordSize) {
    const std::pair<char, int> states[] = {{'R', 2}, {'S', 3}, {'D', 3}, {'T', 4},
                                           {'t', 4}, {'Z', 5}, {'x', 5}, {'r', 0}};
    for (auto [letter, state] : states) EXPECT_EQ(state_code(letter), state) << letter;

    EXPECT_TRUE(is_elf_64_bit("\x7f"s + "ELF\x02\x01\x01"s));
    EXPECT_FALSE(is_elf_64_bit("\x7f"s + "ELF\x01\x01\x01"s));
    EXPECT_FALSE(is_elf_64_bit("#!/bin/sh\n"));
    // Too little to tell (an executable that could not be read): as wide as the host.
    constexpr bool kHostIs64Bit = sizeof(void*) == 8;
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
    StatusFields traced;
    traced.traced = true;
    EXPECT_TRUE(process_flags(user, traced, false) & kFlagTraced);
}

TEST(LinuxHostProcStat, StartTimeAddsTicksToTheBootTime) {
    constexpr std::int64_t kBoot = 1'700'000'000'000'000;  // microseconds
    auto odd_rate = start_time(kBoot + 999'999, 1, 250);
    EXPECT_EQ(odd_rate.seconds, 1'700'000'001);
    EXPECT_EQ(odd_rate.microseconds, 3'999);
    // Three years of uptime at 1000 Hz must not overflow on the way.
    auto long_up = start_time(kBoot, 94'608'000'123ull, 1000);
    EXPECT_EQ(long_up.seconds, 1'700'000'000 + 94'608'000);
    EXPECT_EQ(long_up.microseconds, 123'000);
}

TEST(LinuxHostProcStat, RecordCarriesTheMacMeanings) {
    auto stat = *parse_stat_line(stat_line("my tool", "T", "34817", "4194304", "-100"));
    StatusFields status = parse_status("Uid:\t501\t502\t502\t502\n");
    ProcessRecord record = make_process_record(stat, status, true, {1'700'000'000, 47'000});
    EXPECT_EQ(record.effective_uid, 502u);
    EXPECT_EQ(record.priority, 156);  // -100 as one unsigned byte
    EXPECT_EQ(record.terminal_device, 34817);
    EXPECT_EQ(record.start_microseconds, 47'000);
    auto detached = *parse_stat_line(stat_line("daemon"));
    EXPECT_EQ(make_process_record(detached, status, false, {}).terminal_device, -1);
}

TEST(LinuxHostTtyNames, DecodingAndFixedNames) {
    // tty_nr as the kernel encodes it: minor bits 0-7 low, the rest from bit 20.
    EXPECT_EQ(decode_tty_nr(34816), (DeviceNumber{136, 0}));
    EXPECT_EQ(decode_tty_nr((0x12345 & 0xff) | (188 << 8) | ((0x12345 & ~0xff) << 12)),
              (DeviceNumber{188, 0x12345}));

    const std::pair<DeviceNumber, const char*> names[] = {
        {{136, 300}, "pts/300"}, {{137, 4}, "pts/260"}, {{4, 1}, "tty1"},
        {{4, 63}, "tty63"},      {{4, 64}, "ttyS0"},    {{4, 255}, "ttyS191"},
        {{5, 0}, "tty"},         {{5, 1}, "console"},   {{5, 2}, "ptmx"},
    };
    for (const auto& [device, name] : names) {
        EXPECT_EQ(well_known_terminal_name(device), name) << device.major << ":" << device.minor;
    }
    EXPECT_FALSE(well_known_terminal_name({5, 3}));
    EXPECT_FALSE(well_known_terminal_name({4, 256}));
    EXPECT_FALSE(well_known_terminal_name({135, 0}));
}

}  // namespace
}  // namespace platform::linux_host
