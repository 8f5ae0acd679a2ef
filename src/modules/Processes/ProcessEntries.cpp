// One dictionary per kernel process record, and the executables the command lines start.
#include <simdjson.h>

#include <ctime>

#include "libs/sys/Log.h"
#include "modules/Processes/Processes.h"

namespace modules {
namespace {

constexpr std::string_view kNone = "None";
// The state names of the kernel's process states 1 to 5.
constexpr std::string_view kStateNames[] = {"being created by fork", "currently runnable",
                                            "sleeping on an address", "stopped process",
                                            "dead process (zombie)"};
constexpr std::uint32_t kLp64Flag = 0x4;

std::string state_name(std::int8_t state) {
    if (state < 1 || state > 5) return std::string(kNone);
    return std::string(kStateNames[state - 1]);
}

// Local time to the second, then the milliseconds (a negative microsecond count prints signed,
// as the platform's "%03ld" does).
std::string start_time(std::int64_t seconds, std::int32_t microseconds) {
    const std::time_t when = static_cast<std::time_t>(seconds);
    std::tm local{};
    if (!::localtime_r(&when, &local)) return std::string(kNone);
    char text[40];
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    if (length == 0) return std::string(kNone);
    return fmt::format("{}.{:03d}", std::string_view(text, length), microseconds / 1000);
}

std::string utf8_or_none(const std::string& text) {
    return simdjson::validate_utf8(text.data(), text.size()) ? text : std::string(kNone);
}

}  // namespace

plist::Dictionary Processes::process_entry(const platform::ProcessRecord& record,
                                           platform::LiveSystem& live, const std::string& command) {
    // One password-database lookup serves "GID" and "username". A user id without an entry
    // gets GID -1: no group has that id, and the lookup must not fail on a missing entry.
    const std::optional<platform::PasswordEntry> user = live.user_by_uid(record.effective_uid);
    const std::optional<std::string> tty = live.terminal_name(record.terminal_device);

    plist::Dictionary entry;
    // A short name that is not UTF-8 would make the whole report unwritable.
    entry["process_name"] = utf8_or_none(record.short_name);
    entry["start_time"] = start_time(record.start_seconds, record.start_microseconds);
    entry["flag"] = record.flags;
    entry["status"] = state_name(record.state);
    entry["ppid"] = record.parent_pid;
    entry["process_group_id"] = record.process_group;
    entry["UID"] = record.effective_uid;
    entry["GID"] = user ? static_cast<long long>(user->primary_gid) : -1LL;
    entry["username"] = user ? utf8_or_none(user->login) : std::string(kNone);
    entry["command"] = command;
    entry["architecture"] = (record.flags & kLp64Flag) ? "64" : "32";
    entry["priority"] = static_cast<int>(static_cast<std::int8_t>(record.priority));
    entry["tty"] = tty && !tty->empty() ? utf8_or_none(*tty) : std::string(kNone);
    return entry;
}

Processes::Properties Processes::getProcessesProperties(
    std::span<const platform::ProcessRecord> records) {
    Properties properties;
    platform::LiveSystem* live = machine_.live();
    if (!live) return properties;

    for (const platform::ProcessRecord& record : records) {
        const std::string key = fmt::format("{}", record.pid);
        const ArgumentArea area = read_argument_area(record.pid);
        plist::Dictionary entry = process_entry(record, *live, area.command);

        const std::optional<std::string> executable =
            get_exec_path(area.command, area.executable_path);
        if (executable) properties.paths.push_back(*executable);
        sys::logf("pid: {} {}", key, executable ? *executable : "(null)");
        properties.plists[key] = std::move(entry);
    }
    return properties;
}

}  // namespace modules
