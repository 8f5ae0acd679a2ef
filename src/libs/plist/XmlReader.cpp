// XML property lists through libplist 2.2. Its parser recurses once per element and crashes on
// deep nesting, so a cheap scan measures the nesting first. Its date and integer getters lose
// range (dates as int32 seconds, no signed/unsigned flag for values above INT64_MAX); for those
// rare nodes we let libplist's binary writer, which keeps the full value, hand the node to our
// binary reader.
#include <plist/plist.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "libs/plist/Reader.h"
#include "libs/plist/Utf.h"

namespace plist {

namespace {

// Elements other than containers may nest a little (the <plist> element, a leaf, unknown tags
// that libplist then refuses), but never without bound.
constexpr std::size_t kMaxElementDepth = kMaxDepth + 16;

// Position just past the '>' that ends the tag opened at pos, or npos. With honour_quotes a '>'
// inside a quoted attribute value does not end it.
std::size_t tag_end(std::string_view xml, std::size_t pos, bool honour_quotes) {
    char quote = 0;
    for (std::size_t i = pos + 1; i < xml.size(); ++i) {
        const char c = xml[i];
        if (quote) {
            if (c == quote) quote = 0;
        } else if (honour_quotes && (c == '"' || c == '\'')) {
            quote = c;
        } else if (c == '>') {
            return i + 1;
        }
    }
    return std::string_view::npos;
}

// Comments, character data and processing instructions end at their own markers, whatever
// quotes they hold. Position just past the marker (npos when missing), or pos when none starts
// at pos.
std::size_t markup_end(std::string_view xml, std::size_t pos) {
    for (const auto& [open, close] : {std::pair<std::string_view, std::string_view>{"<!--", "-->"},
                                      {"<![CDATA[", "]]>"},
                                      {"<?", "?>"}}) {
        if (!xml.substr(pos).starts_with(open)) continue;
        const std::size_t end = xml.find(close, pos + open.size());
        return end == std::string_view::npos ? end : end + close.size();
    }
    return pos;
}

std::string_view tag_name(std::string_view tag) {
    std::size_t end = 0;
    while (end < tag.size() && tag[end] != '/' && tag[end] != ' ' &&
           (tag[end] < '\t' || tag[end] > '\r')) {
        ++end;
    }
    return tag.substr(0, end);
}

// False when dictionaries and arrays nest deeper than kMaxDepth. The scan must never see less
// nesting than libplist would recurse into, so a closing tag only counts when it matches the
// innermost open element; and since a quote could hide tags from one reading of a tag and not
// from the other, the caller scans both ways.
bool nesting_within_bounds(std::string_view xml, bool honour_quotes) {
    std::vector<std::string_view> open;
    int containers = 0;
    std::size_t pos = 0;
    while ((pos = xml.find('<', pos)) != std::string_view::npos) {
        if (const std::size_t skipped = markup_end(xml, pos); skipped != pos) {
            if (skipped == std::string_view::npos) break;
            pos = skipped;
            continue;
        }
        const std::size_t end = tag_end(xml, pos, honour_quotes);
        if (end == std::string_view::npos) break;
        const std::string_view tag = xml.substr(pos + 1, end - pos - 2);
        pos = end;
        if (tag.empty() || tag[0] == '?' || tag[0] == '!') continue;
        if (tag[0] == '/') {
            if (!open.empty() && open.back() == tag_name(tag.substr(1))) {
                containers -= open.back() == "dict" || open.back() == "array";
                open.pop_back();
            }
            continue;
        }
        const std::string_view name = tag_name(tag);
        const bool container = name == "dict" || name == "array";
        if (containers + container > kMaxDepth) return false;
        if (tag.back() == '/') continue;
        open.push_back(name);
        containers += container;
        if (open.size() > kMaxElementDepth) return false;
    }
    return true;
}

using NodePtr = std::unique_ptr<void, decltype(&plist_free)>;

bool convert(plist_t node, Value& out, std::string& error);

// The node's exact value, via libplist's binary writer and our binary reader.
bool convert_through_binary(plist_t node, Value& out, std::string& error) {
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(node, &bytes, &length);
    if (!bytes) {
        error = "cannot re-encode a value";
        return false;
    }
    std::optional<Value> value = parse_binary(std::string_view(bytes, length), &error);
    plist_to_bin_free(bytes);
    if (!value) return false;
    out = std::move(*value);
    return true;
}

bool convert_date(plist_t node, Value& out, std::string& error) {
    std::int32_t seconds = 0;
    std::int32_t micros = 0;
    plist_get_date_val(node, &seconds, &micros);
    // XML dates carry whole seconds; the getter is exact unless it saturated.
    if (micros == 0 && seconds != INT32_MIN && seconds != INT32_MAX) {
        out = Date{static_cast<double>(seconds)};
        return true;
    }
    return convert_through_binary(node, out, error);
}

bool convert_array(plist_t node, Value& out, std::string& error) {
    Array array;
    array.reserve(plist_array_get_size(node));
    plist_array_iter it = nullptr;
    plist_array_new_iter(node, &it);
    std::unique_ptr<void, decltype(&std::free)> owner(it, &std::free);
    for (;;) {
        plist_t item = nullptr;
        plist_array_next_item(node, it, &item);
        if (!item) break;
        if (!convert(item, array.emplace_back(), error)) return false;
    }
    out = std::move(array);
    return true;
}

bool convert_dict(plist_t node, Value& out, std::string& error) {
    Dictionary dict;
    plist_dict_iter it = nullptr;
    plist_dict_new_iter(node, &it);
    std::unique_ptr<void, decltype(&std::free)> owner(it, &std::free);
    for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, it, &key, &item);
        if (!item) {
            std::free(key);
            break;
        }
        // Apple's writers sort keys, so the end is usually the right place; a repeated key
        // finds its earlier entry, and the last value wins.
        Value& slot = dict.emplace_hint(dict.end(), key ? key : "", Value())->second;
        std::free(key);
        if (!convert(item, slot, error)) return false;
    }
    out = std::move(dict);
    return true;
}

