#include <gtest/gtest.h>

#include "libs/sys/RunOutput.h"
#include "support/ScratchOutput.h"

namespace {

TEST(RunOutput, NothingOutsideTheRunFolderIsWritten) {
    test::ScratchOutput scratch;
    const sys::RunOutput& output = scratch.output();
    const std::filesystem::path run = output.run_folder();
    for (const std::filesystem::path& outside :
         {run / "../escaped", run / "A/../../escaped", std::filesystem::path("escaped"),
          scratch.dir() / "escaped"}) {
        EXPECT_FALSE(output.create_directory(outside)) << outside;
        EXPECT_FALSE(output.open_to_write(outside)) << outside;
    }
    EXPECT_FALSE(std::filesystem::exists(scratch.dir() / "escaped"));

    // The archive may not be inside the run folder: clean-up would take it away.
    std::string problem;
    EXPECT_FALSE(sys::RunOutput::open(scratch.dir().path(), run / "out.zip", &problem));
    EXPECT_NE(problem.find("inside the run folder"), std::string::npos) << problem;
}

}  // namespace
