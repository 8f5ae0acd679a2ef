// MD5 digests of the reported files. Hashing is quiet and may run on several threads; the log
// lines are written afterwards in the order of the paths, so logs read the same on every run.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <unordered_map>

#include "libs/Disk/Disk.h"
#include "libs/Disk/Md5.h"
#include "libs/sys/Log.h"
#include "libs/sys/Workers.h"

namespace {

// Large reads keep the system-call cost far below the digest's own; one buffer per thread is
// reused for every file, so no file is ever held whole in memory.
constexpr std::size_t kReadChunk = 256 << 10;
constexpr unsigned kMaxHashingThreads = 8;

struct Outcome {
    std::optional<std::string> md5;  // empty when the file is unusable
    bool too_large = false;
};

Outcome digest_file(const sys::FileSystem& files, const std::string& path, char* buffer) {
    const Outcome too_large{std::nullopt, true};
    // Only regular files are opened: a FIFO or a device named by a hostile report never blocks.
    sys::UniqueFd fd = files.open_regular(path);
    if (!fd) return {};
    // A sparse file of exabytes is made in an instant and would be hashed for ever; one that
    // keeps growing likewise. Both stop at the limit, before or while reading.
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0) return {};
    if (static_cast<std::uint64_t>(st.st_size) > Disk::kMaxHashedSize) return too_large;
    try {
        Md5 md5;
        std::uint64_t total = 0;
        for (;;) {
            ssize_t n = ::read(fd.get(), buffer, kReadChunk);
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) return {};
            if (n == 0) break;
            total += static_cast<std::uint64_t>(n);
            if (total > Disk::kMaxHashedSize) return too_large;
            md5.update(buffer, static_cast<std::size_t>(n));
        }
        return {Md5::to_hex(md5.finish())};
    } catch (const std::exception&) {
        // The digest library failing on one file costs that file only.
        return {};
    }
}

std::string logged(const std::string& path, const Outcome& outcome) {
    if (outcome.too_large) {
        sys::logf("The file is larger than {} bytes and is not hashed: {}", Disk::kMaxHashedSize,
                  path);
    }
    if (!outcome.md5) {
        sys::logf("ERROR GETTING FILE MD5 for:{}", path);
        return std::string(Disk::kMissingFileMd5);
    }
    sys::logf("Generated md5 for file at: {}", path);
    sys::log_line(*outcome.md5);
    return *outcome.md5;
}

std::vector<Outcome> digest_all(const sys::FileSystem& files,
                                const std::vector<std::string>& paths) {
    std::vector<Outcome> outcomes(paths.size());
    sys::for_each_item(paths.size(), kMaxHashingThreads, [&](std::size_t i) {
        // One buffer per thread, reused for every file it hashes.
        thread_local std::unique_ptr<char[]> buffer(new char[kReadChunk]);
        outcomes[i] = digest_file(files, paths[i], buffer.get());
    });
    return outcomes;
}

}  // namespace

std::string Disk::get_file_md5(const sys::FileSystem& files, const std::string& path) {
    std::unique_ptr<char[]> buffer(new char[kReadChunk]);
    return logged(path, digest_file(files, path, buffer.get()));
}

std::vector<std::string> Disk::get_md5_array(const sys::FileSystem& files,
                                             const std::vector<std::string>& paths) {
    // Many processes run the same executable: each distinct path is hashed once, yet every
    // occurrence keeps its own log lines and its slot in the result.
    std::unordered_map<std::string_view, std::size_t> index_of;
    std::vector<std::string> distinct;
    std::vector<std::size_t> slot(paths.size());
    for (std::size_t i = 0; i < paths.size(); ++i) {
        auto [it, added] = index_of.try_emplace(paths[i], distinct.size());
        if (added) distinct.push_back(paths[i]);
        slot[i] = it->second;
    }

    const std::vector<Outcome> outcomes = digest_all(files, distinct);
    std::vector<std::string> md5s;
    md5s.reserve(paths.size());
    for (std::size_t i = 0; i < paths.size(); ++i) {
        md5s.push_back(logged(paths[i], outcomes[slot[i]]));
    }
    return md5s;
}

Disk::SamplesDictionary Disk::get_samples_dictionary(const sys::FileSystem& files,
                                                     const Results& executables) {
    std::vector<std::string> paths;
    for (const auto& [module_name, report] : executables) {
        paths.insert(paths.end(), report.begin(), report.end());
    }
    const std::vector<std::string> md5s = get_md5_array(files, paths);
    SamplesDictionary samples;
    for (std::size_t i = 0; i < paths.size(); ++i) samples[paths[i]] = md5s[i];
    return samples;
}
