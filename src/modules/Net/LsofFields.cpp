#include "modules/Net/LsofFields.h"

#include <algorithm>
#include <array>
#include <string>

namespace modules {
namespace {

constexpr std::array<std::string_view, 4> kConnectionTypes = {"IPv4", "IPv6", "unix", "PIPE"};

std::string_view connection_type(std::string_view type, std::string_view name) {
    if (type == "FIFO" && name == "pipe") return "PIPE";
    return type;
}

bool is_connection(std::string_view type) {
    return std::find(kConnectionTypes.begin(), kConnectionTypes.end(), type) !=
           kConnectionTypes.end();
}

plist::Dictionary new_process(const std::string& command) {
    return plist::Dictionary{{"command", command}, {"net", plist::Array{}}};
}

}  // namespace

plist::Dictionary parse_lsof_fields(std::string_view output) {
    plist::Dictionary table;
    std::string pid, command, type;
    while (!output.empty()) {
        const std::size_t end = std::min(output.find('\n'), output.size());
        const std::string_view line = output.substr(0, end);
        output.remove_prefix(std::min(end + 1, output.size()));
        if (line.empty()) continue;

        const std::string_view rest = line.substr(1);
        switch (line.front()) {
            case 'p':
                pid = rest;
                break;
            case 'c':
                command = rest;
                break;
            case 't':
                type = rest;
                break;
            case 'n': {
                const std::string_view record_type = connection_type(type, rest);
                if (!is_connection(record_type)) break;
                plist::Dictionary connection{{"type", record_type}, {"name", rest}};
                // An existing entry keeps the command seen with its first record.
                plist::Value& process = table.try_emplace(pid, new_process(command)).first->second;
                plist::Array& net = *(*process.as_dict())["net"].as_array();
                net.emplace_back(std::move(connection));
                break;
            }
            default:  // descriptor lines and fields not asked for
                break;
        }
    }
    return table;
}

}  // namespace modules
