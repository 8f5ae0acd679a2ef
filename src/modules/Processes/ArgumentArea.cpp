#include "modules/Processes/ArgumentArea.h"

#include <simdjson.h>

#include <algorithm>
#include <cstring>

#include "libs/sys/Log.h"

namespace modules {
namespace {

constexpr std::string_view kNone = "None";

}  // namespace

std::string command_line_from_argument_area(std::span<const std::uint8_t> area, std::int32_t pid) {
    std::int32_t argument_count = 0;
    std::size_t pos = sizeof argument_count;
    // An area of the count alone (or less) ends inside the executable path.
    if (area.size() > pos) std::memcpy(&argument_count, area.data(), sizeof argument_count);

    while (pos < area.size() && area[pos] != 0) ++pos;
    if (pos >= area.size()) {
        sys::logf("End reached 1...failed for pid {}!!", pid);
        return std::string(kNone);
    }
    while (pos < area.size() && area[pos] == 0) ++pos;
    if (pos == area.size()) {
        sys::logf("End reached 2...failed for pid {}!!", pid);
        return std::string(kNone);
    }

    // The padding skip above also swallows an empty first argument: it cannot be told from
    // padding, so the first argument always starts on a non-NUL byte and is never empty here.
    const std::size_t first = pos;
    std::size_t last_terminator = 0;
    std::int32_t counted = 0;
    for (; counted < argument_count && pos < area.size(); ++pos) {
        if (area[pos] != 0) continue;
        ++counted;
        last_terminator = pos;
    }
    if (counted == 0) {
        sys::logf("Unterminated or empty string...failed for pid {}!!", pid);
        return std::string(kNone);
    }

    std::string command(reinterpret_cast<const char*>(area.data() + first),
                        last_terminator - first);
    std::replace(command.begin(), command.end(), '\0', ' ');
    // A report must stay valid UTF-8; the platform's UTF-8 reading refuses such bytes as well.
    if (!simdjson::validate_utf8(command.data(), command.size())) {
        sys::logf("Command line is not UTF-8...failed for pid {}!!", pid);
        return std::string(kNone);
    }
    return command;
}

std::string executable_path_from_argument_area(std::span<const std::uint8_t> area) {
    constexpr std::size_t kPathStart = sizeof(std::int32_t);
    if (area.size() <= kPathStart) return {};
    const auto begin = area.begin() + kPathStart;
    const auto terminator = std::find(begin, area.end(), std::uint8_t{0});
    if (terminator == area.end()) return {};
    std::string path(begin, terminator);
    if (!simdjson::validate_utf8(path.data(), path.size())) return {};
    return path;
}

}  // namespace modules
