// Whole reads and writes on a file descriptor, retried across interruptions and short transfers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sys {

// False when the descriptor refused part of the data.
bool write_all(int fd, std::string_view data);

// Everything up to end of file; empty on a read error or when more than limit bytes come.
std::optional<std::string> read_all(int fd, std::size_t limit = static_cast<std::size_t>(-1));

// The entry names of an open folder ("." and ".." left out), sorted so that runs are
// reproducible; the descriptor stays open and unmoved. None when the folder cannot be read.
std::optional<std::vector<std::string>> list_folder(int folder);

// Copies from in to out until end of file. False when a read or write fails, or when in holds
// more than limit bytes: then at most limit bytes were written.
bool copy_at_most(int in, int out, std::uint64_t limit);

}  // namespace sys
