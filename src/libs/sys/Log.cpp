#include "libs/sys/Log.h"

#include "libs/sys/FdIo.h"
#include "platform/ThreadId.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

namespace sys {

void log_line(std::string_view message) {
    timeval now{};
    ::gettimeofday(&now, nullptr);
    std::tm local{};
    ::localtime_r(&now.tv_sec, &local);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);

    std::string line =
        fmt::format("{}.{:03d} tvtriage[{}:{}] {}\n", stamp, static_cast<int>(now.tv_usec / 1000),
                    ::getpid(), platform::current_thread_id(), message);
    // One write per line keeps lines whole even when a child process shares the descriptor.
    write_all(STDERR_FILENO, line);
}

void redirect_log(int fd) {
    std::fflush(stderr);
    if (fd >= 0) ::dup2(fd, STDERR_FILENO);
}

}  // namespace sys
