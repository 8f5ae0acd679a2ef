// Output follows Apple's XML writer byte for byte (see the header for the layout), through one
// large buffer so that the biggest reports never exist whole in memory.
#include "libs/plist/XmlWriter.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "libs/plist/CivilTime.h"
#include "libs/plist/Utf.h"

namespace plist {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 20;

constexpr std::string_view kPrologue =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
constexpr std::string_view kEpilogue = "</plist>\n";

constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

bool contains_null(const Value& value) {
    if (value.is_null()) return true;
    if (const Array* array = value.as_array()) {
        for (const Value& child : *array) {
            if (contains_null(child)) return true;
        }
    } else if (const Dictionary* dict = value.as_dict()) {
        for (const auto& entry : *dict) {
            if (contains_null(entry.second)) return true;
        }
    }
    return false;
}

XmlWriter::XmlWriter(int fd) : fd_(fd) {
    buffer_.reserve(kBufferBytes + 4096);
}

XmlWriter::XmlWriter(std::string* out) : out_(out) {}

XmlWriter::~XmlWriter() {
    flush();
}

bool XmlWriter::flush() {
    if (buffer_.empty()) return ok_;
    if (out_) {
        out_->append(buffer_);
    } else {
        const char* data = buffer_.data();
        std::size_t left = buffer_.size();
        while (ok_ && left > 0) {
            const ssize_t n = ::write(fd_, data, left);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                ok_ = false;
                break;
            }
            data += n;
            left -= static_cast<std::size_t>(n);
        }
    }
    buffer_.clear();
    return ok_;
}

void XmlWriter::put(std::string_view s) {
    buffer_.append(s);
    if (buffer_.size() >= kBufferBytes) flush();
}

void XmlWriter::indent() {
    buffer_.append(static_cast<std::size_t>(depth_), '\t');
}

namespace {

// Characters an XML document cannot carry at all, not even as a reference: most controls, lone
// surrogates and U+FFFE/U+FFFF. Hostile process names and file contents hold them.
bool representable(char32_t c) {
    if (c < 0x20) return c == '\t' || c == '\n' || c == '\r';
    if (c >= 0xD800 && c <= 0xDFFF) return false;
    return c != 0xFFFE && c != 0xFFFF;
}

constexpr std::string_view kReplacementUtf8 = "\xEF\xBF\xBD";

}  // namespace

// <, > and & are escaped, as Apple's writer does. Unlike Apple's writer, text that XML cannot
// carry (malformed UTF-8, control characters) is replaced by U+FFFD so that every document we
// write loads anywhere; a triage report must never be unreadable because of one hostile string.
void XmlWriter::put_escaped(std::string_view s) {
    std::size_t run = 0;
    for (std::size_t i = 0; i < s.size();) {
        const auto byte = static_cast<unsigned char>(s[i]);
        if (byte >= 0x20 && byte < 0x80 && byte != '<' && byte != '>' && byte != '&') {
            ++i;
            continue;
        }
        std::size_t next = i + 1;
        std::string_view replacement;
        if (byte == '<') {
            replacement = "&lt;";
        } else if (byte == '>') {
            replacement = "&gt;";
        } else if (byte == '&') {
            replacement = "&amp;";
        } else {
            next = i;
            char32_t c = utf::next_code_point(s, next);
            if (c != utf::kReplacement && representable(c)) {
                i = next;
                continue;
            }
            replacement = kReplacementUtf8;
        }
        buffer_.append(s.data() + run, i - run);
        buffer_.append(replacement);
        i = run = next;
    }
    put(s.substr(run));
}

void XmlWriter::element(std::string_view open, std::string_view text, std::string_view close) {
    indent();
    buffer_.append(open);
    put_escaped(text);
    put(close);
}

void XmlWriter::open_pending_container() {
    if (!pending_open_) return;
    pending_open_ = false;
    --depth_;
    indent();
    ++depth_;
    put(open_.back() == 'd' ? "<dict>\n" : "<array>\n");
}

void XmlWriter::begin_document() {
    depth_ = 0;
    put(kPrologue);
}

void XmlWriter::end_document() {
    put(kEpilogue);
    flush();
}

void XmlWriter::begin_dict() {
    open_pending_container();
    open_.push_back('d');
    ++depth_;
    pending_open_ = true;
}

void XmlWriter::begin_array() {
    open_pending_container();
    open_.push_back('a');
    ++depth_;
    pending_open_ = true;
}

void XmlWriter::end_container(std::string_view empty, std::string_view close) {
    --depth_;
    indent();
    put(pending_open_ ? empty : close);
    pending_open_ = false;
    open_.pop_back();
}

void XmlWriter::end_dict() {
    end_container("<dict/>\n", "</dict>\n");
}

void XmlWriter::end_array() {
    end_container("<array/>\n", "</array>\n");
}

void XmlWriter::key(std::string_view k) {
    open_pending_container();
    element("<key>", k, "</key>\n");
}

void XmlWriter::string(std::string_view s) {
    open_pending_container();
    element("<string>", s, "</string>\n");
}

void XmlWriter::value(const Value& v) {
    if (contains_null(v))
        throw std::invalid_argument("a null cannot be written to an XML property list");
    open_pending_container();
    write_value(v);
}

void XmlWriter::write_document(const Value& root) {
    if (contains_null(root))
        throw std::invalid_argument("a null cannot be written to an XML property list");
    begin_document();
    write_value(root);
    end_document();
}

