// What the Linux system profile is made from, gathered from the running system in one place so
// that the items themselves are built by pure functions (ProfileItems.h) that tests feed directly.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/PasswordDatabase.h"

namespace platform::linux_host {

inline constexpr const char* kDmiDirectory = "/sys/class/dmi/id";

struct SoftwareSources {
    std::optional<std::string> os_release;  // text of /etc/os-release (or /usr/lib/os-release)
    std::string kernel_name;                // uname sysname
    std::string kernel_release;             // uname release
    std::optional<std::string> host_name;
    std::optional<PasswordRecord> user;    // of the real user id
    std::optional<std::string> uptime;     // text of /proc/uptime
    std::optional<std::string> mountinfo;  // text of /proc/self/mountinfo
};

struct HardwareSources {
    std::optional<std::string> cpuinfo;
    std::optional<std::string> meminfo;
    std::optional<std::string> max_frequency_khz;  // cpufreq/cpuinfo_max_freq of cpu0
    std::optional<std::string> l2_cache_size;      // cache/index2/size of cpu0
    std::optional<std::string> l3_cache_size;      // cache/index3/size of cpu0
    std::map<std::string, std::string> dmi;        // DMI file name -> value, readable ones only
    long online_processors = 0;
};

struct NetworkInterface {
    std::string name;
    std::string type;  // "Ethernet", "AirPort", ... (interface_type_name)
    std::vector<std::string> ipv4_addresses;
    std::vector<std::string> ipv4_masks;
    std::vector<std::string> ipv6_addresses;
    std::optional<std::string> hardware_address;
};

SoftwareSources collect_software_sources();
HardwareSources collect_hardware_sources(const std::string& dmi_directory = kDmiDirectory);

// The identity files of the DMI directory (product, family, vendor, SKU, firmware, serial, UUID)
// that exist, can be read and are not blank, trimmed. The directory is missing on many virtual
// machines and the serial and UUID are readable by root only: those keys are simply absent.
std::map<std::string, std::string> read_dmi_identity(const std::string& dmi_directory);

// Every interface but loopback, in the order the kernel lists them.
std::vector<NetworkInterface> collect_network_interfaces();

}  // namespace platform::linux_host
