// Old-style text reader, our own: libplist 2.2 cannot read this format. The grammar is that of
// Apple's reader, plus the two artefacts of a description (<null>, {length = N, bytes = 0x..}).
#include <charconv>
#include <cstdint>

#include "libs/plist/OldStyle.h"
#include "libs/plist/Reader.h"
#include "libs/plist/Utf.h"

namespace plist {

namespace {

bool is_bare_char(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '$' || c == '/' || c == ':' || c == '.' || c == '-';
}

int hex_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

class OldStyleParser {
public:
    explicit OldStyleParser(std::string_view text) : text_(text) {}

    std::optional<Value> parse_document(std::string* error);

private:
    bool at_end() const { return pos_ >= text_.size(); }
    char peek() const { return at_end() ? '\0' : text_[pos_]; }
    bool looking_at(std::string_view s) const { return text_.substr(pos_).starts_with(s); }
    bool fail(std::string_view what);
    bool skip_space();

    bool parse_object(Value& out, int depth);
    bool parse_string(std::string& out);
    bool parse_quoted(std::string& out);
    bool parse_escape(std::string& out, utf::Utf16Decoder& wide);
    bool parse_dict_body(Dictionary& out, int depth, bool braced);
    bool parse_array(Value& out, int depth);
    bool parse_data(Value& out);
    bool parse_description_data(Value& out);

