// Points the process's log (descriptor 2) at a file for the length of a test and puts it back
// afterwards, so tests can read what was logged.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "libs/sys/Log.h"
#include "libs/sys/UniqueFd.h"
#include "support/TempDir.h"

namespace test {

class CapturedLog {
public:
    CapturedLog() {
        const sys::UniqueFd log(
            ::open((dir_ / "captured.log").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        sys::redirect_log(log.get());
    }
    ~CapturedLog() {
        std::fflush(stderr);
        if (saved_fd_ < 0) return;
        ::dup2(saved_fd_, STDERR_FILENO);
        ::close(saved_fd_);
    }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // What was written to descriptor 2 since the capture began, except while code pointed it
    // elsewhere (read that file instead).
    std::string text() const { return read_text(dir_ / "captured.log"); }
    bool contains(const std::string& needle) const {
        return text().find(needle) != std::string::npos;
    }

private:
    TempDir dir_;
    int saved_fd_ = ::dup(STDERR_FILENO);
};

}  // namespace test
