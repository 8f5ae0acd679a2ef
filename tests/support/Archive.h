// Reading a zip archive in tests, through the system's unzip.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

namespace test {

// Standard output of a shell command.
inline std::string shell_output(const std::string& command) {
    std::string out;
    if (FILE* pipe = ::popen(command.c_str(), "r")) {
        char buffer[4096];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
        ::pclose(pipe);
    }
    return out;
}

inline std::string zip_member(const std::filesystem::path& archive, const std::string& member) {
    return shell_output("unzip -p '" + archive.string() + "' '" + member + "' 2>/dev/null");
}

}  // namespace test
