// The description text of a value, laid out as the platform prints a dictionary. Two choices
// differ from current macOS on purpose: null prints quoted ("<null>"), so that replacing the
// text <null> still leaves a parseable string, and data prints in full as <hex>, so that it reads
// back as data.
#include <charconv>
#include <cstdio>

#include "libs/plist/CivilTime.h"
#include "libs/plist/OldStyle.h"
#include "libs/plist/Utf.h"

namespace plist {

namespace {

void indent(std::string& out, int level) {
    out.append(4 * static_cast<std::size_t>(level), ' ');
}

bool needs_quotes(std::string_view s) {
    if (s.empty()) return true;
    for (const char c : s) {
        const bool alnum =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (!alnum) return true;
    }
    return false;
}

void append_hex4(std::string& out, unsigned unit) {
    static constexpr char kHex[] = "0123456789abcdef";
    for (int shift = 12; shift >= 0; shift -= 4) out.push_back(kHex[(unit >> shift) & 0xF]);
}

void append_string(std::string& out, std::string_view s) {
    if (!needs_quotes(s)) {
        out.append(s);
        return;
    }
    out.push_back('"');
    for (std::size_t pos = 0; pos < s.size();) {
        const auto byte = static_cast<unsigned char>(s[pos]);
        if (byte >= 0x80) {
            const char32_t cp = utf::next_code_point(s, pos);
            if (cp >= 0x10000) {
                append_hex4(out.append("\\U"), 0xD800 + ((cp - 0x10000) >> 10));
                append_hex4(out.append("\\U"), 0xDC00 + ((cp - 0x10000) & 0x3FF));
            } else {
                append_hex4(out.append("\\U"), cp);
            }
            continue;
        }
        ++pos;
        switch (byte) {
            case '"':
                out.append("\\\"");
                break;
            case '\\':
                out.append("\\\\");
                break;
            case '\n':
                out.append("\\n");
                break;
            case '\t':
                out.append("\\t");
                break;
            default:
                if (byte < 0x20 || byte == 0x7F) {
                    char octal[5];
                    std::snprintf(octal, sizeof octal, "\\%03o", byte);
                    out.append(octal);
                } else {
                    out.push_back(static_cast<char>(byte));
                }
        }
    }
    out.push_back('"');
}

std::string integer_text(const Integer& i) {
    char digits[24];
    const auto result = i.is_unsigned ? std::to_chars(digits, digits + sizeof digits,
                                                      static_cast<std::uint64_t>(i.value))
                                      : std::to_chars(digits, digits + sizeof digits, i.value);
    return std::string(digits, static_cast<std::size_t>(result.ptr - digits));
}

std::string real_text(double d) {
    char text[32];
    std::snprintf(text, sizeof text, "%.16g", d);
    return text;
}

std::string date_text(Date date) {
    const CivilTime t = civil_time_utc(date);
    char text[48];
    std::snprintf(text, sizeof text, "%04lld-%02d-%02d %02d:%02d:%02d +0000",
                  static_cast<long long>(t.year), t.month, t.day, t.hour, t.minute, t.second);
    return text;
}

void append_data(std::string& out, const Data& data) {
    static constexpr char kHex[] = "0123456789abcdef";
    out.push_back('<');
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (i > 0 && i % 4 == 0) out.push_back(' ');
        out.push_back(kHex[data[i] >> 4]);
        out.push_back(kHex[data[i] & 0xF]);
    }
    out.push_back('>');
}

// A container starts with its own indentation, which is what puts the famous gaps after
// "key = " and before nested elements of arrays.
void describe_into(std::string& out, const Value& value, int level) {
    if (const Dictionary* dict = value.as_dict()) {
        indent(out, level);
        out.append("{\n");
        for (const auto& [key, child] : *dict) {
            indent(out, level + 1);
            append_string(out, key);
            out.append(" = ");
            describe_into(out, child, level + 1);
            out.append(";\n");
        }
        indent(out, level);
        out.push_back('}');
    } else if (const Array* array = value.as_array()) {
        indent(out, level);
        out.append("(\n");
        for (std::size_t i = 0; i < array->size(); ++i) {
            indent(out, level + 1);
            describe_into(out, (*array)[i], level + 1);
            out.append(i + 1 < array->size() ? ",\n" : "\n");
        }
        indent(out, level);
        out.push_back(')');
    } else if (const TextRows* rows = value.as_rows()) {
        describe_into(out, Value(rows->to_array()), level);
    } else if (const Data* data = value.as_data()) {
        append_data(out, *data);
    } else if (value.is_null()) {
        out.append("\"<null>\"");
    } else {
        append_string(out, *leaf_text(value));
    }
}

}  // namespace

std::optional<std::string> leaf_text(const Value& value) {
    if (const std::string* s = value.as_string()) return *s;
    if (const Integer* i = value.as_integer()) return integer_text(*i);
    if (const double* d = value.as_real()) return real_text(*d);
    if (const bool* b = value.as_bool()) return std::string(*b ? "1" : "0");
    if (const Date* date = value.as_date()) return date_text(*date);
    return std::nullopt;
}

std::string describe(const Value& value) {
    std::string out;
    describe_into(out, value, 0);
    return out;
}

}  // namespace plist
