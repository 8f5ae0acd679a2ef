// "Samples.plist": every reported path with its MD5, links listed under their own paths.
#include <set>

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

bool write_atomically(const plist::Value& document, const sys::OutputPath& file) {
    return file.output().replace(file.path(), [&](int fd) {
        std::string error;
        return plist::write_xml(document, fd, &error);
    });
}

}  // namespace

void Disk::write_samples_plist(const SamplesDictionary& samples, const SymlinkMap& symlinks,
                               const sys::OutputPath& samples_folder) {
    sys::log_line("FORMATING DATA FOR WRITING IN SAMPLES-PLIST.");
    const sys::OutputPath file = samples_folder / kSamplesPlistName;
    const plist::Value document(samples_plist_content(samples, symlinks));

    if (file.output().is_file(file.path())) {
        sys::log_line("Samples.plist already created. Trying to overwrite data.");
        write_atomically(document, file);
        return;
    }
    if (!file.output().open_to_write(file.path())) {
        sys::log_line("Error in creating Samples.plist");
        return;
    }
    if (write_atomically(document, file)) {
        sys::log_line("Data written to Samples.plist succesfully");
    } else {
        sys::log_line("Error while writing to Samples.plist");
    }
}
