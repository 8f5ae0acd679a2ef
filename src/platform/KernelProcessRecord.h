// The Mac kernel's process records (LP64 struct kinfo_proc) read from their raw bytes, and the
// names devname gives terminals. The darwin sources only make the system calls; reading what
// they return lives here, so that it is the same code on every platform and tested on Linux.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/LiveSystem.h"

namespace platform {

// sizeof(struct kinfo_proc) on LP64 macOS (extern_proc 296 + eproc 352). Table sizes are counted
// in these units on every platform.
inline constexpr std::size_t kKernelProcessRecordSize = 648;

// Where the fields that are read sit in that layout (kp_proc first, kp_eproc from 296). The
// darwin build checks each against the system header.
namespace kernel_record_offset {
inline constexpr std::size_t kStartSeconds = 0;       // p_starttime.tv_sec, 8 bytes
inline constexpr std::size_t kStartMicroseconds = 8;  // p_starttime.tv_usec, 4 bytes
inline constexpr std::size_t kFlags = 32;             // p_flag
inline constexpr std::size_t kState = 36;             // p_stat, 1 byte
inline constexpr std::size_t kPid = 40;               // p_pid
inline constexpr std::size_t kPriority = 240;         // p_priority, 1 byte
inline constexpr std::size_t kShortName = 243;        // p_comm, 17 bytes
inline constexpr std::size_t kEffectiveUid = 420;     // kp_eproc.e_ucred.cr_uid
inline constexpr std::size_t kParentPid = 560;        // kp_eproc.e_ppid
inline constexpr std::size_t kProcessGroup = 564;     // kp_eproc.e_pgid
inline constexpr std::size_t kTerminalDevice = 572;   // kp_eproc.e_tdev
}  // namespace kernel_record_offset

// One record in host byte order. The short name stops at the first NUL within its first 16 bytes
// (the kernel may leave none); a terminal device of NODEV (-1) becomes -1, any other its unsigned
// 32-bit value.
ProcessRecord decode_kernel_process_record(
    std::span<const std::uint8_t, kKernelProcessRecordSize> bytes);

// Every whole record in a table as the kernel fills it; a partial record at the end is ignored.
std::vector<ProcessRecord> decode_kernel_process_table(std::span<const std::uint8_t> bytes);

// What devname answered, as a terminal name. Empty for null and for the stand-ins it makes up for
// a number without a device node: "??" and "#C..." / "#B..." followed by the numbers.
std::optional<std::string> terminal_name_from_devname(const char* name);

}  // namespace platform
