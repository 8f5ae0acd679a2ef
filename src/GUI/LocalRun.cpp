#include "GUI/LocalRun.h"

#include "ModulesConfig.h"
#include "RunPlace.h"

std::optional<RunSettings> LocalRun::prepare(std::string* problem) {
    const std::optional<std::filesystem::path> archive = desktop_archive(problem);
    if (!archive) return std::nullopt;
    output_ = open_run_output(default_temporary_directory(), *archive, problem);
    if (!output_) return std::nullopt;
    return RunSettings{default_modules_config(configuration_folder()), std::nullopt, &*output_,
                       &machine_, &registry_};
}
