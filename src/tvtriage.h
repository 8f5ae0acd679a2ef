// The collection driver: one run from start to end. It reads which modules are enabled, prepares
// the run folder and one folder per module, then on a worker thread runs every module with crash
// isolation, feeds the reported executables into the samples pipeline, archives the run folder
// and reports progress through four callbacks, each made synchronously on the main queue.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "libs/plist/Value.h"
#include "libs/sys/Machine.h"
#include "libs/sys/MainQueue.h"
#include "libs/sys/RunOutput.h"
#include "modules/Registry.h"

struct Callbacks {
    std::function<void(int amount)> increment;
    std::function<void(const std::string& text)> status;
    std::function<void(int maximum)> set_maximum;
    std::function<void()> done;
};

// What a run is pointed at. Everything here must outlive the run's worker thread.
struct RunSettings {
    plist::Value modules_config;                   // the parsed modules.plist
    std::optional<std::vector<std::string>> only;  // run exactly these modules, in this order
    const sys::RunOutput* output = nullptr;        // the run folder and the archive
    const sys::Machine* machine = nullptr;
    const modules::Registry* registry = nullptr;
};

// Counts for the closing summary, final once done() has been called.
struct RunSummary {
    int modules_run = 0;
    int modules_crashed = 0;
    std::size_t samples_listed = 0;
    std::size_t samples_copied = 0;
    int zip_status = -1;      // zip's exit status; -1 when it did not run to the end
    std::string zip_problem;  // why zip could not be started, when it could not
};

class tvtriage {
public:
    tvtriage() = delete;

    static constexpr const char* kVersion = "1.0.8";
    static constexpr const char* kDriverLogName = "tvtriage.log";
    static constexpr const char* kSamplesFolderName = "Samples";

    // Names of the modules whose "Enabled" equals the number 1; the "Samples" entry never counts.
    static std::vector<std::string> get_enabled_module(const plist::Value& modules_config);

    // Makes, in the run folder, a folder for every name plus "Samples"; existing folders are kept
    // as they are. Returns the run folder.
    static sys::OutputPath create_module_folders(std::vector<std::string>& names,
                                                 const sys::RunOutput& output);

    // Prepares the run on the calling (main) thread and starts the collection job on a worker
    // thread, which is returned for the caller to join after done(). summary may be null.
    static std::thread start(const RunSettings& settings, Callbacks callbacks,
                             sys::MainQueue& main_queue, RunSummary* summary = nullptr);

private:
    static void collect(const RunSettings& settings, std::vector<std::string> names,
                        const sys::OutputPath& run_folder, const Callbacks& callbacks,
                        sys::MainQueue& main_queue, RunSummary& summary);
};

// The login name of the user running this.
std::string current_user_name();
