// Where a run writes unless told otherwise, the same for the command and the window: the run
// folder in the user's temporary directory and the archive on the user's Desktop.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "libs/sys/RunOutput.h"

inline constexpr const char* kArchiveName = "tvtriage_results.zip";

// Where the bundled modules.plist is: in a macOS application bundle among its resources
// (Contents/Resources, beside Contents/MacOS where the program is), elsewhere beside the program.
std::filesystem::path configuration_folder();

// $TMPDIR, else /tmp.
std::filesystem::path default_temporary_directory();

// $HOME/Desktop/tvtriage_results.zip; empty, with the reason in *problem, when HOME is not an
// absolute path or there is no Desktop folder.
std::optional<std::filesystem::path> desktop_archive(std::string* problem);

// The run's output in the temporary directory, which must exist, with the archive at archive;
// empty, with the reason in *problem, when it cannot be made.
std::optional<sys::RunOutput> open_run_output(const std::filesystem::path& temporary_directory,
                                              const std::filesystem::path& archive,
                                              std::string* problem);
