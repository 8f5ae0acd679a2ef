// Runs one collection module into a fresh module folder, with the log captured, and hands back
// what a test looks at: the report, the parsed "<Name>.plist" and the text of "<Name>.log".
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "libs/plist/Value.h"
#include "libs/sys/Machine.h"
#include "modules/Module.h"
#include "support/ScratchOutput.h"

namespace test {

struct ModuleRun {
    std::unique_ptr<ScratchOutput> scratch = std::make_unique<ScratchOutput>();
    modules::ModuleReport report;
    std::optional<plist::Value> plist;  // empty when the file does not parse
    std::string plist_bytes;
    std::string log;

    bool logged(const std::string& text) const { return log.find(text) != std::string::npos; }
    // The run's temporary directory (where files outside the run folder go).
    const std::filesystem::path& temporary_directory() const { return scratch->dir().path(); }
};

// The built-in module of that name over machine.
ModuleRun run_module(const std::string& name, const sys::Machine& machine);

}  // namespace test
