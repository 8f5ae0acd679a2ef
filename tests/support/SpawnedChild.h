// A child process for tests that look at the live process table: started with exact arguments,
// waited for until its exec has finished, killed and reaped when it goes out of scope.
#pragma once

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "support/TempDir.h"

extern char** environ;

namespace test {

class SpawnedChild {
public:
    // Runs program with arguments (argv[0] included); environment as given, else ours.
    SpawnedChild(const std::filesystem::path& program, std::vector<std::string> arguments,
                 std::optional<std::vector<std::string>> environment = std::nullopt) {
        std::vector<char*> argv = pointers(arguments);
        std::vector<char*> envp = environment ? pointers(*environment) : std::vector<char*>{};
        char** env = environment ? envp.data() : environ;
        if (::posix_spawn(&pid_, program.c_str(), nullptr, nullptr, argv.data(), env) != 0)
            pid_ = -1;
        // Until its exec is done the child shows the test binary (or an empty command line): wait
        // for its own first argument. Without /proc (a Mac) posix_spawn returns once it is done.
        const std::filesystem::path cmdline = "/proc/" + std::to_string(pid_) + "/cmdline";
        std::error_code error;
        if (pid_ <= 0 || arguments.empty() || !std::filesystem::exists(cmdline, error)) return;
        for (int i = 0; i < 500 && !read_text(cmdline).starts_with(arguments[0] + '\0'); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ~SpawnedChild() { stop(); }
    SpawnedChild(const SpawnedChild&) = delete;
    SpawnedChild& operator=(const SpawnedChild&) = delete;

    pid_t pid() const { return pid_; }
    void stop() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }

private:
    static std::vector<char*> pointers(std::vector<std::string>& strings) {
        std::vector<char*> result;
        for (std::string& s : strings) result.push_back(s.data());
        result.push_back(nullptr);
        return result;
    }
    pid_t pid_ = -1;
};

}  // namespace test
