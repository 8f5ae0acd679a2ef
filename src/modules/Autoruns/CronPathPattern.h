// The pattern that finds file-system paths in a crontab line, used exactly as it stands:
//
//     (([^'"/ \\]*)((([/])|([\\][ ]))([^'"/ \\]+))+)|([^'"/ \\]+[/])
//
// An ordinary character is anything but a quote, a slash, a blank or a backslash. A match is an
// optional run of ordinary characters followed by segments, each a slash or an escaped blank
// followed by ordinary characters; or ordinary characters ending in a slash. So "PATH=/usr/bin"
// is one match, a match stops at an unescaped blank, a quote or a trailing slash, and escaped
// blanks stay inside it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace modules {

// Every non-overlapping match in the line, leftmost first, as the text of the whole match (escapes
// kept). A line too costly to search (the engine's limit; only hostile lines reach it) gives the
// matches found before that point and sets *gave_up.
std::vector<std::string> cron_path_matches(std::string_view line, bool* gave_up = nullptr);

}  // namespace modules
