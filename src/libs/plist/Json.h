// JSON text to property-list values (simdjson). JSON null becomes Value's null, which only the
// sanitiser of a report may turn into text; numbers written as integers become Integers, any
// other number (1.0, 2e3) a real.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "libs/plist/Value.h"

namespace plist {

// The top level must be an object or an array; anything else is an error, as are nesting deeper
// than kMaxDepth and integer literals beyond 64 bits. Integers above INT64_MAX come back as
// unsigned Integers; a repeated key keeps its last value; a UTF-8 byte-order mark is skipped.
std::optional<Value> parse_json(std::string_view text, std::string* error = nullptr);

}  // namespace plist
