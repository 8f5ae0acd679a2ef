// The `tvtriage` command without a window: one collection from the command line.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

struct CommandOptions {
    std::filesystem::path root = "/";
    std::optional<std::filesystem::path> config;
    std::optional<std::vector<std::string>> modules;
    std::optional<std::filesystem::path> output;
    std::optional<std::filesystem::path> workdir;
    bool quiet = false;
    bool list_modules = false;
};

// Exit statuses.
inline constexpr int kExitArchiveWritten = 0;
inline constexpr int kExitNoArchive = 1;
inline constexpr int kExitUsage = 2;

// Runs the command; terminal_fd is where progress and messages go (standard error belongs to the
// log once the run has started).
int run_command(const CommandOptions& options, int terminal_fd);
