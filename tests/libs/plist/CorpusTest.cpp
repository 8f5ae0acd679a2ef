#include <gtest/gtest.h>

#include <filesystem>

#include "PythonPlistlib.h"
#include "libs/plist/Reader.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using plist::Array;
using plist::Dictionary;
using plist::Value;

const fs::path kCorpus = TVTRIAGE_CORPUS_DIR;

TEST(PlistCorpus, BinaryAndXmlFilesReadAsPythonsPlistlibReadsThem) {
    if (!fs::is_directory(kCorpus)) GTEST_SKIP() << "no corpus at " << kCorpus;
    if (!plist_test::python_available()) GTEST_SKIP() << "python3 is not installed";
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(kCorpus)) {
        const std::string head =
            entry.is_regular_file() ? test::read_text(entry.path()).substr(0, 64) : "";
        const std::size_t first = head.find_first_not_of(" \t\r\n");
        if (head.starts_with("bplist") || (first != std::string::npos && head[first] == '<')) {
            files.push_back(entry.path().string());
        }
    }
    ASSERT_GT(files.size(), 40u);
    const auto expected = plist_test::python_dumps(files);
    ASSERT_EQ(expected.size(), files.size());
    for (const std::string& file : files) {
        std::string error;
        const auto value = plist::parse(test::read_text(file), &error);
        if (file.ends_with("misc/plaso/truncated.plist")) {
            EXPECT_FALSE(value);
        } else if (!file.ends_with("artemis_malformed/bad_plist.btm")) {
            // (libplist decodes that file's broken base64 leniently, where plistlib refuses it.)
            ASSERT_TRUE(value) << file << ": " << error;
            EXPECT_EQ(plist_test::canonical(*value), expected.at(file)) << file;
        }
    }
}

TEST(PlistCorpus, StartupParameterFilesReadAsTheyShow) {
    if (!fs::is_directory(kCorpus)) GTEST_SKIP() << "no corpus at " << kCorpus;
    const fs::path items = kCorpus / "startup/StartupItems";
    const auto read = [&](const char* item) {
        return plist::parse(test::read_text(items / item / "StartupParameters.plist"));
    };
    EXPECT_EQ(read("Disks"), Value(Dictionary{{"Description", "local disks"},
                                              {"Provides", Array{"Disks"}},
                                              {"Requires", Array{"SecurityServer"}},
                                              {"Uses", Array{"System Tuning"}}}));
    int files = 0;
    for (const auto& item : fs::directory_iterator(items)) {
        const auto value = read(item.path().filename().c_str());
        ASSERT_TRUE(value) << item.path();
        EXPECT_TRUE(value->find("Description")->as_string()) << item.path();
        EXPECT_FALSE(value->find("Provides")->as_array()->empty()) << item.path();
        ++files;
    }
    EXPECT_EQ(files, 9);
}

}  // namespace
