// The product's property-list logs.
#include "libs/Disk/Disk.h"
#include "libs/sys/Log.h"
#include "modules/TV/PercentDecoding.h"
#include "modules/TV/TV.h"

namespace modules {
namespace {

constexpr std::string_view kLogFolder = "/Library/Application Support/Shieldwell/Logs";
// The log files are located from the folder's URL form; taking the path of that URL again
// unescapes it, so the files are read from the plain folder.
constexpr std::string_view kEscapedLogFolder = "/Library/Application%20Support/Shieldwell/Logs";

}  // namespace

plist::Dictionary TV::getLogs() {
    sys::log_line("Getting logs...");
    const sys::FileSystem& files = machine_.files();
    const auto names = Disk::list_folder(files, kLogFolder, [](std::string_view reason) {
        sys::logf("Error [{}] at contentsOfDirectoryAtPath of {}!", reason, kLogFolder);
    });
    if (!names) return {};

    const std::string base = percent_decode(kEscapedLogFolder);
    plist::Dictionary logs;
    for (const std::string& name : *names) {
        if (!name.ends_with(".plist")) continue;
        const std::string path = base + "/" + name;
        // Read and parsed once; the dictionary reading and the array reading are told apart
        // by the kind of what came back.
        std::optional<plist::Value> log = files.read_plist(path);
        if (log && log->as_dict()) {
            logs[name] = std::move(*log);
            continue;
        }
        sys::logf("Error at dictionaryWithContentsOfFile for {}!", path);
        if (log && log->as_array()) {
            sys::logf("But arrayWithContentsOfFile for {} worked!", path);
            logs[name] = std::move(*log);
            continue;
        }
        sys::logf("Error at arrayWithContentsOfFile for {}!", path);
        logs[name] = plist::Dictionary{};
    }
    return logs;
}

}  // namespace modules
