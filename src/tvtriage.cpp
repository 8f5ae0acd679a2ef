#include "tvtriage.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "libs/Disk/Disk.h"
#include "libs/sys/Exception.h"
#include "libs/sys/Log.h"

std::string current_user_name() {
    if (const passwd* entry = ::getpwuid(::geteuid())) return entry->pw_name;
    if (const char* user = std::getenv("USER")) return user;
    return std::to_string(::geteuid());
}

std::vector<std::string> tvtriage::get_enabled_module(const plist::Value& modules_config) {
    std::vector<std::string> names;
    const plist::Dictionary* config = modules_config.as_dict();
    if (!config) return names;
    for (const auto& [name, entry] : *config) {
        if (name == kSamplesFolderName) continue;
        const plist::Value* enabled = entry.find("Enabled");
        if (enabled && enabled->equals_number_one()) names.push_back(name);
    }
    return names;
}

sys::OutputPath tvtriage::create_module_folders(std::vector<std::string>& names,
                                                const sys::RunOutput& output) {
    // The run folder itself exists once the output is open. An existing module folder is fine:
    // a second launch reuses it with whatever it holds.
    const sys::OutputPath run_folder(output, output.run_folder());
    names.push_back(kSamplesFolderName);
    for (const auto& name : names) output.create_directory((run_folder / name).path());
    names.pop_back();
    return run_folder;
}

std::thread tvtriage::start(const RunSettings& settings, Callbacks callbacks,
                            sys::MainQueue& main_queue, RunSummary* summary) {
    std::vector<std::string> names =
        settings.only ? *settings.only : get_enabled_module(settings.modules_config);
    sys::OutputPath run_folder = create_module_folders(names, *settings.output);

    Disk::redirectLog(run_folder, kDriverLogName);
    sys::log_line("Starting tvtriage collecting process");
    sys::logf("TVTriage Version: {}", kVersion);
    sys::logf("User running this is: {}", current_user_name());

    return std::thread([&settings, names = std::move(names), run_folder,
                        callbacks = std::move(callbacks), &main_queue, summary]() {
        RunSummary local;
        collect(settings, names, run_folder, callbacks, main_queue, summary ? *summary : local);
    });
}
