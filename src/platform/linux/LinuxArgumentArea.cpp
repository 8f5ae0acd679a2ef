// Argument areas in the KERN_PROCARGS2 layout from /proc/<pid>/cmdline, exe and environ.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "libs/sys/FileSystem.h"
#include "platform/linux/ArgumentAreaLayout.h"
#include "platform/linux/HostText.h"
#include "platform/linux/LinuxLiveSystem.h"

namespace platform::linux_host {
namespace {

// The kernel's mark on the link of an executable that was removed (or replaced, as by a package
// upgrade) after it started; a Mac's argument area carries the plain path.
constexpr std::string_view kDeletedMark = " (deleted)";

}  // namespace

int LinuxLiveSystem::query_argument_area(std::int32_t pid, std::vector<std::uint8_t>& buffer,
                                         std::size_t* size) {
    std::string folder = "/proc/" + std::to_string(pid) + "/";
    auto cmdline = read_host_text(folder + "cmdline");
    if (!cmdline) return -1;
    // Another user's executable link and environment are closed to us; the area then has an
    // empty path and stops after the arguments, as on a Mac for a protected process.
    std::string exec_path = sys::FileSystem::host().link_destination(folder + "exe").value_or("");
    if (exec_path.ends_with(kDeletedMark)) exec_path.resize(exec_path.size() - kDeletedMark.size());
    auto environment = read_host_text(folder + "environ");

    std::vector<std::uint8_t> area = build_argument_area(
        *cmdline, exec_path,
        environment ? std::optional<std::string_view>(*environment) : std::nullopt);
    size_t returned = std::min(area.size(), *size);
    if (buffer.size() < returned) buffer.resize(returned);
    if (returned > 0) std::memcpy(buffer.data(), area.data(), returned);
    *size = returned;
    return 0;
}

}  // namespace platform::linux_host
