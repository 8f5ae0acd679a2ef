// A large macOS machine as a tree for --root: fifty users with Safari, Chrome and Firefox
// histories of 1.3 million rows in all (a few users browse a lot, most little), thousands of
// browser extensions, 2,000 launch jobs, crontabs and startup items, and 300 executables of
// random bytes, 1 GB together, that the jobs start. The same bytes on every run, as for
// HistoryDatabase.h.
#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "HistoryDatabase.h"

namespace large_machine {

namespace fs = std::filesystem;

constexpr int kUsers = 50;
constexpr int kLaunchJobs = 2000;
constexpr int kSamples = 300;
constexpr std::uint64_t kSampleBytes = 1000000000;
constexpr std::int64_t kHistoryRows = 1300000;
constexpr int kChromeExtensionsPerUser = 60;
constexpr int kFirefoxAddonsPerUser = 20;
constexpr int kSafariExtensionsPerUser = 10;

// What was made, for the benchmark to print.
struct Summary {
    int users = 0;
    int launch_jobs = 0;
    int samples = 0;
    std::uint64_t sample_bytes = 0;
    std::int64_t history_rows = 0;
    int extensions = 0;  // Chrome's each a manifest file of its own
};

inline fs::path inside(const fs::path& root, const std::string& absolute) {
    return root / absolute.substr(1);
}

inline void write_file(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out) throw std::runtime_error("cannot write " + file.string());
}

inline std::string xml_plist(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD "
           "PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n" +
           body + "\n</plist>\n";
}

inline std::string user_name(int user) {
    return "user" + std::to_string(100 + user);
}

// Where sample i lives: application bundles, vendors' support folders and command-line tools.
inline std::string sample_path(int sample) {
    const std::string n = std::to_string(sample);
    switch (sample % 3) {
        case 0:
            return "/Applications/App" + n + ".app/Contents/MacOS/App" + n;
        case 1:
            return "/Library/Application Support/Vendor" + n + "/agent" + n;
        default:
            return "/usr/local/bin/tool" + n;
    }
}

// Sizes from 0.4 MB up, scaled so that they add up to kSampleBytes, each under the 10 MB copy
// limit.
inline std::vector<std::uint64_t> sample_sizes(history::Random& random) {
    std::vector<std::uint64_t> sizes;
    std::uint64_t drawn = 0;
    for (int i = 0; i < kSamples; ++i) {
        sizes.push_back(static_cast<std::uint64_t>(random.between(400000, 6200000)));
        drawn += sizes.back();
    }
    std::uint64_t total = 0;
    for (std::uint64_t& size : sizes) {
        size = size * kSampleBytes / drawn;
        total += size;
    }
    sizes.back() += kSampleBytes - total;
    return sizes;
}

inline std::uint64_t write_samples(const fs::path& root, history::Random& random) {
    std::mt19937_64 bytes(7);
    std::vector<std::uint64_t> chunk(1 << 17);
    std::uint64_t written = 0;
    const std::vector<std::uint64_t> sizes = sample_sizes(random);
    for (int i = 0; i < kSamples; ++i) {
        const fs::path file = inside(root, sample_path(i));
        fs::create_directories(file.parent_path());
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        for (std::uint64_t left = sizes[static_cast<std::size_t>(i)]; left > 0;) {
            for (std::uint64_t& word : chunk) word = bytes();
            const std::uint64_t now = std::min<std::uint64_t>(left, chunk.size() * 8);
            out.write(reinterpret_cast<const char*>(chunk.data()),
                      static_cast<std::streamsize>(now));
            left -= now;
            written += now;
        }
        if (!out) throw std::runtime_error("cannot write " + file.string());
        fs::permissions(file,
                        fs::perms::owner_all | fs::perms::group_read | fs::perms::others_read);
        if (i % 3 == 0) {
            const std::string name = "App" + std::to_string(i);
            write_file(inside(root, "/Applications/" + name + ".app/Contents/Info.plist"),
                       xml_plist("<dict><key>CFBundleExecutable</key><string>" + name +
                                 "</string><key>CFBundleIdentifier</key><string>org.vendor." +
                                 name + "</string></dict>"));
        }
    }
    return written;
}

