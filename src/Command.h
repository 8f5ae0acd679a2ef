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

// Runs the command. Path options must be absolute. What the user asked to see (the module list)
// goes to standard output; progress, the summary and errors go to terminal_fd (standard error
// belongs to the log once the run has started).
int run_command(const CommandOptions& options, int terminal_fd);
