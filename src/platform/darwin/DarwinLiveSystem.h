// The running Mac's live sources: sysctl for the process table and argument areas, devname for
// terminals, the password database, and Apple's profiler and lsof. Only the system calls live
// here; everything that interprets what they return is portable and tested on Linux.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "libs/sys/ProgramRunner.h"
#include "platform/LiveSystem.h"

namespace platform::darwin_host {

class DarwinLiveSystem : public LiveSystem {
public:
    // The runner must outlive this object (the machine holds both, the runner first).
    explicit DarwinLiveSystem(sys::ProgramRunner& runner) : runner_(runner) {}

    // sysctl {CTL_KERN, KERN_PROC, KERN_PROC_ALL, 0}; its return value is handed back as it is.
    int query_process_table(std::vector<ProcessRecord>* records, std::size_t* size) override;
    int query_argument_max(int* argument_max) override;
    int query_argument_area(std::int32_t pid, std::vector<std::uint8_t>& buffer,
                            std::size_t* size) override;
    std::optional<std::string> terminal_name(std::int64_t device) override;
    std::optional<PasswordEntry> user_by_uid(std::uint32_t uid) override;
    // Whatever "/usr/sbin/system_profiler" prints for these arguments.
    std::string system_profile(const std::vector<std::string>& arguments) override;
    Command lsof_command() override;

private:
    sys::ProgramRunner& runner_;
};

}  // namespace platform::darwin_host
