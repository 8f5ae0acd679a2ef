#include "libs/apple/KeyedArchive.h"

namespace apple {

const plist::Array* archive_objects(const plist::Value& archive) {
    const plist::Value* objects = archive.find("$objects");
    return objects ? objects->as_array() : nullptr;
}

ObjectBookmark object_bookmark(const plist::Value& object) {
    using Kind = ObjectBookmark::Kind;
    if (const plist::Data* data = object.as_data()) return {Kind::Bytes, data};
    if (!object.as_dict()) return {Kind::Kept, nullptr};
    const plist::Value* wrapped = object.find("NS.data");
    const plist::Data* data = wrapped ? wrapped->as_data() : nullptr;
    return data ? ObjectBookmark{Kind::Bytes, data} : ObjectBookmark{Kind::Cleared, nullptr};
}

}  // namespace apple
