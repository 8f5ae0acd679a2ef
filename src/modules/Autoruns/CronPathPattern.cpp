#include "modules/Autoruns/CronPathPattern.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <memory>

namespace modules {
namespace {

constexpr std::string_view kPathPattern =
    R"((([^'"/ \\]*)((([/])|([\\][ ]))([^'"/ \\]+))+)|([^'"/ \\]+[/]))";
// Backtracking steps one search may take; a crontab line of any real length needs far fewer.
constexpr std::uint32_t kMatchLimit = 1'000'000;

struct FreeCode {
    void operator()(pcre2_code* code) const { pcre2_code_free(code); }
};
struct FreeMatchData {
    void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
};
struct FreeMatchContext {
    void operator()(pcre2_match_context* context) const { pcre2_match_context_free(context); }
};

const pcre2_code* compiled_pattern() {
    static const std::unique_ptr<pcre2_code, FreeCode> code = [] {
        int error = 0;
        PCRE2_SIZE offset = 0;
        return std::unique_ptr<pcre2_code, FreeCode>(
            // Matching is the same without the engine's automatic possessive runs, but then every
            // step of a hopeless scan counts against the limit. With them, a long run of ordinary
            // characters before a dead end is rescanned from each starting point without being
            // counted: a megabyte line would take minutes.
            pcre2_compile(reinterpret_cast<PCRE2_SPTR>(kPathPattern.data()), kPathPattern.size(),
                          PCRE2_NO_AUTO_POSSESS, &error, &offset, nullptr));
    }();
    return code.get();
}

bool is_ordinary(char c) {
    return c != '\'' && c != '"' && c != '/' && c != ' ' && c != '\\';
}

// Matches never cross a quote, an unescaped blank or a backslash that escapes no blank. Searching
// the stretches between those separately gives the same matches, and lets stretches that cannot
// match (no slash, no escaped blank) be passed over: searching a long run of ordinary characters
// would cost the square of its length, one failed attempt per starting point.
template <typename Visit>
void for_each_stretch(std::string_view line, Visit visit) {
    std::size_t start = 0;
    bool may_match = false;
    for (std::size_t i = 0; i <= line.size();) {
        if (i < line.size() && is_ordinary(line[i])) {
            ++i;
            continue;
        }
        if (i < line.size() && line[i] == '/') {
            may_match = true;
            ++i;
            continue;
        }
        if (i + 1 < line.size() && line[i] == '\\' && line[i + 1] == ' ') {
            may_match = true;
            i += 2;
            continue;
        }
        if (may_match && !visit(line.substr(start, i - start))) return;
        start = ++i;
        may_match = false;
    }
}

}  // namespace

std::vector<std::string> cron_path_matches(std::string_view line, bool* gave_up) {
    if (gave_up) *gave_up = false;
    std::vector<std::string> matches;
    const pcre2_code* code = compiled_pattern();
    if (!code) return matches;
    const std::unique_ptr<pcre2_match_data, FreeMatchData> data(
        pcre2_match_data_create_from_pattern(code, nullptr));
    const std::unique_ptr<pcre2_match_context, FreeMatchContext> context(
        pcre2_match_context_create(nullptr));
    pcre2_set_match_limit(context.get(), kMatchLimit);

    for_each_stretch(line, [&](std::string_view stretch) {
        const auto* subject = reinterpret_cast<PCRE2_SPTR>(stretch.data());
        for (PCRE2_SIZE at = 0; at < stretch.size();) {
            const int found =
                pcre2_match(code, subject, stretch.size(), at, 0, data.get(), context.get());
            if (found == PCRE2_ERROR_NOMATCH) break;
            if (found < 0) {
                if (gave_up) *gave_up = true;
                return false;
            }
            const PCRE2_SIZE* span = pcre2_get_ovector_pointer(data.get());
            matches.emplace_back(stretch.substr(span[0], span[1] - span[0]));
            // The pattern never matches empty text, so the search always moves on.
            at = span[1];
        }
        return true;
    });
    return matches;
}

}  // namespace modules
