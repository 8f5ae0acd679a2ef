// JSON through simdjson's DOM parser: its runtime-dispatched kernels are the fast ones on a
// generic x86-64 build (the on-demand API would be compiled for the baseline CPU). simdjson 3.0
// refuses integer literals beyond 64 bits; browsers never write them (JavaScript has no such
// integers), so such a document is an error rather than a special case.
#include "libs/plist/Json.h"

#include <simdjson.h>

#include "libs/plist/Reader.h"
#include "libs/plist/Utf.h"

namespace plist {

namespace {

void convert(simdjson::dom::element element, Value& out) {
    using Type = simdjson::dom::element_type;
    switch (element.type()) {
        case Type::OBJECT: {
            Dictionary dict;
            for (const auto field : simdjson::dom::object(element)) {
                // Keys usually come sorted; a repeated key finds its earlier entry and the last
                // value wins.
                convert(field.value, dict.emplace_hint(dict.end(), field.key, Value())->second);
            }
            out = std::move(dict);
            return;
        }
        case Type::ARRAY: {
            const simdjson::dom::array items(element);
            Array array;
            array.reserve(items.size());
            for (const auto item : items) convert(item, array.emplace_back());
            out = std::move(array);
            return;
        }
        case Type::INT64:
            out = Integer{std::int64_t(element), false};
            return;
        case Type::UINT64:
            // simdjson only reports UINT64 for values above INT64_MAX.
            out = Integer{static_cast<std::int64_t>(std::uint64_t(element)), true};
            return;
        case Type::DOUBLE:
            out = double(element);
            return;
        case Type::STRING:
            out = std::string(std::string_view(element));
            return;
        case Type::BOOL:
            out = bool(element);
            return;
        case Type::NULL_VALUE:
            out = Null{};
            return;
    }
}

std::optional<Value> fail(std::string* error, std::string_view reason) {
    if (error) *error = "JSON: " + std::string(reason);
    return std::nullopt;
}

}  // namespace

std::optional<Value> parse_json(std::string_view text, std::string* error) {
    if (text.size() > kMaxInputBytes) return fail(error, "larger than 256 MiB");
    text = utf::strip_utf8_bom(text);
    simdjson::dom::parser parser;
    if (const auto code = parser.allocate(text.size(), kMaxDepth)) {
        return fail(error, simdjson::error_message(code));
    }
    const simdjson::padded_string padded(text);
    simdjson::dom::element root;
    if (const auto code = parser.parse(padded).get(root)) {
        return fail(error, simdjson::error_message(code));
    }
    if (!root.is_object() && !root.is_array())
        return fail(error, "top level is not an object or array");
    Value value;
    convert(root, value);
    return value;
}

}  // namespace plist
