#include "platform/linux/SoftwareText.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "platform/linux/HostText.h"

namespace platform::linux_host {
namespace {

bool is_variable_name(std::string_view name) {
    if (name.empty()) return false;
    for (char c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
    }
    return true;
}

bool escapable_in_double_quotes(char c) {
    return c == '"' || c == '\\' || c == '$' || c == '`';
}

// One shell word: quoted pieces and bare pieces run together until an unquoted blank.
std::string unquote_shell_word(std::string_view text) {
    std::string value;
    size_t i = 0;
    while (i < text.size()) {
        char c = text[i];
        if (c == ' ' || c == '\t') break;
        if (c == '\'') {
            size_t end = text.find('\'', i + 1);
            if (end == std::string_view::npos) end = text.size();
            value.append(text.substr(i + 1, end - i - 1));
            i = end + 1;
        } else if (c == '"') {
            for (++i; i < text.size() && text[i] != '"'; ++i) {
                if (text[i] == '\\' && i + 1 < text.size() &&
                    escapable_in_double_quotes(text[i + 1])) {
                    ++i;
                }
                value.push_back(text[i]);
            }
            ++i;
        } else if (c == '\\' && i + 1 < text.size()) {
            value.push_back(text[i + 1]);
            i += 2;
        } else {
            value.push_back(c);
            ++i;
        }
    }
    return value;
}

}  // namespace

std::map<std::string, std::string, std::less<>> parse_os_release(std::string_view text) {
    std::map<std::string, std::string, std::less<>> release;
    for (std::string_view line : split_lines(text)) {
        line = trim(line);
        if (line.empty() || line.front() == '#') continue;
        size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        std::string_view name = trim(line.substr(0, equals));
        if (!is_variable_name(name)) continue;
        release[std::string(name)] = unquote_shell_word(trim(line.substr(equals + 1)));
    }
    return release;
}

std::string os_version_text(const std::map<std::string, std::string, std::less<>>& release) {
    auto value_of = [&](std::string_view key) -> std::string {
        auto it = release.find(key);
        return it == release.end() ? std::string() : it->second;
    };
    std::string pretty = value_of("PRETTY_NAME");
    std::string version = value_of("VERSION_ID");
    if (pretty.empty()) {
        std::string name = value_of("NAME");
        if (name.empty()) return "Linux";
        return version.empty() ? name : name + " " + version;
    }
    if (!version.empty() && pretty.find(version) == std::string::npos) {
        return pretty + " (" + version + ")";
    }
    return pretty;
}

std::optional<long long> parse_uptime_seconds(std::string_view text) {
    auto fields = split_fields(trim(text));
    if (fields.empty()) return std::nullopt;
    std::string first(fields.front());
    char* end = nullptr;
    double seconds = std::strtod(first.c_str(), &end);
    if (end != first.c_str() + first.size() || !std::isfinite(seconds) || seconds < 0 ||
        seconds > 1e15) {
        return std::nullopt;
    }
    return static_cast<long long>(seconds);
}

std::string uptime_text(long long seconds) {
    if (seconds < 0) seconds = 0;
    long long days = seconds / 86400;
    long long hours = seconds / 3600 % 24;
    long long minutes = seconds / 60 % 60;
    return "up " + std::to_string(days) + ":" + std::to_string(hours) + ":" +
           std::to_string(minutes) + ":" + std::to_string(seconds % 60);
}

std::string user_name_text(std::string_view gecos, std::string_view login) {
    std::string_view name = trim(gecos.substr(0, gecos.find(',')));
    if (name.empty()) name = login;
    return std::string(name) + " (" + std::string(login) + ")";
}

std::optional<std::string> root_mount_source(std::string_view mountinfo) {
    // "id parent major:minor root mount-point options [optional...] - type source super-options"
    std::optional<std::string> source;
    for (std::string_view line : split_lines(mountinfo)) {
        auto fields = split_fields(line);
        if (fields.size() < 5 || fields[4] != "/") continue;
        for (size_t i = 5; i + 2 < fields.size(); ++i) {
            if (fields[i] == "-") {
                source = std::string(fields[i + 2]);
                break;
            }
        }
    }
    return source;
}

}  // namespace platform::linux_host
