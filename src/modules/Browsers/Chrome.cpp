// Chrome: the application's Info.plist, and per user the property-list preferences and the
// Default profile's JSON preferences, history database and extension manifests.
#include <algorithm>
#include <cctype>

#include "libs/sys/Log.h"
#include "modules/Browsers/Browsers.h"
#include "modules/Browsers/DatabaseCopy.h"
#include "modules/Browsers/SqliteTables.h"

namespace modules {
namespace {

constexpr std::string_view kChromeInfoPlist = "/Applications/Google Chrome.app/Contents/Info.plist";
constexpr std::string_view kProfileFolder = "/Library/Application Support/Google/Chrome/Default";
constexpr std::string_view kPreferenceFiles[] = {"Preferences", "Secure Preferences"};
// The history database is read from a copy of this name in the temporary directory.
constexpr std::string_view kHistoryCopyName = "History";

bool names_download_table(std::string_view table) {
    std::string lower(table);
    std::ranges::transform(lower, lower.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower.find("download") != std::string::npos;
}

}  // namespace

plist::Dictionary Browsers::collect_chrome() {
    const sys::FileSystem& files = machine_.files();
    sys::log_line("COLECTING CHROME INFO.");
    sys::log_line("MAIN - Colecting info.plist - app.");
    plist::Dictionary chrome;
    add_app_info(kChromeInfoPlist, chrome);

    sys::log_line("MAIN - Iterating through users.");
    for (const std::string& name : user_names()) {
        sys::logf("MAIN - User: {}", name);
        const std::string home = "/Users/" + name;
        plist::Dictionary user;

        const std::string preferences = home + "/Library/Preferences/com.google.Chrome.plist";
        sys::logf("MAIN - Retrieving user preferences at path: {}", preferences);
        if (files.exists(preferences)) {
            debug_file_paths_.push_back(preferences);
            if (std::optional<plist::Dictionary> contents =
                    files.read_plist_dictionary(preferences)) {
                user[preferences] = std::move(*contents);
            } else {
                sys::logf("Error retrieving dict form: {}", preferences);
            }
        } else {
            sys::logf("User preferences file does not exist at path: {}", preferences);
        }

        const std::string profile = home + std::string(kProfileFolder);
        if (!files.exists(profile)) {
            sys::logf("MAIN - No chrome user path at: {}", profile);
            sys::logf("MAIN - Skipping user: {}", name);
            continue;
        }
        sys::logf("MAIN - Retrieving user stuff at path: {}", profile);
        sys::logf("MAIN - Retrieving user preferences at path: {}", profile);
        plist::Dictionary json_preferences = collect_chrome_user_preferences(profile);
        sys::logf("MAIN - Retrieving user downloads&history at path: {}", profile);
        plist::Dictionary downloads_history = collect_chrome_downloads_history(profile);
        sys::logf("MAIN - Retrieving user extensions at path: {}", profile);
        plist::Dictionary extensions = collect_chrome_extensions(profile);
        // Listed once more whatever happened before; the copying step reports the repeat.
        debug_file_paths_.push_back(profile + "/Secure Preferences");

        user["Preferences"] = std::move(json_preferences);
        for (auto& [key, tables] : downloads_history) user[key] = std::move(tables);
        user["Extensions"] = std::move(extensions);
        sys::logf("Adding user pref/down/hist/ext dict to main chrome dict for user: {}", name);
        chrome[home] = std::move(user);
    }
    return chrome;
}

plist::Dictionary Browsers::collect_chrome_user_preferences(std::string_view profile) {
    plist::Dictionary preferences;
    for (std::string_view file : kPreferenceFiles) {
        const std::string path = std::string(profile) + "/" + std::string(file);
        sys::logf("CHROME - user preferences at path: {}", path);
        if (!machine_.files().exists(path)) {
            sys::logf("File does not exist at path: {}", path);
            continue;
        }
        debug_file_paths_.push_back(path);
        bool unreadable = false;
        std::string error;
        std::optional<plist::Value> parsed = read_json(path, &unreadable, &error);
        if (unreadable) {
            // The file after it is not looked at.
            sys::log_line("DATA object nil - cannot json serialise. Exiting.");
            return preferences;
        }
        if (!parsed) {
            sys::logf("ERROR: In retrieving contents of file at path: {}", path);
            sys::log_line(error);
            continue;
        }
        preferences[path] = std::move(*parsed);
    }
    return preferences;
}

plist::Dictionary Browsers::collect_chrome_downloads_history(std::string_view profile) {
    sys::log_line("CHROME - downloads, history.");
    plist::Dictionary downloads;
    plist::Dictionary history;
    const std::string source = std::string(profile) + "/History";
    if (!machine_.files().exists(source)) {
        sys::logf("File does not exist at history user path: {}", source);
    } else {
        debug_file_paths_.push_back(source);
        std::string error;
        std::optional<DatabaseCopy> copy = DatabaseCopy::into_temporary_directory(
            machine_.files(), source, *output_, kHistoryCopyName, &error);
        if (!copy) {
            sys::logf("ERROR: Copying to tmp the history file at path: {}", source);
            sys::log_line(error);
        } else {
            sys::logf("TRYING TO CONVERT DB TO PLIST AT PATH: {}", copy->path().string());
            sys::logf("Retrieving information from db at path: {}", copy->path().string());
            plist::Dictionary tables = read_sqlite_tables(copy->path());
            sys::log_line("Spliting history from downloads.");
            for (auto& [name, table] : tables) {
                (names_download_table(name) ? downloads : history)[name] = std::move(table);
            }
            if (!copy->remove(&error)) sys::log_line(error);
        }
    }
    plist::Dictionary result;
    result["Downloads"] = std::move(downloads);
    result["History"] = std::move(history);
    return result;
}

plist::Dictionary Browsers::collect_chrome_extensions(std::string_view profile) {
    const sys::FileSystem& files = machine_.files();
    sys::log_line("CHROME - Extensions.");
    const std::string folder = std::string(profile) + "/Extensions";
    const std::vector<std::string> identifiers = files.entries_of(folder);
    if (identifiers.empty()) {
        sys::logf("No extension folder found at path: {}", folder);
        return {};
    }
    plist::Dictionary extensions;
    for (const std::string& identifier : identifiers) {
        const std::string identifier_folder = folder + "/" + identifier;
        std::optional<std::vector<std::string>> versions = files.list_directory(identifier_folder);
        if (!versions) {
            sys::log_line("Extensions inside hash folders missing.");
            sys::logf("The folder could not be listed: {}", identifier_folder);
            continue;
        }
        // Listed in name order, so the manifest of the version sorting last wins.
        for (const std::string& version : *versions) {
            const std::string manifest = identifier_folder + "/" + version + "/manifest.json";
            if (!files.exists(manifest)) {
                sys::logf("No manifest.json at path: {}", manifest);
                continue;
            }
            debug_file_paths_.push_back(manifest);
            sys::logf("Retrieving manifest.json at path: {}", manifest);
            bool unreadable = false;
            std::string error;
            std::optional<plist::Value> parsed = read_json(manifest, &unreadable, &error);
            if (unreadable) {
                sys::logf("DATA object nil - cannot json serialise at path: {}", manifest);
            } else if (!parsed) {
                sys::logf("ERROR retrieving manifest.json at path: {}", manifest);
                sys::log_line(error);
            } else {
                extensions[identifier] = std::move(*parsed);
            }
        }
    }
    return extensions;
}

}  // namespace modules
