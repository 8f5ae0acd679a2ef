#include "support/ScratchOutput.h"

#include <stdexcept>
#include <string>

namespace test {

ScratchOutput::ScratchOutput() {
    dir_.mkdir("Desktop");
    std::string problem;
    output_ = sys::RunOutput::open(dir_.path(), dir_ / "Desktop/tvtriage_results.zip", &problem);
    if (!output_) throw std::runtime_error(problem);
}

sys::OutputPath ScratchOutput::folder(std::string_view name) const {
    const sys::OutputPath folder = run_folder() / name;
    output_->create_directory(folder.path());
    return folder;
}

}  // namespace test
