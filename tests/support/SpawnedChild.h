// A child process for tests that look at the live process table: started with exact arguments,
// waited for until its exec has finished (before that it still shows the test binary, and for a
// moment an empty command line), killed and reaped when it goes out of scope.
#pragma once

#include <signal.h>
#include <spawn.h>
#include <sys/types.h>
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
        const auto pointers = [](std::vector<std::string>& strings) {
            std::vector<char*> result;
            for (auto& s : strings) result.push_back(s.data());
            result.push_back(nullptr);
            return result;
        };
        std::vector<char*> argv = pointers(arguments);
        std::vector<char*> envp = environment ? pointers(*environment) : std::vector<char*>{};
        if (::posix_spawn(&pid_, program.c_str(), nullptr, nullptr, argv.data(),
                          environment ? envp.data() : environ) != 0) {
            pid_ = -1;
            return;
        }
        // Done when the kernel shows the new program's own first argument. Without /proc (a Mac)
        // there is nothing to watch, nor to wait for: posix_spawn returns once the new image is in.
        const std::filesystem::path folder = "/proc/" + std::to_string(pid_);
        std::error_code error;
        if (arguments.empty() || !std::filesystem::is_directory(folder, error)) return;
        for (int attempt = 0; attempt < 500; ++attempt) {
            if (read_text(folder / "cmdline").starts_with(arguments[0] + '\0')) return;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
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
    pid_t pid_ = -1;
};

}  // namespace test
