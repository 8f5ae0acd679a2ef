// Making a report built from JSON storable: nulls have no property-list form.
//
// The platform does this by printing the dictionary's description, replacing every "<null>" in
// the text with "null value" and parsing the text back. The walk below gives exactly that result
// without the text, which for a browser history of a million rows would take gigabytes: a leaf
// reads back as the string its description shows (data stays data, a null becomes "null value"),
// and since the description escapes no character of "<null>" and no other part of the text can
// hold one, the replacement only ever meets the content of strings and keys.
#include <string>

#include "libs/Disk/Disk.h"
#include "libs/plist/OldStyle.h"

namespace {

constexpr std::string_view kNullText = "<null>";
constexpr std::string_view kNullReplacement = "null value";

// Left to right without rescanning what was put in, as a replacement over the whole text works.
bool replace_nulls(std::string& text) {
    std::size_t found = text.find(kNullText);
    if (found == std::string::npos) return false;
    std::string replaced;
    replaced.reserve(text.size() + 8);
    std::size_t start = 0;
    for (; found != std::string::npos; found = text.find(kNullText, start)) {
        replaced.append(text, start, found - start);
        replaced.append(kNullReplacement);
        start = found + kNullText.size();
    }
    replaced.append(text, start);
    text = std::move(replaced);
    return true;
}

void sanitize(plist::Value& value);

void sanitize_rows(plist::Value& value) {
    const plist::TextRows& rows = *value.as_rows();
    // Cells are searched all at once; a find that spans two cells only costs the walk.
    if (rows.all_text().find(kNullText) == std::string_view::npos) return;
    plist::TextRows cleaned;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        cleaned.begin_row();
        for (std::size_t column = 0; column < rows.row_size(row); ++column) {
            std::string cell(rows.cell(row, column));
            replace_nulls(cell);
            cleaned.add(cell);
        }
    }
    value = plist::Value(std::move(cleaned));
}

void sanitize_dictionary(plist::Dictionary& dictionary) {
    bool keys_changed = false;
    for (auto& [key, child] : dictionary) {
        sanitize(child);
        keys_changed = keys_changed || key.find(kNullText) != std::string::npos;
    }
    if (!keys_changed) return;
    // Read back in key order, a key that now equals a later one gives way to it.
    plist::Dictionary renamed;
    for (auto& [key, child] : dictionary) {
        std::string new_key = key;
        replace_nulls(new_key);
        renamed.insert_or_assign(std::move(new_key), std::move(child));
    }
    dictionary = std::move(renamed);
}

void sanitize(plist::Value& value) {
    if (plist::Dictionary* dictionary = value.as_dict()) {
        sanitize_dictionary(*dictionary);
    } else if (plist::Array* array = value.as_array()) {
        for (plist::Value& child : *array) sanitize(child);
    } else if (std::string* text = value.as_string()) {
        replace_nulls(*text);
    } else if (value.as_rows()) {
        sanitize_rows(value);
    } else if (value.is_null()) {
        value = plist::Value(kNullReplacement);
    } else if (std::optional<std::string> text = plist::leaf_text(value)) {
        value = plist::Value(std::move(*text));
    }
}

}  // namespace

plist::Dictionary Disk::sanitize_json_dict(plist::Dictionary dictionary) {
    sanitize_dictionary(dictionary);
    return dictionary;
}
