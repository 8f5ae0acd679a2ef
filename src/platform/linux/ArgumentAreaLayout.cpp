#include "platform/linux/ArgumentAreaLayout.h"

#include <algorithm>
#include <cstring>

namespace platform::linux_host {
namespace {

// The kernel aligns "executable_path=<path>\0" to the pointer size; the prefix itself is 16
// bytes, so only the path decides the padding.
constexpr size_t kPointerSize = 8;

void append(std::vector<std::uint8_t>& area, std::string_view text) {
    area.insert(area.end(), text.begin(), text.end());
}

void append_strings(std::vector<std::uint8_t>& area, std::string_view strings) {
    append(area, strings);
    if (!strings.empty() && strings.back() != '\0') area.push_back(0);
}

}  // namespace

std::vector<std::uint8_t> build_argument_area(std::string_view cmdline, std::string_view exec_path,
                                              std::optional<std::string_view> environment) {
    auto count = std::count(cmdline.begin(), cmdline.end(), '\0');
    if (!cmdline.empty() && cmdline.back() != '\0') ++count;
    auto argc = static_cast<std::int32_t>(count);

    std::vector<std::uint8_t> area(sizeof argc);
    std::memcpy(area.data(), &argc, sizeof argc);
    append(area, exec_path);
    area.push_back(0);
    size_t padding = (kPointerSize - (exec_path.size() + 1) % kPointerSize) % kPointerSize;
    area.insert(area.end(), padding, 0);
    append_strings(area, cmdline);
    if (environment) append_strings(area, *environment);
    return area;
}

}  // namespace platform::linux_host
