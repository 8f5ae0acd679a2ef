// Reading one process out of /proc/<pid>/stat and /proc/<pid>/status, and turning that into the
// fields of a macOS kernel process record. Pure functions on text, so that every odd command name
// and state letter can be tested without a process that has them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/LiveSystem.h"

namespace platform::linux_host {

// macOS p_flag bits that Linux has evidence for.
inline constexpr std::uint32_t kFlagControllingTerminal = 0x2;  // P_CONTROLT
inline constexpr std::uint32_t kFlag64Bit = 0x4;                // P_LP64
inline constexpr std::uint32_t kFlagSystem = 0x200;             // P_SYSTEM
inline constexpr std::uint32_t kFlagTraced = 0x800;             // P_TRACED
inline constexpr std::uint32_t kFlagExiting = 0x2000;           // P_WEXIT
inline constexpr std::uint32_t kFlagExecuted = 0x4000;          // P_EXEC

// The fields of a stat line that a process record needs.
struct StatFields {
    std::int32_t pid = 0;
    std::string command_name;  // comm, at most 15 characters on Linux
    char state = '?';
    std::int32_t parent_pid = 0;
    std::int32_t process_group = 0;
    std::int64_t tty_nr = 0;
    std::uint64_t kernel_flags = 0;  // PF_* bits
    long long priority = 0;
    std::uint64_t start_ticks = 0;  // clock ticks after boot
};

// comm is everything between the first '(' and the last ')': a name may hold blanks and
// parentheses, ") (" included. Empty when the line is cut short or a field is not a number.
std::optional<StatFields> parse_stat_line(std::string_view line);

struct StatusFields {
    std::optional<std::uint32_t> effective_uid;  // second number of "Uid:"
    bool traced = false;                         // "TracerPid:" other than 0
};

StatusFields parse_status(std::string_view text);

// The macOS p_stat value for a Linux state letter. xnu itself reports live processes as runnable
// only; sleeping ones are told apart here because that says more about a Linux machine.
std::int8_t state_code(char letter);

// True when the bytes begin an ELF file of class 64; false for anything else (32-bit ELF, a
// script). Fewer bytes than the class needs mean the executable could not be read (a kernel
// thread, another user's process): the host's word size is the likeliest answer then.
bool is_elf_64_bit(std::string_view header);

std::uint32_t process_flags(const StatFields& stat, const StatusFields& status, bool is_64_bit);

struct StartTime {
    std::int64_t seconds = 0;
    std::int32_t microseconds = 0;
};

// starttime counts clock ticks on the boot-time clock; adding it to the wall time of boot gives
// the start in Unix time.
StartTime start_time(std::int64_t boot_wall_microseconds, std::uint64_t start_ticks,
                     long ticks_per_second);

// The record as the macOS kernel would have filled it. The caller has checked that the status
// held an effective uid: without one the process is gone, and 0 would claim it for root.
ProcessRecord make_process_record(const StatFields& stat, const StatusFields& status,
                                  bool is_64_bit, const StartTime& start);

}  // namespace platform::linux_host
