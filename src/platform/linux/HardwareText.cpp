#include "platform/linux/HardwareText.h"

#include <cmath>
#include <set>
#include <utility>

#include <fmt/format.h>

#include "platform/linux/HostText.h"

namespace platform::linux_host {
namespace {

constexpr std::uint64_t kKibPerGib = 1024 * 1024;

// "key<tabs> : value" as cpuinfo and meminfo print it.
std::pair<std::string_view, std::string_view> key_and_value(std::string_view line) {
    size_t colon = line.find(':');
    if (colon == std::string_view::npos) return {trim(line), {}};
    return {trim(line.substr(0, colon)), trim(line.substr(colon + 1))};
}

// Up to two decimals, without trailing zeros: "2.3", "4", "2.66".
std::string short_decimal(double value) {
    std::string text = fmt::format("{:.2f}", value);
    while (text.back() == '0') text.pop_back();
    if (text.back() == '.') text.pop_back();
    return text;
}

}  // namespace

CpuSummary parse_cpuinfo(std::string_view text) {
    CpuSummary summary;
    std::set<std::pair<long long, long long>> cores;
    std::set<long long> packages;
    bool every_entry_has_core = true;
    std::optional<long long> physical_id;
    std::optional<long long> core_id;
    bool in_entry = false;

    auto close_entry = [&] {
        if (!in_entry) return;
        if (physical_id && core_id) {
            cores.emplace(*physical_id, *core_id);
        } else {
            every_entry_has_core = false;
        }
        if (physical_id) packages.insert(*physical_id);
        physical_id.reset();
        core_id.reset();
        in_entry = false;
    };

    for (std::string_view line : split_lines(text)) {
        auto [key, value] = key_and_value(line);
        if (key.empty()) {
            close_entry();
            continue;
        }
        if (key == "processor") {
            close_entry();
            in_entry = true;
            ++summary.logical_processors;
        } else if (key == "physical id") {
            physical_id = parse_integer(value);
        } else if (key == "core id") {
            core_id = parse_integer(value);
        } else if (key == "model name" && !summary.model_name && !value.empty()) {
            summary.model_name = std::string(value);
        }
    }
    close_entry();
    if (every_entry_has_core) summary.cores = static_cast<int>(cores.size());
    summary.packages = static_cast<int>(packages.size());
    return summary;
}

std::optional<std::uint64_t> mem_total_kib(std::string_view meminfo) {
    for (std::string_view line : split_lines(meminfo)) {
        auto [key, value] = key_and_value(line);
        if (key != "MemTotal") continue;
        auto fields = split_fields(value);
        if (fields.empty()) return std::nullopt;
        auto kib = parse_integer(fields.front());
        if (!kib || *kib < 0) return std::nullopt;
        return static_cast<std::uint64_t>(*kib);
    }
    return std::nullopt;
}

std::string physical_memory_text(std::uint64_t kib) {
    auto gigabytes = std::llround(static_cast<double>(kib) / kKibPerGib);
    if (gigabytes >= 1) return fmt::format("{} GB", gigabytes);
    return fmt::format("{} MB", std::llround(static_cast<double>(kib) / 1024));
}

std::optional<std::string> processor_speed_text(std::string_view khz_text) {
    auto khz = parse_integer(trim(khz_text));
    if (!khz || *khz <= 0) return std::nullopt;
    if (*khz >= 1'000'000) return short_decimal(static_cast<double>(*khz) / 1e6) + " GHz";
    return short_decimal(static_cast<double>(*khz) / 1e3) + " MHz";
}

std::optional<std::string> cache_size_text(std::string_view sysfs_size) {
    sysfs_size = trim(sysfs_size);
    if (sysfs_size.empty()) return std::nullopt;
    char unit = sysfs_size.back();
    auto number = parse_integer(sysfs_size.substr(0, sysfs_size.size() - 1));
    if (!number || *number <= 0) return std::nullopt;
    if (unit == 'K') {
        if (*number % 1024 == 0) return fmt::format("{} MB", *number / 1024);
        return fmt::format("{} KB", *number);
    }
    if (unit == 'M') return fmt::format("{} MB", *number);
    return std::nullopt;
}

}  // namespace platform::linux_host
