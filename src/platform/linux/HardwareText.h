// Parsers and formatters for the hardware overview of the profile: /proc/cpuinfo, /proc/meminfo
// and the sysfs processor files, printed in the units the macOS profiler uses.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform::linux_host {

struct CpuSummary {
    std::optional<std::string> model_name;  // x86 "model name"; ARM kernels print none
    int logical_processors = 0;             // "processor" entries
    int cores = 0;     // distinct (physical id, core id) pairs; 0 when the kernel omits them
    int packages = 0;  // distinct physical ids; 0 when the kernel omits them
};

CpuSummary parse_cpuinfo(std::string_view text);

// "MemTotal:" of /proc/meminfo in KiB.
std::optional<std::uint64_t> mem_total_kib(std::string_view meminfo);

// Whole gigabytes rounded to the nearest ("16 GB"): MemTotal lies below the installed memory by
// what the kernel keeps, so rounding down would understate it. Below half a gigabyte, megabytes.
std::string physical_memory_text(std::uint64_t kib);

// cpuinfo_max_freq (kHz) as "2.3 GHz" or "800 MHz"; empty for anything not a positive number.
std::optional<std::string> processor_speed_text(std::string_view khz_text);

// A sysfs cache size ("256K", "8192K", "32M") as "256 KB", "8 MB"; empty when not understood.
std::optional<std::string> cache_size_text(std::string_view sysfs_size);

}  // namespace platform::linux_host
