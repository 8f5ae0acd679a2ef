// Streaming XML property-list writer in Apple's layout: header and DOCTYPE, one tab per level,
// sorted keys, ISO 8601 dates in UTC rounded down to the second, reals as %.17g, base64 data in
// lines of 76 - 8 * min(depth, 8) characters. Output goes through a large buffer to a file
// descriptor or a string; no buffer ever holds a whole large document.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "libs/plist/Value.h"

namespace plist {

// True when the tree holds a value that an XML property list cannot carry (a null).
bool contains_null(const Value& value);

class XmlWriter {
public:
    // Writes to an open file descriptor (not owned) or appends to a string.
    explicit XmlWriter(int fd);
    explicit XmlWriter(std::string* out);
    ~XmlWriter();
    XmlWriter(const XmlWriter&) = delete;
    XmlWriter& operator=(const XmlWriter&) = delete;

    // A whole document: header, the value, footer. Throws std::invalid_argument on a null,
    // before anything is written (the caller checks with contains_null).
    void write_document(const Value& root);

    // Event interface for documents too large to build as one Value (for example a database
    // table streamed row by row). Keys of a dictionary must be given in sorted order. value()
    // throws std::invalid_argument on a null, before writing any of it. end_document() flushes.
    void begin_document();
    void end_document();
    void begin_dict();
    void end_dict();
    void begin_array();
    void end_array();
    void key(std::string_view k);
    void value(const Value& v);  // any value, containers included
    void string(std::string_view s);

    // Pushes buffered bytes out (the destructor does too). Returns false when a write to the
    // descriptor has failed, then or earlier; later output is dropped.
    bool flush();
    bool ok() const { return ok_; }

private:
    void put(std::string_view s);
    void put_escaped(std::string_view s);
    void indent();
    void element(std::string_view open, std::string_view text, std::string_view close);
    void open_pending_container();
    void end_container(std::string_view empty, std::string_view close);
    void write_value(const Value& v);
    void write_integer(const Integer& i);
    void write_real(double d);
    void write_date(Date date);
    void write_data(const Data& data);
    void write_rows(const TextRows& rows);

    int fd_ = -1;
    std::string* out_ = nullptr;
    std::string buffer_;
    int depth_ = 0;
    std::string open_;           // kinds of the open containers of the event interface: 'd', 'a'
    bool pending_open_ = false;  // the innermost one has no child yet, so may still print empty
    bool ok_ = true;
};

// The whole document as a string (small documents and tests).
std::string to_xml(const Value& root);

// Writes the document to an open file descriptor (not closed). Returns false and sets error when
// the value holds a null (nothing is written then) or a write fails.
bool write_xml(const Value& root, int fd, std::string* error);

}  // namespace plist
