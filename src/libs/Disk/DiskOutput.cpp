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
std::string try_write_xml(const plist::Value& value, const sys::OutputPath& file) {
    // Checked before the file is opened, so that the failed attempt leaves nothing behind and the
    // fallback starts a clean file.
    if (plist::contains_null(value)) return std::string(kNullRefusal);
    const sys::UniqueFd fd = file.output().open_to_write(file.path());
    if (!fd) return "The file could not be opened: " + file.string();
    std::string error;
    if (plist::write_xml(value, fd.get(), &error)) return {};
    return error;
}

}  // namespace

void Disk::redirectLog(const sys::OutputPath& folder, std::string_view file_name) {
    const sys::OutputPath file = folder / file_name;
    sys::redirect_log(file.output().open_to_append(file.path()).get());
}

void Disk::write_plist(const plist::Value& dictionary, const sys::OutputPath& file) {
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

void Disk::create_empty_files(const sys::OutputPath& folder,
                              std::initializer_list<std::string_view> names) {
    for (std::string_view name : names) {
        const sys::OutputPath file = folder / name;
        if (!file.output().open_to_write(file.path())) {
            sys::logf("Error in creating file {}.", file.string());
        }
    }
}
