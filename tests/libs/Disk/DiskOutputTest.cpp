#include <gtest/gtest.h>

#include <stdexcept>

#include "libs/Disk/Disk.h"
#include "libs/plist/OldStyle.h"
#include "libs/plist/Reader.h"
#include "libs/sys/Exception.h"
#include "libs/sys/Log.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"
#include "support/ScratchOutput.h"

// Outside the anonymous namespace: a call stack names only exported functions.
namespace disk_errors_test {

[[gnu::noinline]] void read_past_the_end() {
    static_cast<void>(std::vector<int>().at(3));
}

}  // namespace disk_errors_test

namespace {

using plist::Array, plist::Dictionary, plist::Value;
using Lines = std::vector<std::string>;

// A module's log and property list: emptied when the module starts; the property list written as
// XML over an old file, or as its description when it holds a null; the log appended to.
TEST(DiskModuleFiles, EmptiedWrittenAndTheLogAppendedAcrossRedirections) {
    test::ScratchOutput scratch;
    const sys::OutputPath folder = scratch.folder("Net");
    const sys::OutputPath file = folder / "Net.plist";
    scratch.dir().write("tvtriage/Net/Net.plist", "left over");
    scratch.dir().write("tvtriage/Net/Net.log", "from an earlier run\n");
    scratch.dir().mkdir("tvtriage/Net/Blocked.log/x");  // a folder where the file should go
    test::CapturedLog log;

    Disk::create_empty_files(folder, {"Net.plist", "Blocked.log", "Extra.txt"});
    EXPECT_EQ(test::read_text(file.path()), "");
    EXPECT_TRUE(std::filesystem::is_regular_file(folder.path() / "Extra.txt"));
    EXPECT_EQ(test::log_messages(log.text()),
              Lines{"Error in creating file " + (folder / "Blocked.log").string() + "."});

    const Value plain(Dictionary{{"lsof", Array{"a", "b"}}, {"count", 3}});
    const Value with_null(Dictionary{{"Chrome", Dictionary{{"homepage", plist::Null{}}}}});
    scratch.dir().write("tvtriage/Net/Net.plist", std::string(5000, 'x'));
    Disk::write_plist(plain, file);
    EXPECT_EQ(plist::parse(test::read_text(file.path())), plain);
    Disk::write_plist(with_null, file);
    EXPECT_EQ(plist::parse(test::read_text(file.path())), Value(plist::describe(with_null)));
    EXPECT_TRUE(log.contains("property lists cannot contain objects of type 'CFNull'"));
    // A file that cannot be opened fails both attempts.
    Disk::write_plist(plain, scratch.run_folder() / "no-such-folder/Net.plist");
    EXPECT_TRUE(log.contains("Writing as string failed."));

    for (const auto& [name, line] :
         {std::pair{"Net.log", "first"}, {"Other.log", "elsewhere"}, {"Net.log", "second"}}) {
        Disk::redirectLog(folder, name);
        sys::log_line(line);
    }
    EXPECT_EQ(test::log_messages(test::read_text(folder.path() / "Net.log")),
              (Lines{"from an earlier run", "first", "second"}));
    EXPECT_EQ(test::log_messages(test::read_text(folder.path() / "Other.log")), Lines{"elsewhere"});
}

TEST(DiskGetFile, ReadsUtf8TextAndRefusesWhatIsNotText) {
    test::TempDir root;
    const std::string utf8 = "127.0.0.1 localhost\n# caf\xc3\xa9\n";
    root.write("etc/hosts", utf8);
    root.write("etc/latin1", "caf\xe9\n");
    for (const auto& [path, text] :
         {std::pair{"/etc/hosts", utf8}, {"/etc/latin1", ""}, {"/etc/missing", ""}}) {
        test::CapturedLog log;
        EXPECT_EQ(Disk::getFile(sys::FileSystem(root.path()), path, "hosts"), text) << path;
        EXPECT_EQ(log.contains("hosts file does not exist!"), text.empty()) << path;
    }
}

// The six lines log_error gives of what `fails` throws; the last two, the call stack's symbols
// and return addresses, must read back as arrays of one non-zero length.
Lines crash_report(void (*fails)()) {
    test::CapturedLog log;
    try {
        fails();
    } catch (const std::exception& e) {
        Disk::log_error(e, "MODULE");
    }
    Lines lines = test::log_messages(log.text());
    EXPECT_EQ(lines.size(), 6u) << log.text();
    lines.resize(6);
    const auto symbols = plist::parse_old_style(lines[4]);
    const auto addresses = plist::parse_old_style(lines[5]);
    const std::size_t depth = symbols && symbols->as_array() ? symbols->as_array()->size() : 0;
    EXPECT_TRUE(depth > 0 && addresses && addresses->as_array() &&
                addresses->as_array()->size() == depth)
        << log.text();
    return lines;
}

TEST(DiskLogError, SixLinesWithNameReasonUserInfoAndCallStack) {
    const Lines report = crash_report([] {
        throw sys::Exception("NSRangeException", "index 4 beyond bounds [0 .. 2]", "{key = 1;}");
    });
    EXPECT_EQ(Lines(report.begin(), report.begin() + 4),
              (Lines{"MODULE CRASHED", "NSRangeException", "index 4 beyond bounds [0 .. 2]",
                     "{key = 1;}"}));

    // The C++ library throws it and the handler reports it: it is named after its type, and the
    // stack is the thrower's, not the handler's.
    const Lines standard = crash_report(disk_errors_test::read_past_the_end);
    EXPECT_EQ(standard[1] + " " + standard[3], "std::out_of_range (null)");
    EXPECT_NE(standard[4].find("read_past_the_end"), std::string::npos) << standard[4];
    EXPECT_EQ(standard[4].find("log_error"), std::string::npos) << standard[4];
    EXPECT_EQ(standard[4].find("__cxa_throw"), std::string::npos) << standard[4];
    // With no record of a throw, the stack is where it is reported.
    EXPECT_FALSE(sys::report_of(std::out_of_range("map::at")).stack.symbols.empty());
}

// What the platform does: print the description, replace the text, parse it back.
Dictionary through_description_text(const Dictionary& dictionary) {
    std::string text = plist::describe(Value(dictionary));
    for (std::size_t at; (at = text.find("<null>")) != std::string::npos;)
        text.replace(at, 6, "null value");
    return *plist::parse_old_style(text)->as_dict();
}

TEST(DiskSanitizeJsonDict, GivesWhatTheDescriptionTextReadsBackAs) {
    const plist::Null null;
    const Dictionary report{
        {"list", Array{null, 7, -3, Array{null, true, false}}},
        {"nested", Dictionary{{"deeper", Dictionary{{"gone", null}, {"ratio", 0.5}}}}},
        {"text", "before <null> after <<null>null>>"},
        {"escapes", "quote \" slash \\ tab \t é 🙂"},
        {"<null>", "key text"},
        {"a<null>", "renamed, then replaced by the later key"},
        {"anull value", "kept"},
        {"blob", plist::Data{0xde, 0xad}},
        {"when", plist::Date{-1.5}},
        {"big", Value(18446744073709551615ull)},
    };
    const Dictionary sanitized = Disk::sanitize_json_dict(report);
    EXPECT_EQ(sanitized, through_description_text(report));
    EXPECT_EQ(sanitized.at("text"), Value("before null value after <null valuenull>>"));
    EXPECT_EQ(sanitized.at("anull value"), Value("kept"));
}

TEST(DiskSanitizeJsonDict, CleansDatabaseRowsInPlaceOfTheirText) {
    plist::TextRows rows;
    rows.begin_row();
    rows.add("<nu");
    rows.add("ll>");  // a find across two cells is no null
    rows.begin_row();
    rows.add("x<null>");
    const Dictionary sanitized = Disk::sanitize_json_dict(Dictionary{{"Data", rows}});
    EXPECT_EQ(sanitized.at("Data").as_rows()->to_array(),
              (Array{Array{"<nu", "ll>"}, Array{"xnull value"}}));
}

}  // namespace
