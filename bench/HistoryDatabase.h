// A browser "History" database of the shape and text lengths the Browsers module meets on a busy
// machine: 300 000 URLs, a million visits, and the small tables beside them. The same bytes on
// every run and platform (a fixed seed, and no standard distribution, whose algorithm each library
// picks for itself), so figures from two machines describe the same work.
#pragma once

#include <sqlite3.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

namespace history {

// How many rows each table gets; the default is the busy machine's.
struct Shape {
    std::int64_t urls = 300000;
    std::int64_t visits = 1000000;
    std::int64_t downloads = 2000;
    std::int64_t search_terms = 3000;

    std::int64_t rows() const { return 4 + urls + visits + downloads + search_terms; }
};

// Chrome-style time: microseconds since 1601-01-01, here early 2024, and a year of it.
constexpr std::int64_t kNow = 13350000000000000;
constexpr std::int64_t kYear = std::int64_t{365} * 24 * 3600 * 1000000;

class Database {
public:
    Database(const std::filesystem::path& file, int flags) {
        if (sqlite3_open_v2(file.c_str(), &db_, flags, nullptr) != SQLITE_OK) {
            const std::string reason = sqlite3_errmsg(db_);
            sqlite3_close(db_);
            throw std::runtime_error(file.string() + ": " + reason);
        }
    }
    ~Database() { sqlite3_close(db_); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    sqlite3* get() const { return db_; }
    void exec(const char* sql) const {
        if (sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
            throw std::runtime_error(std::string(sqlite3_errmsg(db_)) + " in: " + sql);
        }
    }

private:
    sqlite3* db_ = nullptr;
};

class Statement {
public:
    Statement(const Database& db, const std::string& sql) {
        if (sqlite3_prepare_v2(db.get(), sql.c_str(), -1, &statement_, nullptr) != SQLITE_OK) {
            throw std::runtime_error(std::string(sqlite3_errmsg(db.get())) + " in: " + sql);
        }
    }
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    sqlite3_stmt* get() const { return statement_; }
    bool next() { return sqlite3_step(statement_) == SQLITE_ROW; }

    // One INSERT of the values in column order: integers, texts, nullopt for NULL. The texts
    // are bound without a copy; they outlive the step, being arguments of this very call.
    template <typename... Values>
    void insert(const Values&... values) {
        int column = 0;
        (bind(++column, values), ...);
        if (sqlite3_step(statement_) != SQLITE_DONE) {
            throw std::runtime_error(sqlite3_errmsg(sqlite3_db_handle(statement_)));
        }
        sqlite3_reset(statement_);
    }

private:
    void bind(int column, std::int64_t value) { sqlite3_bind_int64(statement_, column, value); }
    void bind(int column, std::string_view text) {
        sqlite3_bind_text(statement_, column, text.data(), static_cast<int>(text.size()),
                          SQLITE_STATIC);
    }
    void bind(int column, const std::string& text) { bind(column, std::string_view(text)); }
    void bind(int column, const char* text) { bind(column, std::string_view(text)); }
    void bind(int column, std::optional<std::string_view> text) {
        if (text) {
            bind(column, *text);
        } else {
            sqlite3_bind_null(statement_, column);
        }
    }

