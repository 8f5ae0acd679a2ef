// The kernel's process table and argument areas through sysctl; the records are read by the
// portable decoder.
#include <sys/sysctl.h>
#include <sys/types.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/KernelProcessRecord.h"
#include "platform/darwin/DarwinLiveSystem.h"

namespace platform::darwin_host {

// The portable decoder reads the LP64 layout at fixed offsets; this is where they are checked.
static_assert(sizeof(kinfo_proc) == kKernelProcessRecordSize);
namespace offset = kernel_record_offset;
static_assert(offsetof(kinfo_proc, kp_proc.p_starttime.tv_sec) == offset::kStartSeconds);
static_assert(offsetof(kinfo_proc, kp_proc.p_starttime.tv_usec) == offset::kStartMicroseconds);
static_assert(offsetof(kinfo_proc, kp_proc.p_flag) == offset::kFlags);
static_assert(offsetof(kinfo_proc, kp_proc.p_stat) == offset::kState);
static_assert(offsetof(kinfo_proc, kp_proc.p_pid) == offset::kPid);
static_assert(offsetof(kinfo_proc, kp_proc.p_priority) == offset::kPriority);
static_assert(offsetof(kinfo_proc, kp_proc.p_comm) == offset::kShortName);
static_assert(offsetof(kinfo_proc, kp_eproc.e_ucred.cr_uid) == offset::kEffectiveUid);
static_assert(offsetof(kinfo_proc, kp_eproc.e_ppid) == offset::kParentPid);
static_assert(offsetof(kinfo_proc, kp_eproc.e_pgid) == offset::kProcessGroup);
static_assert(offsetof(kinfo_proc, kp_eproc.e_tdev) == offset::kTerminalDevice);
static_assert(sizeof(kinfo_proc::kp_proc.p_comm) == 17 && sizeof(kinfo_proc::kp_eproc.e_tdev) == 4);

int DarwinLiveSystem::query_process_table(std::vector<ProcessRecord>* records, std::size_t* size) {
    int name[4] = {CTL_KERN, KERN_PROC, KERN_PROC_ALL, 0};
    if (!records) return ::sysctl(name, 4, nullptr, size, nullptr, 0);

    // Whole records only, and at least one, so that the kernel is never handed a null buffer
    // (which would make this a size query).
    std::vector<std::uint8_t> buffer(std::max<std::size_t>(1, *size / kKernelProcessRecordSize) *
                                     kKernelProcessRecordSize);
    *size = buffer.size();
    int result = ::sysctl(name, 4, buffer.data(), size, nullptr, 0);
    if (result != 0) return result;
    *records = decode_kernel_process_table(
        std::span<const std::uint8_t>(buffer).first(std::min(*size, buffer.size())));
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
