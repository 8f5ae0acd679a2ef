// Whole reads and writes on a file descriptor, retried across interruptions and short transfers.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace sys {

// False when the descriptor refused part of the data.
bool write_all(int fd, std::string_view data);

// Everything up to end of file; empty on a read error or when more than limit bytes come.
std::optional<std::string> read_all(int fd, std::size_t limit = static_cast<std::size_t>(-1));

}  // namespace sys
