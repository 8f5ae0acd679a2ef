#include "Quiet.h"
#include "libs/apple/Alias.h"
#include "libs/apple/Bookmark.h"
#include "libs/apple/KeyedArchive.h"
#include "libs/plist/Reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::uint8_t> bytes(data, size);
    apple::parse_bookmark(bytes);
    apple::bookmark_from_alias(bytes);
    const std::optional<plist::Value> archive = plist::parse(fuzz_text(data, size));
    const plist::Array* objects = archive ? apple::archive_objects(*archive) : nullptr;
    for (const plist::Value& object : objects ? *objects : plist::Array{}) {
        const apple::ObjectBookmark found = apple::object_bookmark(object);
        if (found.kind == apple::ObjectBookmark::Kind::Bytes) {
            apple::parse_bookmark(std::span(found.bytes->data(), found.bytes->size()));
            apple::bookmark_from_alias(std::span(found.bytes->data(), found.bytes->size()));
        }
    }
    return 0;
}
