// The end of a run: the run folder is archived to the Desktop, then emptied.
#include "libs/Disk/Disk.h"
#include "libs/sys/Log.h"

void Disk::zip_samples_to_desktop(sys::ProgramRunner& programs,
                                  const std::filesystem::path& run_folder,
                                  const std::filesystem::path& archive) {
    // Paths in the archive are relative to the run folder. Exit status and output tell nothing
    // the archive itself does not; a program that cannot start throws to the driver's guard.
    programs.run("/usr/bin/zip", {"-r", archive.string(), ".", "-i", "*"}, run_folder);
}

void Disk::clean_up(const std::filesystem::path& run_folder) {
    const sys::FileSystem& host = sys::FileSystem::host();
    // The folder itself stays: a later run creates its module folders in it again.
    for (const std::string& name :
         host.list_directory(run_folder.string()).value_or(std::vector<std::string>{})) {
        const std::string entry = (run_folder / name).string();
        std::string error;
        if (!host.remove_all(entry, &error)) {
            sys::logf("\"{}\" couldn't be removed: {}", entry, error);
        }
    }
}
