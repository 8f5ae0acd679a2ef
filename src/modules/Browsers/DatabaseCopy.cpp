#include "modules/Browsers/DatabaseCopy.h"

#include <cerrno>
#include <cstring>
#include <limits>

#include "libs/sys/FdIo.h"

namespace modules {
namespace {

constexpr std::string_view kSnapshotName = "Snapshot.sqlite";
// Copied along when present, in this order.
constexpr std::string_view kJournalSuffixes[] = {"-wal", "-journal"};
// What SQLite may make beside the copy while reading it.
constexpr std::string_view kLeftoverSuffixes[] = {"-wal", "-journal", "-shm"};

std::string reason_of_errno() {
    return std::strerror(errno);
}

}  // namespace

std::optional<DatabaseCopy> DatabaseCopy::into_run_folder(const sys::FileSystem& files,
                                                          std::string_view source,
                                                          const sys::RunOutput& output,
                                                          std::string* error) {
    DatabaseCopy copy(output, Place::RunFolder, std::string(kSnapshotName));
    copy.remove_files(nullptr);  // left by a run that ended before removing it
    return make(files, source, std::move(copy), error);
}

std::optional<DatabaseCopy> DatabaseCopy::into_temporary_directory(const sys::FileSystem& files,
                                                                   std::string_view source,
                                                                   const sys::RunOutput& output,
                                                                   std::string_view name,
                                                                   std::string* error) {
    return make(files, source, DatabaseCopy(output, Place::TemporaryDirectory, std::string(name)),
                error);
}

std::optional<DatabaseCopy> DatabaseCopy::make(const sys::FileSystem& files,
                                               std::string_view source, DatabaseCopy copy,
                                               std::string* error) {
    bool created = false;
    auto copy_one = [&](const std::string& from, const std::string& to) {
        const sys::UniqueFd in = files.open_regular(from);
        if (!in) {
            if (error) *error = "The file could not be opened: " + from;
            return false;
        }
        const sys::UniqueFd out = copy.create(to);
        if (!out) {
            if (error) *error = "The copy could not be created: " + reason_of_errno();
            return false;
        }
        created = true;
        if (!sys::copy_at_most(in.get(), out.get(), std::numeric_limits<std::uint64_t>::max())) {
            if (error) *error = "The file could not be copied: " + reason_of_errno();
            return false;
        }
        return true;
    };
    if (!copy_one(std::string(source), copy.name_)) {
        // The destructor removes what this copy made; a file that was there already stays.
        copy.removed_ = !created;
        return std::nullopt;
    }
    for (std::string_view suffix : kJournalSuffixes) {
        const std::string journal = std::string(source) + std::string(suffix);
        if (!files.is_readable_file(journal)) continue;
        const std::string name = copy.name_ + std::string(suffix);
        if (!copy_one(journal, name)) return std::nullopt;  // the destructor removes the rest
        copy.journals_.push_back(name);
    }
    return copy;
}

DatabaseCopy::DatabaseCopy(DatabaseCopy&& other) noexcept
    : output_(other.output_),
      place_(other.place_),
      name_(std::move(other.name_)),
      journals_(std::move(other.journals_)),
      removed_(other.removed_) {
    other.removed_ = true;
}

DatabaseCopy::~DatabaseCopy() {
    if (!removed_) remove(nullptr);
}

std::filesystem::path DatabaseCopy::path() const {
    const std::filesystem::path& folder =
        place_ == Place::RunFolder ? output_->run_folder() : output_->temporary_directory();
    return folder / name_;
}

bool DatabaseCopy::remove(std::string* error) {
    removed_ = true;
    return remove_files(error);
}

bool DatabaseCopy::remove_files(std::string* error) const {
    for (std::string_view suffix : kLeftoverSuffixes) {
        remove_file(name_ + std::string(suffix), nullptr);
    }
    return remove_file(name_, error);
}

sys::UniqueFd DatabaseCopy::create(const std::string& name) const {
    return place_ == Place::RunFolder ? output_->create_new(output_->run_folder() / name)
                                      : output_->create_temporary_file(name);
}

bool DatabaseCopy::remove_file(const std::string& name, std::string* error) const {
    return place_ == Place::RunFolder ? output_->remove_all(output_->run_folder() / name, error)
                                      : output_->remove_temporary_file(name, error);
}

}  // namespace modules
