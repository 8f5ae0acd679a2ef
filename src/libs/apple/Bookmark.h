// Bookmark data ("book" blobs, as Safari's download list, login items and shared file lists keep
// them), read without the platform: the facts that asking the platform for the bookmark's
// resource values gives without touching the disk, and a "resolution" that only checks the stored
// path under the examined root. No file-ID lookup, no volume mounting: neither is portable, and
// the examined machine may be a mounted volume or a fixture tree.
//
// The bytes are hostile. Every offset and length is checked against the buffer before use, the
// chain of tables of contents is walked with a bound and a visited set, and only the few record
// shapes needed are decoded (a string, an array of string offsets, a date), so there is no
// recursion for a crafted record graph to exploit. Anything malformed gives no value, never a
// crash.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "libs/plist/Value.h"

namespace sys {
class FileSystem;
}

namespace apple {

// Larger blobs are refused unread: real ones are a few KiB, icons included.
inline constexpr std::size_t kMaxBookmarkBytes = std::size_t{16} << 20;
// Tables of contents visited along the chain before giving up on finding the target's.
inline constexpr std::size_t kMaxBookmarkTocs = 64;
// A derived path with more components, or more bytes, is treated as absent: a shared string
// record referenced many times would otherwise make a small blob expand into a huge path.
inline constexpr std::size_t kMaxPathComponents = 4096;
inline constexpr std::size_t kMaxPathBytes = 65536;

struct Bookmark {
    // `_NSURLPathKey`: absolute, with "." and ".." folded and never above "/".
    std::optional<std::string> path;
    // `NSURLLocalizedNameKey`: the display name (which may lack a hidden extension), else the
    // file name.
    std::optional<std::string> localized_name;
    // `NSURLCreationDateKey`, when the blob carries a finite one.
    std::optional<plist::Date> creation_date;

    bool operator==(const Bookmark&) const = default;
};

// Empty when the bytes are not a well-formed "book" container (wrong magic, including "alis";
// a length that disagrees with the header; no readable table of contents). A well-formed
// container may still leave any of the facts empty. Strings come back as valid UTF-8, each
// malformed byte replaced by U+FFFD.
std::optional<Bookmark> parse_bookmark(std::span<const std::uint8_t> bytes);
std::optional<Bookmark> parse_bookmark(std::string_view bytes);

// An absolute path from its components: "." and ".." folded (never above "/"), empty components
// skipped. None when a component holds "/" or NUL, or the path would pass kMaxPathBytes.
std::optional<std::string> path_from_components(std::span<const std::string_view> parts);

// The stored path when something exists there on the examined machine, else empty.
std::optional<std::string> resolve_bookmark(const Bookmark& bookmark, const sys::FileSystem& files);

}  // namespace apple
