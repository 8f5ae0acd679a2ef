#include "modules/Processes/Processes.h"

#include <thread>

#include "libs/Disk/Disk.h"
#include "libs/sys/Log.h"

namespace modules {

Processes::Processes(const sys::Machine& machine, Sleep sleep)
    : machine_(machine), sleep_(std::move(sleep)) {
    if (!sleep_) sleep_ = [](std::chrono::seconds pause) { std::this_thread::sleep_for(pause); };
}

ModuleReport Processes::start(const sys::OutputPath& module_folder) {
    Disk::create_empty_files(module_folder, {"Processes.plist", "Processes.log"});
    Disk::redirectLog(module_folder, "Processes.log");

    sys::log_line("Getting processes list...");
    std::uint64_t count = 0;
    std::optional<std::vector<platform::ProcessRecord>> records = getAllProcesses(&count);
    sys::logf("getAllProcesses done! Number of processes: {}", count);

    sys::log_line("Collecting proccesses information...");
    Properties properties = records ? getProcessesProperties(*records) : Properties{};
    sys::log_line("getProcessesProperties done!");

    sys::log_line("Writing the final plist...");
    Disk::write_plist(plist::Value(std::move(properties.plists)),
                      module_folder / "Processes.plist");
    sys::log_line("Processes.plist done!");
    return std::move(properties.paths);
}

}  // namespace modules
