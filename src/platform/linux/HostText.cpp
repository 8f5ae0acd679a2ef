#include "platform/linux/HostText.h"

#include <charconv>

#include "libs/sys/FileSystem.h"

namespace platform::linux_host {

std::optional<std::string> read_host_text(std::string_view path) {
    return sys::FileSystem::host().read_file(path);
}

std::string_view trim(std::string_view text) {
    constexpr std::string_view kBlank = " \t\r\n";
    size_t first = text.find_first_not_of(kBlank);
    if (first == std::string_view::npos) return {};
    size_t last = text.find_last_not_of(kBlank);
    return text.substr(first, last - first + 1);
}

std::vector<std::string_view> split_fields(std::string_view text) {
    std::vector<std::string_view> fields;
    size_t position = 0;
    while (position < text.size()) {
        size_t start = text.find_first_not_of(" \t", position);
        if (start == std::string_view::npos) break;
        size_t end = text.find_first_of(" \t", start);
        if (end == std::string_view::npos) end = text.size();
        fields.push_back(text.substr(start, end - start));
        position = end;
    }
    return fields;
}

std::vector<std::string_view> split_lines(std::string_view text) {
    std::vector<std::string_view> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

std::optional<long long> parse_integer(std::string_view text) {
    long long value = 0;
    const char* end = text.data() + text.size();
    auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
    return value;
}

}  // namespace platform::linux_host
