// The browsers module: "Browsers.plist" with exactly three keys, "Safari", "Chrome" and
// "Firefox", each the browser's application information and, per folder of "/Users", what the
// browser keeps for that user (preferences, downloads, history as every table of its databases,
// extensions); then "Files/" beside it with a raw copy of every browser file that was looked at,
// named by its path with "/" turned into "_". The module report is always empty: browser files
// travel in "Files/", not in the samples.
//
// The examined machine is only read. Databases are read from private copies (see DatabaseCopy),
// never opened where they are.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "libs/plist/Value.h"
#include "libs/sys/Machine.h"
#include "modules/Module.h"

namespace modules {

class Browsers : public Module {
public:
    explicit Browsers(const sys::Machine& machine);

    ModuleReport start(const sys::OutputPath& module_folder) override;

    // Every browser file found so far, full paths in order of discovery, duplicates kept.
    const std::vector<std::string>& debug_file_paths() const { return debug_file_paths_; }

    // Every table of the database at path (on the examined machine), read from a private copy;
    // an empty dictionary when there is no file or it does not open. The caller lists the path.
    plist::Dictionary get_sqlite_db_dictionary(std::string_view path);

    // Safari: the application's Info.plist and, per user with a Safari folder, its
    // "Preferences", "Downloads" (bookmarks resolved), "History" and "Extensions".
    plist::Dictionary collect_safari();
    plist::Dictionary collect_safari_preferences(std::string_view home);
    plist::Dictionary collect_safari_downloads(std::string_view safari_folder);
    plist::Dictionary collect_safari_history(std::string_view safari_folder);
    plist::Dictionary collect_safari_extensions(std::string_view safari_folder);

    // Chrome: the application's Info.plist and, per user with a Default profile, the user's
    // property-list preferences, "Preferences", "Downloads", "History" and "Extensions".
    plist::Dictionary collect_chrome();
    plist::Dictionary collect_chrome_user_preferences(std::string_view profile);
    plist::Dictionary collect_chrome_downloads_history(std::string_view profile);
    plist::Dictionary collect_chrome_extensions(std::string_view profile);

    // Firefox: the application's Info.plist and, for every entry of "/Users", the general
    // preferences and every profile with its "Preferences & Proxy", "History", "Extensions" and
    // "Downloads". An unreadable general preference file throws (storing nothing raises).
    plist::Dictionary collect_firefox();
    plist::Dictionary collect_firefox_general_info(std::string_view preferences_folder);
    plist::Dictionary collect_firefox_profile_preferences(std::string_view profile);
    plist::Dictionary collect_firefox_history(std::string_view profile);
    plist::Dictionary collect_firefox_downloads(std::string_view profile);
    plist::Dictionary collect_firefox_extensions(std::string_view profile);

    // Copies every listed file into module_folder/"Files".
    void copy_debug_files(const sys::OutputPath& module_folder);

private:
    // The application's Info.plist under its path when it reads (Chrome and Firefox); the path is
    // listed when the file exists.
    void add_app_info(std::string_view path, plist::Dictionary& browser);
    // The names in "/Users"; empty when it is missing, unreadable or empty.
    std::vector<std::string> user_names() const;
    // The parsed JSON file (an object or an array), or none with the parser's reason in *error.
    // Sets *unreadable when the file could not be read at all.
    std::optional<plist::Value> read_json(const std::string& path, bool* unreadable,
                                          std::string* error) const;

    const sys::Machine& machine_;
    const sys::RunOutput* output_ = nullptr;  // the run's output, for the time of start()
    std::vector<std::string> debug_file_paths_;
};

}  // namespace modules
