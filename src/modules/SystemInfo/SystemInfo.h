// The system profile module: the whole hardware and software profile, as the system profiler
// prints it, in "SystemInfo.plist". Output that does not parse is kept there byte for byte. The
// report is always empty.
//
// The profiler is a live source: without it the module says so in its log and writes an empty
// array.
#pragma once

#include <filesystem>
#include <string>

#include "libs/sys/Machine.h"
#include "modules/Module.h"

namespace modules {

class SystemInfo : public Module {
public:
    explicit SystemInfo(const sys::Machine& machine);

    ModuleReport start(const sys::OutputPath& module_folder) override;

    // Everything the profiler prints for every data type, as XML; "" without live sources.
    std::string getSystemInfo();

private:
    void write_profile(const std::string& profile, const sys::OutputPath& file);

    const sys::Machine& machine_;
};

}  // namespace modules
