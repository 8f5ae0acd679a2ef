#include "modules/Autoruns/Autoruns.h"

#include <set>

#include "libs/Disk/Disk.h"
#include "libs/sys/Exception.h"
#include "libs/sys/Log.h"

namespace modules {
namespace {

// Runs one collector; what it throws is logged under the label and gives the empty value.
template <typename Result, typename Collect>
Result guarded(std::string_view label, Collect collect) {
    Result result{};
    Disk::guarded(std::string(label) + " CRASHED", [&] { result = collect(); });
    return result;
}

}  // namespace

Autoruns::Autoruns(const sys::Machine& machine) : machine_(machine) {}

ModuleReport Autoruns::start(const sys::OutputPath& module_folder) {
    for (std::string_view name : {"Autoruns.plist", "Autoruns.log"}) {
        if (!module_folder.output().open_to_write((module_folder / name).path())) {
            sys::log_line("Error in creating file.");
        }
    }
    Disk::redirectLog(module_folder, "Autoruns.log");

    const auto launchd = guarded<plist::Dictionary>("AUTORUNS - LAUNCHD ITEMS - PLISTS",
                                                    [&] { return read_launch_items(); });
    std::vector<std::string> launchd_paths = guarded<std::vector<std::string>>(
        "AUTORUNS - LAUNCHD ITEMS - PATHS", [&] { return get_launchd_paths(launchd); });
    Collected startup =
        guarded<Collected>("AUTORUNS - STARTUP ITEMS", [&] { return read_startup_items(); });
    Collected login =
        guarded<Collected>("AUTORUNS - LOGIN ITEMS", [&] { return read_loginitems(); });
    Collected cron = guarded<Collected>("AUTORUNS - CRONTABS", [&] { return read_crontabs(); });
    plist::Dictionary rc =
        guarded<plist::Dictionary>("AUTORUNS - RCITEMS", [&] { return read_rcitems(); });

    plist::Dictionary autoruns;
    autoruns["launchd"] = launchd;
    autoruns["startup"] = std::move(startup.plists);
    autoruns["crontabs"] = std::move(cron.plists);
    autoruns["rcitems"] = std::move(rc);
    autoruns["loginitems"] = std::move(login.plists);
    Disk::write_plist(plist::Value(std::move(autoruns)), module_folder / "Autoruns.plist");

    std::set<std::string> unique;
    for (const auto* paths : {&launchd_paths, &startup.paths, &login.paths, &cron.paths}) {
        unique.insert(paths->begin(), paths->end());
    }
    return ModuleReport(unique.begin(), unique.end());
}

void Autoruns::unexpected_kind(std::string_view what, std::string_view file) {
    throw sys::Exception("NSInvalidArgumentException",
                         fmt::format("\"{}\" in {} is not of the kind expected", what, file));
}

bool Autoruns::check_if_app(std::string_view path) const {
    if (!path.ends_with(".app")) return false;
    sys::logf("App at path: {}", path);
    return true;
}

std::optional<std::string> Autoruns::get_app_exec_path(std::string_view bundle) const {
    const sys::FileSystem& files = machine_.files();
    if (!files.is_directory(bundle)) return std::nullopt;
    const std::string contents = std::string(bundle) + "/Contents";
    std::optional<plist::Dictionary> info = files.read_plist_dictionary(contents + "/Info.plist");
    if (!info) return std::nullopt;
    auto executable = info->find("CFBundleExecutable");
    if (executable == info->end() || !executable->second.as_string()) return std::nullopt;
    const std::string path = contents + "/MacOS/" + *executable->second.as_string();
    if (!files.exists(path)) return std::nullopt;
    return path;
}

}  // namespace modules
