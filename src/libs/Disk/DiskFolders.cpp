// Listing a folder of the examined machine, the way every collector reports an empty slot.
#include <cerrno>
#include <cstring>

#include "libs/Disk/Disk.h"
#include "libs/sys/Log.h"

std::optional<std::vector<std::string>> Disk::list_folder(
    const sys::FileSystem& files, std::string_view folder,
    const std::function<void(std::string_view reason)>& log_listing_failure) {
    if (!files.exists(folder)) {
        sys::logf("{} does not exist!", folder);
        return std::nullopt;
    }
    errno = 0;
    std::optional<std::vector<std::string>> names = files.list_directory(folder);
    if (!names) {
        log_listing_failure(errno != 0 ? std::strerror(errno) : "The folder could not be listed.");
        return std::nullopt;
    }
    if (names->empty()) {
        sys::logf("{} is empty!", folder);
        return std::nullopt;
    }
    return names;
}
