#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "libs/plist/Reader.h"

namespace {

using plist::Array;
using plist::Data;
using plist::Dictionary;
using plist::Integer;
using plist::Value;

std::string be(std::uint64_t value, unsigned width) {
    std::string out;
    for (int shift = 8 * (static_cast<int>(width) - 1); shift >= 0; shift -= 8) {
        out.push_back(static_cast<char>(value >> shift & 0xFF));
    }
    return out;
}

// Object encodings and a whole file: header, objects, offset table, trailer.
std::string marker(unsigned type, std::uint64_t count) {
    std::string out(1, static_cast<char>(type << 4 | (count < 15 ? count : 0xF)));
    if (count >= 15)
        out +=
            count < 0x100 ? std::string("\x10") + be(count, 1) : std::string("\x11") + be(count, 2);
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
std::string container(unsigned type, const std::vector<std::uint64_t>& refs,
                      unsigned ref_size = 1) {
    std::string out = marker(type, type == 0xD ? refs.size() / 2 : refs.size());
    for (const auto r : refs) out += be(r, ref_size);
    return out;
}
std::string bplist(const std::vector<std::string>& objects, unsigned ref_size = 1,
                   unsigned offset_size = 1) {
    std::string out = "bplist00";
    std::string table;
    for (const std::string& object : objects) {
        table += be(out.size(), offset_size);
        out += object;
    }
    const std::uint64_t table_offset = out.size();
    out +=
        table + std::string(6, '\0') + static_cast<char>(offset_size) + static_cast<char>(ref_size);
    return out + be(objects.size(), 8) + be(0, 8) + be(table_offset, 8);
}

std::optional<Value> parse(const std::string& bytes, std::string* error = nullptr) {
    return plist::parse_binary(bytes, error);
}

TEST(PlistBinary, ReadsEveryKindOfObject) {
    const std::pair<std::string, Value> cases[] = {
        {"\x10\xff", 255},
        {std::string("\x13") + be(static_cast<std::uint64_t>(-42), 8), -42},
        {std::string("\x14") + be(0, 8) + be(UINT64_MAX, 8), Integer{-1, true}},
        {std::string("\x22") + be(std::bit_cast<std::uint32_t>(0.5f), 4), 0.5},
        {std::string("\x23") + be(std::bit_cast<std::uint64_t>(0.1), 8), 0.1},
        {std::string("\x33") + be(std::bit_cast<std::uint64_t>(-0.5), 8), plist::Date{-0.5}},
        {marker(0x4, 3) + "\x01\x02\x03", Data{1, 2, 3}},
        {utf16(u"\u00e9\U0001F600"), "\xc3\xa9\xf0\x9f\x98\x80"},
        {utf16(std::u16string{u'a', 0xD800, u'b', 0xDC00}), "a\uFFFDb\uFFFD"},  // unpaired
        {ascii("caf\xe9"), "caf\xc3\xa9"},  // a stray high byte in an ASCII string is Latin-1
        {"\x09", true},
        {std::string(1, '\0'), plist::Null{}},
        {"\x81\x01\x02", Dictionary{{"CF$UID", 258}}},
    };
    for (const auto& [object, expected] : cases) {
        std::string error;
        EXPECT_EQ(parse(bplist({object}), &error), expected) << error;
    }
}

TEST(PlistBinary, ReadsExtendedCountsWideReferencesSetsAndSharedObjects) {
    const std::string text(20, 'x');
    const std::string blob(300, '\x7f');
    std::vector<std::uint64_t> sixteen(15, 1);
    sixteen.push_back(2);
    const std::vector<std::string> objects = {container(0xD, {4, 6, 3, 5}, 2),
                                              ascii(text),
                                              marker(0x4, blob.size()) + blob,
                                              container(0xA, sixteen, 2),
                                              ascii("k"),
                                              container(0xC, {1, 1}, 2),
                                              ascii("set")};
    std::string error;
    const auto value = parse(bplist(objects, 2, 2), &error);
    ASSERT_TRUE(value) << error;
    Array expected(15, Value(text));
    expected.emplace_back(Data(blob.begin(), blob.end()));
    EXPECT_EQ(*value, Value(Dictionary{{"k", expected}, {"set", Array{text, text}}}));
}

TEST(PlistBinary, RefusesInvalidTrailersAndMalformedObjects) {
    const std::string good = bplist({container(0xD, {1, 2}), ascii("k"), ascii("v")});
    ASSERT_TRUE(parse(good));
    const std::size_t t = good.size() - 32;
    const std::size_t table = t - 3;
    // Trailer or table fields overwritten: {position, value, width}.
    const std::tuple<std::size_t, std::uint64_t, unsigned> cases[] = {
        {t + 6, 0, 1},            // offset size 0
        {t + 7, 0, 1},            // reference size 0
        {t + 8, 0, 8},            // no objects
        {t + 8, 4, 8},            // more objects than the table holds
        {t + 16, 3, 8},           // top object out of range
        {t + 24, 8, 8},           // table before the first object
        {t + 24, UINT64_MAX, 8},  // table offset overflowing
        {table, 2, 1},            // object offset in the header
        {9, 7, 1},                // reference out of range
        {0, 'x', 1},              // magic
    };
    for (const auto& [pos, value, width] : cases) {
        std::string bytes = good, error;
        bytes.replace(pos, width, be(value, width));
        EXPECT_FALSE(parse(bytes, &error)) << pos << " = " << value;
        EXPECT_TRUE(error.starts_with("binary property list: ")) << error;
    }
    std::vector<std::string> many(300, ascii("s"));  // 300 objects need 2-byte references
    EXPECT_FALSE(parse(bplist(many, 1, 2)));
    for (const std::string& object : {
             std::string("\x15"),                        // 32-byte integer
             std::string("\x14") + be(1, 8) + be(0, 8),  // beyond 64 bits
             std::string("\x32\x00\x00\x00\x00", 5),     // date of the wrong width
             std::string("\x5e") + "abc",                // string past the object area
             std::string("\x5f\x51x"),                   // extended count not an integer
             std::string("\x88") + be(0, 8) + "\x01",    // 9-byte UID
             std::string("\x70"),                        // unknown marker
             std::string("\xd1\x01\x01"),                // integer as a key
             std::string("\xa1\x05"),                    // reference past the objects
         }) {
        std::string error;
        EXPECT_FALSE(parse(bplist({object, "\x10\x01"}), &error)) << error;
        EXPECT_FALSE(error.empty());
    }
}

TEST(PlistBinary, RefusesCyclesDeepNestingAndExponentialExpansion) {
    std::string error;
    EXPECT_FALSE(parse(bplist({container(0xA, {0})}), &error));
    EXPECT_NE(error.find("contains itself"), std::string::npos) << error;

    const auto nested = [](int levels) {
        std::vector<std::string> objects;
        for (int i = 1; i < levels; ++i) objects.push_back(container(0xA, {std::uint64_t(i)}, 4));
        objects.push_back(container(0xA, {}, 4));
        return bplist(objects, 4, 4);
    };
    EXPECT_TRUE(parse(nested(plist::kMaxDepth)));
    EXPECT_FALSE(parse(nested(plist::kMaxDepth + 1), &error));
    EXPECT_NE(error.find("nested deeper"), std::string::npos) << error;

    // Each array refers twice to the next: 2^60 values if copied out in full.
    std::vector<std::string> doubling;
    for (std::uint64_t i = 1; i <= 60; ++i) doubling.push_back(container(0xA, {i, i}));
    doubling.push_back(ascii("leaf"));
    EXPECT_FALSE(parse(bplist(doubling), &error));
    EXPECT_NE(error.find("budget"), std::string::npos) << error;
}

TEST(PlistBinary, EveryTruncationAndByteFlipFailsCleanly) {
    const std::string good =
        bplist({container(0xD, {1, 2, 2, 5}), ascii("key"), utf16(u"w\u00e9de"),
                std::string("\x13") + be(7, 8), marker(0x4, 20) + std::string(20, 'd'),
                container(0xA, {3, 4})});
    ASSERT_TRUE(parse(good));
    for (std::size_t n = 0; n < good.size(); ++n) EXPECT_FALSE(parse(good.substr(0, n))) << n;
    // Corruption anywhere comes back as a value or an error, never as a crash.
    for (std::size_t i = 0; i < good.size() * 2; ++i) {
        std::string bytes = good, error;
        bytes[i / 2] = static_cast<char>(bytes[i / 2] ^ (i % 2 ? 0xff : 0x01));
        EXPECT_TRUE(parse(bytes, &error) || !error.empty()) << i;
    }
}

}  // namespace
