// Launchd jobs: every job definition of the system's, root's and each user's launch folders, and
// the executables they start.
#include <cerrno>
#include <cstring>

#include "libs/sys/Log.h"
#include "modules/Autoruns/Autoruns.h"

namespace modules {
namespace {

// launchd's override database is read like the job folders: its files hold labels, not jobs, so
// it gives raw contents and, normally, no executables.
constexpr std::string_view kLaunchFolders[] = {
    "/Library/LaunchAgents",
    "/Library/LaunchDaemons",
    "/System/Library/LaunchAgents",
    "/System/Library/LaunchDaemons",
    "/private/var/root/Library/LaunchAgents",
    "/private/var/root/Library/LaunchDaemons",
    "/var/db/launchd.db/com.apple.launchd",
};
constexpr std::string_view kUserLaunchFolders[] = {"/Library/LaunchAgents",
                                                   "/Library/LaunchDaemons"};

}  // namespace

plist::Dictionary Autoruns::read_launch_items() const {
    const sys::FileSystem& files = machine_.files();
    std::vector<std::string> folders(std::begin(kLaunchFolders), std::end(kLaunchFolders));
    if (std::optional<std::vector<std::string>> users = files.list_directory("/Users")) {
        for (const std::string& user : *users) {
            for (std::string_view kind : kUserLaunchFolders) {
                const std::string folder = "/Users/" + user + std::string(kind);
                if (files.is_directory(folder)) folders.push_back(folder);
            }
        }
    } else {
        sys::log_line("[LAUNCHD] Error in getting /Users directories list.");
    }

    plist::Dictionary launchd;
    for (const std::string& folder : folders) {
        if (!files.is_directory(folder)) {
            sys::logf("[LAUNCHD] Empty directory at path: {}", folder);
            continue;
        }
        errno = 0;
        std::optional<std::vector<std::string>> names = files.list_directory(folder);
        if (!names) {
            sys::logf("The folder could not be listed: {} ({})", folder, std::strerror(errno));
            continue;
        }
        if (names->empty()) {
            sys::logf("[LAUNCH] Launch directory count = 0 at path: {}", folder);
            continue;
        }
        plist::Dictionary jobs;
        for (const std::string& name : *names) {
            const std::string path = folder + "/" + name;
            if (std::optional<plist::Dictionary> job = files.read_plist_dictionary(path)) {
                jobs[path] = std::move(*job);
            } else {
                sys::logf("[LAUNCHD] Error in getting content at path: {}", path);
            }
        }
        launchd[folder] = std::move(jobs);
    }
    return launchd;
}

std::vector<std::string> Autoruns::get_launchd_paths(const plist::Dictionary& launch_items) const {
    const sys::FileSystem& files = machine_.files();
    std::vector<std::string> paths;
    for (const auto& [folder, jobs] : launch_items) {
        if (!jobs.as_dict()) continue;
        for (const auto& [file, job] : *jobs.as_dict()) {
            // The first argument wins over "Program" whenever it names something that exists:
            // that is the file the job really starts when both are given.
            std::optional<std::string> first_argument, program;
            if (const plist::Value* arguments = job.find("ProgramArguments")) {
                if (!arguments->as_array()) unexpected_kind("ProgramArguments", file);
                if (!arguments->as_array()->empty()) {
                    const std::string* first = arguments->as_array()->front().as_string();
                    if (!first) unexpected_kind("ProgramArguments", file);
                    first_argument = *first;
                }
            }
            if (const plist::Value* value = job.find("Program")) {
                if (!value->as_string()) unexpected_kind("Program", file);
                program = *value->as_string();
            }
            if (first_argument && files.exists(*first_argument)) {
                paths.push_back(*first_argument);
            } else if (program && files.exists(*program)) {
                paths.push_back(*program);
            }
        }
    }
    return paths;
}

}  // namespace modules
