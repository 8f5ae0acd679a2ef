// Crash reports of guarded steps: a heading, then the five facts of the exception.
#include <cstdint>
#include <string>

#include "libs/Disk/Disk.h"
#include "libs/plist/OldStyle.h"
#include "libs/sys/Exception.h"
#include "libs/sys/Log.h"

namespace {

// The call stack prints as the platform prints its arrays: one description text per log line.
std::string describe_symbols(const std::vector<std::string>& symbols) {
    plist::Array array(symbols.begin(), symbols.end());
    return plist::describe(plist::Value(std::move(array)));
}

std::string describe_addresses(const std::vector<void*>& addresses) {
    plist::Array array;
    array.reserve(addresses.size());
    for (void* address : addresses) {
        array.emplace_back(
            static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(address)));
    }
    return plist::describe(plist::Value(std::move(array)));
}

}  // namespace

bool Disk::guarded(std::string_view heading, const std::function<void()>& step) {
    try {
        step();
        return true;
    } catch (const std::exception& error) {
        log_exception(heading, error);
    } catch (...) {
        log_exception(heading, sys::Exception("UnknownException", "a non-standard exception"));
    }
    return false;
}

void Disk::log_error(const std::exception& error, std::string_view label) {
    log_exception(std::string(label) + " CRASHED", error);
}

void Disk::log_exception(std::string_view heading, const std::exception& error) {
    const sys::ExceptionReport report = sys::report_of(error);
    sys::log_line(heading);
    sys::log_line(report.name);
    sys::log_line(report.reason);
    sys::log_line(report.user_info);
    sys::log_line(describe_symbols(report.stack.symbols));
    sys::log_line(describe_addresses(report.stack.return_addresses));
}
