// Copying the reported files into the Samples folder, each named by its MD5.
#include <algorithm>

#include "libs/Disk/Disk.h"
#include "libs/sys/Log.h"

std::optional<std::vector<std::string>> Disk::get_enabled_ignore_list(
    const plist::Value& modules_config) {
    const plist::Value* samples = modules_config.find("Samples");
    // Only the presence of "Ignore" counts, not its value: {"Ignore": false} still ignores.
    if (!samples || !samples->find("Ignore")) return std::nullopt;
    const plist::Value* list = samples->find("Samples List");
    if (!list || !list->as_array()) return std::nullopt;

    std::vector<std::string> paths;
    for (const plist::Value& entry : *list->as_array()) {
        // A non-string entry can never equal a path, so dropping it changes nothing.
        if (const std::string* path = entry.as_string()) paths.push_back(*path);
    }
    return paths;
}

void Disk::copy_samples(const sys::FileSystem& files, const SamplesDictionary& samples,
                        const std::filesystem::path& samples_folder,
                        const std::optional<std::vector<std::string>>& ignore_list) {
    const sys::FileSystem& host = sys::FileSystem::host();
    for (const auto& [path, md5] : samples) {
        if (!files.is_readable_file(path)) continue;
        if (ignore_list && std::ranges::find(*ignore_list, path) != ignore_list->end()) continue;

        // The item's own size, a final link not followed; an empty file has nothing to sample.
        std::optional<sys::FileAttributes> attributes = files.attributes(path);
        if (!attributes || attributes->size == 0) {
            sys::logf("Coult not get the size of file at path: {}", path);
            continue;
        }
        if (attributes->size > kMaxSampleSize) continue;

        // Copies are named by content, so an identical file reported twice is copied once.
        const std::filesystem::path destination = samples_folder / md5;
        if (host.is_readable_file(destination.string())) continue;

        sys::logf("Copying file at path:{}", path);
        files.copy_file_to(path, destination);  // a failed copy only leaves the sample out
    }
}
