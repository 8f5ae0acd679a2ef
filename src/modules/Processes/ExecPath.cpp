// Which executable file a command line starts.
#include <climits>

#include "modules/Processes/Processes.h"

namespace modules {
namespace {

// No longer path can name anything, so a huge command line of many short words costs no more
// than this many bytes per existence test.
constexpr std::size_t kLongestPath = PATH_MAX;

// Every blank (space or tab) splits, so two blanks in a row give an empty piece, and joining the
// pieces again with single spaces gives back the original spacing of a path.
std::vector<std::string_view> split_at_blanks(std::string_view line) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    for (;;) {
        const std::size_t blank = line.find_first_of(" \t", start);
        if (blank == std::string_view::npos) break;
        pieces.push_back(line.substr(start, blank - start));
        start = blank + 1;
    }
    pieces.push_back(line.substr(start));
    return pieces;
}

// The first piece and, unless it closes the quote itself, the following pieces up to the one
// that does (or all of them), without the first and last characters. A lone quote leaves an
// empty text to cut the opening quote from: substr throws std::out_of_range, deliberately.
std::string unquote(const std::vector<std::string_view>& pieces, char quote) {
    std::string candidate(pieces.front());
    if (!candidate.ends_with(quote)) {
        for (std::size_t i = 1; i < pieces.size(); ++i) {
            candidate += ' ';
            candidate += pieces[i];
            if (pieces[i].ends_with(quote)) break;
        }
    }
    candidate = candidate.substr(0, candidate.size() - 1);
    return candidate.substr(1);
}

}  // namespace

bool Processes::names_existing_entry(const std::string& path) const {
    return !path.empty() && machine_.files().exists(path);
}

std::optional<std::string> Processes::get_exec_path(const std::string& command_line,
                                                    const std::string& header_path) const {
    const std::vector<std::string_view> pieces = split_at_blanks(command_line);
    std::string candidate;
    if (pieces.front().starts_with('"')) {
        candidate = unquote(pieces, '"');
    } else if (pieces.front().starts_with('\'')) {
        candidate = unquote(pieces, '\'');
    } else {
        // The longest prefix that exists wins: arguments after the executable are dropped, and a
        // path with blanks in it is found whole.
        candidate = pieces.front();
        std::string running = candidate;
        for (std::size_t i = 1; i < pieces.size(); ++i) {
            running += ' ';
            running += pieces[i];
            if (running.size() > kLongestPath) break;
            if (names_existing_entry(running)) candidate = running;
        }
    }
    if (names_existing_entry(candidate)) return candidate;
    if (names_existing_entry(header_path)) return header_path;
    return std::nullopt;
}

}  // namespace modules
