// A run with the defaults: the configuration that came with the program, the run folder in
// $TMPDIR (else /tmp) and the archive on $HOME/Desktop, examining this system or the file tree
// under another root. It keeps what the run's settings point at, so it must outlive the run.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "libs/sys/Machine.h"
#include "libs/sys/RunOutput.h"
#include "modules/Registry.h"
#include "tvtriage.h"

class LocalRun {
public:
    explicit LocalRun(const std::filesystem::path& root) : machine_(sys::Machine::local(root)) {}

    // Opens the run's output; empty, with the reason in *problem, when it cannot be made. Once
    // per run: a second call replaces what the first one's settings point at.
    std::optional<RunSettings> prepare(std::string* problem);

private:
    modules::Registry registry_ = modules::Registry::builtin();
    sys::Machine machine_;
    std::optional<sys::RunOutput> output_;
};
