// The macOS KERN_PROCARGS2 layout built from what Linux keeps per process, so that one parser of
// argument areas serves both platforms.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace platform::linux_host {

// cmdline and environ are the NUL-separated contents of /proc/<pid>/cmdline and environ.
// The area is: the argument count (host order, 32 bits) = the number of strings in cmdline, the
// executable path and its NUL, the NUL padding macOS puts there (0 to 7 bytes), the arguments,
// then the environment when it could be read. A process that rewrote its title may leave the
// last string of cmdline unterminated: it still counts, and gets its NUL here.
std::vector<std::uint8_t> build_argument_area(std::string_view cmdline, std::string_view exec_path,
                                              std::optional<std::string_view> environment);

}  // namespace platform::linux_host
