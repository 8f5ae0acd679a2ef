// Resolving an examined-machine path under a root that is not "/": every link along the way is
// read and followed here, so that an absolute link target starts again at the root and ".."
// never climbs above it. The kernel is then handed a path with no links left to follow.
#include <sys/stat.h>
#include <unistd.h>

#include <deque>

#include "libs/sys/FileSystem.h"
#include "libs/sys/Text.h"

namespace sys {
namespace {

constexpr int kMaxLinkHops = 40;

std::deque<std::string> split_components(std::string_view path) {
    std::vector<std::string> parts = split_skipping_empty(path, '/');
    return {std::make_move_iterator(parts.begin()), std::make_move_iterator(parts.end())};
}

std::string join_under(const std::filesystem::path& root, const std::vector<std::string>& parts) {
    std::string joined = root.string();
    if (joined.empty() || joined.back() != '/') joined += '/';
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) joined += '/';
        joined += parts[i];
    }
    return joined;
}

std::optional<std::string> read_link(const std::string& host) {
    std::string target(4096, '\0');
    ssize_t n = ::readlink(host.c_str(), target.data(), target.size());
    if (n < 0 || static_cast<size_t>(n) >= target.size()) return std::nullopt;
    target.resize(static_cast<size_t>(n));
    return target;
}

}  // namespace

std::optional<std::filesystem::path> FileSystem::host_path(std::string_view path,
                                                           bool follow_final_link) const {
    if (path.find('\0') != std::string_view::npos) return std::nullopt;
    if (live_) {
        if (!path.empty() && path.front() == '/') return std::filesystem::path(path);
        return std::filesystem::path("/") / std::filesystem::path(path);
    }

    std::deque<std::string> pending = split_components(path);
    std::vector<std::string> resolved;
    int hops = 0;
    while (!pending.empty()) {
        std::string part = std::move(pending.front());
        pending.pop_front();
        if (part == ".") continue;
        if (part == "..") {
            if (!resolved.empty()) resolved.pop_back();
            continue;
        }
        resolved.push_back(std::move(part));
        if (pending.empty() && !follow_final_link) break;

        std::string host = join_under(root_, resolved);
        struct stat st {};
        if (::lstat(host.c_str(), &st) != 0) {
            // Nothing there: the rest cannot exist either, so keep it as written.
            for (auto& rest : pending) resolved.push_back(std::move(rest));
            pending.clear();
            break;
        }
        if (!S_ISLNK(st.st_mode)) continue;
        if (++hops > kMaxLinkHops) return std::nullopt;
        auto target = read_link(host);
        if (!target) return std::nullopt;
        resolved.pop_back();
        if (!target->empty() && target->front() == '/') resolved.clear();
        std::deque<std::string> target_parts = split_components(*target);
        pending.insert(pending.begin(), target_parts.begin(), target_parts.end());
    }
    return std::filesystem::path(join_under(root_, resolved));
}

}  // namespace sys
