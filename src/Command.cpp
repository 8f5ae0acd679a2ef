#include "Command.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include <fmt/format.h>

#include "ModulesConfig.h"
#include "ProgressPrinter.h"
#include "libs/sys/FdIo.h"
#include "platform/ProgramPath.h"
#include "tvtriage.h"

namespace {

constexpr const char* kArchiveName = "tvtriage_results.zip";

void say(int fd, const std::string& text) {
    sys::write_all(fd, text + "\n");
}

std::filesystem::path temporary_directory(const CommandOptions& options) {
    if (options.workdir) return *options.workdir;
    const char* tmpdir = std::getenv("TMPDIR");
    return tmpdir && *tmpdir ? std::filesystem::path(tmpdir) : std::filesystem::path("/tmp");
}

// The archive's place, or an explanation of why there is none.
std::optional<std::filesystem::path> archive_path(const CommandOptions& options,
                                                  std::string* problem) {
    if (options.output) return *options.output;
    const char* home = std::getenv("HOME");
    if (!home || !*home) {
        *problem = "HOME is not set, so there is no Desktop to put " + std::string(kArchiveName) +
                   " on; name the archive with --output FILE";
        return std::nullopt;
    }
    std::filesystem::path desktop = std::filesystem::path(home) / "Desktop";
    if (!sys::FileSystem::host().is_directory(desktop.string())) {
        *problem = "the Desktop folder " + desktop.string() + " does not exist; " + kArchiveName +
                   " is written there. Create it, or name the archive with " + "--output FILE";
        return std::nullopt;
    }
    return desktop / kArchiveName;
}

int list_modules(const plist::Value& config, int fd) {
    auto enabled = tvtriage::get_enabled_module(config);
    for (const auto& name : modules::Registry::builtin().names()) {
        bool on = std::find(enabled.begin(), enabled.end(), name) != enabled.end();
        say(fd, fmt::format("{}\t{}", name, on ? "enabled" : "disabled"));
    }
    return kExitArchiveWritten;
}

ProgressPrinter::Style progress_style(const CommandOptions& options, int fd) {
    if (options.quiet) return ProgressPrinter::Style::Quiet;
    return ::isatty(fd) ? ProgressPrinter::Style::Bar : ProgressPrinter::Style::Lines;
}

}  // namespace

int run_command(const CommandOptions& options, int terminal_fd) {
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
        config = default_modules_config(platform::program_path().parent_path());
    }
    if (options.list_modules) return list_modules(config, terminal_fd);

    if (!sys::FileSystem::host().is_directory(options.root.string())) {
        say(terminal_fd, "tvtriage: --root " + options.root.string() + " is not a folder");
        return kExitUsage;
    }
    std::filesystem::path temporary = temporary_directory(options);
    if (!sys::FileSystem::host().is_directory(temporary.string())) {
        say(terminal_fd, "tvtriage: the working folder " + temporary.string() + " does not exist");
        return kExitNoArchive;
    }
    std::string problem;
    auto archive = archive_path(options, &problem);
    if (!archive) {
        say(terminal_fd, "tvtriage: " + problem);
        return kExitNoArchive;
    }

    sys::Machine machine = sys::Machine::local(options.root, temporary);
    modules::Registry registry = modules::Registry::builtin();
    RunSettings settings{std::move(config), options.modules, temporary,
                         *archive,          &machine,        &registry};

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

    struct stat st {};
    bool written = ::stat(archive->c_str(), &st) == 0 && S_ISREG(st.st_mode);
    if (!options.quiet) {
        say(terminal_fd,
            fmt::format("{}: {} ({} bytes); modules run {}, crashed {}; samples listed {}, "
                        "copied {}",
                        written ? "Archive" : "No archive", archive->string(),
                        written ? static_cast<long long>(st.st_size) : 0LL, summary.modules_run,
                        summary.modules_crashed, summary.samples_listed, summary.samples_copied));
    }
    return written ? kExitArchiveWritten : kExitNoArchive;
}
