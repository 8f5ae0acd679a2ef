// A process's command line from its argument area.
#include <new>

#include "libs/sys/Log.h"
#include "modules/Processes/ArgumentArea.h"
#include "modules/Processes/Processes.h"

namespace modules {

std::string Processes::get_command_for_pid(std::int32_t pid) {
    return read_argument_area(pid).command;
}

Processes::ArgumentArea Processes::read_argument_area(std::int32_t pid) {
    const ArgumentArea unreadable{"None", {}};
    platform::LiveSystem* live = machine_.live();
    if (!live) return unreadable;

    int argument_max = 0;
    if (live->query_argument_max(&argument_max) != 0) {
        sys::logf("sysctl 3 failed for pid {}!!", pid);
        return unreadable;
    }
    // The whole maximum is asked for: a smaller buffer would get the tail of the area.
    bool allocated = argument_max > 0;
    if (allocated) {
        try {
            argument_buffer_.resize(static_cast<std::size_t>(argument_max));
        } catch (const std::bad_alloc&) {
            allocated = false;
        }
    }
    if (!allocated) {
        sys::logf("malloc 2 failed for pid {}!!", pid);
        return unreadable;
    }
    std::size_t size = argument_buffer_.size();
    if (live->query_argument_area(pid, argument_buffer_, &size) != 0) {
        sys::logf("sysctl 4 failed for pid {}!!", pid);
        return unreadable;
    }
    size = std::min(size, argument_buffer_.size());
    const std::span<const std::uint8_t> area(argument_buffer_.data(), size);
    return {command_line_from_argument_area(area, pid), executable_path_from_argument_area(area)};
}

}  // namespace modules
