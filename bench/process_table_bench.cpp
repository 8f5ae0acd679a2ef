// The whole process table collection on this machine (the table, then every entry with its
// command line and executable) against the floor of running ps for the same facts, fork and exec
// included. Both are timed on the wall clock, since ps spends its time in another process; the
// ratio of the two is the figure to watch.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

#include "libs/sys/Log.h"
#include "libs/sys/Machine.h"
#include "libs/sys/ProgramRunner.h"
#include "modules/Processes/Processes.h"

namespace {

// The module logs a line per process; the lines go to a scratch file, as in a real run, and the
// terminal gets descriptor 2 back afterwards.
class LogToScratchFile {
public:
    LogToScratchFile() : saved_(::dup(STDERR_FILENO)) {
        const std::string file = std::filesystem::temp_directory_path() / "tvtriage-bench.log";
        const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        sys::redirect_log(fd);
        ::close(fd);
    }
    ~LogToScratchFile() {
        ::dup2(saved_, STDERR_FILENO);
        ::close(saved_);
        std::filesystem::remove(std::filesystem::temp_directory_path() /
                                "tvtriage-bench-processes.log");
    }

private:
    int saved_;
};

void BM_ProcessesCollection(benchmark::State& state) {
    sys::Machine machine = sys::Machine::local("/");
    LogToScratchFile log;
    std::uint64_t count = 0;
    for (auto _ : state) {
        modules::Processes processes(machine);
        auto records = processes.getAllProcesses(&count);
        if (!records) {
            state.SkipWithError("the process table could not be read");
            break;
        }
        auto properties = processes.getProcessesProperties(*records);
        benchmark::DoNotOptimize(properties);
    }
    state.counters["processes"] = static_cast<double>(count);
}
BENCHMARK(BM_ProcessesCollection)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PsListing(benchmark::State& state) {
    sys::ProgramRunner runner;
    for (auto _ : state) {
        std::string listing = runner.run("ps", {"-eo", "pid,ppid,pgid,uid,stat,lstart,tty,args"});
        benchmark::DoNotOptimize(listing);
    }
}
BENCHMARK(BM_PsListing)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
