#include "modules/TV/TV.h"

#include "libs/Disk/Disk.h"
#include "libs/sys/Log.h"

namespace modules {
namespace {

constexpr std::string_view kInfoPlist = "/Library/Tervalon/SHLD/Shieldwell.app/Contents/Info.plist";

}  // namespace

TV::TV(const sys::Machine& machine) : machine_(machine) {}

ModuleReport TV::start(const sys::OutputPath& module_folder) {
    Disk::create_empty_files(module_folder, {"TV.plist", "TV.log"});
    Disk::redirectLog(module_folder, "TV.log");

    plist::Dictionary result;
    sys::log_line("Getting the update.txt...");
    result["update.txt"] = getUpdate();
    sys::log_line("update.txt done");

    result["logs"] = getLogs();

    sys::log_line("Getting Info.plist...");
    std::optional<plist::Dictionary> info = machine_.files().read_plist_dictionary(kInfoPlist);
    if (!info) sys::logf("Error at dictionaryWithContentsOfFile for {}!", kInfoPlist);
    result["Info.plist"] = info ? std::move(*info) : plist::Dictionary{};
    sys::log_line("Info.plist done...");

    sys::log_line("Writing the final plist...");
    Disk::write_plist(plist::Value(std::move(result)), module_folder / "TV.plist");
    sys::log_line("TV.plist done!");
    return {};
}

}  // namespace modules
