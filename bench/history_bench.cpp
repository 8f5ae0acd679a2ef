// A browser history of 1.3 million rows through the module's path (read every table, sanitise,
// write the XML property list) against two floors on the same database: reading every value into
// strings (floor 1), and that plus streaming the same XML with the writer's events (floor 2).
// Each run is a child process of its own, so that its peak resident size is that phase's alone;
// the child times itself on the wall clock and reports through a pipe. The figures to watch are
// ours / floor 2 in time and ours / floor 1 in memory. Teardown is left out of every timing.
//
//   bench_history [DATABASE]   or   TVTRIAGE_BENCH_HISTORY=DATABASE bench_history
// reuses an existing database there, or generates one there and keeps it; without either, one is
// generated in the temporary folder. TVTRIAGE_BIN=path/to/tvtriage also times a whole run of the
// Browsers module on the same database.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "HistoryDatabase.h"
#include "Support.h"
#include "libs/Disk/Disk.h"
#include "libs/plist/XmlWriter.h"
#include "libs/sys/Log.h"
#include "modules/Browsers/SqliteTables.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kRepetitions = 3;
constexpr char kHistoryInRoot[] =
    "Users/bench/Library/Application Support/Google/Chrome/Default/History";

// What a child sends back through its pipe.
struct Outcome {
    double seconds = 0;
    std::int64_t rows = 0;
    std::int64_t bytes = 0;  // of the XML written, when there is one
};

using Measurement = bench::FromChild<Outcome>;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// The best time and the largest peak of a few runs.
template <typename Work>
std::optional<Measurement> best_of_runs(const Work& work) {
    std::optional<Measurement> best;
    for (int run = 0; run < kRepetitions; ++run) {
        const std::optional<Measurement> measured = work();
        if (!measured) return std::nullopt;
        if (!best) {
            best = measured;
        } else {
            best->result.seconds = std::min(best->result.seconds, measured->result.seconds);
            best->peak_mib = std::max(best->peak_mib, measured->peak_mib);
        }
    }
    return best;
}

void print(const char* phase, const std::optional<Measurement>& measured) {
    if (!measured) {
        std::printf("%-12s failed\n", phase);
        return;
    }
    std::printf("%-12s %8.3f s %9.1f MiB peak", phase, measured->result.seconds,
                measured->peak_mib);
    if (measured->result.bytes > 0) {
        std::printf(" %14lld bytes of XML", static_cast<long long>(measured->result.bytes));
    }
    std::printf("\n");
}

// ---- The floors: the least any reader of every value as text, then any XML writer, can do ----

struct Table {
    std::string name;
    std::vector<std::string> columns;
    std::vector<std::vector<std::string>> rows;
};

std::vector<Table> load_tables(const fs::path& database) {
    const history::Database db(database, SQLITE_OPEN_READONLY);
    std::vector<Table> tables;
    history::Statement names(db, "SELECT name FROM sqlite_master WHERE type='table'");
    while (names.next()) {
        tables.emplace_back().name =
            reinterpret_cast<const char*>(sqlite3_column_text(names.get(), 0));
    }
    for (Table& table : tables) {
        history::Statement select(db, "SELECT * FROM " + table.name);
        const int count = sqlite3_column_count(select.get());
        for (int column = 0; column < count; ++column) {
            table.columns.emplace_back(sqlite3_column_name(select.get(), column));
        }
        while (select.next()) {
            std::vector<std::string>& row = table.rows.emplace_back();
            row.reserve(static_cast<std::size_t>(count));
            for (int column = 0; column < count; ++column) {
                const unsigned char* text = sqlite3_column_text(select.get(), column);
                if (text) {
                    row.emplace_back(reinterpret_cast<const char*>(text),
                                     sqlite3_column_bytes(select.get(), column));
                } else {
                    row.emplace_back("NULL");
                }
            }
        }
    }
    return tables;
}

// The sizes summed, so that no part of the load can be left out.
std::int64_t count_rows(const std::vector<Table>& tables, std::size_t* text_bytes) {
    std::int64_t rows = 0;
    for (const Table& table : tables) {
        rows += static_cast<std::int64_t>(table.rows.size());
        for (const auto& row : table.rows) {
            for (const std::string& cell : row) *text_bytes += cell.size();
        }
    }
    return rows;
}

