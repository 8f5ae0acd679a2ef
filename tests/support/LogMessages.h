// The messages of a captured log, without the time stamp and process prefix of each line, so
// that tests can compare whole messages and their order. A message spanning several lines (a
// description text) comes back whole.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace test {

std::vector<std::string> log_messages(std::string_view log_text);

}  // namespace test
