#include "modules/Browsers/Browsers.h"

#include <algorithm>

#include "libs/Disk/Disk.h"
#include "libs/plist/Json.h"
#include "libs/plist/OldStyle.h"
#include "libs/sys/FdIo.h"
#include "libs/sys/Log.h"
#include "modules/Browsers/DatabaseCopy.h"
#include "modules/Browsers/SqliteTables.h"

namespace modules {
namespace {

constexpr std::string_view kUsersFolder = "/Users";
// Copied beside a database file when present, so the analyst gets the whole database.
constexpr std::string_view kJournalSuffixes[] = {"-wal", "-journal"};

// "/Users/ann/Library/Safari/History.db" is kept as "_Users_ann_Library_Safari_History.db".
std::string copy_name(std::string_view path) {
    std::string name(path);
    std::ranges::replace(name, '/', '_');
    return name;
}

}  // namespace

Browsers::Browsers(const sys::Machine& machine) : machine_(machine) {}

ModuleReport Browsers::start(const sys::OutputPath& module_folder) {
    for (std::string_view name : {"Browsers.plist", "Browsers.log"}) {
        sys::logf("Creating file in Browsers module: {}", name);
        Disk::create_empty_files(module_folder, {name});
    }
    Disk::redirectLog(module_folder, "Browsers.log");
    output_ = &module_folder.output();
    debug_file_paths_.clear();

    plist::Dictionary safari = collect_safari();
    plist::Dictionary chrome = collect_chrome();
    plist::Dictionary firefox = collect_firefox();
    plist::Dictionary browsers;
    browsers["Safari"] = std::move(safari);
    browsers["Chrome"] = std::move(chrome);
    browsers["Firefox"] = std::move(firefox);

    sys::log_line("Writing the final plist.");
    Disk::write_plist(plist::Value(Disk::sanitize_json_dict(std::move(browsers))),
                      module_folder / "Browsers.plist");
    Disk::guarded("BROWSERS - COPY DEBUG FILES. CRASHED", [&] { copy_debug_files(module_folder); });
    return {};
}

void Browsers::copy_debug_files(const sys::OutputPath& module_folder) {
    const sys::OutputPath target = module_folder / "Files";
    const sys::RunOutput& output = module_folder.output();
    sys::log_line("Copying DEBUG FILES.");
    plist::Array listed(debug_file_paths_.begin(), debug_file_paths_.end());
    sys::log_line(plist::describe(plist::Value(std::move(listed))));
    sys::logf("Total debug paths length: {}", debug_file_paths_.size());

    // A failure to make the folder is reported once more as the first copy's error: one error
    // holder serves both steps.
    std::string error;
    if (!output.create_directory(target.path())) {
        error = "The folder could not be created: " + target.string();
        sys::log_line("ERROR: In creating DEBUG FILES directory");
        sys::log_line(error);
    }
    const sys::FileSystem& files = machine_.files();
    auto copy = [&](const std::string& path) {
        sys::logf("Copying debug file at path: {}", path);
        const sys::UniqueFd in = files.open_regular(path);
        if (!in) {
            sys::logf("DEBUG File does not exist at path: {}", path);
            return;
        }
        const sys::UniqueFd out = output.create_new((target / copy_name(path)).path());
        if (!out) {
            error =
                "The copy could not be created: a file of its name exists, or the folder "
                "is missing.";
        } else if (!sys::copy_at_most(in.get(), out.get(), UINT64_MAX)) {
            error = "The file could not be copied whole.";
        }
        if (!error.empty()) {
            sys::logf("ERROR: Copying debug file at path:{}", path);
            sys::log_line(error);
            error.clear();
        }
    };
    for (const std::string& path : debug_file_paths_) {
        copy(path);
        for (std::string_view suffix : kJournalSuffixes) {
            const std::string journal = path + std::string(suffix);
            if (files.is_readable_file(journal)) copy(journal);
        }
    }
}

plist::Dictionary Browsers::get_sqlite_db_dictionary(std::string_view path) {
    sys::logf("TRYING TO CONVERT DB TO PLIST AT PATH: {}", path);
    if (!machine_.files().exists(path)) {
        sys::log_line("Failed to open or create database");
        return {};
    }
    sys::logf("Retrieving information from db at path: {}", path);
    std::string error;
    std::optional<DatabaseCopy> snapshot =
        DatabaseCopy::into_run_folder(machine_.files(), path, *output_, &error);
    if (!snapshot) {
        sys::logf("Could not copy the database to read it: {}", error);
        return {};
    }
    return read_sqlite_tables(snapshot->path());
}

void Browsers::add_app_info(std::string_view path, plist::Dictionary& browser) {
    const std::string info(path);
    if (!machine_.files().exists(info)) {
        sys::logf("MAIN - No info.plist at: {}", info);
        return;
    }
    debug_file_paths_.push_back(info);
    if (std::optional<plist::Dictionary> contents = machine_.files().read_plist_dictionary(info)) {
        browser[info] = std::move(*contents);
    } else {
        sys::logf("Error retrieving dict from: {}", info);
    }
}

std::vector<std::string> Browsers::user_names() const {
    return machine_.files().entries_of(kUsersFolder);
}

std::optional<plist::Value> Browsers::read_json(const std::string& path, bool* unreadable,
                                                std::string* error) const {
    const std::optional<std::string> bytes = machine_.files().read_file(path);
    *unreadable = !bytes;
    if (!bytes) return std::nullopt;
    return plist::parse_json(*bytes, error);
}

}  // namespace modules
