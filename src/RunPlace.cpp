#include "RunPlace.h"

#include <cstdlib>

#include "libs/sys/FileSystem.h"
#include "platform/ProgramPath.h"

std::filesystem::path configuration_folder() {
    const std::filesystem::path program_folder = platform::program_path().parent_path();
    if (program_folder.filename() == "MacOS") return program_folder.parent_path() / "Resources";
    return program_folder;
}

std::filesystem::path default_temporary_directory() {
    const char* tmpdir = std::getenv("TMPDIR");
    return tmpdir && *tmpdir ? std::filesystem::path(tmpdir) : std::filesystem::path("/tmp");
}

std::optional<std::filesystem::path> desktop_archive(std::string* problem) {
    const char* home = std::getenv("HOME");
    if (!home || !*home || home[0] != '/') {
        *problem = "HOME is not set to a folder, so there is no Desktop to put " +
                   std::string(kArchiveName) + " on";
        return std::nullopt;
    }
    std::filesystem::path desktop = std::filesystem::path(home) / "Desktop";
    if (!sys::FileSystem::host().is_directory(desktop.string())) {
        *problem = "the Desktop folder " + desktop.string() + " does not exist; " + kArchiveName +
                   " is written there";
        return std::nullopt;
    }
    return desktop / kArchiveName;
}

std::optional<sys::RunOutput> open_run_output(const std::filesystem::path& temporary_directory,
                                              const std::filesystem::path& archive,
                                              std::string* problem) {
    if (!sys::FileSystem::host().is_directory(temporary_directory.string())) {
        *problem = "the working folder " + temporary_directory.string() + " does not exist";
        return std::nullopt;
    }
    return sys::RunOutput::open(temporary_directory, archive, problem);
}
