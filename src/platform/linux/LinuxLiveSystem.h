// The running Linux system as live sources in the macOS shapes: /proc for the process table,
// argument areas and terminals, the password database, a profile assembled from /etc, /proc and
// /sys, and lsof. Only used when the examined root is "/".
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/KernelProcessRecord.h"
#include "platform/LiveSystem.h"

namespace platform::linux_host {

// What one record takes on a Mac (LP64 struct kinfo_proc): sizes are reported in these units so
// that a caller dividing bytes by a record size counts the same on both platforms.
inline constexpr std::size_t kProcessRecordSize = kKernelProcessRecordSize;

// Linux allows a quarter of the stack limit for arguments and environment, without bound when
// the stack is unlimited; a Mac allows 1 MiB, and the caller allocates this much per process.
inline constexpr int kMaxArgumentArea = 1 << 20;

class LinuxLiveSystem : public LiveSystem {
public:
    // One record per numeric /proc entry in ascending pid order; a process that ends while it is
    // read is left out. Returns -1 only when /proc cannot be listed.
    int query_process_table(std::vector<ProcessRecord>* records, std::size_t* size) override;
    int query_argument_max(int* argument_max) override;
    // -1 when the process is gone or its command line cannot be read.
    int query_argument_area(std::int32_t pid, std::vector<std::uint8_t>& buffer,
                            std::size_t* size) override;
    std::optional<std::string> terminal_name(std::int64_t device) override;
    std::optional<PasswordEntry> user_by_uid(std::uint32_t uid) override;
    std::string system_profile(const std::vector<std::string>& arguments) override;
    Command lsof_command() override;
};

}  // namespace platform::linux_host
