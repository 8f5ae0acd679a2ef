#include "tvtriage.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "libs/Disk/Disk.h"
#include "libs/sys/Exception.h"
#include "libs/sys/Log.h"

namespace {

constexpr const char* kRunFolderName = "tvtriage";

}  // namespace

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

std::filesystem::path tvtriage::create_module_folders(
    std::vector<std::string>& names, const std::filesystem::path& temporary_directory) {
    const sys::FileSystem& host = sys::FileSystem::host();
    std::filesystem::path run_folder = temporary_directory / kRunFolderName;
    // An existing folder is fine: a second launch reuses it with whatever it holds.
    host.create_directory(run_folder.string());
    names.push_back(kSamplesFolderName);
    for (const auto& name : names) host.create_directory((run_folder / name).string());
    names.pop_back();
    return run_folder;
}

std::thread tvtriage::start(const RunSettings& settings, Callbacks callbacks,
                            sys::MainQueue& main_queue, RunSummary* summary) {
    std::vector<std::string> names =
        settings.only ? *settings.only : get_enabled_module(settings.modules_config);
    std::filesystem::path run_folder = create_module_folders(names, settings.temporary_directory);

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
