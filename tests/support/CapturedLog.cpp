#include "support/CapturedLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "libs/sys/Log.h"
#include "libs/sys/UniqueFd.h"

namespace test {

CapturedLog::CapturedLog() {
    std::fflush(stderr);
    saved_fd_ = ::dup(STDERR_FILENO);
    sys::UniqueFd log(
        ::open((dir_ / "captured.log").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    sys::redirect_log(log.get());
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
