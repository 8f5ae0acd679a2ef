#include "libs/sys/Log.h"

#include "libs/sys/FdIo.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

#ifdef __APPLE__
#include <pthread.h>
#endif

namespace sys {
namespace {

unsigned long long thread_id() {
#ifdef __APPLE__
    std::uint64_t tid = 0;
    pthread_threadid_np(nullptr, &tid);
    return tid;
#else
    return static_cast<unsigned long long>(::syscall(SYS_gettid));
#endif
}

}  // namespace

void log_line(std::string_view message) {
    timeval now{};
    ::gettimeofday(&now, nullptr);
    std::tm local{};
    ::localtime_r(&now.tv_sec, &local);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);

    std::string line =
        fmt::format("{}.{:03d} tvtriage[{}:{}] {}\n", stamp, static_cast<int>(now.tv_usec / 1000),
                    ::getpid(), thread_id(), message);
    // One write per line keeps lines whole even when a child process shares the descriptor.
    write_all(STDERR_FILENO, line);
}

void redirect_log(const std::filesystem::path& file) {
    std::fflush(stderr);
    int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) return;
    ::dup2(fd, STDERR_FILENO);
    ::close(fd);
}

}  // namespace sys
