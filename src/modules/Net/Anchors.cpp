// The packet filter's anchor files.
#include "libs/Disk/Disk.h"
#include "libs/sys/Log.h"
#include "modules/Net/Net.h"

namespace modules {
namespace {

constexpr std::string_view kAnchorsFolder = "/private/etc/pf.anchors";

}  // namespace

plist::Dictionary Net::getAnchors() {
    sys::log_line("Getting pf.anchors...");
    const sys::FileSystem& files = machine_.files();
    if (!files.exists(kAnchorsFolder)) {
        sys::logf("{} does not exist!", kAnchorsFolder);
        return {};
    }
    const std::optional<std::vector<std::string>> names = files.list_directory(kAnchorsFolder);
    if (!names) {
        sys::logf("contentsOfDirectoryAtPath failed for {}!", kAnchorsFolder);
        return {};
    }
    if (names->empty()) {
        sys::logf("{} is empty!", kAnchorsFolder);
        return {};
    }
    plist::Dictionary anchors;
    for (const std::string& name : *names) {
        anchors[name] = Disk::getFile(files, std::string(kAnchorsFolder) + "/" + name, name);
    }
    return anchors;
}

}  // namespace modules
