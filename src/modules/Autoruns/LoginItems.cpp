// Login items of every user, from the background task manager's archive and from the older
// login-items preferences file.
#include "libs/apple/Alias.h"
#include "libs/apple/Bookmark.h"
#include "libs/apple/KeyedArchive.h"
#include "libs/sys/Log.h"
#include "modules/Autoruns/Autoruns.h"

namespace modules {
namespace {

constexpr std::string_view kArchive =
    "/Library/Application Support/com.apple.backgroundtaskmanagementagent/backgrounditems.btm";
constexpr std::string_view kPreferences = "/Library/Preferences/com.apple.loginitems.plist";
constexpr std::string_view kHideOnLaunch = "com.apple.loginitem.HideOnLaunch";

// The bookmark carried along the walk: it spans objects, files and users, and also takes the
// bookmark made from the last alias of a preferences file. So an object that carries none (a
// string after a bookmark, say) processes the carried one again, rewriting the same record.
using CarriedBookmark = std::optional<apple::Bookmark>;

}  // namespace

Autoruns::Collected Autoruns::read_loginitems() const {
    const sys::FileSystem& files = machine_.files();
    Collected login;
    CarriedBookmark carried;
    const std::vector<std::string> users = files.entries_of("/Users");

    auto read_archive = [&](const std::string& path) {
        if (!files.exists(path)) {
            sys::logf("[LOGINITEMS] No backgrounditems.btm file at path: {}", path);
            return;
        }
        sys::logf("[LOGINITEMS] Retrieving content at path: {}", path);
        std::optional<plist::Value> archive = files.read_plist(path);
        plist::Dictionary items;
        const plist::Array* objects = archive ? apple::archive_objects(*archive) : nullptr;
        if (!objects) sys::log_line("Content null or no $objects key.");
        for (const plist::Value& object : objects ? *objects : plist::Array{}) {
            const apple::ObjectBookmark found = apple::object_bookmark(object);
            if (found.kind == apple::ObjectBookmark::Kind::Bytes) {
                carried = apple::parse_bookmark(*found.bytes);
            } else if (found.kind == apple::ObjectBookmark::Kind::Cleared) {
                carried.reset();
            }
            if (!carried || !carried->localized_name) continue;
            const std::string& name = *carried->localized_name;
            plist::Dictionary record;
            if (!carried->path) {
                sys::logf("No path for LOGIN item: {}", name);
            } else {
                std::optional<std::string> executable;
                if (check_if_app(*carried->path)) executable = get_app_exec_path(*carried->path);
                const std::string path = executable.value_or(*carried->path);
                login.paths.push_back(path);
                record["Path"] = path;
            }
            if (carried->creation_date) {
                record["Date"] = *carried->creation_date;
            } else {
                sys::logf("No date for LOGIN item: {}", name);
            }
            items.insert_or_assign(name, std::move(record));
        }
        login.plists[path] = std::move(items);
    };

    auto read_preferences = [&](const std::string& path) {
        if (!files.exists(path)) return;
        login.plists[path] = plist::Dictionary{};
        std::optional<plist::Dictionary> content = files.read_plist_dictionary(path);
        if (!content) {
            sys::logf("Empty file at path{}", path);
            return;
        }
        const plist::Value document(std::move(*content));
        const plist::Value* session = document.find("SessionItems");
        const plist::Value* list = session ? session->find("CustomListItems") : nullptr;
        if (!list) return;
        if (!list->as_array()) unexpected_kind("CustomListItems", path);
        plist::Dictionary items;
        for (const plist::Value& item : *list->as_array()) {
            if (!item.as_dict()) unexpected_kind("An item of CustomListItems", path);
            const plist::Value* name = item.find("Name");
            if (!name) continue;
            if (!name->as_string()) unexpected_kind("Name", path);
            plist::Dictionary record{{"HideOnLaunch", false}};
            // Only presence counts: a stored false also hides.
            if (const plist::Value* properties = item.find("CustomItemProperties");
                properties && properties->find(kHideOnLaunch)) {
                record["HideOnLaunch"] = true;
            }
            if (const plist::Value* alias = item.find("Alias")) {
                if (!alias->as_data()) unexpected_kind("Alias", path);
                carried = apple::bookmark_from_alias(*alias->as_data());
                std::optional<std::string> target =
                    carried ? apple::resolve_bookmark(*carried, files) : std::nullopt;
                if (target && !check_if_app(*target)) {
                    record["Path"] = *target;
                    login.paths.push_back(*target);
                } else if (target) {
                    // A bundle whose executable is not found is not reported from this store.
                    record["App_path"] = *target;
                    if (std::optional<std::string> executable = get_app_exec_path(*target)) {
                        record["Path"] = *executable;
                        login.paths.push_back(*executable);
                    }
                }
            }
            items.insert_or_assign(*name->as_string(), std::move(record));
        }
        login.plists[path] = std::move(items);
    };

    for (const std::string& user : users) {
        const std::string home = "/Users/" + user;
        read_archive(home + std::string(kArchive));
        read_preferences(home + std::string(kPreferences));
    }
    return login;
}

}  // namespace modules
