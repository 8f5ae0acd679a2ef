#include "Quiet.h"
#include "modules/Net/LsofFields.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    modules::parse_lsof_fields(fuzz_text(data, size));
    return 0;
}
