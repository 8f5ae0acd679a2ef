#include "libs/sys/RunOutput.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "libs/sys/FdIo.h"

namespace sys {
namespace {

constexpr mode_t kPrivateFolder = 0700;
constexpr mode_t kPrivateFile = 0600;
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// The components of path below folder; none when path is not inside it.
std::optional<std::vector<std::string>> parts_below(const std::filesystem::path& folder,
                                                    const std::filesystem::path& path) {
    if (!path.is_absolute()) return std::nullopt;
    const std::filesystem::path relative = path.lexically_normal().lexically_relative(folder);
    if (relative.empty()) return std::nullopt;
    std::vector<std::string> parts;
    for (const auto& part : relative) {
        const std::string name = part.string();
        if (name == "..") return std::nullopt;
        if (name != "." && !name.empty()) parts.push_back(name);
    }
    return parts;
}

bool is_link_at(int folder, const std::string& name) {
    struct stat st {};
    return ::fstatat(folder, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(st.st_mode);
}

bool remove_at(int folder, const std::string& name, std::string* error) {
    struct stat st {};
    bool ok = ::fstatat(folder, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0;
    if (ok && S_ISDIR(st.st_mode)) {
        UniqueFd inner(::openat(folder, name.c_str(), kOpenFolder));
        for (const std::string& entry :
             inner ? list_folder(inner.get()).value_or(std::vector<std::string>{})
                   : std::vector<std::string>{}) {
            // Going on after a failure empties as much as can be emptied; the first error is kept.
            if (!remove_at(inner.get(), entry, error)) error = nullptr;
        }
        ok = ::unlinkat(folder, name.c_str(), AT_REMOVEDIR) == 0;
    } else if (ok) {
        ok = ::unlinkat(folder, name.c_str(), 0) == 0;
    }
    if (!ok && error) *error = std::strerror(errno);
    return ok;
}

}  // namespace

RunOutput::RunOutput(std::filesystem::path temporary_directory, std::filesystem::path run_folder,
                     std::filesystem::path archive, UniqueFd folder_fd)
    : temporary_directory_(std::move(temporary_directory)),
      run_folder_(std::move(run_folder)),
      archive_(std::move(archive)),
      folder_fd_(std::move(folder_fd)) {}

std::optional<RunOutput> RunOutput::open(const std::filesystem::path& temporary_directory,
                                         std::filesystem::path archive, std::string* problem) {
    auto fail = [&](std::string why) {
        if (problem) *problem = std::move(why);
        return std::nullopt;
    };
    if (!temporary_directory.is_absolute() || !archive.is_absolute()) {
        return fail("the run folder and the archive need absolute paths");
    }
    const std::filesystem::path run_folder =
        temporary_directory.lexically_normal() / kRunFolderName;
    // Compared as written and with links resolved: /var and /private/var are one folder on a Mac.
    std::error_code ec;
    if (parts_below(run_folder, archive) ||
        parts_below(std::filesystem::weakly_canonical(run_folder, ec),
                    std::filesystem::weakly_canonical(archive, ec))) {
        return fail("the archive " + archive.string() + " would be inside the run folder " +
                    run_folder.string() + ", which is emptied at the end of the run");
    }
    if (::mkdir(run_folder.c_str(), kPrivateFolder) != 0 && errno != EEXIST) {
        return fail("the run folder " + run_folder.string() +
                    " cannot be made: " + std::strerror(errno));
    }
    UniqueFd folder(::open(run_folder.c_str(), kOpenFolder));
    struct stat st {};
    if (!folder) {
        const int reason = errno;
        if (::lstat(run_folder.c_str(), &st) == 0 && S_ISLNK(st.st_mode)) {
            return fail("the run folder " + run_folder.string() +
                        " is a symbolic link; it is not followed");
        }
        return fail("the run folder " + run_folder.string() +
                    " cannot be opened: " + std::strerror(reason));
    }
    if (::fstat(folder.get(), &st) != 0 || st.st_uid != ::geteuid()) {
        return fail("the run folder " + run_folder.string() + " belongs to another user (uid " +
                    std::to_string(st.st_uid) + "); it is not used");
    }
    // A folder left by an earlier run may have been readable by others.
    ::fchmod(folder.get(), kPrivateFolder);
    return RunOutput(temporary_directory, run_folder, std::move(archive), std::move(folder));
}

std::optional<RunOutput::Place> RunOutput::place_of(const std::filesystem::path& entry) const {
    auto parts = parts_below(run_folder_, entry);
    if (!parts || parts->empty()) return std::nullopt;
    UniqueFd folder(::openat(folder_fd_.get(), ".", kOpenFolder));
    for (std::size_t i = 0; folder && i + 1 < parts->size(); ++i) {
        folder = UniqueFd(::openat(folder.get(), (*parts)[i].c_str(), kOpenFolder));
    }
    if (!folder) return std::nullopt;
    return Place{std::move(folder), parts->back()};
}

bool RunOutput::create_directory(const std::filesystem::path& folder) const {
    auto place = place_of(folder);
    if (!place) return false;
    if (is_link_at(place->folder.get(), place->name)) {
        ::unlinkat(place->folder.get(), place->name.c_str(), 0);
    }
    if (::mkdirat(place->folder.get(), place->name.c_str(), kPrivateFolder) == 0) return true;
    if (errno != EEXIST) return false;
    UniqueFd existing(::openat(place->folder.get(), place->name.c_str(), kOpenFolder));
    return existing && ::fchmod(existing.get(), kPrivateFolder) == 0;
}

UniqueFd RunOutput::open_file(const std::filesystem::path& file, int flags) const {
    auto place = place_of(file);
    if (!place) return UniqueFd();
    if (is_link_at(place->folder.get(), place->name)) {
        ::unlinkat(place->folder.get(), place->name.c_str(), 0);
    }
    // Non-blocking until the file is known to be regular: a FIFO left there must not hang us.
    UniqueFd fd(::openat(place->folder.get(), place->name.c_str(),
                         flags | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, kPrivateFile));
    struct stat st {};
    if (!fd || ::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) return UniqueFd();
    ::fcntl(fd.get(), F_SETFL, ::fcntl(fd.get(), F_GETFL) & ~O_NONBLOCK);
    ::fchmod(fd.get(), kPrivateFile);
    return fd;
}

UniqueFd RunOutput::open_to_write(const std::filesystem::path& file) const {
    return open_file(file, O_WRONLY | O_CREAT | O_TRUNC);
}

UniqueFd RunOutput::open_to_append(const std::filesystem::path& file) const {
    return open_file(file, O_WRONLY | O_CREAT | O_APPEND);
}

UniqueFd RunOutput::create_new(const std::filesystem::path& file) const {
    return open_file(file, O_WRONLY | O_CREAT | O_EXCL);
}

bool RunOutput::replace(const std::filesystem::path& file,
                        const std::function<bool(int fd)>& write) const {
    auto place = place_of(file);
    if (!place) return false;
    const std::string temporary = "." + place->name + ".tvtriage-tmp";
    const std::filesystem::path temporary_path = file.parent_path() / temporary;
    ::unlinkat(place->folder.get(), temporary.c_str(), 0);  // left by an interrupted run
    UniqueFd fd = create_new(temporary_path);
    bool ok = fd && write(fd.get());
    if (fd && ::close(fd.release()) != 0) ok = false;
    if (ok && ::renameat(place->folder.get(), temporary.c_str(), place->folder.get(),
                         place->name.c_str()) == 0) {
        return true;
    }
    ::unlinkat(place->folder.get(), temporary.c_str(), 0);
    return false;
}

bool RunOutput::is_file(const std::filesystem::path& file) const {
    auto place = place_of(file);
    struct stat st {};
    return place &&
           ::fstatat(place->folder.get(), place->name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(st.st_mode);
}

std::optional<std::vector<std::string>> RunOutput::list(const std::filesystem::path& folder) const {
    auto parts = parts_below(run_folder_, folder);
    if (!parts) return std::nullopt;
    if (parts->empty()) return list_folder(folder_fd_.get());
    auto place = place_of(folder);
    if (!place) return std::nullopt;
    UniqueFd inner(::openat(place->folder.get(), place->name.c_str(), kOpenFolder));
    if (!inner) return std::nullopt;
    return list_folder(inner.get());
}

bool RunOutput::remove_all(const std::filesystem::path& entry, std::string* error) const {
    auto place = place_of(entry);
    if (!place) {
        if (error) *error = "not inside the run folder";
        return false;
    }
    return remove_at(place->folder.get(), place->name, error);
}

std::optional<std::filesystem::path> RunOutput::write_temporary_file(
    std::string_view name, std::string_view contents) const {
    const std::filesystem::path file = temporary_directory_ / std::filesystem::path(name);
    // mkstemp makes a new 0600 file and never follows a link; rename then replaces whatever was
    // at the name (a link there is replaced, not followed).
    std::string temporary = file.string() + ".XXXXXX";
    UniqueFd fd(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!fd) return std::nullopt;
    bool ok = write_all(fd.get(), contents);
    if (::close(fd.release()) != 0) ok = false;
    if (ok && ::rename(temporary.c_str(), file.c_str()) == 0) return file;
    ::unlink(temporary.c_str());
    return std::nullopt;
}

UniqueFd RunOutput::create_temporary_file(std::string_view name) const {
    const std::filesystem::path file = temporary_directory_ / std::filesystem::path(name);
    return UniqueFd(
        ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
}

bool RunOutput::remove_temporary_file(std::string_view name, std::string* error) const {
    const std::filesystem::path file = temporary_directory_ / std::filesystem::path(name);
    if (::unlink(file.c_str()) == 0) return true;
    if (error) *error = std::strerror(errno);
    return false;
}

}  // namespace sys
