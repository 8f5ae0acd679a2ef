// The engines' update record, found through the link to the current engines folder.
#include "libs/Disk/Disk.h"
#include "libs/sys/Log.h"
#include "modules/TV/TV.h"

namespace modules {
namespace {

const std::string kEnginesLink = "/Library/Tervalon/SHLD/antivirus.bundle/engines";
constexpr std::string_view kUpdateRecord = "/Plugins/update.txt";

}  // namespace

std::string TV::getUpdate() {
    const sys::FileSystem& files = machine_.files();
    if (!Disk::check_if_symlink(files, kEnginesLink)) {
        sys::logf("{} is not a symlink!", kEnginesLink);
        return {};
    }
    const std::string engines = Disk::symlink_abs_path(files, kEnginesLink);
    sys::logf("abs path: {}", engines);
    if (engines.empty()) {
        sys::logf("Can't get absolute path from symlink {}!", kEnginesLink);
        return {};
    }
    // Appended as text: a relative destination stays relative, and the file layer takes it
    // from the root.
    const std::string update = engines + std::string(kUpdateRecord);
    sys::logf("path to update: {}", update);
    return Disk::getFile(files, update, update);
}

}  // namespace modules
