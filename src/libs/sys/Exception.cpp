#include "libs/sys/Exception.h"

#include <cxxabi.h>
#include <execinfo.h>

#include <cstdlib>
#include <memory>
#include <typeinfo>

#include "libs/sys/ThrowStacks.h"

namespace sys {
namespace {

constexpr int kMaxFrames = 64;

std::string demangle(const char* mangled) {
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
    return status == 0 && name ? std::string(name.get()) : std::string(mangled);
}

CallStack symbolicate(std::vector<void*> return_addresses) {
    CallStack stack;
    stack.return_addresses = std::move(return_addresses);
    const int count = static_cast<int>(stack.return_addresses.size());
    if (count == 0) return stack;
    std::unique_ptr<char*, decltype(&std::free)> symbols(
        ::backtrace_symbols(stack.return_addresses.data(), count), &std::free);
    for (int i = 0; i < count; ++i) {
        stack.symbols.emplace_back(symbols ? symbols.get()[i] : "?");
    }
    return stack;
}

}  // namespace

CallStack CallStack::capture() {
    void* frames[kMaxFrames];
    int count = ::backtrace(frames, kMaxFrames);
    if (count <= 0) return {};
    return symbolicate(std::vector<void*>(frames, frames + count));
}

Exception::Exception(std::string name, std::string reason, std::string user_info)
    : name_(std::move(name)),
      reason_(std::move(reason)),
      user_info_(std::move(user_info)),
      stack_(CallStack::capture()) {}

ExceptionReport report_of(const std::exception& e) {
    if (const auto* ours = dynamic_cast<const Exception*>(&e)) {
        return {ours->name(), ours->reason(), ours->user_info(), ours->call_stack()};
    }
    // The complete object is what was thrown, whichever of its bases `e` refers to.
    std::vector<void*> thrown = thrown_stack(dynamic_cast<const void*>(&e), typeid(e));
    CallStack stack = thrown.empty() ? CallStack::capture() : symbolicate(std::move(thrown));
    return {demangle(typeid(e).name()), e.what(), "(null)", std::move(stack)};
}

}  // namespace sys
