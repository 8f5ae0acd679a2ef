#include "platform/linux/TtyNames.h"

#include <gtest/gtest.h>

namespace platform::linux_host {
namespace {

// tty_nr as the kernel encodes it: minor bits 0-7 low, the rest from bit 20.
std::int64_t encode(std::uint32_t major, std::uint32_t minor) {
    return static_cast<std::int64_t>((minor & 0xff) | (major << 8) | ((minor & ~0xffu) << 12));
}

TEST(LinuxHostTtyNames, DecodingSplitsMajorAndMinor) {
    EXPECT_EQ(decode_tty_nr(34816), (DeviceNumber{136, 0}));
    EXPECT_EQ(decode_tty_nr(encode(136, 300)), (DeviceNumber{136, 300}));
    EXPECT_EQ(decode_tty_nr(encode(4, 65)), (DeviceNumber{4, 65}));
    EXPECT_EQ(decode_tty_nr(encode(188, 0x12345)), (DeviceNumber{188, 0x12345}));
}

TEST(LinuxHostTtyNames, FixedNumbersHaveTheirNames) {
    const std::pair<DeviceNumber, const char*> expected[] = {
        {{136, 0}, "pts/0"}, {{136, 300}, "pts/300"}, {{137, 4}, "pts/260"}, {{4, 1}, "tty1"},
        {{4, 63}, "tty63"},  {{4, 64}, "ttyS0"},      {{4, 255}, "ttyS191"}, {{5, 0}, "tty"},
        {{5, 1}, "console"}, {{5, 2}, "ptmx"},
    };
    for (const auto& [device, name] : expected) {
        EXPECT_EQ(well_known_terminal_name(device), name) << device.major << ":" << device.minor;
    }
    EXPECT_FALSE(well_known_terminal_name({5, 3}));
    EXPECT_FALSE(well_known_terminal_name({4, 256}));
    EXPECT_FALSE(well_known_terminal_name({188, 0}));
    EXPECT_FALSE(well_known_terminal_name({135, 0}));
}

}  // namespace
}  // namespace platform::linux_host
