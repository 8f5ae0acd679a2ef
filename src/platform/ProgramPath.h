// Where this program's own executable is, so that files installed beside it can be found.
#pragma once

#include <filesystem>

namespace platform {

// Empty when the system cannot tell.
std::filesystem::path program_path();

}  // namespace platform