// One job in five names an executable that is not there, as on machines with leftovers; the
// others take the samples in turn, so that every sample is started by some job.
inline std::string launch_job(int job) {
    const std::string label =
        "org.vendor" + std::to_string(job % 97) + ".job" + std::to_string(job);
    const int live_before = job - job / 5;
    const std::string program = job % 5 == 4 ? "/usr/libexec/gone" + std::to_string(job)
                                             : sample_path(live_before % kSamples);
    std::string body = "<dict><key>Label</key><string>" + label + "</string>";
    if (job % 7 == 0) {
        body += "<key>Program</key><string>" + program + "</string>";
    } else {
        body += "<key>ProgramArguments</key><array><string>" + program +
                "</string><string>--daemon</string><string>--config=/Library/Preferences/" + label +
                ".plist</string></array>";
    }
    body +=
        "<key>RunAtLoad</key><true/><key>KeepAlive</key><dict><key>SuccessfulExit</key><false/>"
        "</dict><key>StartInterval</key><integer>" +
        std::to_string(300 + job) +
        "</integer><key>EnvironmentVariables</key><dict><key>PATH</key>"
        "<string>/usr/bin:/bin:/usr/sbin:/sbin</string></dict><key>StandardOutPath</key>"
        "<string>/var/log/" +
        label + ".log</string></dict>";
    return xml_plist(body);
}

inline int write_persistence(const fs::path& root) {
    // 500 in users' folders, the rest spread over the four system folders.
    const std::string folders[] = {"/Library/LaunchAgents", "/Library/LaunchDaemons",
                                   "/System/Library/LaunchAgents", "/System/Library/LaunchDaemons"};
    constexpr int kPerUser = 10;
    int job = 0;
    for (int user = 0; user < kUsers; ++user) {
        for (int i = 0; i < kPerUser; ++i, ++job) {
            write_file(inside(root, "/Users/" + user_name(user) + "/Library/LaunchAgents/job" +
                                        std::to_string(job) + ".plist"),
                       launch_job(job));
        }
    }
    for (; job < kLaunchJobs; ++job) {
        write_file(inside(root, folders[job % 4] + "/job" + std::to_string(job) + ".plist"),
                   launch_job(job));
    }

    for (int user = 0; user < 10; ++user) {
        std::string table = "SHELL=/bin/sh\n";
        for (int line = 0; line < 5; ++line) {
            table += "*/" + std::to_string(5 + line) + " * * * * " +
                     sample_path((user * 5 + line) * 3 % kSamples) + " --quiet >/dev/null 2>&1\n";
        }
        write_file(inside(root, "/usr/lib/cron/tabs/" + user_name(user)), table);
    }
    for (int item = 0; item < 3; ++item) {
        const std::string name = "Item" + std::to_string(item);
        const std::string folder = "/Library/StartupItems/" + name;
        write_file(inside(root, folder + "/StartupParameters.plist"),
                   xml_plist("<dict><key>Description</key><string>" + name +
                             "</string><key>Provides</key><array><string>" + name +
                             "</string></array></dict>"));
        write_file(inside(root, folder + "/" + name), "#!/bin/sh\n. /etc/rc.common\n");
    }
    return job;
}

// ---- Browsers ----

