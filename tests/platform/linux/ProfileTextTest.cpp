#include <gtest/gtest.h>

#include "platform/linux/HardwareText.h"
#include "platform/linux/SoftwareText.h"

namespace platform::linux_host {
namespace {

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
        "no equals sign\n"
        "UNCLOSED=\"open\n");
    EXPECT_EQ(release["PRETTY_NAME"], "Debian GNU/Linux 12 (bookworm)");
    EXPECT_EQ(release["NAME"], "single $quoted \\n");
    EXPECT_EQ(release["ESCAPED"], "say \"hi\" for $5 \\ \\n");
    EXPECT_EQ(release["BARE"], "two words");
    EXPECT_EQ(release["JOINED"], "abc");
    EXPECT_EQ(release["TRAILING"], "value");
    EXPECT_EQ(release["UNCLOSED"], "open");
    EXPECT_EQ(release.count("bad-name"), 0u);
    EXPECT_EQ(release.count("comment"), 0u);
    EXPECT_EQ(release["SPACED"], "x");
}

TEST(LinuxHostProfileText, OsVersionPrefersThePrettyName) {
    EXPECT_EQ(os_version_text(parse_os_release(
                  "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nVERSION_ID=\"12\"\n")),
              "Debian GNU/Linux 12 (bookworm)");
    EXPECT_EQ(os_version_text(parse_os_release("PRETTY_NAME=\"Alpine Linux v3.18\"\n"
                                               "VERSION_ID=3.18.4\n")),
              "Alpine Linux v3.18 (3.18.4)");
    EXPECT_EQ(os_version_text(parse_os_release("NAME=Gentoo\nVERSION_ID=2.14\n")), "Gentoo 2.14");
    EXPECT_EQ(os_version_text(parse_os_release("NAME=Gentoo\n")), "Gentoo");
    EXPECT_EQ(os_version_text(parse_os_release("")), "Linux");
}

TEST(LinuxHostProfileText, UptimeUserAndBootVolume) {
    EXPECT_EQ(parse_uptime_seconds("3228.57 6301.12\n"), 3228);
    EXPECT_FALSE(parse_uptime_seconds("soon 1.0"));
    EXPECT_FALSE(parse_uptime_seconds(""));
    EXPECT_EQ(uptime_text(3228), "up 0:0:53:48");
    EXPECT_EQ(uptime_text(90061), "up 1:1:1:1");

    EXPECT_EQ(user_name_text("Ann Smith,Room 4,,", "ann"), "Ann Smith (ann)");
    EXPECT_EQ(user_name_text("", "svc"), "svc (svc)");
    EXPECT_EQ(user_name_text(",,,", "svc"), "svc (svc)");

    const char* mountinfo =
        "22 1 254:1 / / rw,relatime shared:1 master:2 - ext4 /dev/vda1 rw\n"
        "23 22 0:21 / /proc rw - proc proc rw\n"
        "40 22 0:35 / / rw - overlay overlay rw,lowerdir=/a\n";
    EXPECT_EQ(root_mount_source(mountinfo), "overlay");
    EXPECT_EQ(root_mount_source("22 1 254:1 / / rw - ext4 /dev/vda1 rw\n"), "/dev/vda1");
    EXPECT_FALSE(root_mount_source("23 22 0:21 / /proc rw - proc proc rw\n"));
    EXPECT_FALSE(root_mount_source("22 1 254:1 / / rw\n"));
}

TEST(LinuxHostProfileText, CpuinfoCountsCoresAndPackages) {
    // Two packages, two cores each, two threads per core.
    std::string cpuinfo;
    int processor = 0;
    for (int package = 0; package < 2; ++package) {
        for (int thread = 0; thread < 2; ++thread) {
            for (int core = 0; core < 2; ++core) {
                cpuinfo += "processor\t: " + std::to_string(processor++) +
                           "\nmodel name\t: Intel(R) Xeon(R) CPU E5-2680\nphysical id\t: " +
                           std::to_string(package) + "\ncore id\t\t: " + std::to_string(core) +
                           "\n\n";
            }
        }
    }
    CpuSummary summary = parse_cpuinfo(cpuinfo);
    EXPECT_EQ(summary.model_name, "Intel(R) Xeon(R) CPU E5-2680");
    EXPECT_EQ(summary.logical_processors, 8);
    EXPECT_EQ(summary.cores, 4);
    EXPECT_EQ(summary.packages, 2);

    // ARM kernels print neither a model name nor core ids.
    CpuSummary arm = parse_cpuinfo(
        "processor\t: 0\nBogoMIPS\t: 48.00\n\nprocessor\t: 1\n"
        "BogoMIPS\t: 48.00\n\nHardware\t: BCM2835\n");
    EXPECT_FALSE(arm.model_name);
    EXPECT_EQ(arm.logical_processors, 2);
    EXPECT_EQ(arm.cores, 0);
    EXPECT_EQ(arm.packages, 0);
}

TEST(LinuxHostProfileText, MemoryRoundsToTheNearestGigabyte) {
    EXPECT_EQ(mem_total_kib("MemFree: 1 kB\nMemTotal:       16318412 kB\n"), 16318412u);
    EXPECT_FALSE(mem_total_kib("MemFree: 1 kB\n"));
    EXPECT_FALSE(mem_total_kib("MemTotal: lots kB\n"));

    EXPECT_EQ(physical_memory_text(16318412), "16 GB");  // 15.56 GiB usable of 16
    EXPECT_EQ(physical_memory_text(2014948), "2 GB");
    EXPECT_EQ(physical_memory_text(8 * 1048576 + 600 * 1024), "9 GB");
    EXPECT_EQ(physical_memory_text(491520), "480 MB");
}

TEST(LinuxHostProfileText, SpeedsAndCachesInMacUnits) {
    EXPECT_EQ(processor_speed_text("2300000\n"), "2.3 GHz");
    EXPECT_EQ(processor_speed_text("4000000"), "4 GHz");
    EXPECT_EQ(processor_speed_text("2660000"), "2.66 GHz");
    EXPECT_EQ(processor_speed_text("800000"), "800 MHz");
    EXPECT_FALSE(processor_speed_text("0"));
    EXPECT_FALSE(processor_speed_text("fast"));

    EXPECT_EQ(cache_size_text("256K\n"), "256 KB");
    EXPECT_EQ(cache_size_text("8192K"), "8 MB");
    EXPECT_EQ(cache_size_text("32M"), "32 MB");
    EXPECT_FALSE(cache_size_text("K"));
    EXPECT_FALSE(cache_size_text("12G"));
}

}  // namespace
}  // namespace platform::linux_host