void XmlWriter::write_integer(const Integer& i) {
    char digits[24];
    const auto result = i.is_unsigned ? std::to_chars(digits, digits + sizeof digits,
                                                      static_cast<std::uint64_t>(i.value))
                                      : std::to_chars(digits, digits + sizeof digits, i.value);
    element("<integer>", std::string_view(digits, static_cast<std::size_t>(result.ptr - digits)),
            "</integer>\n");
}

void XmlWriter::write_real(double d) {
    char text[32];
    if (std::isnan(d)) {
        std::strcpy(text, "nan");
    } else if (std::isinf(d)) {
        std::strcpy(text, d > 0 ? "+infinity" : "-infinity");
    } else if (d == 0) {
        std::strcpy(text, "0.0");
    } else {
        std::snprintf(text, sizeof text, "%.17g", d);
    }
    element("<real>", text, "</real>\n");
}

void XmlWriter::write_date(Date date) {
    // Readers refuse years outside 1 to 9999 (a five-digit or negative year makes the whole
    // document unloadable), so a corrupt date in a collected file is held at the nearest end.
    CivilTime t = civil_time_utc(date);
    if (t.year < 1) t = CivilTime{1, 1, 1, 0, 0, 0};
    if (t.year > 9999) t = CivilTime{9999, 12, 31, 23, 59, 59};
    char text[40];
    std::snprintf(text, sizeof text, "%04lld-%02d-%02dT%02d:%02d:%02dZ",
                  static_cast<long long>(t.year), t.month, t.day, t.hour, t.minute, t.second);
    element("<date>", text, "</date>\n");
}

// Base64 lines are indented like the tag, up to 8 tabs, and shorten by 8 characters per tab.
void XmlWriter::write_data(const Data& data) {
    indent();
    put("<data>\n");
    const int tabs = depth_ < 8 ? depth_ : 8;
    const std::size_t bytes_per_line = static_cast<std::size_t>(76 - 8 * tabs) / 4 * 3;
    for (std::size_t start = 0; start < data.size(); start += bytes_per_line) {
        const std::size_t end = std::min(data.size(), start + bytes_per_line);
        buffer_.append(static_cast<std::size_t>(tabs), '\t');
        for (std::size_t i = start; i < end; i += 3) {
            const std::size_t n = std::min<std::size_t>(3, end - i);
            const std::uint32_t triple = std::uint32_t{data[i]} << 16 |
                                         (n > 1 ? std::uint32_t{data[i + 1]} << 8 : 0) |
                                         (n > 2 ? std::uint32_t{data[i + 2]} : 0);
            buffer_.push_back(kBase64[triple >> 18 & 0x3F]);
            buffer_.push_back(kBase64[triple >> 12 & 0x3F]);
            buffer_.push_back(n > 1 ? kBase64[triple >> 6 & 0x3F] : '=');
            buffer_.push_back(n > 2 ? kBase64[triple & 0x3F] : '=');
        }
        put("\n");
    }
    indent();
    put("</data>\n");
}

void XmlWriter::write_value(const Value& v) {
    if (const std::string* s = v.as_string()) {
        element("<string>", *s, "</string>\n");
    } else if (const Dictionary* dict = v.as_dict()) {
        if (dict->empty()) {
            indent();
            put("<dict/>\n");
            return;
        }
        indent();
        put("<dict>\n");
        ++depth_;
        for (const auto& [k, child] : *dict) {
            element("<key>", k, "</key>\n");
            write_value(child);
        }
        --depth_;
        indent();
        put("</dict>\n");
    } else if (const Array* array = v.as_array()) {
        if (array->empty()) {
            indent();
            put("<array/>\n");
            return;
        }
        indent();
        put("<array>\n");
        ++depth_;
        for (const Value& child : *array) write_value(child);
        --depth_;
        indent();
        put("</array>\n");
    } else if (const Integer* i = v.as_integer()) {
        write_integer(*i);
    } else if (const double* d = v.as_real()) {
        write_real(*d);
    } else if (const bool* b = v.as_bool()) {
        indent();
        put(*b ? "<true/>\n" : "<false/>\n");
    } else if (const Date* date = v.as_date()) {
        write_date(*date);
    } else if (const Data* data = v.as_data()) {
        write_data(*data);
    } else if (const TextRows* rows = v.as_rows()) {
        write_rows(*rows);
    } else {
        throw std::invalid_argument("a null cannot be written to an XML property list");
    }
}

void XmlWriter::write_rows(const TextRows& rows) {
    indent();
    if (rows.empty()) {
        put("<array/>\n");
        return;
    }
    put("<array>\n");
    ++depth_;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        indent();
        if (rows.row_size(row) == 0) {
            put("<array/>\n");
            continue;
        }
        put("<array>\n");
        ++depth_;
        for (std::size_t column = 0; column < rows.row_size(row); ++column) {
            element("<string>", rows.cell(row, column), "</string>\n");
        }
        --depth_;
        indent();
        put("</array>\n");
    }
    --depth_;
    indent();
    put("</array>\n");
}

std::string to_xml(const Value& root) {
    std::string out;
    {
        XmlWriter writer(&out);
        writer.write_document(root);
    }
    return out;
}

bool write_xml(const Value& root, int fd, std::string* error) {
    if (contains_null(root)) {
        if (error) *error = "a null cannot be written to an XML property list";
        return false;
    }
    XmlWriter writer(fd);
    writer.write_document(root);
    if (writer.flush()) return true;
    if (error) *error = std::string("The file could not be written: ") + std::strerror(errno);
    return false;
}

}  // namespace plist