    sqlite3_stmt* statement_ = nullptr;
};

class Random {
public:
    explicit Random(std::uint64_t seed = 20240101) : engine_(seed) {}
    std::int64_t below(std::int64_t bound) {
        return static_cast<std::int64_t>(engine_() % static_cast<std::uint64_t>(bound));
    }
    std::int64_t between(std::int64_t low, std::int64_t high) {
        return low + below(high - low + 1);
    }
    bool percent(int chance) { return below(100) < chance; }
    template <std::size_t N>
    std::string_view pick(const std::array<std::string_view, N>& choices) {
        return choices[static_cast<std::size_t>(below(N))];
    }

private:
    std::mt19937_64 engine_;  // the engine, unlike the distributions, is the same everywhere
};

// Titles carry what real ones do: ampersands, a dash outside ASCII, accented words.
constexpr std::array<std::string_view, 48> kWords = {
    "news",   "search",  "video",   "watch",  "login",    "account", "settings", "docs",
    "blog",   "article", "product", "review", "weather",  "maps",    "travel",   "recipes",
    "sports", "music",   "shop",    "cart",   "download", "release", "support",  "help",
    "forum",  "wiki",    "photos",  "mail",   "finance",  "market",  "science",  "games",
    "jobs",   "events",  "tickets", "hotel",  "Q&A",      "—",       "Café",     "Zürich",
    "How",    "to",      "the",     "and",    "for",      "2024",    "Home",     "Guide"};
constexpr std::array<std::string_view, 10> kSubdomains = {
    "www", "mail", "docs", "news", "shop", "m", "app", "blog", "support", "accounts"};
constexpr std::array<std::string_view, 12> kSites = {
    "northwind", "bluefern",   "redpine", "quartzly",  "mapleleaf",   "silverbay",
    "oakridge",  "brightpath", "lumenly", "tidewater", "stonebridge", "cloudnest"};
constexpr std::array<std::string_view, 7> kTopLevel = {".com",   ".org", ".net", ".io",
                                                       ".co.uk", ".de",  ".fr"};
constexpr std::array<std::string_view, 6> kMimeTypes = {
    "application/pdf",          "application/zip", "image/png",
    "application/octet-stream", "text/csv",        "application/x-apple-diskimage"};
constexpr std::array<std::string_view, 3> kDevices = {
    "Z3k9vQx1bL7mWc2TnR8yHg==", "pA4sD6fG8hJ0kL2zX4cV6b==", "qW1eR3tY5uI7oP9aS0dF2g=="};
// Link, typed, reload and redirect visits with their chain bits, as the browser stores them.
constexpr std::array<std::int64_t, 6> kTransitions = {805306368, 805306369, 268435456,
                                                      536870912, 838860808, 805306375};

inline std::string url(Random& random) {
    const auto length = static_cast<std::size_t>(random.between(40, 200));
    std::string text = "https://";
    text.append(random.pick(kSubdomains)).append(".");
    text.append(random.pick(kSites)).append(random.pick(kTopLevel));
    while (text.size() < length) {
        switch (random.below(4)) {
            case 0:
                text.append("/").append(std::to_string(random.below(1000000)));
                break;
            case 1:
                text.append(text.find('?') == std::string::npos ? "?" : "&");
                text.append(random.pick(kSites)).append("=").append(random.pick(kSites));
                break;
            default:
                text.append("/").append(random.pick(kSites)).append("-");
                text.append(random.pick(kSubdomains));
        }
    }
    text.resize(length);  // ASCII only, so any cut is a whole character
    return text;
}

// Whole words up to the drawn length, so that no multi-byte character is cut.
inline std::string title(Random& random) {
    const auto length = static_cast<std::size_t>(random.below(121));
    std::string text;
    for (;;) {
        const std::string_view word = random.pick(kWords);
        if (text.size() + 1 + word.size() > length) return text;
        if (!text.empty()) text += ' ';
        text += word;
    }
}

inline std::string guid(Random& random) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string text;
    for (int i = 0; i < 32; ++i) {
        if (i == 8 || i == 12 || i == 16 || i == 20) text += '-';
        text += kHex[random.below(16)];
    }
    return text;
}

inline void create_tables(const Database& db) {
    db.exec(
        "CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
        "CREATE TABLE urls(id INTEGER PRIMARY KEY, url LONGVARCHAR, title LONGVARCHAR,"
        " visit_count INTEGER DEFAULT 0 NOT NULL, typed_count INTEGER DEFAULT 0 NOT NULL,"
        " last_visit_time INTEGER NOT NULL, hidden INTEGER DEFAULT 0 NOT NULL);"
        "CREATE TABLE visits(id INTEGER PRIMARY KEY, url INTEGER NOT NULL,"
        " visit_time INTEGER NOT NULL, from_visit INTEGER, transition INTEGER DEFAULT 0 NOT NULL,"
        " segment_id INTEGER, visit_duration INTEGER DEFAULT 0 NOT NULL,"
        " incremented_omnibox_typed_score BOOLEAN DEFAULT FALSE NOT NULL, opener_visit INTEGER,"
        " originator_cache_guid TEXT, originator_visit_id INTEGER, originator_from_visit INTEGER,"
        " originator_opener_visit INTEGER, is_known_to_sync BOOLEAN DEFAULT FALSE NOT NULL,"
        " consider_for_ntp_most_visited BOOLEAN DEFAULT FALSE NOT NULL,"
        " visited_link_id INTEGER DEFAULT 0 NOT NULL, app_id TEXT);"
        "CREATE TABLE downloads(id INTEGER PRIMARY KEY, guid VARCHAR NOT NULL,"
        " current_path LONGVARCHAR NOT NULL, target_path LONGVARCHAR NOT NULL,"
        " start_time INTEGER NOT NULL, received_bytes INTEGER NOT NULL,"
        " total_bytes INTEGER NOT NULL, state INTEGER NOT NULL, danger_type INTEGER NOT NULL,"
        " interrupt_reason INTEGER NOT NULL, end_time INTEGER NOT NULL, opened INTEGER NOT NULL,"
        " referrer VARCHAR NOT NULL, tab_url VARCHAR NOT NULL, mime_type VARCHAR(255) NOT NULL);"
        "CREATE TABLE keyword_search_terms(keyword_id INTEGER NOT NULL, url_id INTEGER NOT NULL,"
        " term LONGVARCHAR NOT NULL, normalized_term LONGVARCHAR NOT NULL);");
}

inline void fill_urls(const Database& db, Random& random, const Shape& shape) {
    Statement insert(db, "INSERT INTO urls VALUES (?, ?, ?, ?, ?, ?, ?)");
    for (std::int64_t id = 1; id <= shape.urls; ++id) {
        const std::int64_t visits = random.percent(70) ? random.between(1, 5) : random.below(300);
        insert.insert(id, url(random), title(random), visits, random.percent(10) ? 1 : 0,
                      kNow - random.below(kYear), random.percent(5) ? 1 : 0);
    }
}

inline void fill_visits(const Database& db, Random& random, const Shape& shape) {
    Statement insert(
        db, "INSERT INTO visits VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    for (std::int64_t id = 1; id <= shape.visits; ++id) {
        const std::int64_t time =
            kNow - kYear + id * (kYear / shape.visits) + random.below(1000000);
        const bool synced = random.percent(15);
        const std::string_view device = synced ? random.pick(kDevices) : "";
        const auto app =
            id % 37 == 0 ? std::optional<std::string_view>("org.northwind.reader") : std::nullopt;
        insert.insert(id, random.between(1, shape.urls), time, random.percent(40) ? id - 1 : 0,
                      kTransitions[static_cast<std::size_t>(random.below(kTransitions.size()))],
                      random.percent(30) ? random.below(5000) : 0, random.below(600000000),
                      random.percent(5) ? 1 : 0, 0, device, synced ? random.below(shape.visits) : 0,
                      0, 0, synced ? 1 : 0, random.percent(50) ? 1 : 0, random.below(shape.urls),
                      app);
    }
}

inline void fill_small_tables(const Database& db, Random& random, const Shape& shape) {
    Statement meta(db, "INSERT INTO meta VALUES (?, ?)");
    meta.insert("mmap_status", "-1");
    meta.insert("version", "68");
    meta.insert("last_compatible_version", "16");
    meta.insert("early_expiration_threshold", std::to_string(kNow - kYear));

    Statement downloads(
        db, "INSERT INTO downloads VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    for (std::int64_t id = 1; id <= shape.downloads; ++id) {
        const std::string path = "/Users/bench/Downloads/" + std::string(random.pick(kSites)) +
                                 "-" + std::to_string(id) + ".pdf";
        const std::int64_t bytes = random.below(400000000);
        const std::int64_t start = kNow - random.below(kYear);
        downloads.insert(id, guid(random), path, path, start, bytes, bytes, 1, 0, 0,
                         start + random.below(60000000), random.percent(30) ? 1 : 0, url(random),
                         url(random), random.pick(kMimeTypes));
    }

    Statement terms(db, "INSERT INTO keyword_search_terms VALUES (?, ?, ?, ?)");
    for (std::int64_t i = 0; i < shape.search_terms; ++i) {
        const std::string term = std::string(random.pick(kWords)) + " " +
                                 std::string(random.pick(kSites)) + " " +
                                 std::string(random.pick(kWords));
        terms.insert(2, random.between(1, shape.urls), term, term);
    }
}

// Writes the database at file (replacing it) and returns its number of rows.
inline std::int64_t generate(const std::filesystem::path& file, const Shape& shape = {},
                             std::uint64_t seed = 20240101) {
    std::filesystem::remove(file);
    const Database db(file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    db.exec("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; BEGIN");
    Random random(seed);
    create_tables(db);
    fill_urls(db, random, shape);
    fill_visits(db, random, shape);
    fill_small_tables(db, random, shape);
    db.exec(
        "CREATE INDEX urls_url_index ON urls(url);"
        "CREATE INDEX visits_url_index ON visits(url);"
        "COMMIT");
    return shape.rows();
}

}  // namespace history
