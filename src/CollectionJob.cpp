// The collection job of the driver, run on its worker thread: every module one after another,
// then the samples pipeline and the archive.
#include "libs/Disk/Disk.h"
#include "libs/sys/Exception.h"
#include "libs/sys/Log.h"
#include "tvtriage.h"

namespace {

constexpr int kStepsAfterModules = 3;  // copying samples, zipping, clean-up

std::size_t count_sample_copies(const sys::OutputPath& samples_folder) {
    auto entries = samples_folder.output().list(samples_folder.path());
    if (!entries) return 0;
    std::size_t copies = 0;
    for (const auto& name : *entries) copies += name != "Samples.plist";
    return copies;
}

}  // namespace

void tvtriage::collect(const RunSettings& settings, std::vector<std::string> names,
                       const sys::OutputPath& run_folder, const Callbacks& callbacks,
                       sys::MainQueue& main_queue, RunSummary& summary) {
    const sys::Machine& machine = *settings.machine;
    auto on_main = [&](std::function<void()> task) { main_queue.run_sync(std::move(task)); };

    int maximum = static_cast<int>(names.size()) + kStepsAfterModules;
    on_main([&] { callbacks.set_maximum(maximum); });

    Disk::Results results;
    for (const auto& name : names) {
        on_main([&] { callbacks.status(name); });
        const sys::OutputPath module_folder = run_folder / name;
        ++summary.modules_run;
        const bool ran = Disk::guarded("MODULE CRASHED - " + name, [&] {
            std::unique_ptr<modules::Module> module = settings.registry->create(name, machine);
            sys::logf("Starting module: {}", name);
            if (!module) {
                throw sys::Exception("NSInvalidArgumentException",
                                     "no module named " + name + ": its report cannot be stored");
            }
            results[name] = module->start(module_folder);
        });
        if (!ran) ++summary.modules_crashed;
        on_main([&] { callbacks.increment(1); });
    }

    Disk::redirectLog(run_folder, kDriverLogName);
    sys::log_line("Replace symlink paths with executable paths.");
    Disk::SymlinkMap symlinks = Disk::replace_symlinks(machine.files(), results);

    sys::log_line("Generating path + md5 dictionary.");
    Disk::SamplesDictionary samples = Disk::get_samples_dictionary(machine.files(), results);
    summary.samples_listed = samples.size();

    const sys::OutputPath samples_folder = run_folder / kSamplesFolderName;
    sys::log_line("Copying samples from paths list to the Samples folder.");
    on_main([&] { callbacks.status("Copying samples"); });
    Disk::guarded("COPYING CRASHED", [&] {
        Disk::copy_samples(machine.files(), samples, samples_folder,
                           Disk::get_enabled_ignore_list(settings.modules_config));
    });
    on_main([&] { callbacks.increment(1); });

    sys::log_line("Making Samples.plist");
    Disk::write_samples_plist(samples, symlinks, samples_folder);
    summary.samples_copied = count_sample_copies(samples_folder);

    sys::log_line("Archieving to Desktop.");
    on_main([&] { callbacks.status("Zipping"); });
    Disk::guarded("ARCHIEVING CRASHED", [&] {
        try {
            summary.zip_status =
                Disk::zip_samples_to_desktop(machine.programs(), run_folder.output());
        } catch (const std::exception& error) {
            summary.zip_problem = sys::report_of(error).reason;
            throw;
        }
    });
    on_main([&] { callbacks.increment(1); });

    on_main([&] { callbacks.status("Clean up"); });
    Disk::clean_up(run_folder.output());
    on_main([&] { callbacks.increment(1); });

    sys::log_line("Done. Blocked interface, open Finder.");
    on_main([&] {
        callbacks.status("Done");
        callbacks.done();
    });
}
