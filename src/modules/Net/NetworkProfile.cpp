// The system profiler's network sections.
#include "libs/plist/Reader.h"
#include "libs/sys/Log.h"
#include "modules/Net/Net.h"

namespace modules {
namespace {

constexpr std::string_view kTemporaryFileName = "net.tmp";
const std::vector<std::string> kNetworkProfileArguments = {"SPNetworkDataType",
                                                           "SPFirewallDataType",
                                                           "SPNetworkLocationDataType",
                                                           "SPNetworkVolumeDataType",
                                                           "SPWWANDataType",
                                                           "SPAirPortDataType",
                                                           "-xml"};

}  // namespace

plist::Array Net::getNetworkInfo() {
    platform::LiveSystem* live = machine_.live();
    if (!live) return {};

    sys::log_line("Running system_profile for network settings...");
    const std::string output = live->system_profile(kNetworkProfileArguments);
    sys::log_line("system_profile finished!");
    sys::log_line("Output read!");

    // The output goes through a file of the host's temporary directory, which stays behind as a
    // copy of what the profiler printed.
    const std::optional<std::filesystem::path> temporary =
        output_->write_temporary_file(kTemporaryFileName, output);
    if (!temporary) {
        sys::log_line("writeToURL to tmp file failed!");
        return {};
    }
    sys::log_line("Output written to tmp file!");
    // What was written is what reading the file back would give.
    std::optional<plist::Value> sections = plist::parse(output);
    if (!sections || !sections->as_array()) {
        sys::logf("Error at arrayWithContentsOfFile for {}!", temporary->string());
        return {};
    }
    sys::log_line("Output converted to array!");
    return std::move(*sections->as_array());
}

}  // namespace modules
