// Safari: the application's Info.plist, and per user its preferences, downloads, history and
// extensions.
#include "libs/apple/Bookmark.h"
#include "libs/sys/Log.h"
#include "modules/Browsers/Browsers.h"

namespace modules {
namespace {

constexpr std::string_view kSafariInfoPlist = "/Applications/Safari.app/Contents/Info.plist";
constexpr std::string_view kPreferenceFiles[] = {"com.apple.Safari.plist",
                                                 ".GlobalPreferences.plist"};
constexpr std::string_view kBookmarkKeys[] = {"DownloadEntryBookmarkBlob",
                                              "DownloadEntryPostBookmarkBlob"};
constexpr std::string_view kUnresolvedBookmark =
    "Error solving bookmark data: The file does not exist.";

}  // namespace

plist::Dictionary Browsers::collect_safari() {
    sys::log_line("COLECTING SAFARI INFO.");
    sys::log_line("MAIN - Colecting info.plist - app.");
    const sys::FileSystem& files = machine_.files();
    plist::Dictionary safari;
    const std::string info(kSafariInfoPlist);
    if (files.exists(info)) {
        debug_file_paths_.push_back(info);
        std::optional<plist::Dictionary> contents = files.read_plist_dictionary(info);
        if (!contents) sys::logf("Error retrieving dict from: {}", info);
        safari[info] = contents ? std::move(*contents) : plist::Dictionary{};
    } else {
        sys::log_line("MAIN - No info.plist at /Application/Safari.app/Contents/Info.plist.");
    }

    sys::log_line("MAIN - Iterating through users.");
    for (const std::string& name : user_names()) {
        sys::logf("MAIN - User: {}", name);
        const std::string home = "/Users/" + name;
        const std::string folder = home + "/Library/Safari";
        if (!files.exists(folder)) {
            sys::logf("MAIN - No safari user path at: {}", folder);
            sys::logf("MAIN - Skipping user: {}", name);
            continue;
        }
        plist::Dictionary user;
        sys::log_line("MAIN - Colecting preferences.");
        user["Preferences"] = collect_safari_preferences(home);
        sys::log_line("MAIN - Colecting downloads.");
        user["Downloads"] = collect_safari_downloads(folder);
        sys::log_line("MAIN - Colecting history.");
        user["History"] = collect_safari_history(folder);
        sys::log_line("MAIN - Colecting extensions.");
        user["Extensions"] = collect_safari_extensions(folder);
        safari[folder] = std::move(user);
    }
    return safari;
}

plist::Dictionary Browsers::collect_safari_preferences(std::string_view home) {
    const sys::FileSystem& files = machine_.files();
    plist::Dictionary preferences;
    for (std::string_view file : kPreferenceFiles) {
        const std::string path = std::string(home) + "/Library/Preferences/" + std::string(file);
        if (!files.exists(path)) {
            sys::logf("No preferences file at path: {}", path);
            sys::log_line("Returning empty preferences dictionary.");
            continue;
        }
        debug_file_paths_.push_back(path);
        if (std::optional<plist::Dictionary> contents = files.read_plist_dictionary(path)) {
            preferences[path] = std::move(*contents);
        } else {
            sys::logf("Error retrieving dict from: {}", path);
        }
    }
    return preferences;
}

plist::Dictionary Browsers::collect_safari_downloads(std::string_view safari_folder) {
    const sys::FileSystem& files = machine_.files();
    const std::string path = std::string(safari_folder) + "/Downloads.plist";
    if (!files.exists(path)) {
        sys::logf("No downloads.plist file at :{}", path);
        sys::log_line("Returning empty downloads dictionary.");
        return {};
    }
    debug_file_paths_.push_back(path);
    std::optional<plist::Dictionary> downloads = files.read_plist_dictionary(path);
    if (!downloads) {
        sys::logf("Error retrieving dict from: {}", path);
        return {};
    }
    auto history = downloads->find("DownloadHistory");
    if (history == downloads->end()) {
        // The file is handed back whole, whatever the second line says.
        sys::log_line("downloads.plist does not contain DownloadHistory key.");
        sys::log_line("Returning empty downloads dictionary.");
        return std::move(*downloads);
    }
    plist::Array* entries = history->second.as_array();
    if (!entries) return std::move(*downloads);
    for (plist::Value& entry : *entries) {
        plist::Dictionary* fields = entry.as_dict();
        if (!fields) continue;
        for (std::string_view key : kBookmarkKeys) {
            auto field = fields->find(key);
            if (field == fields->end()) continue;
            std::optional<std::string> resolved;
            std::string reason = "The bookmark data is not readable.";
            if (const plist::Data* data = field->second.as_data()) {
                if (auto bookmark = apple::parse_bookmark(*data)) {
                    resolved = apple::resolve_bookmark(*bookmark, files);
                    reason = "Nothing exists at the bookmark's path: " +
                             bookmark->path.value_or("(no path)");
                }
            }
            if (!resolved) sys::log_line(reason);
            field->second =
                resolved ? plist::Value(std::move(*resolved)) : plist::Value(kUnresolvedBookmark);
        }
    }
    return std::move(*downloads);
}

plist::Dictionary Browsers::collect_safari_history(std::string_view safari_folder) {
    const sys::FileSystem& files = machine_.files();
    sys::log_line("Trying to retrieve from history.db");
    const std::string database = std::string(safari_folder) + "/History.db";
    if (files.exists(database)) {
        sys::log_line("History.db found. Retrieving.");
        debug_file_paths_.push_back(database);
        return get_sqlite_db_dictionary(database);
    }
    sys::log_line("No history.db");
    sys::log_line("Trying to retrieve from history.plist");
    const std::string list = std::string(safari_folder) + "/History.plist";
    if (!files.exists(list)) {
        sys::log_line("No history.plist");
        return {};
    }
    sys::log_line("History.plist found.");
    debug_file_paths_.push_back(list);
    std::optional<plist::Dictionary> history = files.read_plist_dictionary(list);
    if (!history) sys::logf("Error retrieving dict from: {}", list);
    return history.value_or(plist::Dictionary{});
}

plist::Dictionary Browsers::collect_safari_extensions(std::string_view safari_folder) {
    const sys::FileSystem& files = machine_.files();
    const std::string path = std::string(safari_folder) + "/Extensions/Extensions.plist";
    if (!files.exists(path)) {
        sys::logf("Extensions file does not exist at: {}", path);
        return {};
    }
    debug_file_paths_.push_back(path);
    std::optional<plist::Dictionary> extensions = files.read_plist_dictionary(path);
    if (!extensions) sys::logf("Error retrieving dict from: {}", path);
    return extensions.value_or(plist::Dictionary{});
}

}  // namespace modules
