// The network interfaces of the profile: addresses from getifaddrs, the link type from sysfs.
#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <memory>

#include "libs/sys/FileSystem.h"
#include "platform/linux/HostText.h"
#include "platform/linux/ProfileItems.h"
#include "platform/linux/ProfileSources.h"

namespace platform::linux_host {
namespace {

std::string address_text(const sockaddr* address) {
    char text[INET6_ADDRSTRLEN] = {};
    const void* raw = nullptr;
    if (address->sa_family == AF_INET) {
        raw = &reinterpret_cast<const sockaddr_in*>(address)->sin_addr;
    } else {
        raw = &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
    }
    return ::inet_ntop(address->sa_family, raw, text, sizeof text) ? text : "";
}

std::string link_type(const std::string& name) {
    std::string folder = "/sys/class/net/" + name;
    auto number = read_host_text(folder + "/type");
    auto arp_type = number ? parse_integer(trim(*number)) : std::nullopt;
    const auto& host = sys::FileSystem::host();
    return interface_type_name(static_cast<int>(arp_type.value_or(-1)),
                               host.is_directory(folder + "/wireless"),
                               host.is_directory(folder + "/bridge"));
}

NetworkInterface& entry_for(std::vector<NetworkInterface>& interfaces, const char* name) {
    for (auto& interface : interfaces) {
        if (interface.name == name) return interface;
    }
    interfaces.push_back(NetworkInterface{name, link_type(name), {}, {}, {}, std::nullopt});
    return interfaces.back();
}

}  // namespace

std::vector<NetworkInterface> collect_network_interfaces() {
    std::vector<NetworkInterface> interfaces;
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) return interfaces;
    std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(list, &::freeifaddrs);

    for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
        if (!entry->ifa_name || !entry->ifa_addr || (entry->ifa_flags & IFF_LOOPBACK)) continue;
        int family = entry->ifa_addr->sa_family;
        if (family == AF_INET) {
            NetworkInterface& interface = entry_for(interfaces, entry->ifa_name);
            interface.ipv4_addresses.push_back(address_text(entry->ifa_addr));
            interface.ipv4_masks.push_back(entry->ifa_netmask ? address_text(entry->ifa_netmask)
                                                              : std::string());
        } else if (family == AF_INET6) {
            entry_for(interfaces, entry->ifa_name)
                .ipv6_addresses.push_back(address_text(entry->ifa_addr));
        } else if (family == AF_PACKET) {
            const auto* link = reinterpret_cast<const sockaddr_ll*>(entry->ifa_addr);
            size_t length = std::min<size_t>(link->sll_halen, sizeof link->sll_addr);
            entry_for(interfaces, entry->ifa_name).hardware_address =
                hardware_address_text({link->sll_addr, link->sll_addr + length});
        }
    }
    return interfaces;
}

}  // namespace platform::linux_host
