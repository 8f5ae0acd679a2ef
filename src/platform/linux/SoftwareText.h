// Parsers and formatters for the software overview of the profile: /etc/os-release,
// /proc/uptime, /proc/self/mountinfo and the password entry's comment field.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace platform::linux_host {

// KEY=value lines with shell quoting: "double" (where \" \\ \$ \` are escapes), 'single'
// (literal) or bare words (backslash escapes one character); '#' lines are comments.
std::map<std::string, std::string, std::less<>> parse_os_release(std::string_view text);

// PRETTY_NAME, with VERSION_ID in parentheses when the pretty name does not already show it;
// NAME and VERSION_ID when there is no pretty name; "Linux" (the documented default) otherwise.
std::string os_version_text(const std::map<std::string, std::string, std::less<>>& release);

// The first number of /proc/uptime in whole seconds.
std::optional<long long> parse_uptime_seconds(std::string_view text);

// "up D:H:M:S", unpadded, as the macOS profiler prints it.
std::string uptime_text(long long seconds);

// "Full Name (login)": the name is the comment field up to its first comma, or the login when
// the comment is empty.
std::string user_name_text(std::string_view gecos, std::string_view login);

// The source (a device such as /dev/vda1) of the file system mounted on "/"; when "/" is mounted
// over, the last mount listed is the visible one.
std::optional<std::string> root_mount_source(std::string_view mountinfo);

}  // namespace platform::linux_host
