// Old-style (NeXT/OpenStep) property-list text: the format of StartupParameters.plist files and
// of a dictionary's description. The reader accepts two description artefacts beyond the stock
// grammar: <null> (as null) and {length = N, bytes = 0x...} (as data; the shortened form of long
// data, with " ... " in place of its middle, comes back as a string holding that text).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "libs/plist/Value.h"

namespace plist {

// Parses old-style text (UTF-8, with or without a byte-order mark; an empty text is an empty
// dictionary, a ".strings" body a dictionary). The result holds only strings, arrays,
// dictionaries, data and null. Octal escapes above \177 are read as Latin-1.
std::optional<Value> parse_old_style(std::string_view text, std::string* error = nullptr);

// The description text of a value, as the platform prints a dictionary's description: 4-space
// indentation, sorted keys, strings bare only when made of ASCII letters and digits, numbers and
// booleans bare, null as "<null>" in quotes, data as <hex> with its whole content, dates as
// "YYYY-MM-DD HH:MM:SS +0000". The text always parses back with parse_old_style.
std::string describe(const Value& value);

// The string that a leaf's description reads back as: strings as they are, numbers, booleans
// ("1", "0") and dates ("YYYY-MM-DD HH:MM:SS +0000") as their text. None for data, null and
// containers, which read back as themselves.
std::optional<std::string> leaf_text(const Value& value);

}  // namespace plist
