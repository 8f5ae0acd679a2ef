// The messages of a captured log, without the time stamp and process prefix of each line, so
// that tests can compare whole messages and their order. A message spanning several lines (a
// description text) comes back whole.
#pragma once

#include <regex>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace test {

inline std::vector<std::string> log_messages(std::string_view log_text) {
    static const std::regex kPrefix(
        R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} tvtriage\[\d+:\d+\] )");
    std::vector<std::string> messages;
    std::istringstream lines{std::string(log_text)};
    for (std::string line; std::getline(lines, line);) {
        std::smatch prefix;
        const bool starts = std::regex_search(line, prefix, kPrefix);
        // A line without the prefix continues a message that holds line breaks.
        if (starts || messages.empty()) {
            messages.push_back(starts ? prefix.suffix().str() : line);
        } else {
            messages.back() += '\n' + line;
        }
    }
    return messages;
}

}  // namespace test
