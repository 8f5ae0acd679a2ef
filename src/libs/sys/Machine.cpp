#include "libs/sys/Machine.h"

namespace sys {

Machine::Machine(FileSystem files, std::shared_ptr<platform::LiveSystem> live,
                 std::shared_ptr<ProgramRunner> programs)
    : files_(std::move(files)), programs_(std::move(programs)), live_(std::move(live)) {}

Machine Machine::local(const std::filesystem::path& root) {
    FileSystem files(root);
    auto programs = std::make_shared<ProgramRunner>();
    std::shared_ptr<platform::LiveSystem> live;
    if (files.is_live()) live = platform::make_live_system(*programs);
    return Machine(std::move(files), std::move(live), std::move(programs));
}

}  // namespace sys
