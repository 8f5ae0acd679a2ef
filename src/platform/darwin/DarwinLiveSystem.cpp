#include "platform/darwin/DarwinLiveSystem.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdlib>
#include <cstring>

#include "platform/PasswordDatabase.h"

namespace platform {

std::unique_ptr<LiveSystem> make_live_system(sys::ProgramRunner& runner) {
    return std::make_unique<darwin_host::DarwinLiveSystem>(runner);
}

namespace darwin_host {

std::optional<std::string> DarwinLiveSystem::terminal_name(std::int64_t device) {
    if (device < 0) return std::nullopt;
    // devname answers "??" rather than NULL for a number it has no node for.
    const char* name = ::devname(static_cast<dev_t>(static_cast<std::uint32_t>(device)), S_IFCHR);
    if (!name || std::strcmp(name, "??") == 0) return std::nullopt;
    return std::string(name);
}

std::optional<PasswordEntry> DarwinLiveSystem::user_by_uid(std::uint32_t uid) {
    return find_password_entry(uid);
}

std::string DarwinLiveSystem::system_profile(const std::vector<std::string>& arguments) {
    return runner_.run("/usr/sbin/system_profiler", arguments);
}

Command DarwinLiveSystem::lsof_command() {
    return Command{"/usr/sbin/lsof", {"-F", "cnt", "+c0"}};
}

}  // namespace darwin_host
}  // namespace platform
