#include "libs/plist/Reader.h"

#include "libs/plist/OldStyle.h"
#include "libs/plist/Utf.h"

namespace plist {

namespace {

bool is_hex_or_space(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F') || c == ' ' ||
           (c >= '\t' && c <= '\r');
}

// Old-style text may also start with '<': a data object such as <0fbd77>. XML markup is a '<'
// followed by anything that is not hex digits and blanks up to the '>'.
bool starts_with_xml_markup(std::string_view text) {
    std::size_t pos = 0;
    while (pos < text.size() && (text[pos] == ' ' || (text[pos] >= '\t' && text[pos] <= '\r')))
        ++pos;
    if (pos == text.size() || text[pos] != '<') return false;
    for (++pos; pos < text.size() && text[pos] != '>'; ++pos) {
        if (!is_hex_or_space(text[pos])) return true;
    }
    return false;
}

std::optional<Value> parse_text(std::string_view text, std::string* error) {
    text = utf::strip_utf8_bom(text);
    return starts_with_xml_markup(text) ? parse_xml(text, error) : parse_old_style(text, error);
}

}  // namespace

std::optional<Value> parse(std::string_view bytes, std::string* error) {
    if (bytes.size() > kMaxInputBytes) {
        if (error) *error = "property list larger than 256 MiB";
        return std::nullopt;
    }
    // A file with nothing in it holds no property list (as old-style text it would read as an
    // empty dictionary, which only a description may be).
    if (bytes.empty()) {
        if (error) *error = "Cannot parse a NULL or zero-length data";
        return std::nullopt;
    }
    if (bytes.starts_with("bplist0")) return parse_binary(bytes, error);
    if (std::optional<std::string> wide = utf::decode_wide_text(bytes))
        return parse_text(*wide, error);
    return parse_text(bytes, error);
}

}  // namespace plist
