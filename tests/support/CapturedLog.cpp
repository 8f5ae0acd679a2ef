#include "support/CapturedLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "libs/sys/Log.h"

namespace test {

CapturedLog::CapturedLog() {
    std::fflush(stderr);
    saved_fd_ = ::dup(STDERR_FILENO);
    sys::redirect_log(dir_ / "captured.log");
}

CapturedLog::~CapturedLog() {
    std::fflush(stderr);
    if (saved_fd_ >= 0) {
        ::dup2(saved_fd_, STDERR_FILENO);
        ::close(saved_fd_);
    }
}

std::string CapturedLog::text() const {
    return read_text(dir_ / "captured.log");
}

}  // namespace test
