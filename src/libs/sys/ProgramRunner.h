// Child processes: run a program with arguments, standard input from /dev/null, standard output
// on a pipe read to the end, standard error into the current log. No time-out and no test of the
// exit status, but the child is always waited for.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace sys {

class ProgramRunner {
public:
    virtual ~ProgramRunner() = default;

    // Returns everything the program wrote to standard output. A program given by absolute path
    // must exist; a bare name is looked up on PATH. When it cannot be started this throws
    // sys::Exception "NSInvalidArgumentException" ("launch path not accessible").
    virtual std::string run(const std::string& program, const std::vector<std::string>& arguments,
                            const std::filesystem::path& working_directory = {});
};

}  // namespace sys
