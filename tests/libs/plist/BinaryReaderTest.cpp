#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "libs/plist/Reader.h"

namespace plist {
namespace {

std::string be(std::uint64_t value, unsigned width) {
    std::string out;
    for (unsigned i = width; i-- > 0;) out.push_back(static_cast<char>(value >> 8 * i & 0xFF));
    return out;
}

// Object encodings and a whole file: header, objects, offset table, trailer (top object 0).
std::string marker(unsigned type, std::uint64_t count) {
    std::string out(1, static_cast<char>(type << 4 | (count < 15 ? count : 0xF)));
    if (count >= 15) out += count < 0x100 ? "\x10" + be(count, 1) : "\x11" + be(count, 2);
    return out;
}
std::string ascii(std::string_view s) {
    return marker(0x5, s.size()) + std::string(s);
}
std::string utf16(std::u16string_view s) {
    std::string out = marker(0x6, s.size());
    for (const char16_t unit : s) out += be(unit, 2);
    return out;
}
std::string container(unsigned type, const std::vector<std::uint64_t>& refs, unsigned width = 1) {
    std::string out = marker(type, type == 0xD ? refs.size() / 2 : refs.size());
    for (const auto r : refs) out += be(r, width);
    return out;
}
std::string bplist(const std::vector<std::string>& objects, unsigned ref_size = 1,
                   unsigned offset_size = 1) {
    std::string out = "bplist00", table;
    for (const std::string& object : objects) {
        table += be(out.size(), offset_size);
        out += object;
    }
    const std::string sizes{
        0, 0, 0, 0, 0, 0, static_cast<char>(offset_size), static_cast<char>(ref_size)};
    return out + table + sizes + be(objects.size(), 8) + be(0, 8) + be(out.size(), 8);
}

// Each file and what it reads as, nothing if refused: an object atop a file, next to an integer
// that references may name; or the file holding [1] with bytes overwritten.
TEST(PlistBinary, ReadsEveryKindOfObjectAndRefusesMalformedOnes) {
    const auto top = [](const std::string& object) { return bplist({object, "\x10\x01"}); };
    const std::string good = top("\xa1\x01");
    const std::size_t t = good.size() - 32;  // the trailer
    const auto patched = [&](std::size_t pos, std::uint64_t value, unsigned width) {
        return std::string(good).replace(pos, width, be(value, width));
    };
    const std::pair<std::string, std::optional<Value>> cases[] = {
        {top("\x10\xff"), 255},
        {top("\x14" + be(0, 8) + be(UINT64_MAX, 8)), Integer{-1, true}},
        {top("\x14" + be(UINT64_MAX, 8) + be(static_cast<std::uint64_t>(-5), 8)), -5},
        {top("\x22" + be(std::bit_cast<std::uint32_t>(0.5f), 4)), 0.5},
        {top("\x23" + be(std::bit_cast<std::uint64_t>(0.1), 8)), 0.1},
        {top("\x33" + be(std::bit_cast<std::uint64_t>(-0.5), 8)), Date{-0.5}},
        {top(utf16(u"\u00e9\U0001F600")), "\xc3\xa9\xf0\x9f\x98\x80"},
        {top(utf16(std::u16string{u'a', 0xD800, u'b', 0xDC00})), "a\uFFFDb\uFFFD"},  // unpaired
        {top(ascii("caf\xe9")), "caf\xc3\xa9"},  // a stray high byte in an ASCII string is Latin-1
        {top("\x09"), true},
        {top(std::string(1, '\0')), Null{}},
        {top("\x81\x01\x02"), Dictionary{{"CF$UID", 258}}},
        {good, Array{1}},
        {top("\x15"), std::nullopt},                          // 32-byte integer
        {top("\x14" + be(1, 8) + be(0, 8)), std::nullopt},    // beyond 64 bits
        {top(std::string("\x32\0\0\0\0", 5)), std::nullopt},  // date of the wrong width
        {top("^abc"), std::nullopt},       // 0x5E: a 14-byte string, past the object area
        {top("\x5f\x51x"), std::nullopt},  // extended count not an integer
        {top("\x88" + be(0, 8) + "\x01"), std::nullopt},  // 9-byte UID
        {top("\x70"), std::nullopt},                      // unknown marker
        {top("\xd1\x01\x01"), std::nullopt},              // integer as a key
        {top("\xa1\x05"), std::nullopt},                  // reference past the objects
        {patched(0, 'x', 1), std::nullopt},               // magic
        {patched(t - 2, 2, 1), std::nullopt},             // object offset in the header
        {patched(t + 6, 0, 1), std::nullopt},             // offset size 0
        {patched(t + 7, 0, 1), std::nullopt},             // reference size 0
        {patched(t + 8, 0, 8), std::nullopt},             // no objects
        {patched(t + 8, 3, 8), std::nullopt},             // more objects than the table holds
        {patched(t + 16, 2, 8), std::nullopt},            // top object out of range
        {patched(t + 24, 8, 8), std::nullopt},            // table before the first object
        {patched(t + 24, UINT64_MAX, 8), std::nullopt},   // table offset overflowing
        {bplist(std::vector(300, ascii("s")), 1, 2), std::nullopt},  // 1-byte references
    };
    for (const auto& [file, expected] : cases) {
        std::string error;
        EXPECT_EQ(parse_binary(file, &error), expected) << error;
        EXPECT_EQ(error.starts_with("binary property list: "), !expected) << error;
    }
}

// Extended counts, 2-byte references and offsets, a set, shared objects; then every truncation
// must fail, and corruption anywhere come back as a value or an error, never as a crash.
TEST(PlistBinary, ReadsWholeFilesAndSurvivesEveryTruncationAndByteFlip) {
    const std::string text(20, 'x'), blob(300, '\x7f');
    std::vector<std::uint64_t> sixteen(15, 1);
    sixteen.push_back(2);
    const std::string file =
        bplist({container(0xD, {4, 6, 3, 5}, 2), ascii(text), marker(0x4, blob.size()) + blob,
                container(0xA, sixteen, 2), utf16(u"k\u00e9"), container(0xC, {1, 7}, 2),
                ascii("set"), "\x13" + be(static_cast<std::uint64_t>(-42), 8)},
               2, 2);
    Array array(15, Value(text));
    array.emplace_back(Data(blob.begin(), blob.end()));
    EXPECT_EQ(parse_binary(file),
              Value(Dictionary{{"k\xc3\xa9", array}, {"set", Array{text, -42}}}));

    for (std::size_t n = 0; n < file.size(); ++n)
        EXPECT_FALSE(parse_binary(file.substr(0, n))) << n;
    for (std::size_t i = 0; i < file.size() * 2; ++i) {
        std::string bytes = file, error;
        bytes[i / 2] = static_cast<char>(bytes[i / 2] ^ (i % 2 ? 0xff : 0x01));
        EXPECT_TRUE(parse_binary(bytes, &error) || !error.empty()) << i;
    }
}

TEST(PlistBinary, RefusesCyclesDeepNestingAndExponentialExpansion) {
    const auto nested = [](std::uint64_t levels) {
        std::vector<std::string> objects;
        for (std::uint64_t i = 1; i < levels; ++i) objects.push_back(container(0xA, {i}, 4));
        objects.push_back(container(0xA, {}, 4));
        return bplist(objects, 4, 4);
    };
    EXPECT_TRUE(parse_binary(nested(kMaxDepth)));
    // Each array refers twice to the next: 2^60 values if copied out in full.
    std::vector<std::string> doubling;
    for (std::uint64_t i = 1; i <= 60; ++i) doubling.push_back(container(0xA, {i, i}));
    doubling.push_back(ascii("leaf"));
    const std::pair<std::string, const char*> cases[] = {
        {bplist({container(0xA, {0})}), "contains itself"},
        {nested(kMaxDepth + 1), "nested deeper"},
        {bplist(doubling), "budget"},
    };
    for (const auto& [bytes, reason] : cases) {
        std::string error;
        EXPECT_FALSE(parse_binary(bytes, &error));
        EXPECT_NE(error.find(reason), std::string::npos) << error;
    }
}

}  // namespace
}  // namespace plist
