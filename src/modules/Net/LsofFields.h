// The open-files lister's field output ("-F cnt": one field per line, its tag character first)
// turned into the "lsof" table of "Net.plist".
#pragma once

#include <string_view>

#include "libs/plist/Value.h"

namespace modules {

// Process id text -> {"command": the command current at its first connection record,
// "net": [{"type", "name"}, ...] in output order}. Only IPv4, IPv6, unix and pipe files count;
// a process without one is absent. The current type carries over descriptor and process lines,
// so a file without its own type line is judged by the last type seen. Linux prints anonymous
// pipes as type "FIFO" named "pipe"; they are recorded as "PIPE", as macOS prints them.
plist::Dictionary parse_lsof_fields(std::string_view output);

}  // namespace modules
