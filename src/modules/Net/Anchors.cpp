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
    const std::string folder = files.system_path(kAnchorsFolder);
    const auto names = Disk::list_folder(files, folder, [&](std::string_view) {
        sys::logf("contentsOfDirectoryAtPath failed for {}!", folder);
    });
    if (!names) return {};
    plist::Dictionary anchors;
    for (const std::string& name : *names) {
        anchors[name] = Disk::getFile(files, folder + "/" + name, name);
    }
    return anchors;
}

}  // namespace modules
