// Where the latest throws on each thread came from. A standard exception carries no call stack,
// and by the time a handler reports it the stack has been unwound, so the return addresses are
// recorded as it is thrown. Only addresses are kept; symbols cost too much for code that throws
// and catches routinely, and are looked up when a report is made.
#pragma once

#include <typeinfo>
#include <vector>

namespace sys {

// The return addresses, innermost first, recorded when `object` (a complete thrown object, of
// dynamic type `type`) was thrown on this thread. Empty when there is no record of it: thrown on
// another thread, never thrown, or pushed out by the throws that came after it.
std::vector<void*> thrown_stack(const void* object, const std::type_info& type);

}  // namespace sys
