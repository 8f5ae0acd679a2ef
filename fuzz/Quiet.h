// Shared by every fuzz target: the program's log writes to descriptor 2, which libFuzzer and the
// sanitizers print to as well, so pointing it at /dev/null would hide their reports. Instead the
// target asks libFuzzer for -close_fd_mask=2: libFuzzer keeps a copy of stderr for itself and the
// sanitizers, then discards descriptor 2, and the log with it. A later -close_fd_mask on the
// command line still wins.
#pragma once

#include <cstdint>
#include <string_view>

#include "libs/plist/Value.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static char quiet[] = "-close_fd_mask=2";
    static char* args[256];
    if (*argc < 1 || *argc >= 255) return 0;
    args[0] = (*argv)[0];
    args[1] = quiet;
    for (int i = 1; i < *argc; ++i) args[i + 1] = (*argv)[i];
    *argc += 1;
    *argv = args;
    return 0;
}

inline std::string_view fuzz_text(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}
