// Our own reader for binary property lists rather than libplist's plist_from_bin: the format is
// small, and libplist 2.2 trusts offsets, recurses without limit and truncates dates to int32.
// Every offset, count and payload is checked against the object area before it is touched.
#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "libs/plist/Reader.h"
#include "libs/plist/Utf.h"

namespace plist {

namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kTrailerSize = 32;
// Shared objects are copied at every reference, so a small file could otherwise expand
// exponentially. Real files stay far below these budgets.
constexpr std::uint64_t kNodesPerInputByte = 8;
constexpr std::uint64_t kPayloadBudget = std::uint64_t{1} << 30;

class BinaryReader {
public:
    explicit BinaryReader(std::string_view bytes)
        : data_(reinterpret_cast<const unsigned char*>(bytes.data())), size_(bytes.size()) {}

    std::optional<Value> read(std::string* error);

private:
    bool fail(std::string reason);
    std::uint64_t big_endian(std::uint64_t pos, unsigned width) const;
    bool read_trailer();
    bool object_offset(std::uint64_t ref, std::uint64_t& offset);
    bool require(std::uint64_t pos, std::uint64_t count, std::uint64_t unit);
    bool read_count(std::uint64_t& pos, unsigned info, std::uint64_t& count);
    bool charge(std::uint64_t nodes, std::uint64_t payload_bytes);

    bool read_object(std::uint64_t ref, int depth, Value& out);
    bool read_integer(std::uint64_t pos, unsigned info, Value& out);
    bool read_real(std::uint64_t pos, unsigned info, Value& out);
    bool read_string(std::uint64_t pos, unsigned type, unsigned info, std::string& out);
    bool read_key(std::uint64_t ref, int depth, std::string& key);
    bool read_array(std::uint64_t ref, std::uint64_t pos, unsigned info, int depth, Value& out);
    bool read_dict(std::uint64_t ref, std::uint64_t pos, unsigned info, int depth, Value& out);

    const unsigned char* data_;
    std::size_t size_;
    unsigned offset_size_ = 0;
    unsigned ref_size_ = 0;
    std::uint64_t num_objects_ = 0;
    std::uint64_t top_ = 0;
    std::uint64_t table_offset_ = 0;
    std::vector<bool> on_path_;  // containers being read, to refuse cycles
    std::uint64_t nodes_left_ = 0;
    std::uint64_t payload_left_ = kPayloadBudget;
    std::string error_;
};

bool BinaryReader::fail(std::string reason) {
    if (error_.empty()) error_ = std::move(reason);
    return false;
}

std::uint64_t BinaryReader::big_endian(std::uint64_t pos, unsigned width) const {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < width; ++i) value = value << 8 | data_[pos + i];
    return value;
}

bool BinaryReader::read_trailer() {
    if (size_ < kHeaderSize + kTrailerSize + 2) return fail("too short");
    if (std::memcmp(data_, "bplist0", 7) != 0) return fail("no bplist0 magic");
    const std::uint64_t t = size_ - kTrailerSize;
    offset_size_ = data_[t + 6];
    ref_size_ = data_[t + 7];
    num_objects_ = big_endian(t + 8, 8);
    top_ = big_endian(t + 16, 8);
    table_offset_ = big_endian(t + 24, 8);
    if (offset_size_ < 1 || offset_size_ > 8 || ref_size_ < 1 || ref_size_ > 8) {
        return fail("bad offset or reference size in trailer");
    }
    if (num_objects_ < 1 || top_ >= num_objects_) return fail("bad object count or top object");
    if (table_offset_ < kHeaderSize + 1 || table_offset_ >= t)
        return fail("bad offset table position");
    const std::uint64_t table_bytes = t - table_offset_;
    if (num_objects_ > table_bytes / offset_size_ || num_objects_ * offset_size_ != table_bytes) {
        return fail("offset table does not fill the space before the trailer");
    }
    if (ref_size_ < 8 && (std::uint64_t{1} << (8 * ref_size_)) <= num_objects_) {
        return fail("reference size too small for the object count");
    }
    nodes_left_ = kNodesPerInputByte * size_ + 4096;
    on_path_.assign(num_objects_, false);
    return true;
}

