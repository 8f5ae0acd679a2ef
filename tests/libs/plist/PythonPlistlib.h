// Python's plistlib as an independent judge of property-list files: both sides print the same
// canonical text (strings and keys as UTF-8 hex, keys sorted, reals as %.17g, dates as whole
// seconds since 2001, UIDs as CF$UID dictionaries), so one comparison checks a whole file.
#pragma once

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "libs/plist/Value.h"
#include "libs/sys/ProgramRunner.h"

namespace plist_test {

inline bool python_available() {
    return std::system("command -v python3 >/dev/null 2>&1") == 0;
}

inline std::string hex(const void* bytes, std::size_t size) {
    std::string out;
    for (std::size_t i = 0; i < size; ++i) {
        const auto byte = static_cast<const unsigned char*>(bytes)[i];
        out += "0123456789abcdef"[byte >> 4];
        out += "0123456789abcdef"[byte & 15];
    }
    return out;
}

inline std::string canonical(const plist::Value& v) {
    char scalar[48] = "";
    if (const auto* s = v.as_string()) return "s" + hex(s->data(), s->size());
    if (const auto* data = v.as_data()) return "x" + hex(data->data(), data->size());
    if (const auto* b = v.as_bool()) return *b ? "t" : "f";
    if (const auto* i = v.as_integer()) {
        return "i" + (i->is_unsigned ? std::to_string(static_cast<std::uint64_t>(i->value))
                                     : std::to_string(i->value));
    }
    if (const auto* d = v.as_real()) std::snprintf(scalar, sizeof scalar, "r%.17g", *d);
    if (const auto* date = v.as_date())
        std::snprintf(scalar, sizeof scalar, "d%.0f", std::floor(date->seconds_since_2001));
    std::string out;
    if (const auto* array = v.as_array()) {
        for (const plist::Value& child : *array) out += (out.empty() ? "" : ",") + canonical(child);
        return "[" + out + "]";
    }
    if (const auto* dict = v.as_dict()) {
        for (const auto& [key, child] : *dict)
            out += (out.empty() ? "" : ",") + hex(key.data(), key.size()) + ":" + canonical(child);
        return "{" + out + "}";
    }
    return scalar;
}

inline constexpr const char* kDumpScript = R"(
import datetime, plistlib, sys
def h(s): return s.encode('utf-8', 'surrogatepass').hex()
def dump(v):
    if isinstance(v, bool): return 't' if v else 'f'
    if isinstance(v, int): return 'i%d' % v
    if isinstance(v, float): return 'r%.17g' % v
    if isinstance(v, str): return 's' + h(v)
    if isinstance(v, bytes): return 'x' + v.hex()
    if isinstance(v, datetime.datetime):
        d = v - datetime.datetime(2001, 1, 1)
        return 'd%d' % (d.days * 86400 + d.seconds)
    if isinstance(v, plistlib.UID): return '{%s:i%d}' % (h('CF$UID'), v.data)
    if isinstance(v, dict): return '{' + ','.join(h(k) + ':' + dump(v[k]) for k in sorted(v)) + '}'
    return '[' + ','.join(dump(x) for x in v) + ']'
for f in sys.argv[1:]:
    try:
        with open(f, 'rb') as fp: print(f + '\t' + dump(plistlib.load(fp)))
    except Exception:
        print(f + '\tERROR')
)";

// plistlib's canonical text of each file ("ERROR" when it refuses one), keyed by path.
inline std::map<std::string, std::string> python_dumps(const std::vector<std::string>& files) {
    std::vector<std::string> arguments{"-c", kDumpScript};
    arguments.insert(arguments.end(), files.begin(), files.end());
    std::istringstream lines(sys::ProgramRunner().run("python3", arguments));
    std::map<std::string, std::string> dumps;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t tab = line.find('\t');
        if (tab != std::string::npos) dumps[line.substr(0, tab)] = line.substr(tab + 1);
    }
    return dumps;
}

}  // namespace plist_test
