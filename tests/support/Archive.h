// Reading a zip archive in tests, through the system's unzip.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace test {

// Standard output of a shell command.
std::string shell_output(const std::string& command);
std::string zip_member(const std::filesystem::path& archive, const std::string& member);
std::vector<std::string> zip_members(const std::filesystem::path& archive);

}  // namespace test
