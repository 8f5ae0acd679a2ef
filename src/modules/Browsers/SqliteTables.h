// Any SQLite database as a table dictionary: table name -> {"Columns": names in declared order,
// "Data": every row of "SELECT *", each value as text}. SQL NULL is the text "NULL"; a value or a
// column name that is not valid UTF-8 is left out, so that row (or "Columns") is one shorter.
// Table names are placed in the queries unescaped, so a name with a blank or a quote leaves that
// table's "Columns" or "Data" empty, with the reason logged.
#pragma once

#include <filesystem>

#include "libs/plist/Value.h"

namespace modules {

// Reads the database file on the host, which must be a private copy: the connection may write
// beside it (a checkpointed journal, a shared-memory index). Logs each step from "Retrieving table
// names." on. Never throws; a file that does not open gives an empty dictionary.
plist::Dictionary read_sqlite_tables(const std::filesystem::path& database);

}  // namespace modules
