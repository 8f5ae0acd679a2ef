// A child process for tests that look at the live process table: started with exact arguments,
// waited for until its exec has finished (before that it still shows the test binary, and for a
// moment an empty command line), killed and reaped when it goes out of scope.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace test {

class SpawnedChild {
public:
    // Runs program with arguments (argv[0] included); environment as given, else ours.
    SpawnedChild(const std::filesystem::path& program, std::vector<std::string> arguments,
                 std::optional<std::vector<std::string>> environment = std::nullopt);
    ~SpawnedChild() { stop(); }
    SpawnedChild(const SpawnedChild&) = delete;
    SpawnedChild& operator=(const SpawnedChild&) = delete;

    pid_t pid() const { return pid_; }
    void stop();

private:
    pid_t pid_ = -1;
};

}  // namespace test
