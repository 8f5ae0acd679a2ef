// The process table module: a snapshot of every process of the running system in
// "Processes.plist" (process id text -> process entry), and as its report the executable file
// that each command line starts, for the samples pipeline.
//
// Without live sources (the examined tree is not the running system) the table is not read: the
// module says so in its log, writes an empty "Processes.plist" and reports no paths.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "libs/plist/Value.h"
#include "libs/sys/Machine.h"
#include "modules/Module.h"
#include "platform/LiveSystem.h"

namespace modules {

class Processes : public Module {
public:
    // How the table reader waits between attempts; tests hand in one that does not sleep.
    using Sleep = std::function<void(std::chrono::seconds)>;

    explicit Processes(const sys::Machine& machine, Sleep sleep = nullptr);

    ModuleReport start(const sys::OutputPath& module_folder) override;

    // The whole kernel process table, read with the attempt rules of a sysctl caller (see the
    // .cpp). Sets *count to the number of records; on failure logs why, sets 0 and returns none.
    std::optional<std::vector<platform::ProcessRecord>> getAllProcesses(std::uint64_t* count);

    // The process's arguments joined by single spaces, or "None" when they cannot be read (the
    // reason is logged with the pid).
    std::string get_command_for_pid(std::int32_t pid);

    struct Properties {
        plist::Dictionary plists;        // process id text -> process entry (thirteen keys)
        std::vector<std::string> paths;  // executables, in table order, duplicates kept
    };
    Properties getProcessesProperties(std::span<const platform::ProcessRecord> records);

    // The executable file a command line starts, when something exists there on the examined
    // machine: a quoted first word, else the longest existing blank-joined prefix. A first word
    // that is a lone double quote throws std::out_of_range, on purpose (it ends the module).
    // Most processes start with a bare or relative first word ("bash", "./x") or rewrite it
    // ("sshd: user"); for them the executable path of the argument area's header stands in, when
    // it exists.
    std::optional<std::string> get_exec_path(const std::string& command_line,
                                             const std::string& header_path = {}) const;

private:
    struct ArgumentArea {
        std::string command;          // as get_command_for_pid gives it
        std::string executable_path;  // from the header; empty when the area cannot be read
    };
    ArgumentArea read_argument_area(std::int32_t pid);
    plist::Dictionary process_entry(const platform::ProcessRecord& record,
                                    platform::LiveSystem& live, const std::string& command);
    bool names_existing_entry(const std::string& path) const;

    const sys::Machine& machine_;
    Sleep sleep_;
    // One argument-area buffer for every process: it is as large as the system's argument
    // maximum (a megabyte or more), and allocating it per process costs a page fault per page.
    std::vector<std::uint8_t> argument_buffer_;
};

}  // namespace modules
