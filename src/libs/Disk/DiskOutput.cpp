// The two output files of a module: its log and its property list.
#include <string>

#include "libs/Disk/Disk.h"
#include "libs/plist/OldStyle.h"
#include "libs/plist/XmlWriter.h"
#include "libs/sys/Log.h"

namespace {

// What the platform's serialiser says when it meets a null; kept recognisable for log readers.
constexpr std::string_view kNullRefusal =
    "Property list invalid for format: 100 (property lists cannot contain objects of type "
    "'CFNull')";

// One attempt at the XML form; the error text is empty on success.
std::string try_write_xml(const plist::Value& value, const std::filesystem::path& file) {
    // The writer would refuse a null only after truncating the file; checking first keeps the
    // failed attempt from leaving anything behind, so the fallback starts a clean file.
    if (plist::contains_null(value)) return std::string(kNullRefusal);
    std::string error;
    if (plist::write_xml_file(value, file, &error)) return {};
    return error.empty() ? std::string("The file could not be written.") : error;
}

}  // namespace

void Disk::redirectLog(const std::filesystem::path& folder, std::string_view file_name) {
    sys::redirect_log(folder / std::filesystem::path(file_name));
}

void Disk::write_plist(const plist::Value& dictionary, const std::filesystem::path& file) {
    sys::logf("DISK - Writing final plist at path: {}", file.string());
    if (std::string error = try_write_xml(dictionary, file); !error.empty()) {
        sys::logf("ERROR - In writing final plist at path: {}", file.string());
        sys::log_line(error);
        sys::log_line("Trying to write the dictionary as string.");
        // The description text is one string, so it always has an XML form; only the file
        // itself can still fail here.
        if (std::string retry = try_write_xml(plist::Value(plist::describe(dictionary)), file);
            !retry.empty()) {
            sys::log_line("Writing as string failed.");
            sys::log_line(retry);
        }
    }
    sys::log_line("DISK - Finished writing final plist.");
}

void Disk::create_empty_files(const std::filesystem::path& folder,
                              std::initializer_list<std::string_view> names) {
    for (std::string_view name : names) {
        const std::string path = (folder / std::filesystem::path(name)).string();
        if (!sys::FileSystem::host().create_file(path)) {
            sys::logf("Error in creating file {}.", path);
        }
    }
}
