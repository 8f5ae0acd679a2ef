// The running system's own text sources (/proc, /sys, /etc) and the small text helpers the
// parsers of this folder share. This backend only serves the root "/", so these paths are the
// host's; they still go through the one file layer, which reads only regular files.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform::linux_host {

// The whole file; empty when it is missing or unreadable (processes vanish between two reads,
// /sys/class/dmi is absent on many virtual machines, some files are root-only).
std::optional<std::string> read_host_text(std::string_view path);

// Without leading and trailing blanks, tabs and line ends (sysfs values end in a newline).
std::string_view trim(std::string_view text);

// Pieces between runs of blanks and tabs; no empty pieces.
std::vector<std::string_view> split_fields(std::string_view text);

// Lines without their terminators; a last line without one is kept.
std::vector<std::string_view> split_lines(std::string_view text);

// A whole decimal number, optionally negative; empty for anything else or on overflow.
std::optional<long long> parse_integer(std::string_view text);

}  // namespace platform::linux_host
