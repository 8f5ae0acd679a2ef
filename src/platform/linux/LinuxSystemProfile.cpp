// The system profile in the macOS profiler's XML shape.
#include <chrono>

#include "libs/plist/XmlWriter.h"
#include "platform/linux/LinuxLiveSystem.h"
#include "platform/linux/ProfileDocument.h"
#include "platform/linux/ProfileItems.h"
#include "platform/linux/ProfileSources.h"

namespace platform::linux_host {
namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

plist::Array items_of(const std::string& data_type) {
    if (data_type == kSoftwareDataType) return {software_item(collect_software_sources())};
    if (data_type == kHardwareDataType) return {hardware_item(collect_hardware_sources())};
    plist::Array items;
    if (data_type == kNetworkDataType) {
        for (const auto& interface : collect_network_interfaces()) {
            items.emplace_back(network_item(interface));
        }
    }
    return items;
}

}  // namespace

std::string LinuxLiveSystem::system_profile(const std::vector<std::string>& arguments) {
    Clock::time_point started = Clock::now();
    auto time_stamp = plist::Date::from_unix(
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count());
    plist::Array document;
    for (const std::string& data_type : requested_data_types(arguments)) {
        Clock::time_point begun = Clock::now();
        plist::Array items = items_of(data_type);
        DataTypeTiming timing{seconds_since(begun), seconds_since(started)};
        document.emplace_back(data_type_envelope(data_type, std::move(items), time_stamp, timing));
    }
    return plist::to_xml(document);
}

}  // namespace platform::linux_host
