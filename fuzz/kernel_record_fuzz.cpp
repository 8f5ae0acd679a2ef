#include <string>

#include "Quiet.h"
#include "platform/KernelProcessRecord.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platform::decode_kernel_process_table(std::span(data, size));
    const std::string name(fuzz_text(data, size));
    platform::terminal_name_from_devname(name.c_str());
    return 0;
}
