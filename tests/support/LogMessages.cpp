#include "support/LogMessages.h"

#include <regex>

namespace test {

std::vector<std::string> log_messages(std::string_view log_text) {
    static const std::regex kPrefix(
        R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} tvtriage\[\d+:\d+\] )");
    std::vector<std::string> messages;
    while (!log_text.empty()) {
        std::size_t end = log_text.find('\n');
        std::string line(log_text.substr(0, end));
        std::smatch prefix;
        if (std::regex_search(line, prefix, kPrefix)) {
            messages.push_back(prefix.suffix());
        } else if (!messages.empty()) {
            // No prefix: the next line of a message that holds line breaks.
            messages.back() += '\n';
            messages.back() += line;
        } else {
            messages.push_back(line);
        }
        if (end == std::string_view::npos) break;
        log_text.remove_prefix(end + 1);
    }
    return messages;
}

}  // namespace test
