// The kernel's process table and argument areas through sysctl.
#include <sys/param.h>
#include <sys/sysctl.h>
#include <sys/types.h>

#include <algorithm>
#include <cstring>

#include "platform/darwin/DarwinLiveSystem.h"

namespace platform::darwin_host {
namespace {

ProcessRecord record_of(const kinfo_proc& kernel) {
    const extern_proc& proc = kernel.kp_proc;
    const eproc& extra = kernel.kp_eproc;
    ProcessRecord record;
    record.start_seconds = proc.p_starttime.tv_sec;
    record.start_microseconds = static_cast<std::int32_t>(proc.p_starttime.tv_usec);
    record.flags = static_cast<std::uint32_t>(proc.p_flag);
    record.state = static_cast<std::int8_t>(proc.p_stat);
    record.pid = proc.p_pid;
    record.priority = proc.p_priority;
    // The kernel fills MAXCOMLEN bytes and may leave no terminator inside the field.
    record.short_name.assign(proc.p_comm, ::strnlen(proc.p_comm, sizeof proc.p_comm));
    record.effective_uid = extra.e_ucred.cr_uid;
    record.parent_pid = extra.e_ppid;
    record.process_group = extra.e_pgid;
    // dev_t is signed here: only NODEV may become -1, a large major must stay positive.
    record.terminal_device =
        extra.e_tdev == NODEV ? -1
                              : static_cast<std::int64_t>(static_cast<std::uint32_t>(extra.e_tdev));
    return record;
}

}  // namespace

int DarwinLiveSystem::query_process_table(std::vector<ProcessRecord>* records, std::size_t* size) {
    int name[4] = {CTL_KERN, KERN_PROC, KERN_PROC_ALL, 0};
    if (!records) return ::sysctl(name, 4, nullptr, size, nullptr, 0);

    // At least one record, so that the kernel is never handed a null buffer (a size query).
    std::vector<kinfo_proc> kernel_records(std::max<std::size_t>(1, *size / sizeof(kinfo_proc)));
    *size = std::min(*size, kernel_records.size() * sizeof(kinfo_proc));
    int result = ::sysctl(name, 4, kernel_records.data(), size, nullptr, 0);
    if (result != 0) return result;
    std::size_t count = std::min(kernel_records.size(), *size / sizeof(kinfo_proc));
    records->clear();
    records->reserve(count);
    for (std::size_t i = 0; i < count; ++i) records->push_back(record_of(kernel_records[i]));
    return result;
}

int DarwinLiveSystem::query_argument_max(int* argument_max) {
    int name[2] = {CTL_KERN, KERN_ARGMAX};
    std::size_t length = sizeof *argument_max;
    return ::sysctl(name, 2, argument_max, &length, nullptr, 0);
}

int DarwinLiveSystem::query_argument_area(std::int32_t pid, std::vector<std::uint8_t>& buffer,
                                          std::size_t* size) {
    if (buffer.size() < *size) buffer.resize(*size);
    int name[3] = {CTL_KERN, KERN_PROCARGS2, pid};
    return ::sysctl(name, 3, buffer.data(), size, nullptr, 0);
}

}  // namespace platform::darwin_host
