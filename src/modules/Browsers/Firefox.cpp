// Firefox: the application's Info.plist, and per entry of "/Users" the general preferences and
// every profile's preferences text, history and downloads databases and add-on catalogue.
#include "libs/sys/Log.h"
#include "libs/sys/StoreOrRaise.h"
#include "modules/Browsers/Browsers.h"

namespace modules {
namespace {

constexpr std::string_view kFirefoxInfoPlist = "/Applications/Firefox.app/Contents/Info.plist";
constexpr std::string_view kProfilesFolder = "/Library/Application Support/Firefox/Profiles";
// Download records live in these two tables of places.sqlite: history leaves them out,
// downloads keeps only them.
constexpr std::string_view kAnnotationTables[] = {"moz_annos", "moz_anno_attributes"};

bool is_annotation_table(std::string_view name) {
    return name == kAnnotationTables[0] || name == kAnnotationTables[1];
}

// Nulls of each add-on's members, and of the members of its object members, become "NULL";
// nothing deeper is visited.
void replace_addon_nulls(plist::Value& document) {
    plist::Dictionary& top = *document.as_dict();
    auto addons = top.find("addons");
    if (addons == top.end() || !addons->second.as_array()) return;
    for (plist::Value& addon : *addons->second.as_array()) {
        plist::Dictionary* members = addon.as_dict();
        if (!members) continue;
        for (auto& [key, member] : *members) {
            if (member.is_null()) {
                member = plist::Value("NULL");
            } else if (plist::Dictionary* inner = member.as_dict()) {
                for (auto& [inner_key, value] : *inner) {
                    if (value.is_null()) value = plist::Value("NULL");
                }
            }
        }
    }
}

}  // namespace

plist::Dictionary Browsers::collect_firefox() {
    const sys::FileSystem& files = machine_.files();
    sys::log_line("COLECTING FIREFOX INFO.");
    sys::log_line("FIREFOX - INFO.PLIST");
    plist::Dictionary firefox;
    add_app_info(kFirefoxInfoPlist, firefox);

    const std::vector<std::string> users = user_names();
    if (users.empty()) return firefox;
    sys::log_line("MAIN - Iterating through users.");
    for (const std::string& name : users) {
        sys::logf("MAIN - User: {}", name);
        const std::string home = "/Users/" + name;
        plist::Dictionary account;

        const std::string preferences_folder = home + "/Library/Preferences";
        sys::logf("MAIN - General preferences at path: {}", preferences_folder);
        if (files.exists(preferences_folder)) {
            account["General Preferences"] = collect_firefox_general_info(preferences_folder);
        } else {
            sys::logf("No general preferences file at path: {}", preferences_folder);
        }

        const std::string profiles_folder = home + std::string(kProfilesFolder);
        const std::vector<std::string> profiles = files.entries_of(profiles_folder);
        if (profiles.empty()) {
            sys::log_line("MAIN - Retrieving profiles failed.");
        } else {
            plist::Dictionary records;
            // Every entry is taken for a profile, stray files too.
            for (const std::string& entry : profiles) {
                const std::string profile = profiles_folder + "/" + entry;
                sys::logf("Retrieving info from profile at path: {}", profile);
                plist::Dictionary record;
                record["Preferences & Proxy"] = collect_firefox_profile_preferences(profile);
                record["History"] = collect_firefox_history(profile);
                record["Extensions"] = collect_firefox_extensions(profile);
                record["Downloads"] = collect_firefox_downloads(profile);
                records[profile] = std::move(record);
            }
            account["Profiles"] = std::move(records);
        }
        firefox[home] = std::move(account);
    }
    return firefox;
}

plist::Dictionary Browsers::collect_firefox_general_info(std::string_view preferences_folder) {
    sys::log_line("FIREFOX - General info.");
    const std::string path = std::string(preferences_folder) + "/org.mozilla.firefox.plist";
    if (!machine_.files().exists(path)) {
        sys::logf("No preference file for firefox at path: {}", path);
        return {};
    }
    debug_file_paths_.push_back(path);
    plist::Dictionary general;
    // A file that does not read as a dictionary stores nothing, which raises and ends the module.
    std::optional<plist::Dictionary> contents = machine_.files().read_plist_dictionary(path);
    sys::store_or_raise(
        general, path, contents ? std::optional<plist::Value>(std::move(*contents)) : std::nullopt);
    return general;
}

plist::Dictionary Browsers::collect_firefox_profile_preferences(std::string_view profile) {
    const std::string path = std::string(profile) + "/prefs.js";
    sys::logf("Retrieving profile PREFERENCES at path: {}", path);
    if (!machine_.files().exists(path)) {
        sys::logf("Profile preference file does not exist at path: {}", path);
        return {};
    }
    debug_file_paths_.push_back(path);
    sys::ReadError error;
    std::optional<std::string> text = machine_.files().read_utf8_text(path, &error);
    if (!text) {
        sys::logf("Pr{}", error.description);
        return {};
    }
    plist::Dictionary preferences;
    preferences[path] = std::move(*text);
    return preferences;
}

plist::Dictionary Browsers::collect_firefox_history(std::string_view profile) {
    const std::string path = std::string(profile) + "/places.sqlite";
    sys::logf("Retrieving profile HISTORY at path: {}", path);
    if (!machine_.files().exists(path)) {
        sys::logf("Profile history file does not exist at path: {}", path);
        return {};
    }
    debug_file_paths_.push_back(path);
    plist::Dictionary history = get_sqlite_db_dictionary(path);
    if (history.contains(kAnnotationTables[0]) && history.contains(kAnnotationTables[1])) {
        for (std::string_view table : kAnnotationTables) history.erase(history.find(table));
    } else {
        sys::log_line("Cannot remove history keys: moz_annos");
    }
    return history;
}

plist::Dictionary Browsers::collect_firefox_downloads(std::string_view profile) {
    sys::log_line("Retriving profile DOWNLOADS.");
    const std::string downloads = std::string(profile) + "/downloads.sqlite";
    const std::string places = std::string(profile) + "/places.sqlite";
    if (machine_.files().exists(downloads)) {
        debug_file_paths_.push_back(downloads);
        sys::logf("Retrieving profile DOWNLOADS from path: {}", downloads);
        return get_sqlite_db_dictionary(downloads);
    }
    if (!machine_.files().exists(places)) {
        sys::log_line("No firefox downloads file found for this profile.");
        return {};
    }
    // The absent downloads.sqlite is the one listed, not places.sqlite.
    debug_file_paths_.push_back(downloads);
    sys::logf("Retrieving profile downloads from path: {}", places);
    plist::Dictionary tables = get_sqlite_db_dictionary(places);
    std::erase_if(tables, [](const auto& entry) { return !is_annotation_table(entry.first); });
    return tables;
}

plist::Dictionary Browsers::collect_firefox_extensions(std::string_view profile) {
    const std::string path = std::string(profile) + "/extensions.json";
    sys::logf("Retrieving profile EXTENSIONS at path: {}", path);
    if (!machine_.files().exists(path)) {
        sys::logf("No extension file at path: {}", path);
        return {};
    }
    debug_file_paths_.push_back(path);
    bool unreadable = false;
    std::string error;
    std::optional<plist::Value> document = read_json(path, &unreadable, &error);
    if (unreadable) {
        sys::logf("DATA object nil at path: {}", path);
        return {};
    }
    if (!document || !document->as_dict()) {
        sys::logf("Error retrieving dict from: {}", path);
        if (!error.empty()) sys::log_line(error);
        return {};
    }
    replace_addon_nulls(*document);
    return std::move(*document->as_dict());
}

}  // namespace modules