bool convert(plist_t node, Value& out, std::string& error) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t b = 0;
            plist_get_bool_val(node, &b);
            out = b != 0;
            return true;
        }
        case PLIST_UINT: {
            std::uint64_t v = 0;
            plist_get_uint_val(node, &v);
            if (v > static_cast<std::uint64_t>(INT64_MAX))
                return convert_through_binary(node, out, error);
            out = Integer{static_cast<std::int64_t>(v), false};
            return true;
        }
        case PLIST_REAL: {
            double d = 0;
            plist_get_real_val(node, &d);
            out = d;
            return true;
        }
        case PLIST_STRING:
        case PLIST_KEY: {
            std::uint64_t length = 0;
            const char* text = plist_get_string_ptr(node, &length);
            out = text ? std::string(text, length) : std::string();
            return true;
        }
        case PLIST_DATA: {
            std::uint64_t length = 0;
            const auto* bytes =
                reinterpret_cast<const std::uint8_t*>(plist_get_data_ptr(node, &length));
            out = bytes ? Data(bytes, bytes + length) : Data();
            return true;
        }
        case PLIST_DATE:
            return convert_date(node, out, error);
        case PLIST_UID: {
            std::uint64_t uid = 0;
            plist_get_uid_val(node, &uid);
            out = Dictionary{{"CF$UID", Integer{static_cast<std::int64_t>(uid),
                                                uid > static_cast<std::uint64_t>(INT64_MAX)}}};
            return true;
        }
        case PLIST_ARRAY:
            return convert_array(node, out, error);
        case PLIST_DICT:
            return convert_dict(node, out, error);
        default:
            error = "unknown node type";
            return false;
    }
}

std::optional<Value> fail(std::string* error, std::string_view reason) {
    if (error) *error = "XML property list: " + std::string(reason);
    return std::nullopt;
}

}  // namespace

std::optional<Value> parse_xml(std::string_view bytes, std::string* error) {
    if (bytes.size() > kMaxInputBytes) return fail(error, "larger than 256 MiB");
    bytes = utf::strip_utf8_bom(bytes);
    if (!nesting_within_bounds(bytes, true) || !nesting_within_bounds(bytes, false)) {
        return fail(error, "nested deeper than " + std::to_string(kMaxDepth));
    }
    // Handed over in place, without a terminating NUL: libplist 2.2 keeps to the given length,
    // which a test checks against a guard page (copying the text costs a quarter of the parse).
    plist_t root = nullptr;
    plist_from_xml(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    if (!root) return fail(error, "not a well-formed property list");
    NodePtr owner(root, &plist_free);
    Value value;
    std::string reason;
    if (!convert(root, value, reason)) return fail(error, reason);
    return value;
}

}  // namespace plist
