// Points the process's log (descriptor 2) at a file for the length of a test and puts it back
// afterwards, so tests can read what was logged.
#pragma once

#include <filesystem>
#include <string>

#include "support/TempDir.h"

namespace test {

class CapturedLog {
public:
    CapturedLog();
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // Everything written to descriptor 2 since the capture began, wherever code re-pointed it in
    // between is not included (read that file instead).
    std::string text() const;
    bool contains(const std::string& needle) const {
        return text().find(needle) != std::string::npos;
    }

private:
    TempDir dir_;
    int saved_fd_ = -1;
};

}  // namespace test
