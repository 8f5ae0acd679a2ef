// The collection job of the driver, run on its worker thread: every module one after another,
// then the samples pipeline and the archive.
#include "libs/Disk/Disk.h"
#include "libs/sys/Exception.h"
#include "libs/sys/Log.h"
#include "tvtriage.h"

namespace {

constexpr int kStepsAfterModules = 3;  // copying samples, zipping, clean-up

std::size_t count_sample_copies(const std::filesystem::path& samples_folder) {
    auto entries = sys::FileSystem::host().list_directory(samples_folder.string());
    if (!entries) return 0;
    std::size_t copies = 0;
    for (const auto& name : *entries) copies += name != "Samples.plist";
    return copies;
}

}  // namespace

void tvtriage::collect(const RunSettings& settings, std::vector<std::string> names,
                       std::filesystem::path run_folder, const Callbacks& callbacks,
                       sys::MainQueue& main_queue, RunSummary& summary) {
    const sys::Machine& machine = *settings.machine;
    auto on_main = [&](std::function<void()> task) { main_queue.run_sync(std::move(task)); };

    int maximum = static_cast<int>(names.size()) + kStepsAfterModules;
    on_main([&] { callbacks.set_maximum(maximum); });

    Disk::Results results;
    for (const auto& name : names) {
        on_main([&] { callbacks.status(name); });
        std::filesystem::path module_folder = run_folder / name;
        ++summary.modules_run;
        try {
            std::unique_ptr<modules::Module> module = settings.registry->create(name, machine);
            sys::logf("Starting module: {}", name);
            if (!module) {
                throw sys::Exception("NSInvalidArgumentException",
                                     "no module named " + name + ": its report cannot be stored");
            }
            results[name] = module->start(module_folder);
        } catch (const std::exception& error) {
            ++summary.modules_crashed;
            Disk::log_exception("MODULE CRASHED - " + name, error);
        } catch (...) {
            ++summary.modules_crashed;
            Disk::log_exception("MODULE CRASHED - " + name,
                                sys::Exception("UnknownException", "a non-standard exception"));
        }
        on_main([&] { callbacks.increment(1); });
    }

    Disk::redirectLog(run_folder, kDriverLogName);
    sys::log_line("Replace symlink paths with executable paths.");
    Disk::SymlinkMap symlinks = Disk::replace_symlinks(machine.files(), results);

    sys::log_line("Generating path + md5 dictionary.");
    Disk::SamplesDictionary samples = Disk::get_samples_dictionary(machine.files(), results);
    summary.samples_listed = samples.size();

    std::filesystem::path samples_folder = run_folder / kSamplesFolderName;
    sys::log_line("Copying samples from paths list to the Samples folder.");
    on_main([&] { callbacks.status("Copying samples"); });
    try {
        Disk::copy_samples(machine.files(), samples, samples_folder,
                           Disk::get_enabled_ignore_list(settings.modules_config));
    } catch (const std::exception& error) {
        Disk::log_exception("COPYING CRASHED", error);
    }
    on_main([&] { callbacks.increment(1); });

    sys::log_line("Making Samples.plist");
    Disk::write_samples_plist(samples, symlinks, samples_folder);
    summary.samples_copied = count_sample_copies(samples_folder);

    sys::log_line("Archieving to Desktop.");
    on_main([&] { callbacks.status("Zipping"); });
    try {
        Disk::zip_samples_to_desktop(machine.programs(), run_folder, settings.archive);
    } catch (const std::exception& error) {
        Disk::log_exception("ARCHIEVING CRASHED", error);
    }
    on_main([&] { callbacks.increment(1); });

    on_main([&] { callbacks.status("Clean up"); });
    Disk::clean_up(run_folder);
    on_main([&] { callbacks.increment(1); });

    sys::log_line("Done. Blocked interface, open Finder.");
    on_main([&] {
        callbacks.status("Done");
        callbacks.done();
    });
}
