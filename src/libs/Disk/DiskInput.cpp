// Reading a configuration text of the examined machine into a report.
#include <simdjson.h>

#include "libs/Disk/Disk.h"
#include "libs/sys/Log.h"

std::string Disk::getFile(const sys::FileSystem& files, std::string_view path,
                          std::string_view label) {
    sys::logf("Getting the {} file...", label);
    std::optional<std::string> text = files.read_file(path);
    // Reports are UTF-8 text; bytes that are not would make the property list invalid, so such a
    // file counts as unreadable, as a text read in that encoding fails on the platform.
    if (!text || !simdjson::validate_utf8(text->data(), text->size())) {
        sys::logf("{} file does not exist!", label);
        return {};
    }
    return std::move(*text);
}
