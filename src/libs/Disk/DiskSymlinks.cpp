// Reported paths that are symbolic links are sampled through their targets.
#include <algorithm>

#include "libs/Disk/Disk.h"
#include "libs/sys/Exception.h"
#include "libs/sys/Log.h"

bool Disk::check_if_symlink(const sys::FileSystem& files, const std::string& path) {
    std::optional<sys::FileAttributes> attributes = files.attributes(path);
    if (!attributes || attributes->type != sys::FileType::Symlink) return false;
    sys::logf("IT IS SYMLING AT :{}", path);
    return true;
}

std::string Disk::symlink_abs_path(const sys::FileSystem& files, const std::string& path) {
    std::optional<std::string> destination = files.link_destination(path);
    // Callers test with check_if_symlink first; a path that is no link has no text to log, and
    // that is a programming error rather than a finding.
    if (!destination) {
        throw sys::Exception("NSInvalidArgumentException",
                             "*** -[NSString stringByAppendingString:]: nil argument");
    }
    // One level, as stored: a relative destination stays relative despite the operation's name.
    sys::logf("NEW ABSOLUTE PATH: {}", *destination);
    return std::move(*destination);
}

Disk::SymlinkMap Disk::replace_symlinks(const sys::FileSystem& files, Results& executables) {
    // Both live for the whole call on purpose: every module's report is cleaned of all links seen
    // so far and receives every target resolved so far, earlier modules' targets included.
    // Duplicates this creates collapse in the samples dictionary.
    SymlinkMap symlinks;
    std::vector<std::string> resolved_targets;

    for (auto& [module_name, report] : executables) {
        for (const std::string& path : report) {
            if (!check_if_symlink(files, path)) continue;
            std::string target = symlink_abs_path(files, path);
            if (files.exists(target)) {
                symlinks[path] = target;
                resolved_targets.push_back(std::move(target));
            } else {
                symlinks[path] = "NULL";
                sys::logf("{} - no executable for SYMLINK at path: {}", module_name, path);
            }
        }
        std::erase_if(report, [&](const std::string& path) { return symlinks.contains(path); });
        report.insert(report.end(), resolved_targets.begin(), resolved_targets.end());
    }
    return symlinks;
}
