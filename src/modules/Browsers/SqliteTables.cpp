#include "modules/Browsers/SqliteTables.h"

#include <sqlite3.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "libs/plist/Utf.h"
#include "libs/sys/Log.h"

namespace modules {
namespace {

struct CloseConnection {
    void operator()(sqlite3* db) const { sqlite3_close(db); }
};
struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Connection = std::unique_ptr<sqlite3, CloseConnection>;
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

Statement prepare(sqlite3* db, const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        sqlite3_finalize(statement);
        return nullptr;
    }
    return Statement(statement);
}

// A value as text, as the platform makes a string of it: up to its first NUL (a blob is taken as
// a C string), and nothing at all when the bytes are not UTF-8.
std::optional<std::string_view> text_of(sqlite3_stmt* statement, int column) {
    const unsigned char* text = sqlite3_column_text(statement, column);
    if (!text) return std::nullopt;
    const std::string_view view(reinterpret_cast<const char*>(text));
    if (!plist::utf::is_valid_utf8(view)) return std::nullopt;
    return view;
}

std::vector<std::string> table_names(sqlite3* db) {
    sys::log_line("Retrieving table names.");
    std::vector<std::string> names;
    Statement statement = prepare(db, "SELECT name FROM sqlite_master WHERE type='table'");
    if (!statement) {
        sys::log_line("Could not retrieve table names.");
        return names;
    }
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
        if (auto name = text_of(statement.get(), 0)) names.emplace_back(*name);
    }
    return names;
}

plist::Array column_names(sqlite3* db, const std::string& table) {
    sys::logf("Retrieving column names from table: {}", table);
    plist::Array columns;
    Statement statement = prepare(db, "pragma table_info ('" + table + "')");
    if (!statement) {
        sys::logf("Could not retrieve columns in table: {}", table);
        return columns;
    }
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
        if (auto name = text_of(statement.get(), 1)) columns.emplace_back(*name);
    }
    return columns;
}

plist::TextRows rows_of(sqlite3* db, const std::string& table) {
    sys::logf("Retrieving data (rows)from table: {}", table);
    plist::TextRows rows;
    Statement statement = prepare(db, "SELECT * FROM " + table);
    if (!statement) {
        sys::logf("Could not retrieve rows from table: {}", table);
        return rows;
    }
    sys::log_line("Get column count.");
    const int count = sqlite3_column_count(statement.get());
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
        rows.begin_row();
        for (int column = 0; column < count; ++column) {
            if (!sqlite3_column_text(statement.get(), column)) {
                rows.add("NULL");
            } else if (auto text = text_of(statement.get(), column)) {
                rows.add(*text);
            }
        }
    }
    return rows;
}

}  // namespace

plist::Dictionary read_sqlite_tables(const std::filesystem::path& database) {
    plist::Dictionary tables;
    sqlite3* opened = nullptr;
    // One thread uses the connection, so SQLite need not lock it on every column it hands out.
    const int status = sqlite3_open_v2(database.c_str(), &opened,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    Connection db(opened);
    if (status != SQLITE_OK) return tables;

    const std::vector<std::string> names = table_names(db.get());
    sys::log_line("Retrieving table column/data.");
    for (const std::string& name : names) {
        sys::logf("Retrieving information from table: {}", name);
        plist::Dictionary table;
        table["Columns"] = column_names(db.get(), name);
        table["Data"] = rows_of(db.get(), name);
        tables.insert_or_assign(name, std::move(table));
    }
    return tables;
}

}  // namespace modules
