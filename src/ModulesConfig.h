// Where the configuration comes from: a file named on the command line, else "modules.plist"
// beside the program, else the copy compiled into it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "libs/plist/Value.h"

// The configuration compiled into the program.
plist::Value bundled_modules_config();

// Reads and parses a configuration file; empty (with error set) when it is unreadable or not a
// property-list dictionary.
std::optional<plist::Value> read_modules_config(const std::filesystem::path& file,
                                                std::string* error);

// The configuration beside the program when it reads, else the bundled one.
plist::Value default_modules_config(const std::filesystem::path& program_folder);
