// The command line held in a process's argument area, in the KERN_PROCARGS2 layout that both
// platforms' live sources hand back: the argument count (host-order 32-bit integer), the
// executable path, NUL padding, the arguments, then the environment.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace modules {

// The arguments joined by single spaces; the environment after them is left out. "None" when the
// area ends before the first argument, holds no terminated argument, or is not UTF-8 text; each
// failure logs its reason with the pid.
std::string command_line_from_argument_area(std::span<const std::uint8_t> area, std::int32_t pid);

// The executable path the area carries after the argument count. Empty when the area ends before
// the path's terminator (a cut-short path names some other file) or the path is not UTF-8 (it
// would make the samples list unwritable).
std::string executable_path_from_argument_area(std::span<const std::uint8_t> area);

}  // namespace modules
