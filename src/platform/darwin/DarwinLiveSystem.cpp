#include "platform/darwin/DarwinLiveSystem.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <sys/types.h>

#include "platform/KernelProcessRecord.h"
#include "platform/PasswordDatabase.h"

namespace platform {

std::unique_ptr<LiveSystem> make_live_system(sys::ProgramRunner& runner) {
    return std::make_unique<darwin_host::DarwinLiveSystem>(runner);
}

namespace darwin_host {

std::optional<std::string> DarwinLiveSystem::terminal_name(std::int64_t device) {
    // Only NODEV is negative; every other number was a 32-bit dev_t to begin with.
    if (device < 0) return std::nullopt;
    return terminal_name_from_devname(
        ::devname(static_cast<dev_t>(static_cast<std::uint32_t>(device)), S_IFCHR));
}

std::optional<PasswordEntry> DarwinLiveSystem::user_by_uid(std::uint32_t uid) {
    return find_password_entry(uid);
}

std::string DarwinLiveSystem::system_profile(const std::vector<std::string>& arguments) {
    // A profiler that cannot be started gives no output, which its callers treat as unusable.
    return sys::run_if_startable(runner_, "/usr/sbin/system_profiler", arguments).value_or("");
}

Command DarwinLiveSystem::lsof_command() {
    return Command{"/usr/sbin/lsof", {"-F", "cnt", "+c0"}};
}

}  // namespace darwin_host
}  // namespace platform
