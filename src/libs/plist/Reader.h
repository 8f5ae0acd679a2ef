// Reading property lists of every format Apple writes: binary ("bplist00"), XML, and old-style
// (NeXT) text. Readers never crash on malformed input: depth and sizes are bounded, and a
// failure comes back as an empty optional with a one-line reason.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "libs/plist/Value.h"

namespace plist {

// Deepest nesting of containers that any reader accepts (the root container is level 1).
inline constexpr int kMaxDepth = 512;

// Largest input any reader accepts, as for whole-file reads.
inline constexpr std::size_t kMaxInputBytes = std::size_t{256} << 20;

// Detects the format from the bytes and parses it, as Apple's "any format" reading does:
// "bplist0" magic -> binary; otherwise text (UTF-8, or UTF-16/32 with a byte-order mark) whose
// first non-blank character opens XML markup -> XML; anything else -> old-style text.
std::optional<Value> parse(std::string_view bytes, std::string* error = nullptr);

// Binary property lists ("bplist0?"), read by our own bounded reader. UIDs (keyed archives)
// become {"CF$UID" = integer} dictionaries, as the XML form writes them; sets become arrays; a
// null object becomes Value's null. Objects shared in the file are copied into each place they
// are referenced, within a budget that stops exponential expansion.
std::optional<Value> parse_binary(std::string_view bytes, std::string* error = nullptr);

// XML property lists (UTF-8), through libplist 2.2 behind our own nesting-depth check. Dates
// and integers keep their full range; CF$UID dictionaries stay dictionaries.
std::optional<Value> parse_xml(std::string_view bytes, std::string* error = nullptr);

}  // namespace plist
