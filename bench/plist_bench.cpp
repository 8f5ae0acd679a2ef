// Property-list throughput: the XML writer on a tree of a million strings, and our readers
// against the libraries' own parse times (libplist, simdjson) on the same large document.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <plist/plist.h>
#include <simdjson.h>
#include <unistd.h>

#include <string>

#include "libs/plist/Json.h"
#include "libs/plist/OldStyle.h"
#include "libs/plist/Reader.h"
#include "libs/plist/XmlWriter.h"

namespace {

using plist::Array;
using plist::Dictionary;
using plist::Value;

constexpr int kRows = 100000;
constexpr int kColumns = 10;

// 100 000 rows of 10 string columns, shaped like a browser history table.
const Value& million_strings() {
    static const Value document = [] {
        Array rows;
        rows.reserve(kRows);
        for (int r = 0; r < kRows; ++r) {
            Dictionary row;
            for (int c = 0; c < kColumns; ++c) {
                row.emplace(
                    "column_" + std::to_string(c),
                    "https://example.com/page/" + std::to_string(r) + "?q=" + std::to_string(c));
            }
            rows.emplace_back(std::move(row));
        }
        return Value(Dictionary{{"rows", std::move(rows)}});
    }();
    return document;
}

std::string be(std::uint64_t value, unsigned width) {
    std::string out;
    for (int shift = 8 * (static_cast<int>(width) - 1); shift >= 0; shift -= 8) {
        out.push_back(static_cast<char>(value >> shift & 0xFF));
    }
    return out;
}

// A plain binary encoding (ASCII strings, containers; no sharing), since libplist's own binary
// writer is quadratic on trees this size.
class BinaryEncoder {
public:
    std::string encode(const Value& root) {
        const std::uint64_t top = add(root);
        const std::uint64_t table = objects_.size();
        for (const std::uint64_t offset : offsets_) objects_ += be(offset, 8);
        objects_ += std::string(6, '\0') + '\x08' + '\x04';
        return objects_ + be(offsets_.size(), 8) + be(top, 8) + be(table, 8);
    }

private:
    static std::string marker(unsigned type, std::uint64_t count) {
        if (count < 15) return std::string(1, static_cast<char>(type << 4 | count));
        return std::string(1, static_cast<char>(type << 4 | 0xF)) + '\x12' + be(count, 4);
    }
    std::uint64_t emit(const std::string& object) {
        offsets_.push_back(objects_.size());
        objects_ += object;
        return offsets_.size() - 1;
    }
    std::uint64_t add(const Value& v) {
        if (const std::string* s = v.as_string()) return emit(marker(0x5, s->size()) + *s);
        std::string refs;
        std::size_t count = 0;
        unsigned type = 0xA;
        if (const Dictionary* dict = v.as_dict()) {
            type = 0xD;
            count = dict->size();
            std::string values;
            for (const auto& [key, child] : *dict) {
                refs += be(add(key), 4);
                values += be(add(child), 4);
            }
            refs += values;
        } else {
            for (const Value& child : *v.as_array()) refs += be(add(child), 4);
            count = v.as_array()->size();
        }
        return emit(marker(type, count) + refs);
    }

    std::string objects_ = "bplist00";
    std::vector<std::uint64_t> offsets_;
};

void append_json(std::string& out, const Value& v) {
    if (const std::string* s = v.as_string()) {
        out += '"' + *s + '"';  // the benchmark's strings need no escapes
    } else if (const Dictionary* dict = v.as_dict()) {
        out += '{';
        for (const auto& [key, child] : *dict) {
            out += (out.back() == '{' ? "\"" : ",\"") + key + "\":";
            append_json(out, child);
        }
        out += '}';
    } else {
        out += '[';
        for (const Value& child : *v.as_array()) {
            if (out.back() != '[') out += ',';
            append_json(out, child);
        }
        out += ']';
    }
}

const std::string& xml_text() {
    static const std::string text = plist::to_xml(million_strings());
    return text;
}

const std::string& binary_bytes() {
    static const std::string bytes = BinaryEncoder().encode(million_strings());
    return bytes;
}

const std::string& json_text() {
    static const std::string text = [] {
        std::string out;
        append_json(out, million_strings());
        return out;
    }();
    return text;
}

const std::string& old_style_text() {
    static const std::string text = plist::describe(million_strings());
    return text;
}

void BM_XmlWriterToDevNull(benchmark::State& state) {
    const Value& document = million_strings();
    const std::size_t bytes = xml_text().size();
    const int fd = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    for (auto _ : state) {
        plist::XmlWriter writer(fd);
        writer.write_document(document);
        benchmark::DoNotOptimize(writer.flush());
    }
    ::close(fd);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}

void BM_ParseXmlOurs(benchmark::State& state) {
    const std::string& input = xml_text();
    for (auto _ : state) benchmark::DoNotOptimize(plist::parse_xml(input));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.size()));
}

void BM_ParseXmlLibplist(benchmark::State& state) {
    const std::string& input = xml_text();
    for (auto _ : state) {
        plist_t root = nullptr;
        plist_from_xml(input.c_str(), static_cast<std::uint32_t>(input.size()), &root);
        benchmark::DoNotOptimize(root);
        plist_free(root);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.size()));
}

void BM_ParseBinaryOurs(benchmark::State& state) {
    const std::string& input = binary_bytes();
    for (auto _ : state) benchmark::DoNotOptimize(plist::parse_binary(input));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.size()));
}

void BM_ParseBinaryLibplist(benchmark::State& state) {
    const std::string& input = binary_bytes();
    for (auto _ : state) {
        plist_t root = nullptr;
        plist_from_bin(input.data(), static_cast<std::uint32_t>(input.size()), &root);
        benchmark::DoNotOptimize(root);
        plist_free(root);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.size()));
}

void BM_ParseJsonOurs(benchmark::State& state) {
    const std::string& input = json_text();
    for (auto _ : state) benchmark::DoNotOptimize(plist::parse_json(input));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.size()));
}

void BM_ParseJsonSimdjson(benchmark::State& state) {
    const std::string& input = json_text();
    for (auto _ : state) {
        simdjson::dom::parser parser;
        const simdjson::padded_string padded(input);
        simdjson::dom::element root;
        benchmark::DoNotOptimize(parser.parse(padded).get(root));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.size()));
}

void BM_ParseOldStyleOurs(benchmark::State& state) {
    const std::string& input = old_style_text();
    for (auto _ : state) benchmark::DoNotOptimize(plist::parse_old_style(input));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.size()));
}

void BM_Describe(benchmark::State& state) {
    const std::string& input = old_style_text();
    for (auto _ : state) benchmark::DoNotOptimize(plist::describe(million_strings()));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.size()));
}

BENCHMARK(BM_XmlWriterToDevNull)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseXmlOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseXmlLibplist)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseBinaryOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseBinaryLibplist)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseJsonOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseJsonSimdjson)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseOldStyleOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Describe)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
