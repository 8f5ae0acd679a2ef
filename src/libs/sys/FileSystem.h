// Root-relative file access: the one way every module reads the examined machine. Paths are
// absolute paths as they are on that machine; they are resolved under the root (a mounted volume
// or a fixture tree), symbolic links are followed with a bound and never out of the root, and
// paths in reports stay as given. It only ever reads: the examined machine is evidence, and the
// run's own output goes through sys::RunOutput.
//
// Failures never throw: a missing, unreadable or unsuitable file gives false or an empty optional.
// Only regular files are read or opened, so a FIFO, a device or a socket never blocks a run.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "libs/plist/Value.h"
#include "libs/sys/UniqueFd.h"

namespace sys {

enum class FileType { Regular, Directory, Symlink, Fifo, CharDevice, BlockDevice, Socket, Other };

// Why a text read failed, as the platform's file errors put it: a code and a description.
struct ReadError {
    long code = 0;
    std::string description;
};

struct FileAttributes {
    FileType type = FileType::Other;
    std::uint64_t size = 0;
};

class FileSystem {
public:
    // Whole-file reads stop here; a larger file is logged and treated as unreadable.
    static constexpr std::uint64_t kMaxWholeFileRead = 256ull << 20;

    explicit FileSystem(std::filesystem::path root = "/");

    // The running system's own files, for the live sources and the program's own configuration.
    static const FileSystem& host();

    const std::filesystem::path& root() const { return root_; }
    // True when the root is "/", that is when the examined tree is the running system.
    bool is_live() const { return live_; }

    // Where the path lives on the host. A relative path is taken from the root, as a launched
    // application's working directory is "/". With follow_final_link false a final link is kept.
    std::optional<std::filesystem::path> host_path(std::string_view path,
                                                   bool follow_final_link = true) const;

    // Something (file, directory, ...) is there, following links.
    bool exists(std::string_view path) const;
    // Where a fixed system file is read from: the path itself when something is there; else, for
    // a path under "/private/etc" or "/private/var", the same path under "/etc" or "/var" when
    // something is there (on a Mac they are the same files, elsewhere only the short form
    // exists); else the path as given.
    std::string system_path(std::string_view path) const;
    bool is_directory(std::string_view path) const;
    // A regular file that this process may read.
    bool is_readable_file(std::string_view path) const;
    // The item itself, a final link not followed.
    std::optional<FileAttributes> attributes(std::string_view path) const;
    // One level of a link's destination, as stored.
    std::optional<std::string> link_destination(std::string_view path) const;
    // Entry names (not "." and ".."), sorted so that runs are reproducible.
    std::optional<std::vector<std::string>> list_directory(std::string_view path) const;
    // The same names, or none at all when the folder is missing, not a folder or unreadable: for
    // the many collectors that treat those alike.
    std::vector<std::string> entries_of(std::string_view path) const;

    std::optional<std::string> read_file(std::string_view path) const;
    // The whole file as UTF-8 text; none, with the reason in *error, when it is missing, not a
    // readable regular file, too large, or not valid UTF-8.
    std::optional<std::string> read_utf8_text(std::string_view path,
                                              ReadError* error = nullptr) const;
    // Any property-list format (binary, XML, old-style); empty when unreadable or malformed.
    std::optional<plist::Value> read_plist(std::string_view path) const;
    std::optional<plist::Dictionary> read_plist_dictionary(std::string_view path) const;
    std::optional<plist::Array> read_plist_array(std::string_view path) const;
    // A regular file opened for reading; an empty descriptor for anything else.
    UniqueFd open_regular(std::string_view path) const;

private:
    std::filesystem::path root_;
    bool live_;
};

}  // namespace sys
