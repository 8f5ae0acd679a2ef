// JSON text to property-list values (simdjson). JSON null becomes Value's null, which only the
// sanitiser of a report may turn into text; numbers become integers when integral, else reals.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "libs/plist/Value.h"

namespace plist {

// The top level must be an object or an array; anything else is an error.
std::optional<Value> parse_json(std::string_view text, std::string* error = nullptr);

}  // namespace plist
