// The `tvtriage` command: one collection without a window.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "Command.h"
#include "libs/sys/Text.h"
#include "tvtriage.h"

namespace {

// Paths are taken from the working directory the command was started in; the run itself never
// depends on where that is.
std::filesystem::path absolute_option(const std::string& path) {
    std::error_code ec;
    std::filesystem::path absolute = std::filesystem::absolute(path, ec);
    return ec ? std::filesystem::path(path) : absolute.lexically_normal();
}

}  // namespace

int main(int argc, char** argv) {
    // The log takes standard error over once the run starts; keep the terminal for ourselves.
    int terminal_fd = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    if (terminal_fd < 0) terminal_fd = STDERR_FILENO;

    CLI::App app{"tvtriage: collect a triage picture of this machine into one archive"};
    CommandOptions options;
    std::string root, config, modules, output, workdir;
    bool version = false;
    app.add_option("--root", root, "Examine the file tree under DIR instead of this system")
        ->type_name("DIR");
    app.add_option("--config", config, "Read the module configuration from FILE")
        ->type_name("FILE");
    app.add_option("--modules", modules, "Run exactly these modules, in this order")
        ->type_name("NAME,...");
    app.add_option("--output", output, "Write the archive to FILE instead of the Desktop")
        ->type_name("FILE");
    app.add_option("--workdir", workdir, "Make the run folder in DIR instead of $TMPDIR")
        ->type_name("DIR");
    app.add_flag("--quiet", options.quiet, "Show no progress and no summary");
    app.add_flag("--list-modules", options.list_modules, "List the modules and exit");
    app.add_flag("--version", version, "Print the version and exit");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        int status = app.exit(error);
        return status == 0 ? 0 : kExitUsage;
    }
    if (version) {
        std::printf("tvtriage %s\n", tvtriage::kVersion);
        return 0;
    }
    if (!root.empty()) options.root = absolute_option(root);
    if (!config.empty()) options.config = absolute_option(config);
    if (app.count("--modules") > 0) options.modules = sys::split_skipping_empty(modules, ',');
    if (!output.empty()) options.output = absolute_option(output);
    if (!workdir.empty()) options.workdir = absolute_option(workdir);
    return run_command(options, terminal_fd);
}
