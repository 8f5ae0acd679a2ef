// The security product module: "TV.plist" with exactly three keys, "update.txt" (the engines'
// update record), "logs" (each ".plist" file of the product's log folder) and "Info.plist" (the
// product application's information). Everything is read under the examined machine's root; a
// machine without the product gives "", {} and {} with the reasons logged. The report is always
// empty.
#pragma once

#include <filesystem>
#include <string>

#include "libs/plist/Value.h"
#include "libs/sys/Machine.h"
#include "modules/Module.h"

namespace modules {

class TV : public Module {
public:
    explicit TV(const sys::Machine& machine);

    ModuleReport start(const sys::OutputPath& module_folder) override;

    // The text of "Plugins/update.txt" in the folder the engines link points to; "" when the
    // engines path is no link or the file cannot be read.
    std::string getUpdate();
    // Log file name -> its content (a dictionary, an array, or {} when it is neither) for every
    // ".plist" entry of the log folder; other entries are skipped.
    plist::Dictionary getLogs();

private:
    const sys::Machine& machine_;
};

}  // namespace modules
