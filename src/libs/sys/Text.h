// Small text helpers shared by path handling and option parsing.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sys {

// The pieces between separators, empty pieces left out ("/a//b/" gives "a", "b").
std::vector<std::string> split_skipping_empty(std::string_view text, char separator);

}  // namespace sys
