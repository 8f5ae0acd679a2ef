#include "libs/sys/ProgramRunner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "libs/sys/Exception.h"
#include "libs/sys/FdIo.h"
#include "libs/sys/Log.h"
#include "libs/sys/UniqueFd.h"

extern char** environ;

namespace sys {
namespace {

[[noreturn]] void launch_failed(const std::string& program) {
    throw Exception("NSInvalidArgumentException", "launch path not accessible",
                    "{ path = \"" + program + "\"; }");
}

class SpawnActions {
public:
    SpawnActions() { ::posix_spawn_file_actions_init(&actions_); }
    ~SpawnActions() { ::posix_spawn_file_actions_destroy(&actions_); }
    posix_spawn_file_actions_t* get() { return &actions_; }

private:
    posix_spawn_file_actions_t actions_;
};

}  // namespace

std::string ProgramRunner::run(const std::string& program,
                               const std::vector<std::string>& arguments,
                               const std::filesystem::path& working_directory, int* exit_status) {
    bool by_path = program.find('/') != std::string::npos;
    if (by_path && ::access(program.c_str(), X_OK) != 0) launch_failed(program);

    int pipe_fds[2];
    if (::pipe(pipe_fds) != 0) launch_failed(program);
    UniqueFd read_end(pipe_fds[0]);
    UniqueFd write_end(pipe_fds[1]);
    // Other threads may spawn too; neither end may leak into their children.
    ::fcntl(read_end.get(), F_SETFD, FD_CLOEXEC);
    ::fcntl(write_end.get(), F_SETFD, FD_CLOEXEC);

    SpawnActions actions;
    ::posix_spawn_file_actions_addopen(actions.get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_adddup2(actions.get(), write_end.get(), STDOUT_FILENO);
    if (!working_directory.empty()) {
        ::posix_spawn_file_actions_addchdir_np(actions.get(), working_directory.c_str());
    }

    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    pid_t pid = -1;
    int spawned =
        by_path
            ? ::posix_spawn(&pid, program.c_str(), actions.get(), nullptr, argv.data(), environ)
            : ::posix_spawnp(&pid, program.c_str(), actions.get(), nullptr, argv.data(), environ);
    write_end.reset();
    if (spawned != 0) launch_failed(program);

    std::string output = read_all(read_end.get()).value_or(std::string());
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (exit_status) {
        *exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return output;
}

std::optional<std::string> run_if_startable(ProgramRunner& programs, const std::string& program,
                                            const std::vector<std::string>& arguments) {
    try {
        return programs.run(program, arguments);
    } catch (const Exception& error) {
        logf("Could not start {}: {}", program, error.reason());
        return std::nullopt;
    }
}

}  // namespace sys
