#include "platform/linux/ProfileItems.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

#include "platform/linux/HardwareText.h"
#include "platform/linux/SoftwareText.h"

namespace platform::linux_host {
namespace {

// ARPHRD_* numbers from <linux/if_arp.h> that have a macOS counterpart.
constexpr int kArpEther = 1;
constexpr int kArpPpp = 512;
constexpr int kArpNone = 65534;  // tun and WireGuard devices

// DMI file -> hardware key; the UUID is handled apart because macOS prints it in upper case.
constexpr std::pair<const char*, const char*> kDmiKeys[] = {
    {"product_name", "machine_model"},
    {"product_sku", "model_number"},
    {"bios_version", "boot_rom_version"},
    {"product_serial", "serial_number"},
};

void put_if(plist::Dictionary& item, const char* key, const std::optional<std::string>& value) {
    if (value && !value->empty()) item[key] = *value;
}

const std::string* find_in(const std::map<std::string, std::string>& map, const char* key) {
    auto it = map.find(key);
    return it == map.end() ? nullptr : &it->second;
}

plist::Array strings_array(const std::vector<std::string>& strings) {
    return plist::Array(strings.begin(), strings.end());
}

std::optional<long> processor_count(const HardwareSources& sources, const CpuSummary& cpu) {
    if (cpu.cores > 0) return cpu.cores;
    if (cpu.logical_processors > 0) return cpu.logical_processors;
    if (sources.online_processors > 0) return sources.online_processors;
    return std::nullopt;
}

}  // namespace

plist::Dictionary software_item(const SoftwareSources& sources) {
    plist::Dictionary item;
    item["_name"] = "os_overview";
    item["boot_mode"] = "normal_boot";
    if (sources.os_release)
        item["os_version"] = os_version_text(parse_os_release(*sources.os_release));
    if (!sources.kernel_name.empty()) {
        item["kernel_version"] = sources.kernel_name + " " + sources.kernel_release;
    }
    if (sources.host_name) {
        put_if(item, "local_host_name", sources.host_name->substr(0, sources.host_name->find('.')));
    }
    if (sources.user) item["user_name"] = user_name_text(sources.user->gecos, sources.user->login);
    if (sources.uptime) {
        if (auto seconds = parse_uptime_seconds(*sources.uptime))
            item["uptime"] = uptime_text(*seconds);
    }
    if (sources.mountinfo) put_if(item, "boot_volume", root_mount_source(*sources.mountinfo));
    return item;
}

plist::Dictionary hardware_item(const HardwareSources& sources) {
    plist::Dictionary item;
    item["_name"] = "hardware_overview";
    for (const auto& [file, key] : kDmiKeys) {
        if (const std::string* value = find_in(sources.dmi, file)) item[key] = *value;
    }
    const std::string* family = find_in(sources.dmi, "product_family");
    if (!family) family = find_in(sources.dmi, "sys_vendor");
    if (family) item["machine_name"] = *family;
    if (const std::string* uuid = find_in(sources.dmi, "product_uuid")) {
        std::string upper = *uuid;
        std::transform(upper.begin(), upper.end(), upper.begin(),
                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        item["platform_UUID"] = upper;
    }

    CpuSummary cpu = sources.cpuinfo ? parse_cpuinfo(*sources.cpuinfo) : CpuSummary{};
    put_if(item, "cpu_type", cpu.model_name);
    if (auto count = processor_count(sources, cpu)) item["number_processors"] = *count;
    if (cpu.packages > 0) item["packages"] = cpu.packages;
    if (sources.max_frequency_khz) {
        put_if(item, "current_processor_speed", processor_speed_text(*sources.max_frequency_khz));
    }
    if (sources.l2_cache_size)
        put_if(item, "l2_cache_core", cache_size_text(*sources.l2_cache_size));
    if (sources.l3_cache_size) put_if(item, "l3_cache", cache_size_text(*sources.l3_cache_size));
    if (sources.meminfo) {
        if (auto kib = mem_total_kib(*sources.meminfo))
            item["physical_memory"] = physical_memory_text(*kib);
    }
    return item;
}

plist::Dictionary network_item(const NetworkInterface& interface) {
    plist::Dictionary item;
    item["_name"] = interface.name;
    item["interface"] = interface.name;
    item["type"] = interface.type;
    if (!interface.ipv4_addresses.empty()) {
        item["ip_address"] = strings_array(interface.ipv4_addresses);
        plist::Dictionary ipv4;
        ipv4["Addresses"] = strings_array(interface.ipv4_addresses);
        ipv4["SubnetMasks"] = strings_array(interface.ipv4_masks);
        item["IPv4"] = std::move(ipv4);
    }
    if (!interface.ipv6_addresses.empty()) {
        plist::Dictionary ipv6;
        ipv6["Addresses"] = strings_array(interface.ipv6_addresses);
        item["IPv6"] = std::move(ipv6);
    }
    if (interface.hardware_address) {
        item["Ethernet"] = plist::Dictionary{{"MAC Address", *interface.hardware_address}};
    }
    return item;
}

std::string interface_type_name(int arp_type, bool wireless, bool bridge) {
    if (bridge) return "Bridge";
    switch (arp_type) {
        case kArpEther:
            return wireless ? "AirPort" : "Ethernet";
        case kArpPpp:
            return "PPP";
        case kArpNone:
            return "VPN";
        default:
            return "Other";
    }
}

std::optional<std::string> hardware_address_text(const std::vector<std::uint8_t>& bytes) {
    if (std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t b) { return b == 0; })) {
        return std::nullopt;
    }
    std::string text;
    for (std::uint8_t byte : bytes) {
        if (!text.empty()) text += ':';
        text += fmt::format("{:02x}", byte);
    }
    return text;
}

}  // namespace platform::linux_host
