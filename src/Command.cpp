#include "Command.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>

#include <fmt/format.h>

#include "ModulesConfig.h"
#include "ProgressPrinter.h"
#include "RunPlace.h"
#include "libs/sys/FdIo.h"
#include "tvtriage.h"

namespace {

// What zip's exit statuses mean, for the ones a run can meet.
constexpr std::pair<int, const char*> kZipStatuses[] = {
    {2, "the existing archive ends unexpectedly"},
    {3, "the existing archive is damaged or not a zip file"},
    {4, "zip ran out of memory"},
    {5, "the existing archive is badly damaged"},
    {9, "zip was interrupted"},
    {10, "zip could not write its temporary file"},
    {11, "zip could not read or seek"},
    {12, "zip found nothing to archive"},
    {13, "the existing archive is empty or missing"},
    {14, "zip could not write the archive"},
    {15, "zip could not create the archive"},
    {18, "zip could not open a file to archive"},
};

void say(int fd, const std::string& text) {
    sys::write_all(fd, text + "\n");
}

std::filesystem::path temporary_directory(const CommandOptions& options) {
    return options.workdir ? *options.workdir : default_temporary_directory();
}

// The archive's place, or an explanation of why there is none.
std::optional<std::filesystem::path> archive_path(const CommandOptions& options,
                                                  std::string* problem) {
    if (options.output) return *options.output;
    auto archive = desktop_archive(problem);
    if (!archive) *problem += ". Name the archive with --output FILE instead";
    return archive;
}

// Registered names only, each once: anything else would make folders the driver never meant.
std::optional<std::string> bad_module_selection(const std::vector<std::string>& selected,
                                                const modules::Registry& registry) {
    if (selected.empty()) return "--modules names no module (see --list-modules)";
    const std::vector<std::string> known = registry.names();
    std::set<std::string> seen;
    for (const std::string& name : selected) {
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            return fmt::format("--modules: \"{}\" is not a module (see --list-modules)", name);
        }
        if (!seen.insert(name).second) {
            return fmt::format("--modules: \"{}\" is named twice", name);
        }
    }
    return std::nullopt;
}

int list_modules(const plist::Value& config, const modules::Registry& registry) {
    auto enabled = tvtriage::get_enabled_module(config);
    for (const auto& name : registry.names()) {
        bool on = std::find(enabled.begin(), enabled.end(), name) != enabled.end();
        say(STDOUT_FILENO, fmt::format("{}\t{}", name, on ? "enabled" : "disabled"));
    }
    return kExitArchiveWritten;
}

ProgressPrinter::Style progress_style(const CommandOptions& options, int fd) {
    if (options.quiet) return ProgressPrinter::Style::Quiet;
    return ::isatty(fd) ? ProgressPrinter::Style::Bar : ProgressPrinter::Style::Lines;
}

// Why the archive is not there, or nothing when it was written.
std::optional<std::string> archive_failure(const RunSummary& summary,
                                           const std::filesystem::path& archive) {
    if (!summary.zip_problem.empty()) return "zip could not be started: " + summary.zip_problem;
    if (summary.zip_status != 0) {
        std::string why = fmt::format("zip exited with status {}", summary.zip_status);
        for (const auto& [status, meaning] : kZipStatuses) {
            if (status == summary.zip_status) why += fmt::format(" ({})", meaning);
        }
        return why;
    }
    struct stat st {};
    if (::stat(archive.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) {
        return "zip finished, but " + archive.string() + " is not there";
    }
    return std::nullopt;
}

}  // namespace

int run_command(const CommandOptions& options, int terminal_fd) {
    const modules::Registry registry = modules::Registry::builtin();
    plist::Value config;
    if (options.config) {
        std::string error;
        auto read = read_modules_config(*options.config, &error);
        if (!read) {
            say(terminal_fd, "tvtriage: " + error);
            return kExitUsage;
        }
        config = std::move(*read);
    } else {
        config = default_modules_config(configuration_folder());
    }
    if (options.list_modules) return list_modules(config, registry);
    if (options.modules) {
        if (auto problem = bad_module_selection(*options.modules, registry)) {
            say(terminal_fd, "tvtriage: " + *problem);
            return kExitUsage;
        }
    }

    if (!sys::FileSystem::host().is_directory(options.root.string())) {
        say(terminal_fd, "tvtriage: --root " + options.root.string() + " is not a folder");
        return kExitUsage;
    }
    std::string problem;
    auto archive = archive_path(options, &problem);
    std::optional<sys::RunOutput> output;
    if (archive) output = open_run_output(temporary_directory(options), *archive, &problem);
    if (!output) {
        say(terminal_fd, "tvtriage: " + problem);
        return kExitNoArchive;
    }

    sys::Machine machine = sys::Machine::local(options.root);
    RunSettings settings{std::move(config), options.modules, &*output, &machine, &registry};

    sys::MainLoop main_loop;
    ProgressPrinter printer(terminal_fd, progress_style(options, terminal_fd));
    Callbacks callbacks = printer.callbacks();
    auto done = callbacks.done;
    callbacks.done = [&main_loop, done] {
        done();
        main_loop.stop();
    };
    RunSummary summary;
    std::thread job = tvtriage::start(settings, callbacks, main_loop, &summary);
    main_loop.run();
    job.join();

    const std::optional<std::string> failure = archive_failure(summary, *archive);
    if (failure) say(terminal_fd, "tvtriage: the archive could not be written: " + *failure);
    if (!options.quiet) {
        struct stat st {};
        const long long size = !failure && ::stat(archive->c_str(), &st) == 0 ? st.st_size : 0;
        say(terminal_fd,
            fmt::format("{}: {} ({} bytes); modules run {}, crashed {}; samples listed {}, "
                        "copied {}",
                        failure ? "No archive" : "Archive", archive->string(), size,
                        summary.modules_run, summary.modules_crashed, summary.samples_listed,
                        summary.samples_copied));
    }
    return failure ? kExitNoArchive : kExitArchiveWritten;
}
