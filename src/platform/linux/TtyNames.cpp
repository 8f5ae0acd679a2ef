#include "platform/linux/TtyNames.h"

namespace platform::linux_host {
namespace {

// Unix98 pseudo-terminal slaves: 136, and on old kernels up to 143 for more than 256 of them.
constexpr std::uint32_t kFirstPtyMajor = 136;
constexpr std::uint32_t kLastPtyMajor = 143;
constexpr std::uint32_t kTtyMajor = 4;
constexpr std::uint32_t kFirstSerialMinor = 64;
constexpr std::uint32_t kLastTtyMinor = 255;
constexpr std::uint32_t kAuxTtyMajor = 5;

}  // namespace

DeviceNumber decode_tty_nr(std::int64_t tty_nr) {
    auto bits = static_cast<std::uint32_t>(tty_nr);
    return {(bits >> 8) & 0xfff, (bits & 0xff) | ((bits >> 12) & 0xfff00)};
}

std::optional<std::string> well_known_terminal_name(DeviceNumber device) {
    if (device.major >= kFirstPtyMajor && device.major <= kLastPtyMajor) {
        return "pts/" + std::to_string((device.major - kFirstPtyMajor) * 256 + device.minor);
    }
    if (device.major == kTtyMajor && device.minor <= kLastTtyMinor) {
        if (device.minor < kFirstSerialMinor) return "tty" + std::to_string(device.minor);
        return "ttyS" + std::to_string(device.minor - kFirstSerialMinor);
    }
    if (device.major == kAuxTtyMajor) {
        switch (device.minor) {
            case 0:
                return "tty";
            case 1:
                return "console";
            case 2:
                return "ptmx";
        }
    }
    return std::nullopt;
}

}  // namespace platform::linux_host
