// Copying the reported files into the Samples folder, each named by its MD5.
#include <sys/stat.h>

#include <algorithm>
#include <map>

#include "libs/Disk/Disk.h"
#include "libs/sys/FdIo.h"
#include "libs/sys/Log.h"
#include "libs/sys/Workers.h"

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

namespace {

constexpr unsigned kMaxCopyingThreads = 4;

// How far one reported path got: "Copying ..." is logged for Attempted, whether or not the copy
// then succeeded, and nothing for Skipped.
enum class CopyOutcome { Skipped, NoSize, Attempted };

CopyOutcome copy_one(const sys::FileSystem& files, const sys::RunOutput& output,
                     const std::string& path, const std::filesystem::path& destination) {
    // The file is opened once, through every link, and its size taken from that descriptor:
    // what is checked is what is copied.
    const sys::UniqueFd source = files.open_regular(path);
    struct stat st {};
    if (!source || ::fstat(source.get(), &st) != 0 || st.st_size == 0) return CopyOutcome::NoSize;
    if (static_cast<std::uint64_t>(st.st_size) > Disk::kMaxSampleSize) return CopyOutcome::Skipped;

    // Copies are named by content, so an identical file reported twice is copied once.
    if (output.is_file(destination)) return CopyOutcome::Skipped;
    const sys::UniqueFd copy = output.create_new(destination);
    // A file that grew past the limit since its size was taken is left out, not cut short.
    if (copy && !sys::copy_at_most(source.get(), copy.get(), Disk::kMaxSampleSize)) {
        output.remove_all(destination);
    }
    return CopyOutcome::Attempted;
}

}  // namespace

void Disk::copy_samples(const sys::FileSystem& files, const SamplesDictionary& samples,
                        const sys::OutputPath& samples_folder,
                        const std::optional<std::vector<std::string>>& ignore_list) {
    const sys::RunOutput& output = samples_folder.output();
    // Paths of the same content share one copy, so each content's paths are taken in order by
    // one thread, exactly as one loop over all paths would; different contents are copied at
    // once. The log lines follow, in the order of the paths.
    std::vector<const std::string*> paths;
    std::map<std::string_view, std::vector<std::size_t>> paths_of_content;
    for (const auto& [path, md5] : samples) {
        if (!files.is_readable_file(path)) continue;
        if (ignore_list && std::ranges::find(*ignore_list, path) != ignore_list->end()) continue;
        paths_of_content[md5].push_back(paths.size());
        paths.push_back(&path);
    }
    std::vector<std::pair<std::string_view, const std::vector<std::size_t>*>> contents;
    for (const auto& [md5, indices] : paths_of_content) contents.emplace_back(md5, &indices);

    std::vector<CopyOutcome> outcomes(paths.size(), CopyOutcome::Skipped);
    sys::for_each_item(contents.size(), kMaxCopyingThreads, [&](std::size_t c) {
        const std::filesystem::path destination = samples_folder.path() / contents[c].first;
        for (std::size_t i : *contents[c].second) {
            outcomes[i] = copy_one(files, output, *paths[i], destination);
        }
    });

    for (std::size_t i = 0; i < paths.size(); ++i) {
        if (outcomes[i] == CopyOutcome::NoSize) {
            sys::logf("Coult not get the size of file at path: {}", *paths[i]);
        } else if (outcomes[i] == CopyOutcome::Attempted) {
            sys::logf("Copying file at path:{}", *paths[i]);
        }
    }
}
