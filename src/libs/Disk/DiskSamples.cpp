// Copying the reported files into the Samples folder, each named by its MD5.
#include <sys/stat.h>

#include <algorithm>

#include "libs/Disk/Disk.h"
#include "libs/sys/FdIo.h"
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
                        const sys::OutputPath& samples_folder,
                        const std::optional<std::vector<std::string>>& ignore_list) {
    const sys::RunOutput& output = samples_folder.output();
    for (const auto& [path, md5] : samples) {
        if (!files.is_readable_file(path)) continue;
        if (ignore_list && std::ranges::find(*ignore_list, path) != ignore_list->end()) continue;

        // The file is opened once, through every link, and its size taken from that descriptor:
        // what is checked is what is copied.
        const sys::UniqueFd source = files.open_regular(path);
        struct stat st {};
        if (!source || ::fstat(source.get(), &st) != 0 || st.st_size == 0) {
            sys::logf("Coult not get the size of file at path: {}", path);
            continue;
        }
        if (static_cast<std::uint64_t>(st.st_size) > kMaxSampleSize) continue;

        // Copies are named by content, so an identical file reported twice is copied once.
        const std::filesystem::path destination = samples_folder.path() / md5;
        if (output.is_file(destination)) continue;

        sys::logf("Copying file at path:{}", path);
        const sys::UniqueFd copy = output.create_new(destination);
        // A file that grew past the limit since its size was taken is left out, not cut short.
        if (copy && !sys::copy_at_most(source.get(), copy.get(), kMaxSampleSize)) {
            output.remove_all(destination);
        }
    }
}
