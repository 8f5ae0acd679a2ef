#include "libs/sys/ThrowStacks.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace {

constexpr int kMaxFrames = 64;
// A handler may throw and catch a few times of its own before it reports what it caught.
constexpr unsigned kRecords = 8;
static_assert((kRecords & (kRecords - 1)) == 0, "the ring index wraps around unsigned overflow");

struct ThrowRecord {
    const void* object;
    const std::type_info* type;
    // The return address into the code that threw: frames above it are the hook's own (and under
    // AddressSanitizer those of its backtrace interceptor), which nobody reading a report wants.
    const void* thrower;
    int frame_count;
    void* frames[kMaxFrames];
};

// Zero-initialised and without a constructor, so that recording a throw never allocates.
struct ThrowRing {
    ThrowRecord records[kRecords];
    unsigned next;
};

thread_local ThrowRing ring;

using ThrowFunction = void (*)(void*, std::type_info*, void (*)(void*));

constinit std::atomic<ThrowFunction> next_throw{nullptr};

// Under AddressSanitizer the next one is its interceptor, which goes on to the runtime's.
ThrowFunction find_next_throw() {
    ThrowFunction next = next_throw.load(std::memory_order_relaxed);
    if (next) return next;
    next = reinterpret_cast<ThrowFunction>(::dlsym(RTLD_NEXT, "__cxa_throw"));
    if (!next) {
        // Nothing can be thrown without it, and there is no way to report that but to say so.
        static constexpr char kMessage[] = "tvtriage: __cxa_throw not found\n";
        [[maybe_unused]] ssize_t written = ::write(2, kMessage, sizeof kMessage - 1);
        std::abort();
    }
    next_throw.store(next, std::memory_order_relaxed);
    return next;
}

}  // namespace

// Every throw goes through here: those compiled into this program, and on Linux those of the
// shared C++ runtime too, since it calls __cxa_throw through its symbol table and the program's
// definition comes first. On macOS, libraries bind their own calls, so only the program's own
// throws are seen there.
extern "C" void __cxa_throw(void* object, std::type_info* type, void (*destroy)(void*)) {
    ThrowRecord& record = ring.records[ring.next++ % kRecords];
    record.object = object;
    record.type = type;
    record.thrower = __builtin_return_address(0);
    record.frame_count = ::backtrace(record.frames, kMaxFrames);
    find_next_throw()(object, type, destroy);
    std::abort();
}

namespace sys {

std::vector<void*> thrown_stack(const void* object, const std::type_info& type) {
    // Newest first: the address of an exception freed long ago can be that of a later one.
    for (unsigned age = 1; age <= kRecords; ++age) {
        const ThrowRecord& record = ring.records[(ring.next - age) % kRecords];
        if (record.object != object || !record.type || *record.type != type) continue;
        void* const* end = record.frames + record.frame_count;
        void* const* first = std::find(record.frames, end, record.thrower);
        return std::vector<void*>(first == end ? record.frames : first, end);
    }
    return {};
}

}  // namespace sys