inline void safari_history(const fs::path& file, std::int64_t rows, history::Random& random) {
    const std::int64_t items = std::max<std::int64_t>(1, rows / 4);
    const history::Database db(file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    db.exec(
        "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; BEGIN;"
        "CREATE TABLE history_items (id INTEGER PRIMARY KEY AUTOINCREMENT,url TEXT NOT NULL "
        "UNIQUE,domain_expansion TEXT NULL,visit_count INTEGER NOT NULL,daily_visit_counts BLOB "
        "NOT NULL,weekly_visit_counts BLOB NULL,autocomplete_triggers BLOB NULL,"
        "should_recompute_derived_visit_counts INTEGER NOT NULL,visit_count_score INTEGER NOT "
        "NULL);"
        "CREATE TABLE history_visits (id INTEGER PRIMARY KEY AUTOINCREMENT,history_item INTEGER "
        "NOT NULL,visit_time REAL NOT NULL,title TEXT NULL,load_successful BOOLEAN NOT NULL "
        "DEFAULT 1,http_non_get BOOLEAN NOT NULL DEFAULT 0,synthesized BOOLEAN NOT NULL DEFAULT "
        "0,redirect_source INTEGER NULL,redirect_destination INTEGER NULL,origin INTEGER NOT "
        "NULL DEFAULT 0,generation INTEGER NOT NULL DEFAULT 0,attributes INTEGER NOT NULL "
        "DEFAULT 0,score INTEGER NOT NULL DEFAULT 0);"
        "CREATE TABLE metadata (key TEXT NOT NULL UNIQUE, value);"
        "INSERT INTO metadata VALUES ('version', 20);");
    history::Statement item(db, "INSERT INTO history_items VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)");
    for (std::int64_t id = 1; id <= items; ++id) {
        // Visit counts are packed integers in the real file: bytes that are not text.
        const std::string daily(static_cast<std::size_t>(random.between(4, 16)),
                                static_cast<char>(random.below(256)));
        item.insert(id, history::url(random) + "#" + std::to_string(id),
                    std::optional<std::string_view>(), random.between(1, 40), daily,
                    std::optional<std::string_view>(), std::optional<std::string_view>(), 0,
                    random.between(100, 9000));
    }
    history::Statement visit(
        db, "INSERT INTO history_visits VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    for (std::int64_t id = 1; id <= rows - items; ++id) {
        // Seconds since 2001-01-01; the column's affinity stores them as REAL.
        visit.insert(id, random.between(1, items), std::int64_t{725000000} + id * 20,
                     history::title(random), 1, 0, 0, std::optional<std::string_view>(),
                     std::optional<std::string_view>(), 0, 0, 0, random.below(100));
    }
    db.exec("COMMIT");
}

inline void firefox_places(const fs::path& file, std::int64_t rows, history::Random& random) {
    const std::int64_t places = std::max<std::int64_t>(1, rows / 4);
    const history::Database db(file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    db.exec(
        "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; BEGIN;"
        "CREATE TABLE moz_places (id INTEGER PRIMARY KEY, url LONGVARCHAR, title LONGVARCHAR, "
        "rev_host LONGVARCHAR, visit_count INTEGER DEFAULT 0, hidden INTEGER DEFAULT 0 NOT NULL, "
        "typed INTEGER DEFAULT 0 NOT NULL, frecency INTEGER DEFAULT -1 NOT NULL, "
        "last_visit_date INTEGER, guid TEXT, foreign_count INTEGER DEFAULT 0 NOT NULL, url_hash "
        "INTEGER DEFAULT 0 NOT NULL);"
        "CREATE TABLE moz_historyvisits (id INTEGER PRIMARY KEY, from_visit INTEGER, place_id "
        "INTEGER, visit_date INTEGER, visit_type INTEGER, session INTEGER);");
    history::Statement place(db,
                             "INSERT INTO moz_places VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    for (std::int64_t id = 1; id <= places; ++id) {
        const std::string url = history::url(random);
        const std::string host = url.substr(8, url.find('/', 8) - 8);
        place.insert(id, url, history::title(random), std::string(host.rbegin(), host.rend()) + ".",
                     random.between(1, 30), 0, random.percent(10) ? 1 : 0, random.below(20000),
                     history::kNow - random.below(history::kYear),
                     history::guid(random).substr(0, 12), 0, random.below(1LL << 47));
    }
    history::Statement visit(db, "INSERT INTO moz_historyvisits VALUES (?, ?, ?, ?, ?, ?)");
    for (std::int64_t id = 1; id <= rows - places; ++id) {
        visit.insert(id, random.percent(30) ? id - 1 : 0, random.between(1, places),
                     history::kNow - history::kYear + id * 1000000, random.between(1, 9), 0);
    }
    db.exec("COMMIT");
}

inline std::string chrome_manifest(int user, int extension) {
    return "{\"manifest_version\": 3, \"name\": \"Extension " + std::to_string(extension) +
           "\", \"version\": \"1." + std::to_string(user) +
           "\", \"description\": \"Helps with pages of " +
           std::string(
               history::kSites[static_cast<std::size_t>(extension) % history::kSites.size()]) +
           "\", \"permissions\": [\"tabs\", \"storage\", \"cookies\", \"<all_urls>\"], "
           "\"background\": {\"service_worker\": \"background.js\"}, \"content_scripts\": "
           "[{\"matches\": [\"https://*/*\"], \"js\": [\"content.js\"]}], \"icons\": {\"16\": "
           "\"icon16.png\", \"128\": \"icon128.png\"}}";
}

inline std::string extension_id(int extension) {
    std::string id;
    for (int i = 0, n = extension * 7919 + 17; i < 32; ++i, n = n * 31 + 7) {
        id += static_cast<char>('a' + (static_cast<unsigned>(n) >> 3) % 16);
    }
    return id;
}

// Returns the rows written and adds the extensions made to *extensions.
inline std::int64_t write_browsers(const fs::path& root, history::Random& random, int* extensions) {
    for (const char* app : {"Safari", "Google Chrome", "Firefox"}) {
        write_file(inside(root, std::string("/Applications/") + app + ".app/Contents/Info.plist"),
                   xml_plist(std::string("<dict><key>CFBundleName</key><string>") + app +
                             "</string><key>CFBundleShortVersionString</key><string>120.0"
                             "</string></dict>"));
    }
    // User u browses in proportion to 1 / (u + 1); half of it in Chrome, the rest in Safari
    // and Firefox.
    double weights = 0;
    for (int user = 0; user < kUsers; ++user) weights += 1.0 / (user + 1);
    std::int64_t rows = 0;
    for (int user = 0; user < kUsers; ++user) {
        const auto share =
            static_cast<std::int64_t>(static_cast<double>(kHistoryRows) / (user + 1) / weights);
        const std::string home = "/Users/" + user_name(user);
        const std::string library = home + "/Library";

        const std::int64_t chrome_rows = share / 2;
        history::Shape shape;
        shape.downloads = chrome_rows / 500;
        shape.search_terms = chrome_rows / 300;
        shape.urls = chrome_rows / 4;
        shape.visits = chrome_rows - 4 - shape.urls - shape.downloads - shape.search_terms;
        const std::string chrome = library + "/Application Support/Google/Chrome/Default";
        fs::create_directories(inside(root, chrome));
        rows += history::generate(inside(root, chrome + "/History"), shape,
                                  static_cast<std::uint64_t>(user));
        std::string preferences =
            "{\"browser\": {\"has_seen_welcome_page\": true}, "
            "\"profile\": {\"name\": \"Person 1\"}, \"extensions\": "
            "{\"settings\": {";
        for (int extension = 0; extension < kChromeExtensionsPerUser; ++extension) {
            const std::string id = extension_id(extension);
            write_file(inside(root, chrome + "/Extensions/" + id + "/1." + std::to_string(user) +
                                        "_0/manifest.json"),
                       chrome_manifest(user, extension));
            preferences += (extension ? ", \"" : "\"") + id +
                           "\": {\"state\": 1, \"install_time\": \"13350000000000000\"}";
        }
        write_file(inside(root, chrome + "/Preferences"), preferences + "}}}");
        *extensions += kChromeExtensionsPerUser;

        const std::int64_t safari_rows = share * 3 / 10;
        fs::create_directories(inside(root, library + "/Safari"));
        safari_history(inside(root, library + "/Safari/History.db"), safari_rows, random);
        rows += safari_rows + 1;
        std::string installed = "<dict><key>Installed Extensions</key><array>";
        for (int extension = 0; extension < kSafariExtensionsPerUser; ++extension) {
            installed += "<dict><key>Archive File Name</key><string>Extension" +
                         std::to_string(extension) +
                         ".safariextz</string><key>Enabled</key><true/></dict>";
        }
        write_file(inside(root, library + "/Safari/Extensions/Extensions.plist"),
                   xml_plist(installed + "</array></dict>"));
        write_file(inside(root, library + "/Preferences/com.apple.Safari.plist"),
                   xml_plist("<dict><key>HomePage</key><string>https://www.northwind.com/"
                             "</string><key>DownloadsPath</key><string>~/Downloads</string>"
                             "</dict>"));
        *extensions += kSafariExtensionsPerUser;

        const std::int64_t firefox_rows = share - chrome_rows - safari_rows;
        const std::string profile =
            library + "/Application Support/Firefox/Profiles/a1b2c3d4.default-release";
        fs::create_directories(inside(root, profile));
        firefox_places(inside(root, profile + "/places.sqlite"), firefox_rows, random);
        rows += firefox_rows;
        std::string addons = "{\"schemaVersion\": 35, \"addons\": [";
        for (int addon = 0; addon < kFirefoxAddonsPerUser; ++addon) {
            addons += std::string(addon ? ", " : "") + "{\"id\": \"addon" + std::to_string(addon) +
                      "@vendor.org\", \"version\": \"2." + std::to_string(addon) +
                      "\", \"active\": true, \"defaultLocale\": "
                      "{\"name\": \"Add-on " +
                      std::to_string(addon) + "\"}}";
        }
        write_file(inside(root, profile + "/extensions.json"), addons + "]}");
        write_file(inside(root, profile + "/prefs.js"),
                   "user_pref(\"browser.startup.homepage\", \"https://www.bluefern.org\");\n"
                   "user_pref(\"network.proxy.type\", 0);\n");
        *extensions += kFirefoxAddonsPerUser;
    }
    return rows;
}

// Makes the tree at root, which must not exist yet.
inline Summary build(const fs::path& root) {
    if (fs::exists(root)) throw std::runtime_error(root.string() + " exists already");
    history::Random random(2024);
    Summary made;
    made.users = kUsers;
    made.samples = kSamples;
    made.sample_bytes = write_samples(root, random);
    made.launch_jobs = write_persistence(root);
    made.history_rows = write_browsers(root, random, &made.extensions);
    return made;
}

}  // namespace large_machine
