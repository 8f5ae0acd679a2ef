#include <gtest/gtest.h>

#include "platform/linux/HardwareText.h"
#include "platform/linux/ProfileDocument.h"
#include "platform/linux/ProfileItems.h"
#include "platform/linux/SoftwareText.h"
#include "support/TempDir.h"

namespace platform::linux_host {
namespace {

using plist::Array, plist::Dictionary;

TEST(LinuxHostProfileItems, HardwareTakesOnlyWhatCanBeRead) {
    test::TempDir dmi;
    EXPECT_TRUE(read_dmi_identity((dmi / "absent").string()).empty());
    dmi.write("product_name", "Standard PC (Q35 + ICH9, 2009)\n");
    dmi.write("sys_vendor", "QEMU\n");
    dmi.write("product_family", " \n");  // blank: the vendor names the machine instead
    dmi.write("product_uuid", "4c4c4544-0042-3510-8052-b4c04f4e4d32\n");
    dmi.mkdir("product_serial");  // not a file: nothing to read
    HardwareSources sources;
    sources.dmi = read_dmi_identity(dmi.path().string());
    sources.cpuinfo =
        "processor\t: 0\nmodel name\t: AMD EPYC 7B13\nphysical id\t: 0\ncore id\t: 0\n";
    sources.meminfo = "MemFree: 1 kB\nMemTotal:       2014948 kB\n";
    sources.max_frequency_khz = "3050000\n";
    sources.l2_cache_size = "512K\n";
    sources.online_processors = 2;  // the cores come first
    EXPECT_EQ(hardware_item(sources),
              (Dictionary{{"_name", "hardware_overview"},
                          {"machine_model", "Standard PC (Q35 + ICH9, 2009)"},
                          {"machine_name", "QEMU"},
                          {"platform_UUID", "4C4C4544-0042-3510-8052-B4C04F4E4D32"},
                          {"cpu_type", "AMD EPYC 7B13"},
                          {"current_processor_speed", "3.05 GHz"},
                          {"l2_cache_core", "512 KB"},
                          {"number_processors", 1L},
                          {"packages", 1L},
                          {"physical_memory", "2 GB"}}));
    // Nothing readable at all: the processor count falls back to the online processors.
    HardwareSources bare;
    bare.online_processors = 2;
    EXPECT_EQ(hardware_item(bare),
              (Dictionary{{"_name", "hardware_overview"}, {"number_processors", 2L}}));
}

TEST(LinuxHostProfileItems, SoftwareOverview) {
    SoftwareSources sources;
    sources.os_release = "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n";
    sources.kernel_name = "Linux";
    sources.kernel_release = "6.1.0-18-amd64";
    sources.host_name = "office.example.org";
    sources.user = PasswordRecord{"ann", 1000, "Ann Smith,Room 4,,"};
    sources.uptime = "90061.57 6301.12\n";
    // The last mount on / is the one in use.
    sources.mountinfo =
        "22 1 254:1 / / rw,relatime shared:1 - ext4 /dev/vda1 rw\n"
        "23 22 0:21 / /proc rw - proc proc rw\n"
        "40 22 0:35 / / rw - overlay overlay rw,lowerdir=/a\n";
    EXPECT_EQ(software_item(sources), (Dictionary{{"_name", "os_overview"},
                                                  {"boot_mode", "normal_boot"},
                                                  {"boot_volume", "overlay"},
                                                  {"kernel_version", "Linux 6.1.0-18-amd64"},
                                                  {"local_host_name", "office"},
                                                  {"os_version", "Debian GNU/Linux 12 (bookworm)"},
                                                  {"uptime", "up 1:1:1:1"},
                                                  {"user_name", "Ann Smith (ann)"}}));
    // Sources that cannot be understood leave their keys out.
    SoftwareSources unreadable;
    unreadable.uptime = "soon 1.0";
    unreadable.mountinfo = "22 1 254:1 / / rw\n";
    EXPECT_EQ(software_item(unreadable),
              (Dictionary{{"_name", "os_overview"}, {"boot_mode", "normal_boot"}}));
    EXPECT_FALSE(root_mount_source("23 22 0:21 / /proc rw - proc proc rw\n"));
    EXPECT_EQ(user_name_text(",,,", "svc"), "svc (svc)");
    // Naming only types we do not produce asks for none, not for all of them.
    EXPECT_TRUE(requested_data_types({"SPFirewallDataType", "-xml"}).empty());
    // An interface's addresses in both the flat list and the IPv4 group; an all-zero MAC is none.
    const Dictionary ipv4{{"Addresses", Array{"10.0.2.15"}}, {"SubnetMasks", Array{"/8"}}};
    EXPECT_EQ(network_item({"eth0", "Ethernet", {"10.0.2.15"}, {"/8"}, {}, "52:54:00:12:34:56"}),
              (Dictionary{{"_name", "eth0"},
                          {"interface", "eth0"},
                          {"type", "Ethernet"},
                          {"ip_address", Array{"10.0.2.15"}},
                          {"IPv4", ipv4},
                          {"Ethernet", Dictionary{{"MAC Address", "52:54:00:12:34:56"}}}}));
    EXPECT_FALSE(hardware_address_text({0, 0, 0, 0, 0, 0}));
}

TEST(LinuxHostProfileText, OsReleaseFollowsShellQuoting) {
    // One line each: how the value of K reads.
    const std::pair<const char*, const char*> lines[] = {
        {"K='single $quoted \\n'", "single $quoted \\n"},
        {"K=\"say \\\"hi\\\" for \\$5 \\\\ \\n\"", "say \"hi\" for $5 \\ \\n"},
        {"K=\"a\"'b'c\\ d", "abc d"},
        {"  K = \"value\" # remark", "value"},
        {"K=\"open", "open"}};
    using Release = std::map<std::string, std::string, std::less<>>;
    for (auto [line, value] : lines)
        EXPECT_EQ(parse_os_release(line), (Release{{"K", value}})) << line;
    EXPECT_TRUE(parse_os_release("# K=1\nbad-name=1\n").empty());

    const std::pair<const char*, const char*> versions[] = {
        {"PRETTY_NAME=\"Alpine Linux v3.18\"\nVERSION_ID=3.18.4\n", "Alpine Linux v3.18 (3.18.4)"},
        {"PRETTY_NAME=\"Debian 12\"\nVERSION_ID=\"12\"\n", "Debian 12"},
        {"NAME=Gentoo\nVERSION_ID=2.14\n", "Gentoo 2.14"},
        {"", "Linux"}};
    for (auto [text, version] : versions)
        EXPECT_EQ(os_version_text(parse_os_release(text)), version) << text;
}

TEST(LinuxHostProfileText, HardwareInMacUnits) {
    // Package 0 has two cores, one of them with two threads; package 1 has one core.
    CpuSummary summary = parse_cpuinfo(
        "processor\t: 0\nmodel name\t: Xeon E5-2680\nphysical id\t: 0\ncore id\t\t: 0\n\n"
        "processor\t: 1\nmodel name\t: other\nphysical id\t: 0\ncore id\t\t: 0\n\n"
        "processor\t: 2\nphysical id\t: 0\ncore id\t\t: 1\n\n"
        "processor\t: 3\nphysical id\t: 1\ncore id\t\t: 0\n");
    EXPECT_EQ(summary.model_name, "Xeon E5-2680");
    EXPECT_EQ(std::tuple(summary.logical_processors, summary.cores, summary.packages),
              std::tuple(4, 3, 2));
    // ARM kernels print neither a model name nor core ids.
    CpuSummary arm = parse_cpuinfo("processor\t: 0\nBogoMIPS\t: 48.00\n\nprocessor\t: 1\n");
    EXPECT_FALSE(arm.model_name);
    EXPECT_EQ(std::tuple(arm.logical_processors, arm.cores, arm.packages), std::tuple(2, 0, 0));

    EXPECT_FALSE(mem_total_kib("MemFree: 1 kB\n"));
    EXPECT_FALSE(mem_total_kib("MemTotal: lots kB\n"));
    // Rounded to the nearest gigabyte (up in the item above); below half a gigabyte, megabytes.
    EXPECT_EQ(physical_memory_text(8 * 1048576 + 400 * 1024), "8 GB");
    EXPECT_EQ(physical_memory_text(491520), "480 MB");

    using Case = std::pair<const char*, std::optional<std::string>>;
    const Case speeds[] = {{"2660000\n", "2.66 GHz"}, {"3000000", "3 GHz"}, {"800000", "800 MHz"}};
    for (auto& [khz, text] : speeds) EXPECT_EQ(processor_speed_text(khz), text) << khz;
    for (const char* bad : {"0", "fast"}) EXPECT_FALSE(processor_speed_text(bad)) << bad;
    const Case caches[] = {{"8192K\n", "8 MB"}, {"32M", "32 MB"}, {"12G", {}}};
    for (auto& [size, text] : caches) EXPECT_EQ(cache_size_text(size), text) << size;
}

}  // namespace
}  // namespace platform::linux_host
