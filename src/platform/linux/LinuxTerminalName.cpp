// Terminal names by device number: the fixed numbering first, then a look through /dev.
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "libs/sys/FileSystem.h"
#include "platform/linux/LinuxLiveSystem.h"
#include "platform/linux/TtyNames.h"

namespace platform::linux_host {
namespace {

// USB serial adapters, hypervisor consoles and the like have numbers of their own; their nodes
// sit at the top of /dev. The file layer reports no device numbers, hence lstat here.
std::optional<std::string> find_in_dev(DeviceNumber device) {
    auto names = sys::FileSystem::host().list_directory("/dev");
    if (!names) return std::nullopt;
    for (const std::string& name : *names) {
        std::string path = "/dev/" + name;
        struct stat st {};
        if (::lstat(path.c_str(), &st) != 0 || !S_ISCHR(st.st_mode)) continue;
        if (major(st.st_rdev) == device.major && minor(st.st_rdev) == device.minor) return name;
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> LinuxLiveSystem::terminal_name(std::int64_t device) {
    if (device <= 0) return std::nullopt;
    DeviceNumber number = decode_tty_nr(device);
    if (auto name = well_known_terminal_name(number)) return name;
    return find_in_dev(number);
}

}  // namespace platform::linux_host
