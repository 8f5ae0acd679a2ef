// The items of the three data types the Linux profile produces, keyed as the macOS profiler keys
// them. A key whose source is missing is left out rather than filled with a guess.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "libs/plist/Value.h"
#include "platform/linux/ProfileSources.h"

namespace platform::linux_host {

// _name "os_overview": os_version, kernel_version, local_host_name, user_name, uptime,
// boot_mode, boot_volume.
plist::Dictionary software_item(const SoftwareSources& sources);

// _name "hardware_overview": machine and firmware identity from DMI, processor and memory.
plist::Dictionary hardware_item(const HardwareSources& sources);

// _name and interface = the interface name; type; ip_address and IPv4 (Addresses, SubnetMasks),
// IPv6 (Addresses); Ethernet ("MAC Address").
plist::Dictionary network_item(const NetworkInterface& interface);

// The macOS type name for an ARPHRD_* number of /sys/class/net/<name>/type.
std::string interface_type_name(int arp_type, bool wireless, bool bridge);

// "aa:bb:cc:dd:ee:ff"; empty for no bytes or all zeros (tunnels carry no real address).
std::optional<std::string> hardware_address_text(const std::vector<std::uint8_t>& bytes);

}  // namespace platform::linux_host
