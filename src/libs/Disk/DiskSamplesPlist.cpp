// "Samples.plist": every reported path with its MD5, links listed under their own paths.
#include <set>
#include <system_error>

#include "libs/Disk/Disk.h"
#include "libs/plist/XmlWriter.h"
#include "libs/sys/Log.h"

namespace {

constexpr std::string_view kSamplesPlistName = "Samples.plist";

plist::Dictionary samples_plist_content(const Disk::SamplesDictionary& samples,
                                        const Disk::SymlinkMap& symlinks) {
    plist::Dictionary output;
    for (const auto& [path, md5] : samples) output[path] = plist::Dictionary{{"md5", md5}};

    // A target's entry moves under each link that points to it; targets are dropped only after
    // every link has taken its copy, so several links to one target all get its data.
    plist::Dictionary linked;
    std::set<std::string> moved_targets;
    for (const auto& [link, target] : symlinks) {
        auto found = output.find(target);
        if (found == output.end()) continue;  // also the "NULL" of dangling links
        plist::Value entry = found->second;
        entry.as_dict()->insert_or_assign("RealPath", plist::Value(target));
        linked.insert_or_assign(link, std::move(entry));
        moved_targets.insert(target);
    }
    for (const std::string& target : moved_targets) output.erase(target);
    for (auto& [link, entry] : linked) output.insert_or_assign(link, std::move(entry));
    return output;
}

// Readers of the folder never see a half-written file: the document goes to a temporary file
// beside it and is renamed into place.
bool write_atomically(const plist::Value& document, const std::filesystem::path& file) {
    std::filesystem::path temporary = file;
    temporary += ".tvtriage-tmp";
    std::string error;
    std::error_code ec;
    if (plist::write_xml_file(document, temporary, &error)) {
        std::filesystem::rename(temporary, file, ec);
        if (!ec) return true;
    }
    std::filesystem::remove(temporary, ec);
    return false;
}

}  // namespace

void Disk::write_samples_plist(const SamplesDictionary& samples, const SymlinkMap& symlinks,
                               const std::filesystem::path& samples_folder) {
    sys::log_line("FORMATING DATA FOR WRITING IN SAMPLES-PLIST.");
    const std::filesystem::path file = samples_folder / kSamplesPlistName;
    const plist::Value document(samples_plist_content(samples, symlinks));

    const sys::FileSystem& host = sys::FileSystem::host();
    if (host.is_readable_file(file.string())) {
        sys::log_line("Samples.plist already created. Trying to overwrite data.");
        write_atomically(document, file);
        return;
    }
    if (!host.create_file(file.string())) {
        sys::log_line("Error in creating Samples.plist");
        return;
    }
    if (write_atomically(document, file)) {
        sys::log_line("Data written to Samples.plist succesfully");
    } else {
        sys::log_line("Error while writing to Samples.plist");
    }
}
