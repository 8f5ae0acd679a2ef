#include "libs/sys/Exception.h"

#include <cxxabi.h>
#include <execinfo.h>

#include <cstdlib>
#include <memory>
#include <typeinfo>

namespace sys {
namespace {

constexpr int kMaxFrames = 64;

std::string demangle(const char* mangled) {
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
    return status == 0 && name ? std::string(name.get()) : std::string(mangled);
}

}  // namespace

CallStack CallStack::capture() {
    CallStack stack;
    void* frames[kMaxFrames];
    int count = ::backtrace(frames, kMaxFrames);
    if (count <= 0) return stack;
    stack.return_addresses.assign(frames, frames + count);
    std::unique_ptr<char*, decltype(&std::free)> symbols(::backtrace_symbols(frames, count),
                                                         &std::free);
    for (int i = 0; i < count; ++i) {
        stack.symbols.emplace_back(symbols ? symbols.get()[i] : "?");
    }
    return stack;
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
    return {demangle(typeid(e).name()), e.what(), "(null)", CallStack::capture()};
}

}  // namespace sys
