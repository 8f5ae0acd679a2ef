// Processes holding network sockets, UNIX-domain sockets and pipes, from the open-files lister.
#include <simdjson.h>

#include "libs/sys/Log.h"
#include "modules/Net/LsofFields.h"
#include "modules/Net/Net.h"

namespace modules {

plist::Dictionary Net::lsofInfo() {
    platform::LiveSystem* live = machine_.live();
    if (!live) return {};

    sys::log_line("Running lsof...");
    const platform::Command lsof = live->lsof_command();
    // A machine without the lister (minimal Linux systems have none) keeps the rest of the report.
    const std::optional<std::string> output =
        sys::run_if_startable(machine_.programs(), lsof.program, lsof.arguments);
    if (!output) return {};
    // The runner launches and reads to the end in one call; the lines keep their order.
    sys::log_line("lsof finished.");
    sys::log_line("Output read.");
    if (!simdjson::validate_utf8(output->data(), output->size())) {
        sys::log_line("lsof initWithData failed!");
        return {};
    }
    sys::log_line("Output converted to string.");
    sys::log_line("Output splitted in lines.");
    sys::log_line("Parsing the output...");
    plist::Dictionary table = parse_lsof_fields(*output);
    sys::log_line("lsof done!");
    return table;
}

}  // namespace modules
