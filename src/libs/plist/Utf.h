// Unicode conversions shared by the readers and the description text. Malformed input never
// fails here: each bad unit becomes U+FFFD, so a hostile string cannot stop a whole report.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace plist::utf {

inline constexpr char32_t kReplacement = 0xFFFD;

void append_utf8(std::string& out, char32_t code_point);

// Decodes the code point starting at text[pos] and moves pos past it. A malformed or truncated
// sequence yields U+FFFD and consumes one byte.
char32_t next_code_point(std::string_view text, std::size_t& pos);

// Pairs UTF-16 code units into code points, one unit at a time; lone surrogates become U+FFFD.
class Utf16Decoder {
public:
    explicit Utf16Decoder(std::string& out) : out_(out) {}
    ~Utf16Decoder() { finish(); }
    void add(char16_t unit);
    void finish();  // flushes a dangling high surrogate

private:
    std::string& out_;
    char16_t high_ = 0;
};

// UTF-16 text of units*2 bytes in the given byte order, as UTF-8.
std::string utf16_to_utf8(const unsigned char* bytes, std::size_t units, bool big_endian);

// Text in UTF-16 or UTF-32 (with a byte-order mark, or UTF-16 without one when a NUL is among
// the first two bytes, as Apple's text readers guess) converted to UTF-8. Empty when the bytes
// are not in one of those encodings, i.e. they are to be read as UTF-8.
std::optional<std::string> decode_wide_text(std::string_view bytes);

// The bytes as UTF-8 with each malformed byte replaced by U+FFFD.
std::string valid_utf8(std::string_view bytes);

// True when the bytes are well-formed UTF-8 (no overlong forms, surrogates or code points past
// U+10FFFF), as the platform demands of text it turns into a string.
bool is_valid_utf8(std::string_view text);

// The text without a leading UTF-8 byte-order mark.
std::string_view strip_utf8_bom(std::string_view text);

}  // namespace plist::utf
