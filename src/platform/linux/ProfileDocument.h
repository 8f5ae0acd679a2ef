// The envelope of the macOS profiler's XML output: a root array with one dictionary per data
// type, each carrying the underscore keys that describe the run, and the data in _items.
#pragma once

#include <string>
#include <vector>

#include "libs/plist/Value.h"

namespace platform::linux_host {

inline constexpr const char* kSoftwareDataType = "SPSoftwareDataType";
inline constexpr const char* kHardwareDataType = "SPHardwareDataType";
inline constexpr const char* kNetworkDataType = "SPNetworkDataType";

// The data types to produce for the profiler's arguments, in the order named and without
// repeats. An argument names a data type when it has the form "SP...DataType"; the others
// ("-xml", "-detailLevel", ...) only shape the output on a Mac. Data types this platform cannot
// produce (firewall, Wi-Fi, WWAN, ...) yield no dictionary at all, as on a Mac without them.
// When no data type is named, every one this platform produces is.
std::vector<std::string> requested_data_types(const std::vector<std::string>& arguments);

struct DataTypeTiming {
    double completion_seconds = 0;  // producing this data type
    double response_seconds = 0;    // from the start of the whole profile to its end
};

// _SPCommandLineArguments ("-xml" and the data type), _SPCompletionInterval, _SPResponseTime,
// _dataType, _detailLevel (-1), _items, _parentDataType ("SPRootDataType"), _timeStamp and
// _versionInfo (this reporter and its version).
plist::Dictionary data_type_envelope(const std::string& data_type, plist::Array items,
                                     plist::Date time_stamp, const DataTypeTiming& timing);

}  // namespace platform::linux_host
