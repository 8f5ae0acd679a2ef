#include "libs/sys/Text.h"

namespace sys {

std::vector<std::string> split_skipping_empty(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t end = text.find(separator, start);
        if (end == std::string_view::npos) end = text.size();
        if (end > start) pieces.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

}  // namespace sys
