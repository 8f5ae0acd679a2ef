// The persistence module: "Autoruns.plist" with exactly five keys, "launchd" (launch folder ->
// job file -> its property list), "startup" (startup root -> item folder -> its parameters),
// "crontabs" (crontab file -> its text), "rcitems" ("/etc/rc.common" -> its text, or empty) and
// "loginitems" (store file -> item name -> item record). The module report is the de-duplicated
// union of the executables that these places start, for the samples pipeline.
//
// Each collector is guarded on its own: one that fails is logged under its label and costs only
// its own keys. Every path is the examined machine's, read under the root.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "libs/plist/Value.h"
#include "libs/sys/Machine.h"
#include "modules/Module.h"

namespace modules {

class Autoruns : public Module {
public:
    // What a collector found: the raw contents keyed by file, and the executables they name.
    struct Collected {
        plist::Dictionary plists;
        std::vector<std::string> paths;
    };

    explicit Autoruns(const sys::Machine& machine);

    ModuleReport start(const sys::OutputPath& module_folder) override;

    // True exactly when the path ends in ".app" (case matters; nothing on disk is looked at).
    bool check_if_app(std::string_view path) const;
    // The bundle's main executable ("Contents/MacOS/" + CFBundleExecutable) when the bundle is a
    // folder with a readable Info.plist naming an executable that exists; else none.
    std::optional<std::string> get_app_exec_path(std::string_view bundle) const;

    // Launch folder -> job file -> job definition, for the fixed folders and each user's two.
    plist::Dictionary read_launch_items() const;
    // The executable of every job: the first "ProgramArguments" element when it exists, else
    // "Program" when that exists. Throws on a value of the wrong kind.
    std::vector<std::string> get_launchd_paths(const plist::Dictionary& launch_items) const;

    Collected read_startup_items() const;
    Collected read_loginitems() const;
    Collected read_crontabs() const;
    // The existing paths that the line names, in the order found.
    std::vector<std::string> cron_path(std::string_view line) const;
    plist::Dictionary read_rcitems() const;

private:
    // What the platform raises when a value of the wrong kind meets the code that uses it: the
    // collector ends there, and its guard logs it.
    [[noreturn]] static void unexpected_kind(std::string_view what, std::string_view file);

    const sys::Machine& machine_;
};

}  // namespace modules
