#include "libs/plist/Utf.h"

#include <simdjson.h>

#include <cstdint>

namespace plist::utf {

std::string valid_utf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size());
    for (std::size_t pos = 0; pos < bytes.size();) append_utf8(out, next_code_point(bytes, pos));
    return out;
}

bool is_valid_utf8(std::string_view text) {
    return simdjson::validate_utf8(text.data(), text.size());
}

void append_utf8(std::string& out, char32_t cp) {
    if (cp >= 0xD800 && cp <= 0xDFFF) cp = kReplacement;
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x110000) {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        append_utf8(out, kReplacement);
    }
}

char32_t next_code_point(std::string_view text, std::size_t& pos) {
    auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(pos);
    if (lead < 0x80) {
        ++pos;
        return lead;
    }
    int extra = 0;
    char32_t cp = 0;
    char32_t min = 0;
    if ((lead & 0xE0) == 0xC0) {
        extra = 1, cp = lead & 0x1F, min = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        extra = 2, cp = lead & 0x0F, min = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        extra = 3, cp = lead & 0x07, min = 0x10000;
    } else {
        ++pos;
        return kReplacement;
    }
    if (text.size() - pos <= static_cast<std::size_t>(extra)) {
        ++pos;
        return kReplacement;
    }
    for (int i = 1; i <= extra; ++i) {
        const unsigned char next = byte(pos + i);
        if ((next & 0xC0) != 0x80) {
            ++pos;
            return kReplacement;
        }
        cp = (cp << 6) | (next & 0x3F);
    }
    // Overlong forms, surrogates and values past U+10FFFF are not characters.
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
        ++pos;
        return kReplacement;
    }
    pos += extra + 1;
    return cp;
}

void Utf16Decoder::add(char16_t unit) {
    if (high_) {
        if (unit >= 0xDC00 && unit <= 0xDFFF) {
            append_utf8(out_, 0x10000 + ((char32_t(high_) - 0xD800) << 10) + (unit - 0xDC00));
            high_ = 0;
            return;
        }
        append_utf8(out_, kReplacement);
        high_ = 0;
    }
    if (unit >= 0xD800 && unit <= 0xDBFF) {
        high_ = unit;
    } else {
        append_utf8(out_, unit);  // a lone low surrogate comes out as U+FFFD
    }
}

void Utf16Decoder::finish() {
    if (high_) append_utf8(out_, kReplacement);
    high_ = 0;
}

std::string utf16_to_utf8(const unsigned char* bytes, std::size_t units, bool big_endian) {
    std::string out;
    out.reserve(units);
    Utf16Decoder decoder(out);
    for (std::size_t i = 0; i < units; ++i) {
        const unsigned char a = bytes[2 * i], b = bytes[2 * i + 1];
        decoder.add(static_cast<char16_t>(big_endian ? (a << 8 | b) : (b << 8 | a)));
    }
    decoder.finish();
    return out;
}

namespace {

std::string utf32_to_utf8(std::string_view body, bool big_endian) {
    std::string out;
    for (std::size_t i = 0; i + 4 <= body.size(); i += 4) {
        auto b = [&](std::size_t k) {
            return static_cast<std::uint32_t>(static_cast<unsigned char>(body[i + k]));
        };
        const std::uint32_t cp = big_endian ? (b(0) << 24 | b(1) << 16 | b(2) << 8 | b(3))
                                            : (b(3) << 24 | b(2) << 16 | b(1) << 8 | b(0));
        append_utf8(out, cp);
    }
    return out;
}

std::string utf16_body(std::string_view body, bool big_endian) {
    return utf16_to_utf8(reinterpret_cast<const unsigned char*>(body.data()), body.size() / 2,
                         big_endian);
}

}  // namespace

std::optional<std::string> decode_wide_text(std::string_view bytes) {
    if (bytes.starts_with(std::string_view("\x00\x00\xFE\xFF", 4))) {
        return utf32_to_utf8(bytes.substr(4), true);
    }
    if (bytes.starts_with(std::string_view("\xFF\xFE\x00\x00", 4))) {
        return utf32_to_utf8(bytes.substr(4), false);
    }
    if (bytes.starts_with("\xFE\xFF")) return utf16_body(bytes.substr(2), true);
    if (bytes.starts_with("\xFF\xFE")) return utf16_body(bytes.substr(2), false);
    if (bytes.size() >= 2 && (bytes[0] == '\0' || bytes[1] == '\0')) {
        return utf16_body(bytes, bytes[0] == '\0');
    }
    return std::nullopt;
}

std::string_view strip_utf8_bom(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    return text;
}

}  // namespace plist::utf
