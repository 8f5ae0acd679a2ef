#include "GUI/LocalRun.h"

#include "ModulesConfig.h"
#include "RunPlace.h"
#include "platform/ProgramPath.h"

namespace {

// In a macOS application bundle the configuration is a resource (Contents/Resources, beside
// Contents/MacOS where the program is); elsewhere it is installed beside the program.
std::filesystem::path configuration_folder() {
    const std::filesystem::path program_folder = platform::program_path().parent_path();
    if (program_folder.filename() == "MacOS") return program_folder.parent_path() / "Resources";
    return program_folder;
}

}  // namespace

std::optional<RunSettings> LocalRun::prepare(std::string* problem) {
    const std::optional<std::filesystem::path> archive = desktop_archive(problem);
    if (!archive) return std::nullopt;
    output_ = open_run_output(default_temporary_directory(), *archive, problem);
    if (!output_) return std::nullopt;
    return RunSettings{default_modules_config(configuration_folder()), std::nullopt, &*output_,
                       &machine_, &registry_};
}
