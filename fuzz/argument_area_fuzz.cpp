#include "Quiet.h"
#include "modules/Processes/ArgumentArea.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::uint8_t> area(data, size);
    modules::command_line_from_argument_area(area, 1);
    modules::executable_path_from_argument_area(area);
    return 0;
}
