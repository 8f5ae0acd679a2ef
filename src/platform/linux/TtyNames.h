// Names of terminal devices from the device number that /proc/<pid>/stat gives as tty_nr. The
// fixed Linux numbering covers nearly every controlling terminal; the rest needs a look at /dev.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform::linux_host {

struct DeviceNumber {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    bool operator==(const DeviceNumber&) const = default;
};

// The kernel's encoding of tty_nr: major in bits 8-19, minor in bits 0-7 and 20-31.
DeviceNumber decode_tty_nr(std::int64_t tty_nr);

// The name under /dev, without "/dev/", of a terminal with a fixed number (pseudo-terminals,
// virtual consoles, serial ports, /dev/tty, /dev/console, /dev/ptmx); empty for any other.
std::optional<std::string> well_known_terminal_name(DeviceNumber device);

}  // namespace platform::linux_host
