// Where a run writes on the host: the run folder "tvtriage" (module folders, logs, reports,
// samples), the archive, and the user's temporary directory. Whoever starts a run builds one and
// hands it to the driver, which hands it on to every module; nothing on the output side opens a
// path by itself.
//
// The run folder may sit in a temporary directory that other users share, so it is private: it
// is created 0700 (an existing one must be a real folder of the running user, and is tightened
// to 0700), everything in it is created 0700 or 0600, and nothing is ever opened through a
// symbolic link: every path is walked component by component from the run folder's descriptor
// without following links, and a link found where an output file belongs is removed first.
//
// Paths handed to the operations are host paths inside the run folder; any other path fails.
// Failures never throw: they give false or an empty value.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "libs/sys/UniqueFd.h"

namespace sys {

class RunOutput {
public:
    static constexpr const char* kRunFolderName = "tvtriage";

    // Makes, or takes over from an earlier run, the run folder in temporary_directory (an
    // absolute path). Empty, with the reason in *problem, when the run folder is a link, not a
    // folder, belongs to another user or cannot be made, or when the archive would land inside
    // it (clean-up would remove it).
    static std::optional<RunOutput> open(const std::filesystem::path& temporary_directory,
                                         std::filesystem::path archive, std::string* problem);

    const std::filesystem::path& run_folder() const { return run_folder_; }
    const std::filesystem::path& archive() const { return archive_; }
    const std::filesystem::path& temporary_directory() const { return temporary_directory_; }

    // A folder (parent must exist); an existing folder is kept with what it holds.
    bool create_directory(const std::filesystem::path& folder) const;
    // Opened for writing from the start (truncated), created when missing.
    UniqueFd open_to_write(const std::filesystem::path& file) const;
    // Opened for appending, created when missing; what is there stays.
    UniqueFd open_to_append(const std::filesystem::path& file) const;
    // Created new; fails when anything is there already.
    UniqueFd create_new(const std::filesystem::path& file) const;
    // Writes a new version beside the file and renames it into place, so that no reader ever
    // sees half of it. write gets the new file's descriptor and says whether all went well.
    bool replace(const std::filesystem::path& file, const std::function<bool(int fd)>& write) const;
    // A regular file is there (a link does not count).
    bool is_file(const std::filesystem::path& file) const;
    // Entry names, sorted; none when the folder cannot be opened.
    std::optional<std::vector<std::string>> list(const std::filesystem::path& folder) const;
    // Removes the entry and, for a folder, everything in it; links are removed, never followed.
    bool remove_all(const std::filesystem::path& entry, std::string* error = nullptr) const;

    // Writes name in the temporary directory (outside the run folder, left there) through a
    // fresh private file renamed into place. Returns its path, or none.
    std::optional<std::filesystem::path> write_temporary_file(std::string_view name,
                                                              std::string_view contents) const;

    // A new file directly in the temporary directory; fails (with errno set) when anything, a
    // link included, is there already.
    UniqueFd create_temporary_file(std::string_view name) const;
    // Removes that file (a link is removed, never followed); the reason in *error on failure.
    bool remove_temporary_file(std::string_view name, std::string* error) const;

private:
    RunOutput(std::filesystem::path temporary_directory, std::filesystem::path run_folder,
              std::filesystem::path archive, UniqueFd folder_fd);

    // The folder holding the entry, opened without following links, and the entry's name.
    struct Place {
        UniqueFd folder;
        std::string name;
    };
    std::optional<Place> place_of(const std::filesystem::path& entry) const;
    UniqueFd open_file(const std::filesystem::path& file, int flags) const;

    std::filesystem::path temporary_directory_;
    std::filesystem::path run_folder_;
    std::filesystem::path archive_;
    UniqueFd folder_fd_;
};

// A path in a run's output together with the output it belongs to: what the driver hands a
// module as its folder, and what Disk writes to.
class OutputPath {
public:
    OutputPath(const RunOutput& output, std::filesystem::path path)
        : output_(&output), path_(std::move(path)) {}

    const RunOutput& output() const { return *output_; }
    const std::filesystem::path& path() const { return path_; }
    std::string string() const { return path_.string(); }
    OutputPath operator/(std::string_view name) const {
        return OutputPath(*output_, path_ / std::filesystem::path(name));
    }

private:
    const RunOutput* output_;
    std::filesystem::path path_;
};

}  // namespace sys
