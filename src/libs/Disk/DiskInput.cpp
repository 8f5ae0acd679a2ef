// Reading a configuration text of the examined machine into a report.
#include <simdjson.h>

#include "libs/Disk/Disk.h"
#include "libs/sys/Log.h"

std::string Disk::getFile(const sys::FileSystem& files, std::string_view path,
                          std::string_view label) {
    sys::logf("Getting the {} file...", label);
    // Reports are UTF-8 text; bytes that are not would make the property list invalid, so such a
    // file counts as unreadable, as a text read in that encoding fails on the platform.
    std::optional<std::string> text = files.read_utf8_text(path);
    if (!text) {
        sys::logf("{} file does not exist!", label);
        return {};
    }
    return std::move(*text);
}
