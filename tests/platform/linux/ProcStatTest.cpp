#include "platform/linux/ProcStat.h"

#include <gtest/gtest.h>

#include <string>

namespace platform::linux_host {
namespace {

// A stat line as proc(5) prints it, with the command name and the fields that matter settable.
std::string stat_line(const std::string& comm, const std::string& state = "S",
                      const std::string& tty = "0", const std::string& flags = "4194304",
                      const std::string& priority = "20", const std::string& start = "123456") {
    return "4242 (" + comm + ") " + state + " 17 4240 4240 " + tty + " -1 " + flags +
           " 100 0 0 0 5 3 0 0 " + priority + " 0 1 0 " + start +
           " 1000 200 18446744073709551615\n";
}

TEST(LinuxHostProcStat, CommandNameRunsToTheLastParenthesis) {
    auto fields = parse_stat_line(stat_line("a) (b c)"));
    ASSERT_TRUE(fields);
    EXPECT_EQ(fields->pid, 4242);
    EXPECT_EQ(fields->command_name, "a) (b c)");
    EXPECT_EQ(fields->state, 'S');
    EXPECT_EQ(fields->parent_pid, 17);
    EXPECT_EQ(fields->process_group, 4240);
    EXPECT_EQ(fields->kernel_flags, 4194304u);
    EXPECT_EQ(fields->priority, 20);
    EXPECT_EQ(fields->start_ticks, 123456u);

    auto empty_name = parse_stat_line(stat_line(""));
    ASSERT_TRUE(empty_name);
    EXPECT_EQ(empty_name->command_name, "");
    EXPECT_EQ(empty_name->parent_pid, 17);
}

TEST(LinuxHostProcStat, DamagedLinesAreRefused) {
    EXPECT_FALSE(parse_stat_line(""));
    EXPECT_FALSE(parse_stat_line("4242 sleep S 1 1"));
    EXPECT_FALSE(parse_stat_line("4242 (sleep) S 1 4242 4242 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0"));
    EXPECT_FALSE(parse_stat_line(stat_line("sleep", "SS")));
    EXPECT_FALSE(parse_stat_line(stat_line("sleep", "S", "x")));
    EXPECT_FALSE(parse_stat_line(stat_line("sleep", "S", "0", "0", "20", "-5")));
    std::string bad_pid = stat_line("sleep");
    bad_pid.replace(0, 4, "abcd");
    EXPECT_FALSE(parse_stat_line(bad_pid));
}

TEST(LinuxHostProcStat, StatusGivesTheEffectiveUidAndTracer) {
    auto status = parse_status("Name:\tx\nUid:\t1000\t1001\t1002\t1003\nTracerPid:\t0\n");
    EXPECT_EQ(status.effective_uid, 1001u);
    EXPECT_FALSE(status.traced);

    EXPECT_TRUE(parse_status("TracerPid:\t77\nUid:\t0\t0\t0\t0").traced);
    EXPECT_FALSE(parse_status("Name:\tx\n").effective_uid);
    EXPECT_FALSE(parse_status("Uid:\t1000\n").effective_uid);
    EXPECT_FALSE(parse_status("Uid:\t1000\tabc\t0\t0\n").effective_uid);
}

TEST(LinuxHostProcStat, StateLettersMapToMacStates) {
    const std::pair<char, int> expected[] = {
        {'R', 2}, {'S', 3}, {'D', 3}, {'I', 3}, {'W', 3}, {'K', 3}, {'P', 3},
        {'T', 4}, {'t', 4}, {'Z', 5}, {'X', 5}, {'x', 5}, {'?', 0}, {'r', 0},
    };
    for (auto [letter, state] : expected) {
        EXPECT_EQ(state_code(letter), state) << "state letter " << letter;
    }
}

TEST(LinuxHostProcStat, ElfClassDecidesTheWordSize) {
    EXPECT_TRUE(
        is_elf_64_bit(std::string("\x7f"
                                  "ELF\x02\x01\x01",
                                  7)));
    EXPECT_FALSE(
        is_elf_64_bit(std::string("\x7f"
                                  "ELF\x01\x01\x01",
                                  7)));
    EXPECT_FALSE(is_elf_64_bit("#!/bin/sh\n"));
    EXPECT_FALSE(
        is_elf_64_bit("\x7f"
                      "ELF"));
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
    EXPECT_FALSE(process_flags(user, {}, false) & kFlag64Bit);
}

TEST(LinuxHostProcStat, StartTimeAddsTicksToTheBootTime) {
    constexpr std::int64_t kBoot = 1'700'000'000'000'000;  // microseconds
    auto start = start_time(kBoot, 12345, 100);
    EXPECT_EQ(start.seconds, 1'700'000'123);
    EXPECT_EQ(start.microseconds, 450'000);

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

    EXPECT_EQ(record.pid, 4242);
    EXPECT_EQ(record.short_name, "my tool");
    EXPECT_EQ(record.state, 4);
    EXPECT_EQ(record.effective_uid, 502u);
    EXPECT_EQ(record.parent_pid, 17);
    EXPECT_EQ(record.process_group, 4240);
    EXPECT_EQ(record.priority, 156);  // -100 as one unsigned byte
    EXPECT_EQ(record.terminal_device, 34817);
    EXPECT_EQ(record.start_seconds, 1'700'000'000);
    EXPECT_EQ(record.start_microseconds, 47'000);
    EXPECT_TRUE(record.flags & kFlag64Bit);

    auto detached = *parse_stat_line(stat_line("daemon"));
    EXPECT_EQ(make_process_record(detached, status, false, {}).terminal_device, -1);
}

}  // namespace
}  // namespace platform::linux_host
