// Gathering the software and hardware sources of the profile from the running system.
#include "platform/linux/ProfileSources.h"

#include <limits.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "platform/linux/HostText.h"

namespace platform::linux_host {
namespace {

constexpr const char* kOsReleaseFiles[] = {"/etc/os-release", "/usr/lib/os-release"};
constexpr const char* kDmiFiles[] = {"product_name", "product_family", "sys_vendor",  "product_sku",
                                     "bios_version", "product_serial", "product_uuid"};
constexpr const char* kCpu0 = "/sys/devices/system/cpu/cpu0";
// cache/indexN is not the same level on every processor; each says its own level.
constexpr int kMaxCacheIndex = 8;

std::optional<std::string> first_readable(const char* const* paths, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (auto text = read_host_text(paths[i])) return text;
    }
    return std::nullopt;
}

std::optional<std::string> host_name() {
    char name[HOST_NAME_MAX + 1] = {};
    if (::gethostname(name, sizeof name - 1) != 0 || name[0] == '\0') return std::nullopt;
    return std::string(name);
}

void read_cache_sizes(HardwareSources& sources) {
    for (int index = 0; index < kMaxCacheIndex; ++index) {
        std::string folder = std::string(kCpu0) + "/cache/index" + std::to_string(index);
        auto level = read_host_text(folder + "/level");
        if (!level) break;
        std::optional<std::string>* slot = nullptr;
        if (trim(*level) == "2") slot = &sources.l2_cache_size;
        if (trim(*level) == "3") slot = &sources.l3_cache_size;
        if (slot && !*slot) *slot = read_host_text(folder + "/size");
    }
}

}  // namespace

SoftwareSources collect_software_sources() {
    SoftwareSources sources;
    sources.os_release = first_readable(kOsReleaseFiles, std::size(kOsReleaseFiles));
    utsname names{};
    if (::uname(&names) == 0) {
        sources.kernel_name = names.sysname;
        sources.kernel_release = names.release;
    }
    sources.host_name = host_name();
    sources.user = find_password_record(static_cast<std::uint32_t>(::getuid()));
    sources.uptime = read_host_text("/proc/uptime");
    sources.mountinfo = read_host_text("/proc/self/mountinfo");
    return sources;
}

HardwareSources collect_hardware_sources(const std::string& dmi_directory) {
    HardwareSources sources;
    sources.cpuinfo = read_host_text("/proc/cpuinfo");
    sources.meminfo = read_host_text("/proc/meminfo");
    sources.max_frequency_khz = read_host_text(std::string(kCpu0) + "/cpufreq/cpuinfo_max_freq");
    read_cache_sizes(sources);
    sources.dmi = read_dmi_identity(dmi_directory);
    sources.online_processors = ::sysconf(_SC_NPROCESSORS_ONLN);
    return sources;
}

std::map<std::string, std::string> read_dmi_identity(const std::string& dmi_directory) {
    std::map<std::string, std::string> identity;
    for (const char* file : kDmiFiles) {
        auto text = read_host_text(dmi_directory + "/" + file);
        if (!text) continue;
        std::string_view value = trim(*text);
        if (!value.empty()) identity.emplace(file, value);
    }
    return identity;
}

}  // namespace platform::linux_host
