// The collection-module contract. The driver builds a module by name, calls start() exactly once
// on its worker thread with the module's folder in the run's output (which exists already; every
// output file is written through it), and stores the returned
// report. Everything else a module produces it writes itself into that folder: it first points
// the log at "<Name>.log" and ends by writing "<Name>.plist". A module may fail by throwing; the
// driver logs the crash and goes on with the next module.
#pragma once

#include <string>
#include <vector>
#include "libs/sys/RunOutput.h"

namespace modules {

// Absolute paths (on the examined machine) of executables the module wants sampled; empty for
// modules with nothing to sample. The samples pipeline edits it in place.
using ModuleReport = std::vector<std::string>;

class Module {
public:
    virtual ~Module() = default;
    virtual ModuleReport start(const sys::OutputPath& module_folder) = 0;
};

}  // namespace modules
