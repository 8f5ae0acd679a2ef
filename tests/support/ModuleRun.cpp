#include "support/ModuleRun.h"

#include "libs/plist/Reader.h"
#include "modules/Registry.h"
#include "support/CapturedLog.h"

namespace test {

ModuleRun run_module(modules::Module& module, const std::string& name) {
    ModuleRun run;
    {
        // The module points descriptor 2 at its own log; the capture puts it back afterwards.
        CapturedLog capture;
        run.report = module.start(run.folder->path());
    }
    run.plist_bytes = read_text(*run.folder / (name + ".plist"));
    run.plist = plist::parse(run.plist_bytes);
    run.log = read_text(*run.folder / (name + ".log"));
    return run;
}

ModuleRun run_module(const std::string& name, const sys::Machine& machine) {
    return run_module(*modules::Registry::builtin().create(name, machine), name);
}

}  // namespace test
