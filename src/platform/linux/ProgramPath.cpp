#include "platform/ProgramPath.h"

#include <system_error>

namespace platform {

std::filesystem::path program_path() {
    std::error_code ec;
    auto path = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::filesystem::path() : path;
}

}  // namespace platform
