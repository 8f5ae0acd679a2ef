#include "Quiet.h"
#include "modules/Autoruns/CronPathPattern.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    bool gave_up = false;
    modules::cron_path_matches(fuzz_text(data, size), &gave_up);
    return 0;
}
