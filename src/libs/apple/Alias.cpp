#include "libs/apple/Alias.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "libs/plist/Utf.h"

namespace apple {
namespace {

using Bytes = std::span<const std::uint8_t>;

// Creator code, record size, version, kind.
constexpr std::size_t kHeaderBytes = 10;
constexpr std::size_t kV2FixedBytes = 150;
constexpr std::size_t kV3FixedBytes = 58;
constexpr std::size_t kV2NameAt = 50;
constexpr std::size_t kV2NameField = 64;
constexpr std::size_t kV2DateAt = 118;
constexpr std::size_t kV3DateAt = 32;

constexpr std::uint16_t kTagCarbonPath = 2;
constexpr std::uint16_t kTagName = 14;
constexpr std::uint16_t kTagTargetDate = 17;
constexpr std::uint16_t kTagPosixPath = 18;
constexpr std::uint16_t kTagMountPoint = 19;
constexpr std::uint16_t kTagEnd = 0xFFFF;

// From 1904-01-01, the HFS epoch, to 2001-01-01.
constexpr double kHfsToReferenceDate = 3061152000.0;

// Bytes 0x80-0xFF; the lower half is ASCII.
constexpr char16_t kMacRomanHigh[128] = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3,
    0x00E5, 0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3,
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3,
    0x00A7, 0x2022, 0x00B6, 0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8,
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA,
    0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB,
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D,
    0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, 0x00CB, 0x00C8, 0x00CD, 0x00CE,
    0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC,
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7,
};

// Callers check that width bytes from at lie inside bytes.
std::uint64_t be(Bytes bytes, std::size_t at, std::size_t width) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i) value = value << 8 | bytes[at + i];
    return value;
}

std::string mac_roman(Bytes bytes) {
    std::string out;
    for (const std::uint8_t byte : bytes) {
        plist::utf::append_utf8(out, byte < 0x80 ? byte : kMacRomanHigh[byte - 0x80]);
    }
    return out;
}

std::string valid_utf8(Bytes bytes) {
    return plist::utf::valid_utf8(
        std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

// Tag 14 and its kin: a character count, then that many UTF-16BE units. Empty is absent.
std::optional<std::string> counted_utf16(Bytes value) {
    if (value.size() < 2) return std::nullopt;
    const std::size_t units = be(value, 0, 2);
    if (units == 0 || units > (value.size() - 2) / 2) return std::nullopt;
    return plist::utf::utf16_to_utf8(value.data() + 2, units, true);
}

// A Pascal string in a fixed-size field; empty, or longer than the field, is absent.
std::optional<std::string> pascal(Bytes field) {
    if (field.empty() || field[0] == 0 || field[0] >= field.size()) return std::nullopt;
    return mac_roman(field.subspan(1, field[0]));
}

// Each tag: BE16 tag, BE16 length, the value, a pad byte after an odd length. The first of
// each tag wins, as later duplicates have no meaning.
std::map<std::uint16_t, Bytes> read_tags(Bytes record, std::size_t at) {
    std::map<std::uint16_t, Bytes> tags;
    for (std::size_t count = 0; count < kMaxAliasTags && at + 4 <= record.size(); ++count) {
        const auto tag = static_cast<std::uint16_t>(be(record, at, 2));
        const std::size_t length = be(record, at + 2, 2);
        if (tag == kTagEnd || length > record.size() - at - 4) break;
        tags.emplace(tag, record.subspan(at + 4, length));
        at += 4 + length + (length & 1);
    }
    return tags;
}

// A Carbon path ("Volume:dir:file") as a POSIX path below the volume. Carbon names may hold
// '/', which POSIX shows as ':', so the two swap.
std::string carbon_to_posix(Bytes value) {
    std::string path = mac_roman(value);
    const std::size_t colon = path.find(':');
    path.erase(0, colon == std::string::npos ? path.size() : colon + 1);
    for (char& c : path) c = c == ':' ? '/' : c == '/' ? ':' : c;
    return path;
}

// Folds "." and ".." (never above "/") so the path names what the platform would open.
std::optional<std::string> absolute_path(std::string_view joined) {
    std::vector<std::string_view> parts;
    for (std::size_t start = 0; start <= joined.size();) {
        const std::size_t slash = std::min(joined.find('/', start), joined.size());
        parts.push_back(joined.substr(start, slash - start));
        start = slash + 1;
    }
    return path_from_components(parts);
}

std::optional<plist::Date> hfs_date(double seconds) {
    if (seconds == 0) return std::nullopt;  // never set
    return plist::Date{seconds - kHfsToReferenceDate};
}

}  // namespace

std::optional<Bookmark> bookmark_from_alias(Bytes bytes) {
    if (bytes.size() < kHeaderBytes) return std::nullopt;
    const std::size_t size = be(bytes, 4, 2);
    const std::uint64_t version = be(bytes, 6, 2);
    const std::size_t fixed = version == 2 ? kV2FixedBytes : version == 3 ? kV3FixedBytes : 0;
    if (fixed == 0 || size < fixed || size > bytes.size()) return std::nullopt;
    const Bytes record = bytes.first(size);
    const std::map<std::uint16_t, Bytes> tags = read_tags(record, fixed);
    const auto tag = [&](std::uint16_t key) {
        const auto found = tags.find(key);
        return found == tags.end() ? std::optional<Bytes>() : found->second;
    };

    Bookmark bookmark;
    std::optional<std::string> relative;
    if (const auto posix = tag(kTagPosixPath)) {
        relative = valid_utf8(*posix);
    } else if (const auto carbon = tag(kTagCarbonPath)) {
        relative = carbon_to_posix(*carbon);
    }
    if (relative) {
        const auto mount = tag(kTagMountPoint);
        bookmark.path = absolute_path((mount ? valid_utf8(*mount) : "/") + "/" + *relative);
    }

    if (const auto name = tag(kTagName)) bookmark.localized_name = counted_utf16(*name);
    if (!bookmark.localized_name && version == 2) {
        bookmark.localized_name = pascal(record.subspan(kV2NameAt, kV2NameField));
    }
    if (!bookmark.localized_name && bookmark.path && *bookmark.path != "/") {
        bookmark.localized_name = bookmark.path->substr(bookmark.path->rfind('/') + 1);
    }

    if (const auto date = tag(kTagTargetDate); date && date->size() == 8) {
        bookmark.creation_date = hfs_date(static_cast<double>(be(*date, 0, 8)) / 65536);
    }
    if (!bookmark.creation_date) {
        bookmark.creation_date =
            version == 3 ? hfs_date(static_cast<double>(be(record, kV3DateAt, 8)) / 65536)
                         : hfs_date(static_cast<double>(be(record, kV2DateAt, 4)));
    }
    return bookmark;
}

std::optional<Bookmark> bookmark_from_alias(std::string_view bytes) {
    return bookmark_from_alias(
        Bytes(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
}

}  // namespace apple
