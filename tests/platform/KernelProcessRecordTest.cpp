#include "platform/KernelProcessRecord.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace platform {
namespace {

// A kinfo_proc image in host byte order, fields put at literal offsets. Every byte not set is
// 0xAA, so a field read at the wrong offset or with the wrong width picks up filler.
struct RawRecord {
    std::array<std::uint8_t, kKernelProcessRecordSize> bytes;
    RawRecord() { bytes.fill(0xAA); }

    template <typename T>
    RawRecord& put(std::size_t offset, T value) {
        std::memcpy(bytes.data() + offset, &value, sizeof value);
        return *this;
    }
    // The 17-byte p_comm field, exactly as given (no terminator added).
    RawRecord& comm(std::string_view text) {
        std::memcpy(bytes.data() + 243, text.data(), text.size());
        return *this;
    }
};

// A table holds whole records only: the partial one at its end is ignored. Each record has the
// same fields but its p_comm bytes and e_tdev, read as its short name and terminal device.
TEST(KernelProcessRecord, TableOfRecordsWithFieldsAtTheirOffsets) {
    const std::tuple<std::string, std::int32_t, std::string, std::int64_t> cases[] = {
        {std::string("launchd\0", 8), 0x10000003, "launchd", 0x10000003},
        // All 16 bytes used and the 17th not a terminator either: the name stops at 16.
        {"abcdefghijklmnopX", -1, "abcdefghijklmnop", -1},
        {std::string("\0abc", 4), static_cast<std::int32_t>(0x80000001u), "", 0x80000001},
        {std::string("x\0yz", 4), 0, "x", 0},
    };
    std::vector<std::uint8_t> table;
    for (const auto& [comm, device, name, terminal] : cases) {
        RawRecord raw;
        raw.put<std::int64_t>(0, 0x123456789).put<std::int32_t>(8, 999999);  // p_starttime
        raw.put<std::uint32_t>(32, 0x4004).put<std::int8_t>(36, 2).put<std::int32_t>(40, 70000);
        raw.put<std::uint8_t>(240, 0xF0).comm(comm).put<std::uint32_t>(420, 4294967294u);  // -2
        raw.put<std::int32_t>(560, 1).put<std::int32_t>(564, 70001).put<std::int32_t>(572, device);
        table.insert(table.end(), raw.bytes.begin(), raw.bytes.end());
    }
    table.resize(table.size() + kKernelProcessRecordSize - 1, 0);
    const auto records = decode_kernel_process_table(table);
    ASSERT_EQ(records.size(), std::size(cases));
    for (std::size_t i = 0; i < records.size(); ++i) {
        const ProcessRecord& r = records[i];
        EXPECT_EQ(std::tuple(r.start_seconds, r.start_microseconds, r.flags, r.state, r.pid),
                  std::tuple(0x123456789L, 999999, 0x4004u, std::int8_t{2}, 70000));
        EXPECT_EQ(std::tuple(r.priority, r.effective_uid, r.parent_pid, r.process_group),
                  std::tuple(std::uint8_t{0xF0}, 4294967294u, 1, 70001));
        EXPECT_EQ(std::tuple(r.short_name, r.terminal_device),
                  std::tuple(std::get<2>(cases[i]), std::get<3>(cases[i])));
    }
    EXPECT_TRUE(decode_kernel_process_table(std::span(table).first(647)).empty());
    for (const char* none : {static_cast<const char*>(nullptr), "??", "#C16:3", "#B1:0", ""})
        EXPECT_FALSE(terminal_name_from_devname(none)) << (none ? none : "null");
    EXPECT_EQ(terminal_name_from_devname("ttys000"), "ttys000");
}

}  // namespace
}  // namespace platform
