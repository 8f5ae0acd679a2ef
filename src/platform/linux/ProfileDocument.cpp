#include "platform/linux/ProfileDocument.h"

#include <algorithm>
#include <string_view>

namespace platform::linux_host {
namespace {

constexpr const char* kProducedDataTypes[] = {kSoftwareDataType, kHardwareDataType,
                                              kNetworkDataType};
constexpr const char* kReporterName = "tvtriage.LinuxProfileReporter";

bool names_data_type(std::string_view argument) {
    constexpr std::string_view kPrefix = "SP";
    constexpr std::string_view kSuffix = "DataType";
    return argument.size() > kPrefix.size() + kSuffix.size() && argument.starts_with(kPrefix) &&
           argument.ends_with(kSuffix);
}

bool is_produced(std::string_view data_type) {
    return std::any_of(std::begin(kProducedDataTypes), std::end(kProducedDataTypes),
                       [&](const char* produced) { return data_type == produced; });
}

}  // namespace

std::vector<std::string> requested_data_types(const std::vector<std::string>& arguments) {
    std::vector<std::string> wanted;
    bool any_named = false;
    for (const std::string& argument : arguments) {
        if (!names_data_type(argument)) continue;
        any_named = true;
        if (is_produced(argument) &&
            std::find(wanted.begin(), wanted.end(), argument) == wanted.end()) {
            wanted.push_back(argument);
        }
    }
    if (!any_named) wanted.assign(std::begin(kProducedDataTypes), std::end(kProducedDataTypes));
    return wanted;
}

plist::Dictionary data_type_envelope(const std::string& data_type, plist::Array items,
                                     plist::Date time_stamp, const DataTypeTiming& timing) {
    plist::Dictionary envelope;
    envelope["_SPCommandLineArguments"] = plist::Array{"-xml", data_type};
    envelope["_SPCompletionInterval"] = timing.completion_seconds;
    envelope["_SPResponseTime"] = timing.response_seconds;
    envelope["_dataType"] = data_type;
    envelope["_detailLevel"] = -1;
    envelope["_items"] = std::move(items);
    envelope["_parentDataType"] = "SPRootDataType";
    envelope["_timeStamp"] = time_stamp;
    envelope["_versionInfo"] = plist::Dictionary{{kReporterName, TVTRIAGE_VERSION}};
    return envelope;
}

}  // namespace platform::linux_host
