// Users' cron tables, kept as text and searched line by line for paths; and the rc script, kept
// as text only.
#include "libs/sys/Log.h"
#include "modules/Autoruns/Autoruns.h"
#include "modules/Autoruns/CronPathPattern.h"

namespace modules {
namespace {

constexpr std::string_view kCrontabFolder = "/usr/lib/cron/tabs";
constexpr std::string_view kRcCommon = "/etc/rc.common";

// The length of the newline character at text[i] (LF, VT, FF, CR, NEL, LINE and PARAGRAPH
// SEPARATOR, as the platform's newline set has them), or 0. A CR LF pair is two newlines.
std::size_t newline_at(std::string_view text, std::size_t i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte >= 0x0A && byte <= 0x0D) return 1;
    if (byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) == 0x85) {
        return 2;
    }
    if (byte == 0xE2 && text.substr(i + 1, 2) == "\x80\xA8") return 3;
    if (byte == 0xE2 && text.substr(i + 1, 2) == "\x80\xA9") return 3;
    return 0;
}

std::vector<std::string_view> split_lines(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size();) {
        if (const std::size_t length = newline_at(text, i)) {
            lines.push_back(text.substr(start, i - start));
            i += length;
            start = i;
        } else {
            ++i;
        }
    }
    lines.push_back(text.substr(start));
    return lines;
}

}  // namespace

std::vector<std::string> Autoruns::cron_path(std::string_view line) const {
    std::vector<std::string> paths;
    bool gave_up = false;
    for (std::string match : cron_path_matches(line, &gave_up)) {
        for (std::size_t at; (at = match.find("\\ ")) != std::string::npos;) match.erase(at, 1);
        if (machine_.files().exists(match)) paths.push_back(std::move(match));
    }
    if (gave_up) sys::log_line("[CRONTABS] Line too costly to search; the rest of it is skipped.");
    return paths;
}

Autoruns::Collected Autoruns::read_crontabs() const {
    const sys::FileSystem& files = machine_.files();
    Collected cron;
    const std::vector<std::string> names = files.entries_of(kCrontabFolder);
    if (names.empty()) {
        sys::log_line("[CRONTABS] Crontabs directory does not exist or empty:");
        sys::log_line("(null)");
        return cron;
    }
    for (const std::string& name : names) {
        const std::string path = std::string(kCrontabFolder) + "/" + name;
        sys::ReadError error;
        std::optional<std::string> text = files.read_utf8_text(path, &error);
        if (!text) {
            sys::logf("[CRONTABS] Error in getting user crontabs content at path: {}", path);
            sys::logf("error({}): {}", error.code, error.description);
            continue;
        }
        sys::logf("[CRONTABS] Got user crontabs at path: {}", path);
        const std::vector<std::string_view> lines = split_lines(*text);
        for (std::string_view line : lines) sys::logf("[CRONTABS] {}", line);
        for (std::string_view line : lines) {
            if (line.empty() || line.front() == '#') continue;
            for (std::string& found : cron_path(line)) {
                sys::logf("Extracted path: {}", found);
                cron.paths.push_back(std::move(found));
            }
        }
        cron.plists[path] = std::move(*text);
    }
    return cron;
}

plist::Dictionary Autoruns::read_rcitems() const {
    if (!machine_.files().exists(kRcCommon)) {
        sys::log_line("[RCITEMS] rc.common file does not exist");
        return {};
    }
    sys::ReadError error;
    std::optional<std::string> text = machine_.files().read_utf8_text(kRcCommon, &error);
    if (!text) {
        sys::log_line("[RCITEMS] Error in getting rc.common content.");
        sys::log_line(error.description);
        return {};
    }
    plist::Dictionary rc;
    rc[std::string(kRcCommon)] = std::move(*text);
    return rc;
}

}  // namespace modules