bool BinaryReader::object_offset(std::uint64_t ref, std::uint64_t& offset) {
    if (ref >= num_objects_) return fail("object reference out of range");
    offset = big_endian(table_offset_ + ref * offset_size_, offset_size_);
    if (offset < kHeaderSize || offset >= table_offset_) return fail("object offset out of range");
    return true;
}

// True when count units of unit bytes starting at pos lie inside the object area.
bool BinaryReader::require(std::uint64_t pos, std::uint64_t count, std::uint64_t unit) {
    if (pos > table_offset_ || count > (table_offset_ - pos) / unit) {
        return fail("object runs past the object area");
    }
    return true;
}

// Counts of 15 and more are stored as an integer object right after the marker.
bool BinaryReader::read_count(std::uint64_t& pos, unsigned info, std::uint64_t& count) {
    if (info != 0xF) {
        count = info;
        return true;
    }
    if (!require(pos, 1, 1)) return false;
    const unsigned marker = data_[pos];
    if ((marker >> 4) != 0x1 || (marker & 0xF) > 3) return fail("bad extended count");
    const unsigned width = 1u << (marker & 0xF);
    if (!require(pos + 1, 1, width)) return false;
    count = big_endian(pos + 1, width);
    pos += 1 + width;
    return true;
}

bool BinaryReader::charge(std::uint64_t nodes, std::uint64_t payload_bytes) {
    if (nodes > nodes_left_ || payload_bytes > payload_left_) {
        return fail("shared objects expand beyond the size budget");
    }
    nodes_left_ -= nodes;
    payload_left_ -= payload_bytes;
    return true;
}

bool BinaryReader::read_integer(std::uint64_t pos, unsigned info, Value& out) {
    if (info > 4) return fail("bad integer width");
    const unsigned width = 1u << info;
    if (!require(pos, 1, width)) return false;
    if (info < 4) {
        // 1, 2 and 4-byte integers are unsigned, 8-byte ones signed: both fit an int64.
        out = Integer{static_cast<std::int64_t>(big_endian(pos, width)), false};
        return true;
    }
    // 128-bit: writers use it for values above INT64_MAX; the low half holds the value.
    const std::uint64_t high = big_endian(pos, 8);
    const std::uint64_t low = big_endian(pos + 8, 8);
    if (high == 0) {
        out = Integer{static_cast<std::int64_t>(low), low > static_cast<std::uint64_t>(INT64_MAX)};
    } else if (high == ~std::uint64_t{0} && (low >> 63) != 0) {
        out = Integer{static_cast<std::int64_t>(low), false};
    } else {
        return fail("integer beyond 64 bits");
    }
    return true;
}

bool BinaryReader::read_real(std::uint64_t pos, unsigned info, Value& out) {
    if (info == 2 && require(pos, 1, 4)) {
        out = static_cast<double>(
            std::bit_cast<float>(static_cast<std::uint32_t>(big_endian(pos, 4))));
        return true;
    }
    if (info == 3 && require(pos, 1, 8)) {
        out = std::bit_cast<double>(big_endian(pos, 8));
        return true;
    }
    return fail("bad real width");
}

bool BinaryReader::read_string(std::uint64_t pos, unsigned type, unsigned info, std::string& out) {
    std::uint64_t count = 0;
    if (!read_count(pos, info, count)) return false;
    const std::uint64_t unit = type == 0x6 ? 2 : 1;
    if (!require(pos, count, unit) || !charge(0, count * unit)) return false;
    const unsigned char* start = data_ + pos;
    if (type == 0x6) {
        out = utf::utf16_to_utf8(start, count, true);
        return true;
    }
    // "ASCII" strings: a stray high byte is taken as Latin-1 so the result is always UTF-8.
    out.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i) {
        if (start[i] < 0x80) {
            out.push_back(static_cast<char>(start[i]));
        } else {
            utf::append_utf8(out, start[i]);
        }
    }
    return true;
}

bool BinaryReader::read_key(std::uint64_t ref, int depth, std::string& key) {
    std::uint64_t pos = 0;
    if (!object_offset(ref, pos)) return false;
    const unsigned type = data_[pos] >> 4;
    if (type != 0x5 && type != 0x6) return fail("dictionary key is not a string");
    Value value;
    if (!read_object(ref, depth, value)) return false;
    key = std::move(*value.as_string());
    return true;
}

