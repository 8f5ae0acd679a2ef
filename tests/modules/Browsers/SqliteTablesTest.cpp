#include "modules/Browsers/SqliteTables.h"

#include <gtest/gtest.h>

#include <sstream>

#include "libs/sys/ProgramRunner.h"
#include "support/CapturedLog.h"
#include "support/SqliteFile.h"
#include "support/TempDir.h"

namespace modules {
namespace {

namespace fs = std::filesystem;
using plist::Array, plist::Dictionary, plist::Value;

Array data_of(const Dictionary& tables, const std::string& table) {
    return tables.at(table).find("Data")->as_rows()->to_array();
}

TEST(SqliteTables, EveryTableAndRowAsText) {
    test::TempDir dir;
    const fs::path file = dir / "db.sqlite";
    test::make_database(file, R"(
        CREATE TABLE empty (a INTEGER, b TEXT);
        CREATE TABLE items (id INTEGER, name TEXT, blob BLOB, ratio REAL);
        INSERT INTO items VALUES (42, NULL, x'6869', 0.5);
        INSERT INTO items VALUES (NULL, 'NULL', x'00ff', -1);
        INSERT INTO items VALUES (7, CAST(x'c328' AS TEXT), x'41', 2);
        CREATE TABLE "with blank" (x);
        INSERT INTO "with blank" VALUES (1);
        CREATE TABLE "quo'te" (y);
    )");
    test::CapturedLog log;
    const Dictionary tables = read_sqlite_tables(file);

    EXPECT_EQ(tables.at("empty").find("Columns")->as_array()->size(), 2u);
    EXPECT_EQ(data_of(tables, "empty"), Array{});
    EXPECT_EQ(*tables.at("items").find("Columns"), Value(Array{"id", "name", "blob", "ratio"}));
    // A blob is read up to its first NUL, so "\0\xff" is the empty string; text that is not
    // UTF-8 is left out and the row is one value short.
    EXPECT_EQ(data_of(tables, "items"),
              (Array{Array{"42", "NULL", "hi", "0.5"}, Array{"NULL", "NULL", "", "-1.0"},
                     Array{"7", "A", "2.0"}}));
    // Unescaped names: the blank breaks the row query, the quote the column query too.
    EXPECT_EQ(*tables.at("with blank").find("Columns"), Value(Array{"x"}));
    EXPECT_EQ(data_of(tables, "with blank"), Array{});
    EXPECT_EQ(*tables.at("quo'te").find("Columns"), Value(Array{}));
    EXPECT_TRUE(log.contains("Could not retrieve rows from table: with blank"));
    EXPECT_TRUE(log.contains("Could not retrieve columns in table: quo'te"));
    EXPECT_TRUE(log.contains("Retrieving data (rows)from table: items"));
}

TEST(SqliteTables, NoTablesAndNoDatabaseGiveEmptyDictionaries) {
    test::TempDir dir;
    test::make_database(dir / "none.sqlite", "PRAGMA user_version = 3;");
    dir.write("text.sqlite", "not a database at all, just some text that is long enough");
    test::CapturedLog log;
    EXPECT_EQ(read_sqlite_tables(dir / "none.sqlite"), Dictionary{});
    EXPECT_EQ(read_sqlite_tables(dir / "text.sqlite"), Dictionary{});
    EXPECT_TRUE(log.contains("Could not retrieve table names."));
}

// Every table, its row count and its column count as python's sqlite3 module sees them in the
// real databases, each opened only as a private copy.
TEST(SqliteTables, CorpusDatabasesAsPythonSeesThem) {
    const fs::path corpus = TVTRIAGE_CORPUS_DIR;
    if (!fs::exists(corpus)) GTEST_SKIP() << "corpus not present at " << corpus;
    if (std::system("command -v python3 >/dev/null 2>&1") != 0) GTEST_SKIP() << "no python3";
    const std::vector<std::string> names{
        "safari/artemis/History.db",          "safari/plaso/History.db",
        "safari/browserexport/History.db",    "chrome/hindsight_v01/History",
        "chrome/hindsight_v30/History",       "chrome/hindsight_v60/History",
        "chrome/grr_v29_macos/History",       "chrome/plaso/History",
        "chrome/plaso/History-57.0.2987.133", "chrome/plaso/History-59.0.3071.86",
        "chrome/artemis_v51_linux/History",   "chrome/flutter_chrome111_win/History",
        "firefox/plaso/places.sqlite",        "firefox/plaso/downloads.sqlite",
        "firefox/browserexport/places.sqlite"};
    test::TempDir dir;
    std::ostringstream ours;
    std::vector<std::string> arguments{"-c", R"py(
import sqlite3, shutil, sys, os
for i, name in enumerate(sys.argv[2:]):
    f = os.path.join(sys.argv[1], str(i)); shutil.copy(name, f)
    c = sqlite3.connect(f)
    for (t,) in sorted(c.execute("select name from sqlite_master where type='table'")):
        n = c.execute('select count(*) from "%s"' % t).fetchone()[0]
        print(name, t, n, len(c.execute("pragma table_info('%s')" % t).fetchall()))
    c.close()
)py",
                                       (dir / "python").string()};
    fs::create_directory(dir / "python");
    for (const std::string& name : names) {
        const fs::path copy = dir / "copy.sqlite";
        fs::copy_file(corpus / name, copy, fs::copy_options::overwrite_existing);
        test::CapturedLog quiet;
        for (const auto& [table, content] : read_sqlite_tables(copy)) {
            ours << (corpus / name).string() << ' ' << table << ' '
                 << content.find("Data")->as_rows()->size() << ' '
                 << content.find("Columns")->as_array()->size() << '\n';
        }
        arguments.push_back((corpus / name).string());
    }
    EXPECT_EQ(ours.str(), sys::ProgramRunner().run("python3", arguments));
}

}  // namespace
}  // namespace modules
