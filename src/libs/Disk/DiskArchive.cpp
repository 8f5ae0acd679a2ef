// The end of a run: the run folder is archived to the Desktop, then emptied.
#include "libs/Disk/Disk.h"
#include "libs/sys/Log.h"

int Disk::zip_samples_to_desktop(sys::ProgramRunner& programs, const sys::RunOutput& output) {
    // Paths in the archive are relative to the run folder. The status goes back to whoever
    // started the run, who tells the user whether the archive was written.
    int status = -1;
    programs.run("/usr/bin/zip", {"-r", output.archive().string(), ".", "-i", "*"},
                 output.run_folder(), &status);
    return status;
}

void Disk::clean_up(const sys::RunOutput& output) {
    // The folder itself stays: a later run creates its module folders in it again.
    for (const std::string& name :
         output.list(output.run_folder()).value_or(std::vector<std::string>{})) {
        const std::filesystem::path entry = output.run_folder() / name;
        std::string error;
        if (!output.remove_all(entry, &error)) {
            sys::logf("\"{}\" couldn't be removed: {}", entry.string(), error);
        }
    }
}