bool BinaryReader::read_array(std::uint64_t ref, std::uint64_t pos, unsigned info, int depth,
                              Value& out) {
    std::uint64_t count = 0;
    if (!read_count(pos, info, count) || !require(pos, count, ref_size_)) return false;
    if (count > nodes_left_) return fail("shared objects expand beyond the size budget");
    Array array;
    array.reserve(count);
    on_path_[ref] = true;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t child = big_endian(pos + i * ref_size_, ref_size_);
        if (!read_object(child, depth + 1, array.emplace_back())) return false;
    }
    on_path_[ref] = false;
    out = std::move(array);
    return true;
}

bool BinaryReader::read_dict(std::uint64_t ref, std::uint64_t pos, unsigned info, int depth,
                             Value& out) {
    std::uint64_t count = 0;
    if (!read_count(pos, info, count)) return false;
    if (count > table_offset_ || !require(pos, 2 * count, ref_size_)) return false;
    Dictionary dict;
    on_path_[ref] = true;
    const std::uint64_t values = pos + count * ref_size_;
    for (std::uint64_t i = 0; i < count; ++i) {
        std::string key;
        if (!read_key(big_endian(pos + i * ref_size_, ref_size_), depth + 1, key)) return false;
        Value& slot = dict[std::move(key)];  // a repeated key: the last one wins
        if (!read_object(big_endian(values + i * ref_size_, ref_size_), depth + 1, slot))
            return false;
    }
    on_path_[ref] = false;
    out = std::move(dict);
    return true;
}

bool BinaryReader::read_object(std::uint64_t ref, int depth, Value& out) {
    std::uint64_t pos = 0;
    if (!charge(1, 0) || !object_offset(ref, pos)) return false;
    const unsigned marker = data_[pos++];
    const unsigned type = marker >> 4;
    const unsigned info = marker & 0xF;
    const bool container = type == 0xA || type == 0xC || type == 0xD;
    if (container) {
        if (depth >= kMaxDepth) return fail("nested deeper than " + std::to_string(kMaxDepth));
        if (on_path_[ref]) return fail("a container contains itself");
    }
    switch (type) {
        case 0x0:
            if (marker == 0x00)
                out = Null{};
            else if (marker == 0x08)
                out = false;
            else if (marker == 0x09)
                out = true;
            else
                return fail("unknown marker");
            return true;
        case 0x1:
            return read_integer(pos, info, out);
        case 0x2:
            return read_real(pos, info, out);
        case 0x3:
            if (info != 3 || !require(pos, 1, 8)) return fail("bad date");
            out = Date{std::bit_cast<double>(big_endian(pos, 8))};
            return true;
        case 0x4: {
            std::uint64_t count = 0;
            if (!read_count(pos, info, count) || !require(pos, count, 1) || !charge(0, count)) {
                return false;
            }
            out = Data(data_ + pos, data_ + pos + count);
            return true;
        }
        case 0x5:
        case 0x6: {
            std::string text;
            if (!read_string(pos, type, info, text)) return false;
            out = std::move(text);
            return true;
        }
        case 0x8: {
            const unsigned width = info + 1;
            if (width > 8 || !require(pos, 1, width)) return fail("bad UID");
            const std::uint64_t uid = big_endian(pos, width);
            out = Dictionary{{"CF$UID", Integer{static_cast<std::int64_t>(uid),
                                                uid > static_cast<std::uint64_t>(INT64_MAX)}}};
            return true;
        }
        case 0xA:
        case 0xC:
            return read_array(ref, pos, info, depth, out);
        case 0xD:
            return read_dict(ref, pos, info, depth, out);
        default:
            return fail("unknown marker");
    }
}

std::optional<Value> BinaryReader::read(std::string* error) {
    Value root;
    if (read_trailer() && read_object(top_, 0, root)) return root;
    if (error) *error = "binary property list: " + error_;
    return std::nullopt;
}

}  // namespace

std::optional<Value> parse_binary(std::string_view bytes, std::string* error) {
    if (bytes.size() > kMaxInputBytes) {
        if (error) *error = "binary property list: larger than 256 MiB";
        return std::nullopt;
    }
    return BinaryReader(bytes).read(error);
}

}  // namespace plist
