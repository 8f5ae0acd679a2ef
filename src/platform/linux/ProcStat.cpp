#include "platform/linux/ProcStat.h"

#include <vector>

#include "platform/linux/HostText.h"

namespace platform::linux_host {
namespace {

// PF_* bits that have kept their values across kernel versions.
constexpr std::uint64_t kKernelExiting = 0x4;
constexpr std::uint64_t kKernelForkedNoExec = 0x40;
constexpr std::uint64_t kKernelThread = 0x200000;

// Positions of the fields after the command name: field N of proc(5) is at N - 3.
constexpr size_t kState = 0;
constexpr size_t kParentPid = 1;
constexpr size_t kProcessGroup = 2;
constexpr size_t kTtyNr = 4;
constexpr size_t kFlags = 6;
constexpr size_t kPriority = 15;
constexpr size_t kStartTime = 19;

bool is_exiting_state(char letter) {
    return letter == 'Z' || letter == 'X' || letter == 'x';
}

std::optional<std::uint32_t> second_number(std::string_view value) {
    auto fields = split_fields(value);
    if (fields.size() < 2) return std::nullopt;
    auto number = parse_integer(fields[1]);
    if (!number || *number < 0 || *number > 0xffffffffLL) return std::nullopt;
    return static_cast<std::uint32_t>(*number);
}

}  // namespace

std::optional<StatFields> parse_stat_line(std::string_view line) {
    size_t open = line.find('(');
    size_t close = line.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open) {
        return std::nullopt;
    }
    auto pid = parse_integer(trim(line.substr(0, open)));
    std::vector<std::string_view> rest = split_fields(trim(line.substr(close + 1)));
    if (!pid || rest.size() <= kStartTime || rest[kState].size() != 1) return std::nullopt;

    auto parent_pid = parse_integer(rest[kParentPid]);
    auto process_group = parse_integer(rest[kProcessGroup]);
    auto tty_nr = parse_integer(rest[kTtyNr]);
    auto flags = parse_integer(rest[kFlags]);
    auto priority = parse_integer(rest[kPriority]);
    auto start = parse_integer(rest[kStartTime]);
    if (!parent_pid || !process_group || !tty_nr || !flags || !priority || !start || *start < 0) {
        return std::nullopt;
    }

    StatFields fields;
    fields.pid = static_cast<std::int32_t>(*pid);
    fields.command_name = std::string(line.substr(open + 1, close - open - 1));
    fields.state = rest[kState].front();
    fields.parent_pid = static_cast<std::int32_t>(*parent_pid);
    fields.process_group = static_cast<std::int32_t>(*process_group);
    fields.tty_nr = *tty_nr;
    fields.kernel_flags = static_cast<std::uint64_t>(*flags);
    fields.priority = *priority;
    fields.start_ticks = static_cast<std::uint64_t>(*start);
    return fields;
}

StatusFields parse_status(std::string_view text) {
    StatusFields status;
    for (std::string_view line : split_lines(text)) {
        size_t colon = line.find(':');
        if (colon == std::string_view::npos) continue;
        std::string_view key = line.substr(0, colon);
        std::string_view value = line.substr(colon + 1);
        if (key == "Uid") {
            status.effective_uid = second_number(value);
        } else if (key == "TracerPid") {
            auto tracer = parse_integer(trim(value));
            status.traced = tracer && *tracer != 0;
        }
    }
    return status;
}

std::int8_t state_code(char letter) {
    switch (letter) {
        case 'R':
            return 2;
        case 'S':
        case 'D':
        case 'I':
        case 'W':
        case 'K':
        case 'P':
            return 3;
        case 'T':
        case 't':
            return 4;
        case 'Z':
        case 'X':
        case 'x':
            return 5;
        default:
            return 0;
    }
}

bool is_elf_64_bit(std::string_view header) {
    constexpr std::size_t kClass = 4;
    if (header.size() <= kClass) return sizeof(void*) == 8;
    return header.substr(0, kClass) ==
               "\x7f"
               "ELF" &&
           header[kClass] == 2;
}

std::uint32_t process_flags(const StatFields& stat, const StatusFields& status, bool is_64_bit) {
    std::uint32_t flags = 0;
    if (is_64_bit) flags |= kFlag64Bit;
    if (stat.tty_nr != 0) flags |= kFlagControllingTerminal;
    if (stat.kernel_flags & kKernelThread) flags |= kFlagSystem;
    if (status.traced) flags |= kFlagTraced;
    if ((stat.kernel_flags & kKernelExiting) || is_exiting_state(stat.state)) flags |= kFlagExiting;
    if (!(stat.kernel_flags & kKernelForkedNoExec)) flags |= kFlagExecuted;
    return flags;
}

StartTime start_time(std::int64_t boot_wall_microseconds, std::uint64_t start_ticks,
                     long ticks_per_second) {
    constexpr std::int64_t kMicro = 1'000'000;
    std::int64_t hz = ticks_per_second > 0 ? ticks_per_second : 100;
    // Whole seconds and the remainder apart, so that no product overflows.
    auto ticks = static_cast<std::int64_t>(start_ticks);
    std::int64_t total =
        boot_wall_microseconds + (ticks / hz) * kMicro + (ticks % hz) * kMicro / hz;
    std::int64_t seconds = total / kMicro;
    std::int64_t micro = total % kMicro;
    if (micro < 0) {
        micro += kMicro;
        --seconds;
    }
    return {seconds, static_cast<std::int32_t>(micro)};
}

ProcessRecord make_process_record(const StatFields& stat, const StatusFields& status,
                                  bool is_64_bit, const StartTime& start) {
    ProcessRecord record;
    record.start_seconds = start.seconds;
    record.start_microseconds = start.microseconds;
    record.flags = process_flags(stat, status, is_64_bit);
    record.state = state_code(stat.state);
    record.pid = stat.pid;
    // Linux prints 20 + nice, or -2..-100 for real-time tasks; the record has one unsigned byte.
    record.priority = static_cast<std::uint8_t>(stat.priority);
    record.short_name = stat.command_name;
    record.effective_uid = status.effective_uid.value_or(0);
    record.parent_pid = stat.parent_pid;
    record.process_group = stat.process_group;
    // tty_nr is an unsigned device number printed as int; -1 must stay reserved for "none".
    record.terminal_device =
        stat.tty_nr == 0 ? -1 : static_cast<std::int64_t>(static_cast<std::uint32_t>(stat.tty_nr));
    return record;
}

}  // namespace platform::linux_host
