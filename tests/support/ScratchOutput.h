// A run's output in a fresh temporary folder: the run folder "tvtriage" in it and the archive
// "Desktop/tvtriage_results.zip" beside it, for tests of whatever writes through the output.
#pragma once

#include <optional>
#include <string_view>

#include "libs/sys/RunOutput.h"
#include "support/TempDir.h"

namespace test {

class ScratchOutput {
public:
    ScratchOutput();

    const sys::RunOutput& output() const { return *output_; }
    const TempDir& dir() const { return dir_; }
    sys::OutputPath run_folder() const { return {*output_, output_->run_folder()}; }
    // A folder in the run folder, made when missing.
    sys::OutputPath folder(std::string_view name) const;

private:
    TempDir dir_;
    std::optional<sys::RunOutput> output_;
};

}  // namespace test
