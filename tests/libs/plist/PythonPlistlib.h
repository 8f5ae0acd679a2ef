// Python's plistlib as an independent judge: a property-list file and our XML rewrite of what we
// read from it must load in plistlib as the same values, kinds included (UIDs count as CF$UID
// dictionaries and dates as whole seconds, as our XML writes them).
#pragma once

#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "libs/sys/ProgramRunner.h"

namespace plist_test {

inline bool python_available() {
    return std::system("command -v python3 >/dev/null 2>&1") == 0;
}

inline constexpr const char* kCompareScript = R"(
import datetime, plistlib, sys
def norm(v):
    if isinstance(v, plistlib.UID): v = {'CF$UID': v.data}
    if isinstance(v, dict): return {k: norm(x) for k, x in v.items()}
    if isinstance(v, list): return [norm(x) for x in v]
    if isinstance(v, datetime.datetime): v = v.replace(microsecond=0)
    return (type(v).__name__, repr(v))
def load(f):
    with open(f, 'rb') as fp: return norm(plistlib.load(fp))
for a, b in zip(sys.argv[1::2], sys.argv[2::2]):
    try:
        if load(a) == load(b): print(a)
    except Exception:
        pass
)";

// The first file of each pair {file, rewrite} that plistlib loads, and loads as the same values
// as the second one.
inline std::vector<std::string> python_agreeing(
    const std::vector<std::pair<std::string, std::string>>& pairs) {
    std::vector<std::string> arguments{"-c", kCompareScript};
    for (const auto& [file, rewrite] : pairs) arguments.insert(arguments.end(), {file, rewrite});
    std::istringstream lines(sys::ProgramRunner().run("python3", arguments));
    std::vector<std::string> files;
    for (std::string line; std::getline(lines, line);) files.push_back(line);
    return files;
}

}  // namespace plist_test
