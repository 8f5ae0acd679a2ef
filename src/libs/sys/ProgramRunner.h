// Child processes: run a program with arguments, standard input from /dev/null, standard output
// on a pipe read to the end, standard error into the current log. No time-out; the child is
// always waited for, and its exit status is handed back to callers that ask.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace sys {

class ProgramRunner {
public:
    virtual ~ProgramRunner() = default;

    // Returns everything the program wrote to standard output, and sets *exit_status (when
    // given) to its exit code, or 128 + the signal that ended it. A program given by absolute
    // path must exist; a bare name is looked up on PATH. When it cannot be started this throws
    // sys::Exception "NSInvalidArgumentException" ("launch path not accessible").
    virtual std::string run(const std::string& program, const std::vector<std::string>& arguments,
                            const std::filesystem::path& working_directory = {},
                            int* exit_status = nullptr);
};

// The same, for a source whose program may be missing: a program that cannot be started is
// logged ("Could not start <program>: <reason>") and gives none.
std::optional<std::string> run_if_startable(ProgramRunner& programs, const std::string& program,
                                            const std::vector<std::string>& arguments);

}  // namespace sys
