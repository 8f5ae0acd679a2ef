// Making a report built from JSON storable: nulls have no property-list form.
#include <string>

#include "libs/Disk/Disk.h"
#include "libs/plist/OldStyle.h"
#include "libs/sys/Log.h"

namespace {

constexpr std::string_view kNullText = "<null>";
constexpr std::string_view kNullReplacement = "null value";

void replace_all(std::string& text, std::string_view from, std::string_view to) {
    std::string replaced;
    replaced.reserve(text.size());
    std::size_t start = 0;
    for (std::size_t found; (found = text.find(from, start)) != std::string::npos;
         start = found + from.size()) {
        replaced.append(text, start, found - start);
        replaced.append(to);
    }
    replaced.append(text, start);
    text = std::move(replaced);
}

}  // namespace

std::optional<plist::Dictionary> Disk::sanitize_json_dict(const plist::Dictionary& dictionary) {
    // A plain replacement over the whole text reaches every depth at once. A string that merely
    // contains "<null>" is rewritten as well; reports have always looked like that.
    std::string text = plist::describe(plist::Value(dictionary));
    replace_all(text, kNullText, kNullReplacement);

    std::string error;
    std::optional<plist::Value> parsed = plist::parse_old_style(text, &error);
    if (parsed && parsed->as_dict()) return std::move(*parsed->as_dict());
    if (parsed) error = "The description did not parse back as a dictionary.";
    sys::log_line("ERROR: While sanitizing dictionary from jsons.");
    sys::log_line(error);
    return std::nullopt;
}
