#include <gtest/gtest.h>

#include <algorithm>

#include "platform/linux/ProfileDocument.h"
#include "platform/linux/ProfileItems.h"
#include "support/TempDir.h"

namespace platform::linux_host {
namespace {

std::vector<std::string> keys_of(const plist::Dictionary& dictionary) {
    std::vector<std::string> keys;
    for (const auto& entry : dictionary) keys.push_back(entry.first);
    return keys;
}

TEST(LinuxHostProfileItems, DmiIdentityTakesOnlyWhatCanBeRead) {
    test::TempDir dmi;
    EXPECT_TRUE(read_dmi_identity((dmi / "absent").string()).empty());

    dmi.write("product_name", "Standard PC (Q35 + ICH9, 2009)\n");
    dmi.write("sys_vendor", "QEMU\n");
    dmi.write("product_family", " \n");
    dmi.write("product_uuid", "4c4c4544-0042-3510-8052-b4c04f4e4d32\n");
    dmi.mkdir("product_serial");  // not a file: nothing to read
    HardwareSources sources;
    sources.dmi = read_dmi_identity(dmi.path().string());
    EXPECT_EQ(sources.dmi.size(), 3u);

    plist::Dictionary item = hardware_item(sources);
    EXPECT_EQ(item["machine_model"], plist::Value("Standard PC (Q35 + ICH9, 2009)"));
    EXPECT_EQ(item["machine_name"], plist::Value("QEMU"));  // blank family: the vendor instead
    EXPECT_EQ(item["platform_UUID"], plist::Value("4C4C4544-0042-3510-8052-B4C04F4E4D32"));
    EXPECT_FALSE(item.count("serial_number"));
    EXPECT_FALSE(item.count("model_number"));
}

TEST(LinuxHostProfileItems, HardwareWithoutDmiKeepsOnlyKnownKeys) {
    HardwareSources sources;
    sources.cpuinfo =
        "processor\t: 0\nmodel name\t: AMD EPYC 7B13\nphysical id\t: 0\ncore id\t: 0\n";
    sources.meminfo = "MemTotal: 2014948 kB\n";
    sources.max_frequency_khz = "3050000\n";
    sources.l2_cache_size = "512K\n";
    sources.online_processors = 2;
    plist::Dictionary item = hardware_item(sources);
    EXPECT_EQ(keys_of(item), (std::vector<std::string>{
                                 "_name", "cpu_type", "current_processor_speed", "l2_cache_core",
                                 "number_processors", "packages", "physical_memory"}));
    EXPECT_EQ(item["_name"], plist::Value("hardware_overview"));
    EXPECT_EQ(item["number_processors"], plist::Value(1));
    EXPECT_EQ(item["current_processor_speed"], plist::Value("3.05 GHz"));
    EXPECT_EQ(item["physical_memory"], plist::Value("2 GB"));

    // Nothing readable at all: the processor count falls back to the online processors.
    HardwareSources bare;
    bare.online_processors = 2;
    EXPECT_EQ(hardware_item(bare),
              (plist::Dictionary{{"_name", "hardware_overview"}, {"number_processors", 2L}}));
}

TEST(LinuxHostProfileItems, SoftwareOverview) {
    SoftwareSources sources;
    sources.os_release = "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n";
    sources.kernel_name = "Linux";
    sources.kernel_release = "6.1.0-18-amd64";
    sources.host_name = "office.example.org";
    sources.user = PasswordRecord{"ann", 1000, "Ann Smith,,,"};
    sources.uptime = "3228.57 6301.12\n";
    sources.mountinfo = "22 1 254:1 / / rw - ext4 /dev/vda1 rw\n";
    EXPECT_EQ(software_item(sources),
              (plist::Dictionary{{"_name", "os_overview"},
                                 {"boot_mode", "normal_boot"},
                                 {"boot_volume", "/dev/vda1"},
                                 {"kernel_version", "Linux 6.1.0-18-amd64"},
                                 {"local_host_name", "office"},
                                 {"os_version", "Debian GNU/Linux 12 (bookworm)"},
                                 {"uptime", "up 0:0:53:48"},
                                 {"user_name", "Ann Smith (ann)"}}));

    SoftwareSources unreadable;
    unreadable.uptime = "garbage";
    EXPECT_EQ(software_item(unreadable),
              (plist::Dictionary{{"_name", "os_overview"}, {"boot_mode", "normal_boot"}}));
}

TEST(LinuxHostProfileItems, NetworkInterfaceItem) {
    NetworkInterface wired{"eth0",
                           "Ethernet",
                           {"10.0.2.15", "10.0.3.1"},
                           {"255.255.255.0", "255.255.0.0"},
                           {"fe80::1"},
                           "52:54:00:12:34:56"};
    plist::Dictionary item = network_item(wired);
    EXPECT_EQ(item["_name"], plist::Value("eth0"));
    EXPECT_EQ(item["interface"], plist::Value("eth0"));
    EXPECT_EQ(item["type"], plist::Value("Ethernet"));
    EXPECT_EQ(item["ip_address"], plist::Value(plist::Array{"10.0.2.15", "10.0.3.1"}));
    EXPECT_EQ(item["IPv4"], plist::Value(plist::Dictionary{
                                {"Addresses", plist::Array{"10.0.2.15", "10.0.3.1"}},
                                {"SubnetMasks", plist::Array{"255.255.255.0", "255.255.0.0"}}}));
    EXPECT_EQ(item["IPv6"],
              plist::Value(plist::Dictionary{{"Addresses", plist::Array{"fe80::1"}}}));
    EXPECT_EQ(item["Ethernet"],
              plist::Value(plist::Dictionary{{"MAC Address", "52:54:00:12:34:56"}}));

    NetworkInterface tunnel{"wg0", "VPN", {}, {}, {}, std::nullopt};
    EXPECT_EQ(keys_of(network_item(tunnel)),
              (std::vector<std::string>{"_name", "interface", "type"}));

    EXPECT_EQ(hardware_address_text({0x52, 0x54, 0x00, 0x0a, 0xbc, 0xff}), "52:54:00:0a:bc:ff");
    EXPECT_FALSE(hardware_address_text({0, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(hardware_address_text({}));

    EXPECT_EQ(interface_type_name(1, true, false), "AirPort");
    EXPECT_EQ(interface_type_name(1, true, true), "Bridge");
    EXPECT_EQ(interface_type_name(65534, false, false), "VPN");
}

TEST(LinuxHostProfileItems, RequestedDataTypes) {
    using Types = std::vector<std::string>;
    const Types everything{kSoftwareDataType, kHardwareDataType, kNetworkDataType};
    EXPECT_EQ(requested_data_types({"-xml"}), everything);
    EXPECT_EQ(requested_data_types({}), everything);
    EXPECT_EQ(requested_data_types({"SPNetworkDataType", "SPFirewallDataType",
                                    "SPNetworkLocationDataType", "SPNetworkVolumeDataType",
                                    "SPWWANDataType", "SPAirPortDataType", "-xml"}),
              Types{kNetworkDataType});
    EXPECT_EQ(requested_data_types({"SPFirewallDataType", "-xml"}), Types{});
    EXPECT_EQ(requested_data_types({"SPHardwareDataType", "-detailLevel", "full",
                                    "SPSoftwareDataType", "SPHardwareDataType"}),
              (Types{kHardwareDataType, kSoftwareDataType}));
}

TEST(LinuxHostProfileItems, EnvelopeCarriesTheProfilerKeys) {
    plist::Date stamp = plist::Date::from_unix(1'712'935'592);
    plist::Dictionary envelope = data_type_envelope(
        kHardwareDataType, {plist::Dictionary{{"_name", "hardware_overview"}}}, stamp, {0.25, 0.5});
    EXPECT_EQ(keys_of(envelope),
              (std::vector<std::string>{"_SPCommandLineArguments", "_SPCompletionInterval",
                                        "_SPResponseTime", "_dataType", "_detailLevel", "_items",
                                        "_parentDataType", "_timeStamp", "_versionInfo"}));
    EXPECT_EQ(envelope["_SPCommandLineArguments"],
              plist::Value(plist::Array{"-xml", kHardwareDataType}));
    EXPECT_EQ(envelope["_SPCompletionInterval"], plist::Value(0.25));
    EXPECT_EQ(envelope["_SPResponseTime"], plist::Value(0.5));
    EXPECT_EQ(envelope["_dataType"], plist::Value(kHardwareDataType));
    EXPECT_EQ(envelope["_detailLevel"], plist::Value(-1));
    EXPECT_EQ(envelope["_parentDataType"], plist::Value("SPRootDataType"));
    EXPECT_EQ(envelope["_timeStamp"], plist::Value(stamp));
    ASSERT_TRUE(envelope["_items"].as_array());
    EXPECT_EQ(envelope["_items"].as_array()->size(), 1u);
    ASSERT_TRUE(envelope["_versionInfo"].as_dict());
    EXPECT_EQ(envelope["_versionInfo"].as_dict()->size(), 1u);
}

}  // namespace
}  // namespace platform::linux_host
