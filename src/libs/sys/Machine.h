// The examined machine: its files under the root, its live sources (only when the root is the
// running system) and the program runner. The driver builds one and hands it to every module it
// creates; tests build one over a fixture tree with fakes. No module reaches a global for these.
#pragma once

#include <filesystem>
#include <memory>

#include "libs/sys/FileSystem.h"
#include "libs/sys/ProgramRunner.h"
#include "platform/LiveSystem.h"

namespace sys {

class Machine {
public:
    // live may be null: the examined tree is then not the running system.
    Machine(FileSystem files, std::shared_ptr<platform::LiveSystem> live,
            std::shared_ptr<ProgramRunner> programs);

    // The running system under root "/" with this platform's live sources; any other root is
    // examined offline, without live sources.
    static Machine local(const std::filesystem::path& root);

    const FileSystem& files() const { return files_; }
    platform::LiveSystem* live() const { return live_.get(); }
    ProgramRunner& programs() const { return *programs_; }

private:
    FileSystem files_;
    std::shared_ptr<ProgramRunner> programs_;  // before live_: the live sources may use it
    std::shared_ptr<platform::LiveSystem> live_;
};

}  // namespace sys
