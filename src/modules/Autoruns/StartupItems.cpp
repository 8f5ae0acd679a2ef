// Legacy startup items: folders under the two StartupItems roots, each with its parameters and
// an executable named after the folder.
#include <algorithm>

#include "libs/sys/Log.h"
#include "libs/sys/StoreOrRaise.h"
#include "modules/Autoruns/Autoruns.h"

namespace modules {
namespace {

constexpr std::string_view kStartupRoots[] = {"/System/Library/StartupItems/",
                                              "/Library/StartupItems/"};
constexpr std::string_view kParametersFile = "StartupParameters.plist";

}  // namespace

Autoruns::Collected Autoruns::read_startup_items() const {
    const sys::FileSystem& files = machine_.files();
    Collected startup;
    for (std::string_view root_view : kStartupRoots) {
        const std::string root(root_view);
        const std::vector<std::string> entries = files.entries_of(root);
        if (entries.empty()) {
            sys::logf("[STARTUP] Startup path does not exist or is empty: {}", root);
            continue;
        }
        plist::Dictionary items;
        for (const std::string& entry : entries) {
            const std::string folder = root + entry;
            // A plain file or an empty folder is no item.
            const std::vector<std::string> contents = files.entries_of(folder);
            if (contents.empty()) continue;
            if (std::ranges::find(contents, kParametersFile) != contents.end()) {
                // An unreadable parameters file stores nothing, which raises: the whole
                // collector ends here and the startup key stays empty.
                std::optional<plist::Dictionary> parameters =
                    files.read_plist_dictionary(folder + "/" + std::string(kParametersFile));
                sys::store_or_raise(items, folder,
                                    parameters ? std::optional<plist::Value>(std::move(*parameters))
                                               : std::nullopt);
            } else {
                sys::logf("[STARTUP] StartupParameters.plist not found at: {}", folder);
            }
            const std::string executable = folder + "/" + entry;
            if (files.exists(executable)) {
                startup.paths.push_back(executable);
            } else {
                sys::logf("[STARTUP] No exec file at path: {}", executable);
            }
        }
        startup.plists[root] = std::move(items);
    }
    return startup;
}

}  // namespace modules