bool write_tables_xml(std::vector<Table>& tables, int fd) {
    std::sort(tables.begin(), tables.end(),
              [](const Table& a, const Table& b) { return a.name < b.name; });
    plist::XmlWriter xml(fd);
    xml.begin_document();
    xml.begin_dict();
    for (const Table& table : tables) {
        xml.key(table.name);
        xml.begin_dict();
        xml.key("Columns");
        xml.begin_array();
        for (const std::string& column : table.columns) xml.string(column);
        xml.end_array();
        xml.key("Data");
        xml.begin_array();
        for (const auto& row : table.rows) {
            xml.begin_array();
            for (const std::string& cell : row) xml.string(cell);
            xml.end_array();
        }
        xml.end_array();
        xml.end_dict();
    }
    xml.end_dict();
    xml.end_document();
    return xml.ok();
}

Outcome load(const fs::path& database) {
    const auto start = Clock::now();
    const std::vector<Table> tables = load_tables(database);
    std::size_t text_bytes = 0;
    const std::int64_t rows = count_rows(tables, &text_bytes);
    const double seconds = seconds_since(start);
    if (text_bytes == 0) throw std::runtime_error("no text loaded");
    return {seconds, rows, 0};
}

Outcome load_and_write(const fs::path& database, const fs::path& xml_file) {
    const auto start = Clock::now();
    std::vector<Table> tables = load_tables(database);
    std::size_t text_bytes = 0;
    const std::int64_t rows = count_rows(tables, &text_bytes);
    const int fd = ::open(xml_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    const bool written = write_tables_xml(tables, fd);
    ::close(fd);
    const double seconds = seconds_since(start);
    const auto bytes = static_cast<std::int64_t>(fs::file_size(xml_file));
    fs::remove(xml_file);
    if (!written) throw std::runtime_error("the XML could not be written");
    return {seconds, rows, bytes};
}

// ---- Ours: what the Browsers module does with a history file ----

Outcome read_sanitize_write(const fs::path& database, const fs::path& folder) {
    const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    sys::redirect_log(null);  // a few lines per table, not what is measured
    ::close(null);
    const fs::path copy = folder / "ours.db";  // the reader may write beside its file
    const fs::path xml_file = folder / "ours.xml";
    fs::copy_file(database, copy, fs::copy_options::overwrite_existing);

    const auto start = Clock::now();
    plist::Dictionary tables = modules::read_sqlite_tables(copy);
    tables = Disk::sanitize_json_dict(std::move(tables));
    const plist::Value report(std::move(tables));  // held, so its teardown is not timed
    const int fd = ::open(xml_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    std::string error;
    const bool written = plist::write_xml(report, fd, &error);
    ::close(fd);
    const double seconds = seconds_since(start);

    std::int64_t rows = 0;
    for (const auto& [name, table] : *report.as_dict()) {
        if (const plist::TextRows* data = table.as_dict()->at("Data").as_rows()) {
            rows += static_cast<std::int64_t>(data->size());
        }
    }
    const auto bytes = static_cast<std::int64_t>(fs::file_size(xml_file));
    fs::remove(copy);
    fs::remove(xml_file);
    if (!written) throw std::runtime_error(error);
    return {seconds, rows, bytes};
}

// ---- The whole program, when one is named ----

std::string last_line(const fs::path& file) {
    std::ifstream in(file);
    std::string line, last;
    while (std::getline(in, line)) {
        if (!line.empty()) last = line;
    }
    return last;
}

// posix_spawn rather than fork: the child then never holds a copy of this process, so its peak
// is the program's own.
std::optional<Measurement> run_program(const std::vector<std::string>& arguments,
                                       const fs::path& log, int* exit_status) {
    std::vector<char*> argv;
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, log.c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0644);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    const auto start = Clock::now();
    pid_t pid = 0;
    const int failed = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failed) {
        *exit_status = 127;  // as a shell reports a program it cannot start
        return std::nullopt;
    }
    int status = 0;
    rusage usage{};
    ::wait4(pid, &status, 0, &usage);
    const double seconds = seconds_since(start);
    *exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (*exit_status != 0) return std::nullopt;
    return Measurement{{seconds, 0, 0}, bench::peak_mib(usage)};
}

