// Databases made by tests: a connection to a file, SQL run on it, closed at the end of scope.
#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace test {

class SqliteFile {
public:
    explicit SqliteFile(const std::filesystem::path& file) {
        std::filesystem::create_directories(file.parent_path());
        if (sqlite3_open(file.c_str(), &db_) != SQLITE_OK) throw std::runtime_error("open");
    }
    ~SqliteFile() { sqlite3_close(db_); }
    SqliteFile(const SqliteFile&) = delete;
    SqliteFile& operator=(const SqliteFile&) = delete;

    SqliteFile& run(const std::string& sql) {
        char* error = nullptr;
        if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
            const std::string reason = error ? error : "?";
            sqlite3_free(error);
            throw std::runtime_error(sql + ": " + reason);
        }
        return *this;
    }

private:
    sqlite3* db_ = nullptr;
};

// A file of SQL statements made into a database and closed.
inline void make_database(const std::filesystem::path& file, const std::string& sql) {
    SqliteFile(file).run(sql);
}

}  // namespace test
