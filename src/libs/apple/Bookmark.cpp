#include "libs/apple/Bookmark.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

#include "libs/plist/Utf.h"
#include "libs/sys/FileSystem.h"
#include "libs/sys/Text.h"

namespace apple {
namespace {

constexpr std::uint32_t kTocMagic = 0xFFFFFFFE;
constexpr std::uint32_t kTargetTocId = 1;
// Magic, total length, an unexplained constant, and the data-area start: the data area must not
// overlap what is read from the header.
constexpr std::uint64_t kFixedHeaderBytes = 16;
constexpr std::uint64_t kRecordHeaderBytes = 8;
// Length, magic, identifier, next offset, entry count.
constexpr std::uint64_t kTocHeaderBytes = 20;
constexpr std::uint64_t kTocEntryBytes = 12;

constexpr std::uint32_t kTypeString = 0x0101;
constexpr std::uint32_t kTypeDate = 0x0400;
constexpr std::uint32_t kTypeArray = 0x0601;

constexpr std::uint32_t kKeyPathComponents = 0x1004;
constexpr std::uint32_t kKeyFileName = 0x1020;
constexpr std::uint32_t kKeyCreationDate = 0x1040;
constexpr std::uint32_t kKeyVolumePath = 0x2002;
constexpr std::uint32_t kKeyDisplayName = 0xF017;

struct Record {
    std::uint32_t type;
    std::span<const std::uint8_t> payload;
};

struct Toc {
    std::uint32_t id;
    std::uint32_t next;
    std::span<const std::uint8_t> entries;  // whole 12-byte entries only
};

std::uint32_t le32(std::span<const std::uint8_t> bytes, std::size_t at) {
    return static_cast<std::uint32_t>(bytes[at]) | static_cast<std::uint32_t>(bytes[at + 1]) << 8 |
           static_cast<std::uint32_t>(bytes[at + 2]) << 16 |
           static_cast<std::uint32_t>(bytes[at + 3]) << 24;
}

// Every position below is computed in 64 bits from a 32-bit offset and a data start no larger
// than kMaxBookmarkBytes, so no sum can wrap before it is compared with the size.
class BlobReader {
public:
    BlobReader(std::span<const std::uint8_t> bytes, std::uint64_t data_start)
        : bytes_(bytes), data_start_(data_start) {}

    std::optional<Record> record(std::uint32_t offset) const {
        const std::uint64_t at = data_start_ + offset;
        if (at + kRecordHeaderBytes > bytes_.size()) return std::nullopt;
        const std::uint64_t length = le32(bytes_, at);
        if (length > bytes_.size() - at - kRecordHeaderBytes) return std::nullopt;
        return Record{le32(bytes_, at + 4), bytes_.subspan(at + kRecordHeaderBytes, length)};
    }

    // The table's own length word (its size less 8) is not relied on: real blobs disagree with
    // it (an alias-derived one has it 20 bytes short of its 17 entries), and the bound that
    // keeps reads safe is the blob's end, which the entries must not pass.
    std::optional<Toc> toc(std::uint32_t offset) const {
        const std::uint64_t at = data_start_ + offset;
        if (at + kTocHeaderBytes > bytes_.size() || le32(bytes_, at + 4) != kTocMagic) {
            return std::nullopt;
        }
        const std::uint64_t count = le32(bytes_, at + 16);
        if (count > (bytes_.size() - at - kTocHeaderBytes) / kTocEntryBytes) return std::nullopt;
        return Toc{le32(bytes_, at + 8), le32(bytes_, at + 12),
                   bytes_.subspan(at + kTocHeaderBytes, count * kTocEntryBytes)};
    }

private:
    std::span<const std::uint8_t> bytes_;
    std::uint64_t data_start_;
};

// The target's table is the one with identifier 1; the others describe volumes further out
// (the disk image holding the target, say). Should none carry 1, the first one is the best guess.
std::optional<Toc> target_toc(const BlobReader& reader, std::uint32_t first_offset) {
    std::optional<Toc> first;
    std::vector<std::uint32_t> visited;
    std::uint32_t offset = first_offset;
    while (visited.size() < kMaxBookmarkTocs &&
           std::find(visited.begin(), visited.end(), offset) == visited.end()) {
        visited.push_back(offset);
        const std::optional<Toc> toc = reader.toc(offset);
        if (!toc) break;
        if (toc->id == kTargetTocId) return toc;
        if (!first) first = toc;
        if (toc->next == 0) break;
        offset = toc->next;
    }
    return first;
}

// Entries are sorted on disk, but a hostile blob need not be, so no binary search.
std::optional<std::uint32_t> find_key(const Toc& toc, std::uint32_t key) {
    for (std::size_t at = 0; at + kTocEntryBytes <= toc.entries.size(); at += kTocEntryBytes) {
        if (le32(toc.entries, at) == key) return le32(toc.entries, at + 4);
    }
    return std::nullopt;
}

std::string valid_utf8(std::span<const std::uint8_t> payload) {
    return plist::utf::valid_utf8(
        std::string_view(reinterpret_cast<const char*>(payload.data()), payload.size()));
}

class Facts {
public:
    Facts(const BlobReader& reader, const Toc& toc) : reader_(reader), toc_(toc) {}

    std::optional<std::string> string(std::uint32_t key) const {
        const std::optional<Record> found = record(key);
        if (!found || found->type != kTypeString) return std::nullopt;
        return valid_utf8(found->payload);
    }

