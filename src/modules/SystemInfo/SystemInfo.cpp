#include "modules/SystemInfo/SystemInfo.h"

#include "libs/Disk/Disk.h"
#include "libs/plist/Reader.h"
#include "libs/sys/FdIo.h"
#include "libs/sys/Log.h"

namespace modules {

SystemInfo::SystemInfo(const sys::Machine& machine) : machine_(machine) {}

ModuleReport SystemInfo::start(const sys::OutputPath& module_folder) {
    Disk::create_empty_files(module_folder, {"SystemInfo.plist", "SystemInfo.log"});
    Disk::redirectLog(module_folder, "SystemInfo.log");
    const sys::OutputPath file = module_folder / "SystemInfo.plist";

    if (!machine_.live()) {
        sys::logf("{} is not the running system: the system profile is not collected.",
                  machine_.files().root().string());
        Disk::write_plist(plist::Value(plist::Array{}), file);
        return {};
    }
    sys::log_line("Getting System Info...");
    const std::string profile = getSystemInfo();
    sys::log_line("Getting System Info done!");
    write_profile(profile, file);
    return {};
}

std::string SystemInfo::getSystemInfo() {
    platform::LiveSystem* live = machine_.live();
    return live ? live->system_profile({"-xml"}) : std::string();
}

void SystemInfo::write_profile(const std::string& profile, const sys::OutputPath& file) {
    std::string error;
    if (std::optional<plist::Value> parsed = plist::parse(profile, &error)) {
        Disk::write_plist(*parsed, file);
        return;
    }
    sys::log_line("ERROR - Making dict from NSData");
    sys::log_line(error);
    sys::log_line("Writing the final plist. - from inside SysInfo module");
    // What the profiler printed is kept as it came, so that nothing of it is lost.
    if (file.output().replace(file.path(), [&](int fd) { return sys::write_all(fd, profile); })) {
        sys::log_line("SystemInfo.plist done!");
    } else {
        sys::log_line("Error at writing SystemInfo.plist!");
    }
}

}  // namespace modules
