// Alias Manager records (versions 2 and 3), as older login-item lists keep them. The platform
// turns an alias into bookmark data before answering questions about it, so the facts come back
// as a Bookmark and resolve the same way, through resolve_bookmark.
//
// The bytes are hostile and big-endian. The record's size field must fit the buffer, every tag
// must fit the record, and the tag walk is bounded; only the fixed part and a handful of tags are
// decoded, and a nested alias (the disk image holding the volume) is never followed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "libs/apple/Bookmark.h"

namespace apple {

// Tagged values read before the walk gives up: real records carry about ten.
inline constexpr std::size_t kMaxAliasTags = 256;

// The facts of an alias record as bookmark facts:
// - path: the volume's POSIX mount point (tag 19, "/" when absent) joined with the target's POSIX
//   path on that volume (tag 18), else with the Carbon path (tag 2) less its volume name; "."
//   and ".." folded, never above "/". None when neither path tag is there, or it holds a NUL.
// - localized_name: the target's name as the Finder shows it (the UTF-16 tag, else the Mac Roman
//   name of a version-2 fixed part), else the path's last component.
// - creation_date: the target's, when set: the high-resolution tag, else the fixed part's. A
//   version-2 fixed part holds the local time of the machine that made it, so that fallback may
//   be off by its zone offset.
// Empty when the bytes are not a well-formed version-2 or version-3 record: another version, or a
// size field shorter than the fixed part or longer than the buffer (bytes after the record are
// ignored). A tag that runs past the record ends the walk; the tags before it still count.
// Strings come back as valid UTF-8.
std::optional<Bookmark> bookmark_from_alias(std::span<const std::uint8_t> bytes);
std::optional<Bookmark> bookmark_from_alias(std::string_view bytes);

}  // namespace apple
