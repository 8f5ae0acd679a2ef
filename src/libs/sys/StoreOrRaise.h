// Storing a missing value into a dictionary raises, as the platform's mutable dictionary does
// when given nothing. A few collectors rely on that on purpose: the failure ends the step (or the
// module) through the guard around it, where a silent empty slot would hide it.
#pragma once

#include <optional>
#include <string>

#include "libs/plist/Value.h"
#include "libs/sys/Exception.h"

namespace sys {

inline void store_or_raise(plist::Dictionary& dictionary, const std::string& key,
                           std::optional<plist::Value> value) {
    if (!value) {
        throw Exception(
            "NSInvalidArgumentException",
            "*** -[__NSDictionaryM setObject:forKey:]: object cannot be nil (key: " + key + ")");
    }
    dictionary.insert_or_assign(key, std::move(*value));
}

}  // namespace sys
