#include "support/SpawnedChild.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <system_error>
#include <thread>

#include "support/TempDir.h"

extern char** environ;

namespace test {
namespace {

std::vector<char*> pointers(std::vector<std::string>& strings) {
    std::vector<char*> result;
    for (auto& s : strings) result.push_back(s.data());
    result.push_back(nullptr);
    return result;
}

}  // namespace

SpawnedChild::SpawnedChild(const std::filesystem::path& program, std::vector<std::string> arguments,
                           std::optional<std::vector<std::string>> environment) {
    std::vector<char*> argv = pointers(arguments);
    std::vector<char*> envp;
    if (environment) envp = pointers(*environment);
    if (::posix_spawn(&pid_, program.c_str(), nullptr, nullptr, argv.data(),
                      environment ? envp.data() : environ) != 0) {
        pid_ = -1;
        return;
    }
    // Without /proc (a Mac) there is nothing to watch, and nothing to wait for either: there
    // posix_spawn returns only once the new image is in place.
    std::string folder = "/proc/" + std::to_string(pid_);
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error)) return;
    // Done when the kernel shows the new program's own first argument.
    std::string expected = arguments.empty() ? std::string() : arguments[0] + '\0';
    std::string cmdline = folder + "/cmdline";
    for (int attempt = 0; attempt < 500; ++attempt) {
        if (read_text(cmdline).rfind(expected, 0) == 0 && !expected.empty()) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

void SpawnedChild::stop() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

}  // namespace test
