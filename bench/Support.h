// What the benchmarks that run whole steps share: a scratch folder removed at exit, and work run
// in a child process of its own, so that its peak memory is its own.
#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <type_traits>

namespace bench {

inline double peak_mib(const rusage& usage) {
#ifdef __APPLE__
    return static_cast<double>(usage.ru_maxrss) / (1024 * 1024);  // bytes there
#else
    return static_cast<double>(usage.ru_maxrss) / 1024;  // KiB here
#endif
}

template <typename Result>
struct FromChild {
    Result result;
    double peak_mib = 0;
};

// Runs work() in a child process and hands back what it returned, sent through a pipe, with the
// child's peak memory; empty when the child threw or failed. The child leaves with _exit, so that
// nothing of the parent's (buffered output, the removal of the scratch folder) happens twice.
template <typename Work>
auto in_child(const Work& work) -> std::optional<FromChild<decltype(work())>> {
    using Result = decltype(work());
    static_assert(std::is_trivially_copyable_v<Result>);
    int channel[2];
    if (::pipe(channel) != 0) return std::nullopt;
    std::fflush(stdout);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(channel[0]);
        int status = 1;
        try {
            const Result result = work();
            const auto sent = ::write(channel[1], &result, sizeof result);
            if (sent == static_cast<ssize_t>(sizeof result)) status = 0;
        } catch (const std::exception& error) {
            std::printf("  failed: %s\n", error.what());
        }
        std::fflush(stdout);
        ::_exit(status);
    }
    ::close(channel[1]);
    Result result{};
    const bool received = pid > 0 && ::read(channel[0], &result, sizeof result) ==
                                         static_cast<ssize_t>(sizeof result);
    ::close(channel[0]);
    int status = 0;
    rusage usage{};
    if (pid > 0) ::wait4(pid, &status, 0, &usage);
    if (!received || !WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
    return FromChild<Result>{result, peak_mib(usage)};
}

// A folder of the temporary directory, removed at exit with whatever the benchmark left in it,
// folders it locked included.
class ScratchFolder {
public:
    explicit ScratchFolder(const std::string& name)
        : path_(std::filesystem::temp_directory_path() /
                (name + "-" + std::to_string(::getpid()))) {
        std::filesystem::create_directories(path_);
    }
    ~ScratchFolder() {
        namespace fs = std::filesystem;
        std::error_code ignored;
        // Each folder is opened to its owner when it is reached, before it is entered.
        for (fs::recursive_directory_iterator it(path_, ignored), end; !ignored && it != end;
             it.increment(ignored)) {
            if (it->is_directory(ignored) && !it->is_symlink(ignored)) {
                fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
            }
        }
        fs::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace bench
