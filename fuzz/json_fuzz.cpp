#include "Quiet.h"
#include "libs/plist/Json.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    plist::parse_json(fuzz_text(data, size));
    return 0;
}
