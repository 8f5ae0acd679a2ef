// Sample hashing against md5sum over the same files (8 files of 64 MiB, read from the page cache
// after the first pass). One-thread hashing is held to at least 0.9x md5sum's throughput; the
// array form may use every core, and is compared with md5sum run as two processes at once. All
// are timed on the wall clock, as md5sum spends its time in other processes.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "libs/Disk/Disk.h"
#include "libs/sys/Log.h"

namespace {

namespace fs = std::filesystem;

constexpr int kFileCount = 8;
constexpr std::size_t kFileSize = std::size_t{64} << 20;

// Written once for the whole binary and removed at exit. The log lines of the hashing go to
// /dev/null meanwhile: they are few and not what is measured.
class HashFixture {
public:
    static const HashFixture& get() {
        static const HashFixture fixture;
        return fixture;
    }

    std::vector<std::string> paths;
    std::string shell_list;  // the paths, space-separated, for md5sum's command line
    std::int64_t total_bytes = std::int64_t{kFileCount} * static_cast<std::int64_t>(kFileSize);

private:
    HashFixture()
        : folder_(fs::temp_directory_path() /
                  ("tvtriage-hash-bench-" + std::to_string(::getpid()))) {
        fs::create_directories(folder_);
        std::mt19937_64 random(42);
        std::vector<std::uint64_t> block(kFileSize / sizeof(std::uint64_t));
        for (int i = 0; i < kFileCount; ++i) {
            for (auto& word : block) word = random();
            const fs::path file = folder_ / ("sample" + std::to_string(i));
            std::ofstream(file, std::ios::binary)
                .write(reinterpret_cast<const char*>(block.data()),
                       static_cast<std::streamsize>(kFileSize));
            paths.push_back(file.string());
            shell_list.append(" ").append(file.string());
        }
        saved_log_ = ::dup(STDERR_FILENO);
        const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        sys::redirect_log(null);
        ::close(null);
    }
    ~HashFixture() {
        ::dup2(saved_log_, STDERR_FILENO);
        ::close(saved_log_);
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }

    fs::path folder_;
    int saved_log_ = -1;
};

void run_shell(benchmark::State& state, const std::string& command) {
    if (std::system(command.c_str()) != 0) state.SkipWithError(("failed: " + command).c_str());
}

void BM_GetFileMd5OneThread(benchmark::State& state) {
    const HashFixture& fixture = HashFixture::get();
    for (auto _ : state) {
        for (const std::string& path : fixture.paths) {
            benchmark::DoNotOptimize(Disk::get_file_md5(sys::FileSystem::host(), path));
        }
    }
    state.SetBytesProcessed(state.iterations() * fixture.total_bytes);
}

void BM_Md5sumOneProcess(benchmark::State& state) {
    const HashFixture& fixture = HashFixture::get();
    for (auto _ : state) run_shell(state, "md5sum" + fixture.shell_list + " > /dev/null");
    state.SetBytesProcessed(state.iterations() * fixture.total_bytes);
}

void BM_GetMd5Array(benchmark::State& state) {
    const HashFixture& fixture = HashFixture::get();
    for (auto _ : state) {
        benchmark::DoNotOptimize(Disk::get_md5_array(sys::FileSystem::host(), fixture.paths));
    }
    state.SetBytesProcessed(state.iterations() * fixture.total_bytes);
}

void BM_Md5sumTwoProcesses(benchmark::State& state) {
    const HashFixture& fixture = HashFixture::get();
    const std::string command =
        "printf '%s\\n'" + fixture.shell_list + " | xargs -P 2 -n 1 md5sum > /dev/null";
    for (auto _ : state) run_shell(state, command);
    state.SetBytesProcessed(state.iterations() * fixture.total_bytes);
}

BENCHMARK(BM_Md5sumOneProcess)->UseRealTime()->Unit(benchmark::kMillisecond)->MinTime(3);
BENCHMARK(BM_GetFileMd5OneThread)->UseRealTime()->Unit(benchmark::kMillisecond)->MinTime(3);
BENCHMARK(BM_Md5sumTwoProcesses)->UseRealTime()->Unit(benchmark::kMillisecond)->MinTime(3);
BENCHMARK(BM_GetMd5Array)->UseRealTime()->Unit(benchmark::kMillisecond)->MinTime(3);

}  // namespace

BENCHMARK_MAIN();
