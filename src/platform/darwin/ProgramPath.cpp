#include "platform/ProgramPath.h"

#include <mach-o/dyld.h>

#include <cstdint>
#include <string>
#include <system_error>

namespace platform {

std::filesystem::path program_path() {
    uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::string buffer(size, '\0');
    if (_NSGetExecutablePath(buffer.data(), &size) != 0) return {};
    buffer.resize(buffer.find('\0'));
    std::error_code ec;
    auto path = std::filesystem::canonical(buffer, ec);
    return ec ? std::filesystem::path(buffer) : path;
}

}  // namespace platform