void time_whole_program(const std::string& program, const fs::path& database,
                        const fs::path& folder) {
    const fs::path root = folder / "root";
    const fs::path work = folder / "work";
    const fs::path archive = folder / "out.zip";
    const fs::path log = folder / "tvtriage.log";
    fs::create_directories((root / kHistoryInRoot).parent_path());
    const std::vector<std::string> arguments = {
        program,     "--root",      root.string(), "--modules",      "Browsers",
        "--workdir", work.string(), "--output",    archive.string(), "--quiet"};
    int exit_status = 0;
    const auto measured = best_of_runs([&] {
        fs::copy_file(database, root / kHistoryInRoot, fs::copy_options::overwrite_existing);
        fs::remove_all(work);
        fs::create_directories(work);
        fs::remove(archive);
        return run_program(arguments, log, &exit_status);
    });
    if (!measured) {
        const std::string why = last_line(log);
        std::printf("tvtriage     skipped: the run failed (exit status %d)%s%s\n", exit_status,
                    why.empty() ? "" : ": ", why.c_str());
        return;
    }
    std::printf("%-12s %8.3f s %9.1f MiB peak %14lld bytes of archive\n", "tvtriage",
                measured->result.seconds, measured->peak_mib,
                static_cast<long long>(fs::file_size(archive)));
}

std::int64_t rows_in(const fs::path& database) {
    const history::Database db(database, SQLITE_OPEN_READONLY);
    std::vector<std::string> tables;
    history::Statement names(db, "SELECT name FROM sqlite_master WHERE type='table'");
    while (names.next()) {
        tables.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(names.get(), 0)));
    }
    std::int64_t rows = 0;
    for (const std::string& table : tables) {
        history::Statement count(db, "SELECT count(*) FROM " + table);
        if (count.next()) rows += sqlite3_column_int64(count.get(), 0);
    }
    return rows;
}

}  // namespace

int main(int argc, char** argv) {
    const bench::ScratchFolder scratch("tvtriage-history-bench");
    const fs::path& folder = scratch.path();
    const char* named = argc > 1 ? argv[1] : std::getenv("TVTRIAGE_BENCH_HISTORY");
    const fs::path database = named ? fs::path(named) : folder / "History";

    // Generated and counted in children too, so that this process stays small: every child
    // starts as a copy of it.
    const auto prepared = bench::in_child([&] {
        const auto start = Clock::now();
        const bool reuse = fs::exists(database);
        const std::int64_t rows = reuse ? rows_in(database) : history::generate(database);
        return Outcome{reuse ? -1.0 : seconds_since(start), rows, 0};
    });
    if (!prepared) {
        std::printf("the database could not be prepared at %s\n", database.c_str());
        return 1;
    }
    std::printf("database     %s: %.1f MiB, %lld rows", database.c_str(),
                static_cast<double>(fs::file_size(database)) / (1024 * 1024),
                static_cast<long long>(prepared->result.rows));
    if (prepared->result.seconds >= 0) {
        std::printf(", generated in %.2f s", prepared->result.seconds);
    }
    std::printf("\n");

    const auto floor1 =
        best_of_runs([&] { return bench::in_child([&] { return load(database); }); });
    print("floor 1", floor1);
    const auto floor2 = best_of_runs([&] {
        return bench::in_child([&] { return load_and_write(database, folder / "floor.xml"); });
    });
    print("floor 2", floor2);
    const auto ours = best_of_runs(
        [&] { return bench::in_child([&] { return read_sanitize_write(database, folder); }); });
    print("ours", ours);

    if (floor1 && floor2 && ours) {
        std::printf("time   ours / floor 2: %.2f (goal <= 2.0)\n",
                    ours->result.seconds / floor2->result.seconds);
        std::printf("memory ours / floor 1: %.2f (goal <= 1.5)\n",
                    ours->peak_mib / floor1->peak_mib);
        if (ours->result.rows != floor1->result.rows ||
            ours->result.bytes != floor2->result.bytes) {
            std::printf("note: ours and the floors differ in rows or XML bytes\n");
        }
    }

    if (const char* program = std::getenv("TVTRIAGE_BIN")) {
        time_whole_program(program, database, folder);
    }
    return floor1 && floor2 && ours ? 0 : 1;
}
