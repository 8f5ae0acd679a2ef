// A database of the examined machine copied, with its journal, to a place of the run's own, so
// that SQLite opens only the copy: opening the original, even to read, can leave "-wal", "-shm"
// or "-journal" files beside it or checkpoint a running browser's journal into it, and the
// examined machine is evidence. A "-wal" holds committed rows not yet in the main file and a hot
// "-journal" undoes a half-written transaction, so each goes along when present.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "libs/sys/FileSystem.h"
#include "libs/sys/RunOutput.h"

namespace modules {

class DatabaseCopy {
public:
    // Into the run folder as "Snapshot.sqlite", outside every module folder; an earlier snapshot
    // there is replaced. Empty, with the reason in *error, when the database cannot be copied.
    static std::optional<DatabaseCopy> into_run_folder(const sys::FileSystem& files,
                                                       std::string_view source,
                                                       const sys::RunOutput& output,
                                                       std::string* error);
    // Directly into the temporary directory under name; fails when a file of that name (or of
    // one of its journals) is there already.
    static std::optional<DatabaseCopy> into_temporary_directory(const sys::FileSystem& files,
                                                                std::string_view source,
                                                                const sys::RunOutput& output,
                                                                std::string_view name,
                                                                std::string* error);

    DatabaseCopy(DatabaseCopy&& other) noexcept;
    DatabaseCopy& operator=(DatabaseCopy&&) = delete;
    ~DatabaseCopy();

    // The copy of the database file, on the host.
    std::filesystem::path path() const;
    // Removes the copy and whatever SQLite left beside it. False, with the reason, when the
    // database file itself stays.
    bool remove(std::string* error);

private:
    enum class Place { RunFolder, TemporaryDirectory };
    DatabaseCopy(const sys::RunOutput& output, Place place, std::string name)
        : output_(&output), place_(place), name_(std::move(name)) {}

    static std::optional<DatabaseCopy> make(const sys::FileSystem& files, std::string_view source,
                                            DatabaseCopy copy, std::string* error);
    sys::UniqueFd create(const std::string& name) const;
    bool remove_file(const std::string& name, std::string* error) const;
    // The copy and whatever SQLite left beside it; false when the copy itself stays.
    bool remove_files(std::string* error) const;

    const sys::RunOutput* output_;
    Place place_;
    std::string name_;
    std::vector<std::string> journals_;  // names copied beside it
    bool removed_ = false;
};

}  // namespace modules
