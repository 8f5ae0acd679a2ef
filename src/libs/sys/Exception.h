// Our exception: a name (the kind of failure, e.g. "NSInvalidArgumentException"), a reason, user
// information and the call stack where it was raised. Crash reports log all five; a standard
// exception is reported the same way, named after its type, with the stack where it was thrown
// (or, when that is not known, e.g. it was thrown on another thread, where it is reported).
#pragma once

#include <exception>
#include <string>
#include <vector>

namespace sys {

struct CallStack {
    std::vector<std::string> symbols;
    std::vector<void*> return_addresses;

    static CallStack capture();
};

class Exception : public std::exception {
public:
    Exception(std::string name, std::string reason, std::string user_info = "(null)");

    const std::string& name() const { return name_; }
    const std::string& reason() const { return reason_; }
    const std::string& user_info() const { return user_info_; }
    const CallStack& call_stack() const { return stack_; }
    const char* what() const noexcept override { return reason_.c_str(); }

private:
    std::string name_;
    std::string reason_;
    std::string user_info_;
    CallStack stack_;
};

// What a crash report shows of any exception.
struct ExceptionReport {
    std::string name;
    std::string reason;
    std::string user_info;
    CallStack stack;
};

ExceptionReport report_of(const std::exception& e);

}  // namespace sys
