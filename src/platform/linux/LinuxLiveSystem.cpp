#include "platform/linux/LinuxLiveSystem.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "libs/sys/FileSystem.h"
#include "platform/PasswordDatabase.h"

namespace platform {

std::unique_ptr<LiveSystem> make_live_system(sys::ProgramRunner&) {
    // lsof is run by the module through the machine's runner, and the profile is assembled here,
    // so the Linux sources need no runner of their own.
    return std::make_unique<linux_host::LinuxLiveSystem>();
}

namespace linux_host {
namespace {

constexpr const char* kSystemLsof = "/usr/sbin/lsof";

bool is_executable_file(const std::string& path) {
    const auto& host = sys::FileSystem::host();
    return host.exists(path) && !host.is_directory(path) && ::access(path.c_str(), X_OK) == 0;
}

std::string lsof_program() {
    if (is_executable_file(kSystemLsof)) return kSystemLsof;
    const char* path = std::getenv("PATH");
    std::string_view folders = path ? path : "";
    while (!folders.empty()) {
        size_t colon = folders.find(':');
        std::string_view folder = folders.substr(0, colon);
        folders = colon == std::string_view::npos ? std::string_view() : folders.substr(colon + 1);
        if (folder.empty() || folder.front() != '/') continue;
        std::string candidate = std::string(folder) + "/lsof";
        if (is_executable_file(candidate)) return candidate;
    }
    return "lsof";
}

}  // namespace

int LinuxLiveSystem::query_argument_max(int* argument_max) {
    long limit = ::sysconf(_SC_ARG_MAX);
    *argument_max =
        limit > 0 ? static_cast<int>(std::min<long>(limit, kMaxArgumentArea)) : kMaxArgumentArea;
    return 0;
}

std::optional<PasswordEntry> LinuxLiveSystem::user_by_uid(std::uint32_t uid) {
    return find_password_entry(uid);
}

Command LinuxLiveSystem::lsof_command() {
    // Without "-Ki" lsof 4.95 lists every thread's files again under the process's own pid.
    return Command{lsof_program(), {"-F", "cnt", "+c0", "-Ki"}};
}

}  // namespace linux_host
}  // namespace platform