    std::string_view text_;
    std::size_t pos_ = 0;
    std::string error_;
};

bool OldStyleParser::fail(std::string_view what) {
    if (error_.empty()) {
        const std::size_t end = pos_ < text_.size() ? pos_ : text_.size();
        std::size_t line = 1;
        for (std::size_t i = 0; i < end; ++i) line += text_[i] == '\n';
        error_ =
            "old-style property list: " + std::string(what) + " at line " + std::to_string(line);
    }
    return false;
}

// Blanks (including U+2028 and U+2029) and // or /* */ comments.
bool OldStyleParser::skip_space() {
    while (!at_end()) {
        const char c = text_[pos_];
        if (c == ' ' || (c >= '\t' && c <= '\r')) {
            ++pos_;
        } else if (looking_at("\xE2\x80\xA8") || looking_at("\xE2\x80\xA9")) {
            pos_ += 3;
        } else if (looking_at("//")) {
            const std::size_t eol = text_.find('\n', pos_);
            pos_ = eol == std::string_view::npos ? text_.size() : eol + 1;
        } else if (looking_at("/*")) {
            const std::size_t end = text_.find("*/", pos_ + 2);
            if (end == std::string_view::npos) return fail("unterminated comment");
            pos_ = end + 2;
        } else {
            break;
        }
    }
    return true;
}

bool OldStyleParser::parse_escape(std::string& out, utf::Utf16Decoder& wide) {
    const char c = text_[pos_++];
    if (c == 'U') {
        unsigned unit = 0;
        int digits = 0;
        for (; digits < 4 && !at_end() && hex_value(peek()) >= 0; ++digits) {
            unit = unit << 4 | static_cast<unsigned>(hex_value(text_[pos_++]));
        }
        if (digits == 0) return fail("\\U without hex digits");
        wide.add(static_cast<char16_t>(unit));
        return true;
    }
    wide.finish();
    if (c >= '0' && c <= '7') {
        unsigned code = static_cast<unsigned>(c - '0');
        for (int digits = 1; digits < 3 && peek() >= '0' && peek() <= '7'; ++digits) {
            code = code << 3 | static_cast<unsigned>(text_[pos_++] - '0');
        }
        // Octal escapes name NeXTSTEP characters; above 0x7F we read them as Latin-1, which
        // differs from NeXTSTEP for some letters. Apple's writers use \U for non-ASCII.
        utf::append_utf8(out, code & 0xFF);
        return true;
    }
    switch (c) {
        case 'a':
            out.push_back('\a');
            break;
        case 'b':
            out.push_back('\b');
            break;
        case 'f':
            out.push_back('\f');
            break;
        case 'n':
            out.push_back('\n');
            break;
        case 'r':
            out.push_back('\r');
            break;
        case 't':
            out.push_back('\t');
            break;
        case 'v':
            out.push_back('\v');
            break;
        default:
            out.push_back(c);
            break;  // \" \\ \' and any other character stand for themselves
    }
    return true;
}

bool OldStyleParser::parse_quoted(std::string& out) {
    const char quote = text_[pos_++];
    utf::Utf16Decoder wide(out);
    while (!at_end()) {
        const char c = text_[pos_];
        if (c == quote) {
            ++pos_;
            wide.finish();
            return true;
        }
        if (c == '\\') {
            ++pos_;
            if (at_end()) break;
            if (!parse_escape(out, wide)) return false;
            continue;
        }
        wide.finish();
        // Copy the run up to the next quote or backslash in one piece.
        std::size_t end = pos_;
        while (end < text_.size() && text_[end] != quote && text_[end] != '\\') ++end;
        out.append(text_.substr(pos_, end - pos_));
        pos_ = end;
    }
    return fail("unterminated quoted string");
}

bool OldStyleParser::parse_string(std::string& out) {
    const char c = peek();
    if (c == '"' || c == '\'') return parse_quoted(out);
    const std::size_t start = pos_;
    while (!at_end() && is_bare_char(text_[pos_])) ++pos_;
    if (pos_ == start) return fail("expected a string");
    out.assign(text_.substr(start, pos_ - start));
    return true;
}

bool OldStyleParser::parse_dict_body(Dictionary& out, int depth, bool braced) {
    for (;;) {
        if (!skip_space()) return false;
        if (braced && peek() == '}') {
            ++pos_;
            return true;
        }
        if (at_end()) return braced ? fail("unterminated dictionary") : true;
        std::string key;
        if (!parse_string(key) || !skip_space()) return false;
        if (peek() == ';') {
            // "key;" alone stands for key = key.
            ++pos_;
            Value value(key);
            out.insert_or_assign(std::move(key), std::move(value));
            continue;
        }
        if (peek() != '=') return fail("expected '=' or ';' after a key");
        ++pos_;
        if (!skip_space()) return false;
        Value value;
        if (!parse_object(value, depth) || !skip_space()) return false;
        if (peek() != ';') return fail("expected ';' after a dictionary entry");
        ++pos_;
        out.insert_or_assign(std::move(key), std::move(value));
    }
}

bool OldStyleParser::parse_array(Value& out, int depth) {
    ++pos_;
    Array array;
    for (;;) {
        if (!skip_space()) return false;
        if (peek() == ')') break;
        if (!parse_object(array.emplace_back(), depth) || !skip_space()) return false;
        if (peek() == ',') {
            ++pos_;
        } else if (peek() != ')') {
            return fail("expected ',' or ')' in an array");
        }
    }
    ++pos_;
    out = std::move(array);
    return true;
}

bool OldStyleParser::parse_data(Value& out) {
    if (looking_at("<null>")) {
        pos_ += 6;
        out = Null{};
        return true;
    }
    ++pos_;
    Data data;
    for (;;) {
        if (!skip_space()) return false;
        if (peek() == '>') break;
        const int high = hex_value(peek());
        const int low = pos_ + 1 < text_.size() ? hex_value(text_[pos_ + 1]) : -1;
        if (high < 0 || low < 0) return fail("bad hex digit in data");
        data.push_back(static_cast<std::uint8_t>(high << 4 | low));
        pos_ += 2;
    }
    ++pos_;
    out = std::move(data);
    return true;
}

// {length = N, bytes = 0x...}: the description of data since macOS 10.15. Beyond 24 bytes it
// shows only the ends around " ... "; that form keeps its text as a string, since its bytes are
// lost. Returns false with no error when the text at '{' is not this form (a dictionary).
bool OldStyleParser::parse_description_data(Value& out) {
    const std::size_t start = pos_;
    auto word = [&](std::string_view w) {
        skip_space();
        if (!looking_at(w)) return false;
        pos_ += w.size();
        return true;
    };
    auto number = [&](std::size_t& n) {
        skip_space();
        const auto [end, ec] = std::from_chars(text_.data() + pos_, text_.data() + text_.size(), n);
        pos_ = static_cast<std::size_t>(end - text_.data());
        return ec == std::errc();
    };
    ++pos_;
    std::size_t length = 0;
    if (!(word("length") && word("=") && number(length) && word(",") && word("bytes") &&
          word("=") && word("0x"))) {
        pos_ = start;
        return false;
    }
    Data data;
    bool truncated = false;
    for (;;) {
        while (peek() == ' ') ++pos_;
        if (peek() == '}') break;
        if (looking_at("...")) {
            truncated = true;
            pos_ += 3;
            continue;
        }
        const int high = hex_value(peek());
        const int low = pos_ + 1 < text_.size() ? hex_value(text_[pos_ + 1]) : -1;
        if (high < 0 || low < 0) return fail("bad hex digit in {length = ...} data");
        data.push_back(static_cast<std::uint8_t>(high << 4 | low));
        pos_ += 2;
    }
    ++pos_;
    if (truncated) {
        out = std::string(text_.substr(start, pos_ - start));
    } else if (data.size() != length) {
        return fail("{length = ...} data whose length does not match its bytes");
    } else {
        out = std::move(data);
    }
    return true;
}

bool OldStyleParser::parse_object(Value& out, int depth) {
    const char c = peek();
    if (c == '{' || c == '(') {
        if (depth >= kMaxDepth) return fail("nested deeper than " + std::to_string(kMaxDepth));
        if (c == '(') return parse_array(out, depth + 1);
        if (parse_description_data(out)) return true;
        if (!error_.empty()) return false;
        ++pos_;
        Dictionary dict;
        if (!parse_dict_body(dict, depth + 1, true)) return false;
        out = std::move(dict);
        return true;
    }
    if (c == '<') return parse_data(out);
    std::string text;
    if (!parse_string(text)) return false;
    out = std::move(text);
    return true;
}

std::optional<Value> OldStyleParser::parse_document(std::string* error) {
    if (!skip_space()) {
        if (error) *error = error_;
        return std::nullopt;
    }
    if (at_end()) return Value(Dictionary{});
    const std::size_t start = pos_;
    Value value;
    const bool parsed = parse_object(value, 0) && skip_space();
    if (parsed && at_end()) return value;
    // Not one object: maybe a ".strings" body, the entries of a dictionary without braces.
    std::string object_error = std::move(error_);
    error_.clear();
    pos_ = start;
    Dictionary body;
    if (parse_dict_body(body, 1, false)) {
        value = std::move(body);
        return value;
    }
    if (error) *error = parsed ? error_ : object_error;
    return std::nullopt;
}

}  // namespace

std::optional<Value> parse_old_style(std::string_view text, std::string* error) {
    if (text.size() > kMaxInputBytes) {
        if (error) *error = "old-style property list: larger than 256 MiB";
        return std::nullopt;
    }
    return OldStyleParser(utf::strip_utf8_bom(text)).parse_document(error);
}

}  // namespace plist
