// The system profiler's network sections.
#include "libs/sys/Log.h"
#include "modules/Net/Net.h"

namespace modules {
namespace {

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
    const std::string temporary = (machine_.temporary_directory() / "net.tmp").string();
    const sys::FileSystem& host = sys::FileSystem::host();
    if (!host.write_file_atomically(temporary, output)) {
        sys::log_line("writeToURL to tmp file failed!");
        return {};
    }
    sys::log_line("Output written to tmp file!");
    std::optional<plist::Array> sections = host.read_plist_array(temporary);
    if (!sections) {
        sys::logf("Error at arrayWithContentsOfFile for {}!", temporary);
        return {};
    }
    sys::log_line("Output converted to array!");
    return std::move(*sections);
}

}  // namespace modules
