#include "libs/sys/FdIo.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include <cerrno>
#include <memory>

namespace sys {

bool write_all(int fd, std::string_view data) {
    while (!data.empty()) {
        ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        data.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

std::optional<std::string> read_all(int fd, std::size_t limit) {
    std::string content;
    char chunk[1 << 16];
    for (;;) {
        ssize_t n = ::read(fd, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return std::nullopt;
        if (n == 0) return content;
        if (content.size() + static_cast<size_t>(n) > limit) return std::nullopt;
        content.append(chunk, static_cast<size_t>(n));
    }
}

std::optional<std::vector<std::string>> list_folder(int folder) {
    // The directory stream takes over its descriptor, so it gets a copy of its own.
    const int copy = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (copy < 0) return std::nullopt;
    DIR* dir = ::fdopendir(copy);
    if (!dir) {
        ::close(copy);
        return std::nullopt;
    }
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(dir)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    ::closedir(dir);
    std::sort(names.begin(), names.end());
    return names;
}

bool copy_at_most(int in, int out, std::uint64_t limit) {
    constexpr std::size_t kChunk = 1 << 20;
    std::unique_ptr<char[]> chunk(new char[kChunk]);
    std::uint64_t copied = 0;
    for (;;) {
        // One byte beyond the limit is asked for, to tell a file of exactly the limit from more.
        // (Written so that a limit of UINT64_MAX, "no limit", does not wrap to zero.)
        const std::uint64_t left = limit - copied;
        const std::size_t want = left < kChunk ? static_cast<std::size_t>(left + 1) : kChunk;
        ssize_t n = ::read(in, chunk.get(), want);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return false;
        if (n == 0) return true;
        if (copied + static_cast<std::uint64_t>(n) > limit) return false;
        if (!write_all(out, std::string_view(chunk.get(), static_cast<std::size_t>(n)))) {
            return false;
        }
        copied += static_cast<std::uint64_t>(n);
    }
}

}  // namespace sys
