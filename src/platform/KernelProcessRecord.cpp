#include "platform/KernelProcessRecord.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace platform {
namespace {

using namespace kernel_record_offset;

// The kernel copies MAXCOMLEN bytes into the 17-byte field and nothing guarantees the last one.
constexpr std::size_t kMaxShortName = 16;
constexpr std::int32_t kNoDevice = -1;

// The buffer is a byte array with no alignment promise for any field, hence memcpy.
template <typename T>
T field(std::span<const std::uint8_t, kKernelProcessRecordSize> bytes, std::size_t offset) {
    static_assert(std::is_trivially_copyable_v<T>);
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

}  // namespace

ProcessRecord decode_kernel_process_record(
    std::span<const std::uint8_t, kKernelProcessRecordSize> bytes) {
    ProcessRecord record;
    record.start_seconds = field<std::int64_t>(bytes, kStartSeconds);
    record.start_microseconds = field<std::int32_t>(bytes, kStartMicroseconds);
    record.flags = field<std::uint32_t>(bytes, kFlags);
    record.state = field<std::int8_t>(bytes, kState);
    record.pid = field<std::int32_t>(bytes, kPid);
    record.priority = field<std::uint8_t>(bytes, kPriority);
    const auto* name = reinterpret_cast<const char*>(bytes.data() + kShortName);
    record.short_name.assign(name, std::find(name, name + kMaxShortName, '\0'));
    record.effective_uid = field<std::uint32_t>(bytes, kEffectiveUid);
    record.parent_pid = field<std::int32_t>(bytes, kParentPid);
    record.process_group = field<std::int32_t>(bytes, kProcessGroup);
    // dev_t is signed on a Mac: only NODEV means "none"; a large major number stays positive.
    auto device = field<std::int32_t>(bytes, kTerminalDevice);
    record.terminal_device =
        device == kNoDevice ? -1 : static_cast<std::int64_t>(static_cast<std::uint32_t>(device));
    return record;
}

std::vector<ProcessRecord> decode_kernel_process_table(std::span<const std::uint8_t> bytes) {
    std::vector<ProcessRecord> records;
    records.reserve(bytes.size() / kKernelProcessRecordSize);
    for (std::size_t offset = 0; bytes.size() - offset >= kKernelProcessRecordSize;
         offset += kKernelProcessRecordSize) {
        records.push_back(
            decode_kernel_process_record(bytes.subspan(offset).first<kKernelProcessRecordSize>()));
    }
    return records;
}

std::optional<std::string> terminal_name_from_devname(const char* name) {
    // No device node has a name starting with '#', so such an answer is always a stand-in.
    if (!name || name[0] == '\0' || name[0] == '#' || std::strcmp(name, "??") == 0) {
        return std::nullopt;
    }
    return std::string(name);
}

}  // namespace platform
