// The running system's live sources: the kernel process table, argument areas, terminals, the
// password database, the system profile and the open-files lister. One implementation per
// platform (src/platform/darwin, src/platform/linux); they hand back raw shapes, and the portable
// modules interpret them, so that the interpretation is the same everywhere and tested here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sys {
class ProgramRunner;
}

namespace platform {

// The fields of one kernel process record that the process table module reads.
struct ProcessRecord {
    std::int64_t start_seconds = 0;       // p_starttime.tv_sec, Unix epoch
    std::int32_t start_microseconds = 0;  // p_starttime.tv_usec
    std::uint32_t flags = 0;              // p_flag; 0x4 is the 64-bit address space
    std::int8_t state = 0;  // p_stat: 1 created, 2 runnable, 3 sleeping, 4 stopped, 5 zombie
    std::int32_t pid = 0;
    std::uint8_t priority = 0;          // p_priority
    std::string short_name;             // p_comm
    std::uint32_t effective_uid = 0;    // e_ucred.cr_uid
    std::int32_t parent_pid = 0;        // e_ppid
    std::int32_t process_group = 0;     // e_pgid
    std::int64_t terminal_device = -1;  // e_tdev; -1 when there is none
};

struct PasswordEntry {
    std::string login;
    std::uint32_t primary_gid = 0;
};

// A program and its arguments.
struct Command {
    std::string program;
    std::vector<std::string> arguments;
};

class LiveSystem {
public:
    virtual ~LiveSystem() = default;

    // The whole process table, with the calling convention of sysctl so that the retry rules of
    // the caller stay the same on every platform: with records == nullptr only *size is set (an
    // estimate in bytes); otherwise the records are filled and *size is updated. Returns 0 on
    // success, -1 on failure, or another value that the caller retries on.
    virtual int query_process_table(std::vector<ProcessRecord>* records, std::size_t* size) = 0;

    // KERN_ARGMAX: the largest argument area. Returns 0 or -1.
    virtual int query_argument_max(int* argument_max) = 0;

    // One process's argument area in the KERN_PROCARGS2 layout (argument count as a host-order
    // 32-bit integer, executable path, NUL padding, arguments, environment). buffer holds *size
    // bytes on entry; *size is set to the bytes returned. Returns 0 or -1.
    virtual int query_argument_area(std::int32_t pid, std::vector<std::uint8_t>& buffer,
                                    std::size_t* size) = 0;

    // The name of the character device with this number, without the device folder ("ttys000",
    // "pts/3"); empty when there is none.
    virtual std::optional<std::string> terminal_name(std::int64_t device) = 0;

    // The password-database entry of a user id; empty when the id has none.
    virtual std::optional<PasswordEntry> user_by_uid(std::uint32_t uid) = 0;

    // What the system profiler prints for these arguments (data-type names and "-xml"): an XML
    // property list whose root is an array of per-data-type dictionaries. With no data type
    // named, every data type is profiled.
    virtual std::string system_profile(const std::vector<std::string>& arguments) = 0;

    // How to run the open-files lister for field output of command, type and name
    // ("-F cnt +c0"), with whatever this platform needs beside that.
    virtual Command lsof_command() = 0;
};

// The running system's sources on this platform.
std::unique_ptr<LiveSystem> make_live_system(sys::ProgramRunner& runner);

}  // namespace platform
