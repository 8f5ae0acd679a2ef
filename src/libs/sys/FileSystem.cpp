#include "libs/sys/FileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "libs/plist/Reader.h"
#include "libs/plist/Utf.h"
#include "libs/sys/FdIo.h"
#include "libs/sys/Log.h"

namespace sys {
namespace {

FileType type_of(mode_t mode) {
    if (S_ISREG(mode)) return FileType::Regular;
    if (S_ISDIR(mode)) return FileType::Directory;
    if (S_ISLNK(mode)) return FileType::Symlink;
    if (S_ISFIFO(mode)) return FileType::Fifo;
    if (S_ISCHR(mode)) return FileType::CharDevice;
    if (S_ISBLK(mode)) return FileType::BlockDevice;
    if (S_ISSOCK(mode)) return FileType::Socket;
    return FileType::Other;
}

}  // namespace

FileSystem::FileSystem(std::filesystem::path root)
    : root_(root.empty() ? std::filesystem::path("/") : std::move(root)), live_(root_ == "/") {}

const FileSystem& FileSystem::host() {
    static const FileSystem host_fs("/");
    return host_fs;
}

bool FileSystem::exists(std::string_view path) const {
    auto host = host_path(path);
    struct stat st {};
    return host && ::stat(host->c_str(), &st) == 0;
}

std::string FileSystem::system_path(std::string_view path) const {
    if (exists(path)) return std::string(path);
    for (std::string_view prefix : {"/private/etc/", "/private/var/"}) {
        if (!path.starts_with(prefix)) continue;
        const std::string_view plain = path.substr(std::string_view("/private").size());
        if (exists(plain)) return std::string(plain);
    }
    return std::string(path);
}

bool FileSystem::is_directory(std::string_view path) const {
    auto host = host_path(path);
    struct stat st {};
    return host && ::stat(host->c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool FileSystem::is_readable_file(std::string_view path) const {
    auto host = host_path(path);
    struct stat st {};
    return host && ::stat(host->c_str(), &st) == 0 && S_ISREG(st.st_mode) &&
           ::access(host->c_str(), R_OK) == 0;
}

std::optional<FileAttributes> FileSystem::attributes(std::string_view path) const {
    auto host = host_path(path, /*follow_final_link=*/false);
    struct stat st {};
    if (!host || ::lstat(host->c_str(), &st) != 0) return std::nullopt;
    return FileAttributes{type_of(st.st_mode), static_cast<std::uint64_t>(st.st_size)};
}

std::optional<std::string> FileSystem::link_destination(std::string_view path) const {
    auto host = host_path(path, /*follow_final_link=*/false);
    if (!host) return std::nullopt;
    std::string target(4096, '\0');
    ssize_t n = ::readlink(host->c_str(), target.data(), target.size());
    if (n < 0 || static_cast<size_t>(n) >= target.size()) return std::nullopt;
    target.resize(static_cast<size_t>(n));
    return target;
}

std::optional<std::vector<std::string>> FileSystem::list_directory(std::string_view path) const {
    auto host = host_path(path);
    if (!host) return std::nullopt;
    const UniqueFd folder(::open(host->c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) return std::nullopt;
    return list_folder(folder.get());
}

std::vector<std::string> FileSystem::entries_of(std::string_view path) const {
    return list_directory(path).value_or(std::vector<std::string>{});
}

UniqueFd FileSystem::open_regular(std::string_view path) const {
    auto host = host_path(path);
    struct stat st {};
    // Checked before opening too: opening some devices has side effects of its own.
    if (!host || ::stat(host->c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return UniqueFd();
    UniqueFd fd(::open(host->c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!fd || ::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) return UniqueFd();
    // Back to blocking reads: the file is known to be regular now.
    ::fcntl(fd.get(), F_SETFL, ::fcntl(fd.get(), F_GETFL) & ~O_NONBLOCK);
    return fd;
}

std::optional<std::string> FileSystem::read_file(std::string_view path) const {
    UniqueFd fd = open_regular(path);
    struct stat st {};
    if (!fd || ::fstat(fd.get(), &st) != 0) return std::nullopt;
    if (static_cast<std::uint64_t>(st.st_size) > kMaxWholeFileRead) {
        logf("File too large to read whole: {}", path);
        return std::nullopt;
    }
    auto content = read_all(fd.get(), kMaxWholeFileRead);
    if (!content) logf("File could not be read whole: {}", path);
    return content;
}

std::optional<std::string> FileSystem::read_utf8_text(std::string_view path,
                                                      ReadError* error) const {
    // The codes and words of the platform's file errors, so logs read the same everywhere.
    auto fail = [&](long code, std::string_view words) -> std::optional<std::string> {
        if (error) *error = {code, fmt::format("The file \u201c{}\u201d {}", path, words)};
        return std::nullopt;
    };
    if (!exists(path)) return fail(260, "couldn\u2019t be opened because there is no such file.");
    std::optional<std::string> text = read_file(path);
    if (!text) {
        return fail(257,
                    "couldn\u2019t be opened because you don\u2019t have permission to view it.");
    }
    if (!plist::utf::is_valid_utf8(*text)) {
        return fail(261, "couldn\u2019t be opened using text encoding Unicode (UTF-8).");
    }
    return text;
}

std::optional<plist::Value> FileSystem::read_plist(std::string_view path) const {
    auto bytes = read_file(path);
    if (!bytes) return std::nullopt;
    return plist::parse(*bytes);
}

std::optional<plist::Dictionary> FileSystem::read_plist_dictionary(std::string_view path) const {
    auto value = read_plist(path);
    if (!value || !value->as_dict()) return std::nullopt;
    return std::move(*value->as_dict());
}

std::optional<plist::Array> FileSystem::read_plist_array(std::string_view path) const {
    auto value = read_plist(path);
    if (!value || !value->as_array()) return std::nullopt;
    return std::move(*value->as_array());
}

}  // namespace sys
