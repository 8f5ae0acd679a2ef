#include <gtest/gtest.h>

#include "platform/linux/HardwareText.h"
#include "platform/linux/ProfileDocument.h"
#include "platform/linux/ProfileItems.h"
#include "platform/linux/SoftwareText.h"
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
    plist::Dictionary item = hardware_item(sources);
    EXPECT_EQ(item["machine_model"], plist::Value("Standard PC (Q35 + ICH9, 2009)"));
    EXPECT_EQ(item["machine_name"], plist::Value("QEMU"));  // blank family: the vendor instead
    EXPECT_EQ(item["platform_UUID"], plist::Value("4C4C4544-0042-3510-8052-B4C04F4E4D32"));
    EXPECT_FALSE(item.count("serial_number"));
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
    EXPECT_EQ(item["number_processors"], plist::Value(1));

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
    NetworkInterface wired{
        "eth0",      "Ethernet",         {"10.0.2.15", "10.0.3.1"}, {"255.0.0.0", "/16"},
        {"fe80::1"}, "52:54:00:12:34:56"};
    using plist::Array, plist::Dictionary;
    EXPECT_EQ(network_item(wired),
              (Dictionary{{"_name", "eth0"},
                          {"interface", "eth0"},
                          {"type", "Ethernet"},
                          {"ip_address", Array{"10.0.2.15", "10.0.3.1"}},
                          {"IPv4", Dictionary{{"Addresses", Array{"10.0.2.15", "10.0.3.1"}},
                                              {"SubnetMasks", Array{"255.0.0.0", "/16"}}}},
                          {"IPv6", Dictionary{{"Addresses", Array{"fe80::1"}}}},
                          {"Ethernet", Dictionary{{"MAC Address", "52:54:00:12:34:56"}}}}));
    NetworkInterface tunnel{"wg0", "VPN", {}, {}, {}, std::nullopt};
    EXPECT_EQ(keys_of(network_item(tunnel)),
              (std::vector<std::string>{"_name", "interface", "type"}));

    EXPECT_FALSE(hardware_address_text({0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(interface_type_name(1, true, false), "AirPort");
    EXPECT_EQ(interface_type_name(1, true, true), "Bridge");
    EXPECT_EQ(interface_type_name(65534, false, false), "VPN");
}

TEST(LinuxHostProfileItems, RequestedDataTypesAndTheirEnvelope) {
    using Types = std::vector<std::string>;
    EXPECT_EQ(requested_data_types({"-xml"}),
              (Types{kSoftwareDataType, kHardwareDataType, kNetworkDataType}));
    EXPECT_EQ(requested_data_types(
                  {"SPNetworkDataType", "SPFirewallDataType", "SPAirPortDataType", "-xml"}),
              Types{kNetworkDataType});
    EXPECT_EQ(requested_data_types({"SPFirewallDataType", "-xml"}), Types{});
    EXPECT_EQ(requested_data_types({"SPHardwareDataType", "-detailLevel", "full",
                                    "SPSoftwareDataType", "SPHardwareDataType"}),
              (Types{kHardwareDataType, kSoftwareDataType}));

    plist::Date stamp = plist::Date::from_unix(1'712'935'592);
    plist::Dictionary envelope = data_type_envelope(
        kHardwareDataType, {plist::Dictionary{{"_name", "hardware_overview"}}}, stamp, {0.25, 0.5});
    EXPECT_EQ(keys_of(envelope), (Types{"_SPCommandLineArguments", "_SPCompletionInterval",
                                        "_SPResponseTime", "_dataType", "_detailLevel", "_items",
                                        "_parentDataType", "_timeStamp", "_versionInfo"}));
    EXPECT_EQ(envelope["_SPCommandLineArguments"],
              plist::Value(plist::Array{"-xml", kHardwareDataType}));
    EXPECT_EQ(envelope["_SPResponseTime"], plist::Value(0.5));
    EXPECT_EQ(envelope["_items"],
              plist::Value(plist::Array{plist::Dictionary{{"_name", "hardware_overview"}}}));
}

TEST(LinuxHostProfileText, OsReleaseFollowsShellQuoting) {
    auto release = parse_os_release(
        "# comment=ignored\n"
        "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n"
        "NAME='single $quoted \\n'\n"
        "ESCAPED=\"say \\\"hi\\\" for \\$5 \\\\ \\n\"\n"
        "BARE=two\\ words\n"
        "JOINED=\"a\"'b'c\n"
        "TRAILING=\"value\" # remark\n"
        "  SPACED = \"x\"\n"
        "bad-name=1\n"
        "UNCLOSED=\"open\n");
    EXPECT_EQ(release["PRETTY_NAME"], "Debian GNU/Linux 12 (bookworm)");
    EXPECT_EQ(release["NAME"], "single $quoted \\n");
    EXPECT_EQ(release["ESCAPED"], "say \"hi\" for $5 \\ \\n");
    EXPECT_EQ(release["BARE"], "two words");
    EXPECT_EQ(release["JOINED"], "abc");
    EXPECT_EQ(release["TRAILING"], "value");
    EXPECT_EQ(release["SPACED"], "x");
    EXPECT_EQ(release["UNCLOSED"], "open");
    EXPECT_EQ(release.count("bad-name") + release.count("comment"), 0u);

    const std::pair<const char*, const char*> versions[] = {
        {"PRETTY_NAME=\"Alpine Linux v3.18\"\nVERSION_ID=3.18.4\n", "Alpine Linux v3.18 (3.18.4)"},
        {"PRETTY_NAME=\"Debian 12\"\nVERSION_ID=\"12\"\n", "Debian 12"},
        {"NAME=Gentoo\nVERSION_ID=2.14\n", "Gentoo 2.14"},
        {"", "Linux"},
    };
    for (auto [text, version] : versions) {
        EXPECT_EQ(os_version_text(parse_os_release(text)), version) << text;
    }
}

TEST(LinuxHostProfileText, UptimeUserAndBootVolume) {
    EXPECT_EQ(parse_uptime_seconds("3228.57 6301.12\n"), 3228);
    EXPECT_FALSE(parse_uptime_seconds("soon 1.0"));
    EXPECT_EQ(uptime_text(90061), "up 1:1:1:1");

    EXPECT_EQ(user_name_text("Ann Smith,Room 4,,", "ann"), "Ann Smith (ann)");
    EXPECT_EQ(user_name_text(",,,", "svc"), "svc (svc)");

    // The last mount on / is the one in use.
    EXPECT_EQ(root_mount_source("22 1 254:1 / / rw,relatime shared:1 - ext4 /dev/vda1 rw\n"
                                "23 22 0:21 / /proc rw - proc proc rw\n"
                                "40 22 0:35 / / rw - overlay overlay rw,lowerdir=/a\n"),
              "overlay");
    EXPECT_FALSE(root_mount_source("23 22 0:21 / /proc rw - proc proc rw\n"));
    EXPECT_FALSE(root_mount_source("22 1 254:1 / / rw\n"));
}

TEST(LinuxHostProfileText, CpuinfoCountsCoresAndPackages) {
    // Package 0 has two cores, one of them with two threads; package 1 has one core.
    std::string cpuinfo;
    int processor = 0;
    for (auto [package, core] : {std::pair{0, 0}, {0, 0}, {0, 1}, {1, 0}}) {
        cpuinfo += "processor\t: " + std::to_string(processor++) +
                   "\nmodel name\t: Intel(R) Xeon(R) CPU E5-2680\nphysical id\t: " +
                   std::to_string(package) + "\ncore id\t\t: " + std::to_string(core) + "\n\n";
    }
    CpuSummary summary = parse_cpuinfo(cpuinfo);
    EXPECT_EQ(summary.model_name, "Intel(R) Xeon(R) CPU E5-2680");
    EXPECT_EQ(summary.logical_processors, 4);
    EXPECT_EQ(summary.cores, 3);
    EXPECT_EQ(summary.packages, 2);

    // ARM kernels print neither a model name nor core ids.
    CpuSummary arm = parse_cpuinfo("processor\t: 0\nBogoMIPS\t: 48.00\n\nprocessor\t: 1\n");
    EXPECT_FALSE(arm.model_name);
    EXPECT_EQ(arm.logical_processors, 2);
    EXPECT_EQ(arm.cores + arm.packages, 0);
}

TEST(LinuxHostProfileText, MemorySpeedsAndCachesInMacUnits) {
    EXPECT_EQ(mem_total_kib("MemFree: 1 kB\nMemTotal:       16318412 kB\n"), 16318412u);
    EXPECT_FALSE(mem_total_kib("MemFree: 1 kB\n"));
    EXPECT_FALSE(mem_total_kib("MemTotal: lots kB\n"));
    // Rounded to the nearest gigabyte.
    EXPECT_EQ(physical_memory_text(16318412), "16 GB");  // 15.56 GiB usable of 16
    EXPECT_EQ(physical_memory_text(8 * 1048576 + 600 * 1024), "9 GB");
    EXPECT_EQ(physical_memory_text(491520), "480 MB");

    EXPECT_EQ(processor_speed_text("2300000\n"), "2.3 GHz");
    EXPECT_EQ(processor_speed_text("2660000"), "2.66 GHz");
    EXPECT_EQ(processor_speed_text("800000"), "800 MHz");
    EXPECT_FALSE(processor_speed_text("0"));
    EXPECT_FALSE(processor_speed_text("fast"));
    EXPECT_EQ(cache_size_text("256K\n"), "256 KB");
    EXPECT_EQ(cache_size_text("8192K"), "8 MB");
    EXPECT_EQ(cache_size_text("32M"), "32 MB");
    EXPECT_FALSE(cache_size_text("12G"));
}

}  // namespace
}  // namespace platform::linux_host
