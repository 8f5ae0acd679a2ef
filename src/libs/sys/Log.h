// The process's one log: every line goes to standard error (file descriptor 2) with a single
// write, as "YYYY-MM-DD HH:MM:SS.mmm tvtriage[pid:tid] message". Whoever re-points descriptor 2
// last owns the log; child processes inherit it, so their complaints land in the current log.
#pragma once

#include <filesystem>
#include <string_view>

#include <fmt/format.h>

namespace sys {

void log_line(std::string_view message);

template <typename... Args>
void logf(fmt::format_string<Args...> format, Args&&... args) {
    log_line(fmt::format(format, std::forward<Args>(args)...));
}

// Points descriptor 2 at an open file (the caller keeps and closes fd; descriptor 2 gets a copy).
// A negative fd leaves the log where it was.
void redirect_log(int fd);

}  // namespace sys
