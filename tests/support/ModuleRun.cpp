#include "support/ModuleRun.h"

#include "libs/plist/Reader.h"
#include "modules/Registry.h"
#include "support/CapturedLog.h"

namespace test {

ModuleRun run_module(const std::string& name, const sys::Machine& machine) {
    const auto module = modules::Registry::builtin().create(name, machine);
    ModuleRun run;
    const sys::OutputPath folder = run.scratch->folder(name);
    {
        // The module points descriptor 2 at its own log; the capture puts it back afterwards.
        CapturedLog capture;
        run.report = module->start(folder);
    }
    run.plist_bytes = read_text(folder.path() / (name + ".plist"));
    run.plist = plist::parse(run.plist_bytes);
    run.log = read_text(folder.path() / (name + ".log"));
    return run;
}

}  // namespace test
