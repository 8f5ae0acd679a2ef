// The object table of a keyed archive (backgrounditems.btm and its kin), read as a plain property
// list. The login-item store's object graph uses private classes whose layout has changed between
// releases, so its readers walk the flat table instead of following references: each object
// either is bookmark data, replaces the bookmark carried along the walk, or leaves it alone.
// Nothing here follows a reference, so a reference cycle cannot trap a reader.
#pragma once

#include "libs/plist/Value.h"

namespace apple {

// The "$objects" table of a keyed archive already read as a property list (binary or XML: a
// reference reads as {"CF$UID": n} either way); nullptr when the value is not a dictionary or has
// no "$objects" array. The pointer lives as long as the archive, so a temporary is refused.
const plist::Array* archive_objects(const plist::Value& archive);
const plist::Array* archive_objects(const plist::Value&& archive) = delete;

// What one object of the table says about the bookmark carried along the walk:
// - Bytes: the object is data (itself bookmark bytes, or not: parse_bookmark decides), or a
//   dictionary holding data under "NS.data", as mutable data is archived; bytes points into it.
// - Cleared: any other dictionary, including one whose "NS.data" is not data: the object starts
//   something that carries no bookmark, so the one before it no longer applies.
// - Kept: strings, numbers, dates, arrays and "$null" leave the carried bookmark as it was.
struct ObjectBookmark {
    enum class Kind { Bytes, Cleared, Kept };
    Kind kind = Kind::Kept;
    const plist::Data* bytes = nullptr;  // set for Bytes only
};
ObjectBookmark object_bookmark(const plist::Value& object);
ObjectBookmark object_bookmark(const plist::Value&& object) = delete;

}  // namespace apple