    std::optional<plist::Date> date(std::uint32_t key) const {
        const std::optional<Record> found = record(key);
        if (!found || found->type != kTypeDate || found->payload.size() != 8) return std::nullopt;
        // The one big-endian value of the format.
        std::uint64_t bits = 0;
        for (const std::uint8_t byte : found->payload) bits = bits << 8 | byte;
        const double seconds = std::bit_cast<double>(bits);
        if (!std::isfinite(seconds)) return std::nullopt;
        return plist::Date{seconds};
    }

    // An array of string records, read until the path budget runs out: one string record may be
    // referenced by every element, so the blob's size alone does not bound the result.
    std::optional<std::vector<std::string>> strings(std::uint32_t key) const {
        const std::optional<Record> found = record(key);
        if (!found || found->type != kTypeArray || found->payload.size() % 4 != 0 ||
            found->payload.size() / 4 > kMaxPathComponents) {
            return std::nullopt;
        }
        std::vector<std::string> out;
        std::size_t total = 0;
        for (std::size_t at = 0; at < found->payload.size(); at += 4) {
            const std::optional<Record> element = reader_.record(le32(found->payload, at));
            if (!element || element->type != kTypeString) return std::nullopt;
            total += element->payload.size() + 1;
            if (total > kMaxPathBytes) return std::nullopt;
            out.push_back(valid_utf8(element->payload));
        }
        return out;
    }

private:
    std::optional<Record> record(std::uint32_t key) const {
        const std::optional<std::uint32_t> offset = find_key(toc_, key);
        if (!offset) return std::nullopt;
        return reader_.record(*offset);
    }

    const BlobReader& reader_;
    const Toc& toc_;
};

bool is_prefix(const std::vector<std::string>& prefix, const std::vector<std::string>& parts) {
    return prefix.size() <= parts.size() && std::equal(prefix.begin(), prefix.end(), parts.begin());
}

// The components are taken from "/" unless the volume is not the root one and they do not already
// lead to it: then they are relative to the volume (a bookmark made through a firmlink stores
// "..", "..", "..", "Users", ... under "/System/Volumes/Data"). "." and ".." are folded, never
// above "/", so the path names what the platform would open.
std::optional<std::string> derive_path(const std::vector<std::string>& stored,
                                       const std::vector<std::string>& volume) {
    std::vector<std::string> parts;
    for (const std::string& part : stored) {
        if (!part.empty()) parts.push_back(part);
    }
    std::vector<std::string> joined =
        is_prefix(volume, parts) ? std::vector<std::string>{} : volume;
    joined.insert(joined.end(), parts.begin(), parts.end());

    return path_from_components(std::vector<std::string_view>(joined.begin(), joined.end()));
}

// Newer blobs store the volume path as a string, older ones as an array of components; absent
// or unreadable means the root volume.
std::vector<std::string> volume_components(const Facts& facts) {
    if (const auto text = facts.string(kKeyVolumePath))
        return sys::split_skipping_empty(*text, '/');
    if (auto parts = facts.strings(kKeyVolumePath)) {
        std::erase(*parts, std::string());
        return std::move(*parts);
    }
    return {};
}

}  // namespace

std::optional<Bookmark> parse_bookmark(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < kFixedHeaderBytes || bytes.size() > kMaxBookmarkBytes) return std::nullopt;
    if (bytes[0] != 'b' || bytes[1] != 'o' || bytes[2] != 'o' || bytes[3] != 'k') {
        return std::nullopt;
    }
    if (le32(bytes, 4) != bytes.size()) return std::nullopt;
    const std::uint64_t data_start = le32(bytes, 12);
    if (data_start < kFixedHeaderBytes || data_start + 4 > bytes.size()) return std::nullopt;

    const BlobReader reader(bytes, data_start);
    const std::optional<Toc> toc = target_toc(reader, le32(bytes, data_start));
    if (!toc) return std::nullopt;
    const Facts facts(reader, *toc);

    Bookmark bookmark;
    bookmark.creation_date = facts.date(kKeyCreationDate);
    if (const auto stored = facts.strings(kKeyPathComponents)) {
        bookmark.path = derive_path(*stored, volume_components(facts));
    }
    for (const std::uint32_t key : {kKeyDisplayName, kKeyFileName}) {
        std::optional<std::string> name = facts.string(key);
        if (name && !name->empty()) {
            bookmark.localized_name = std::move(name);
            break;
        }
    }
    if (!bookmark.localized_name && bookmark.path && *bookmark.path != "/") {
        bookmark.localized_name = bookmark.path->substr(bookmark.path->rfind('/') + 1);
    }
    return bookmark;
}

std::optional<Bookmark> parse_bookmark(std::string_view bytes) {
    return parse_bookmark(std::span<const std::uint8_t>(
        reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
}

std::optional<std::string> resolve_bookmark(const Bookmark& bookmark,
                                            const sys::FileSystem& files) {
    if (!bookmark.path || !files.exists(*bookmark.path)) return std::nullopt;
    return bookmark.path;
}

std::optional<std::string> path_from_components(std::span<const std::string_view> parts) {
    std::vector<std::string_view> folded;
    for (const std::string_view part : parts) {
        // A separator or NUL inside one name would make the joined path name something else.
        if (part.find_first_of(std::string_view("/\0", 2)) != std::string_view::npos)
            return std::nullopt;
        if (part.empty() || part == ".") continue;
        if (part == "..") {
            if (!folded.empty()) folded.pop_back();
            continue;
        }
        folded.push_back(part);
    }
    if (folded.empty()) return std::string(1, '/');
    std::string path;
    for (const std::string_view part : folded) (path += '/') += part;
    if (path.size() > kMaxPathBytes) return std::nullopt;
    return path;
}

}  // namespace apple
