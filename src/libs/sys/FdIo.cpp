#include "libs/sys/FdIo.h"

#include <unistd.h>

#include <cerrno>

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

}  // namespace sys
