#include <gtest/gtest.h>

#include <filesystem>

#include "PythonPlistlib.h"
#include "libs/plist/Reader.h"
#include "libs/plist/XmlWriter.h"
#include "support/TempDir.h"

namespace plist {
namespace {

namespace fs = std::filesystem;
const fs::path kCorpus = TVTRIAGE_CORPUS_DIR;

// Each binary and XML file, and our XML of what we read from it, load alike in Python's plistlib.
TEST(PlistCorpus, BinaryAndXmlFilesReadAsPythonsPlistlibReadsThem) {
    if (!fs::is_directory(kCorpus)) GTEST_SKIP() << "no corpus at " << kCorpus;
    if (!plist_test::python_available()) GTEST_SKIP() << "python3 is not installed";
    test::TempDir dir;
    std::vector<std::pair<std::string, std::string>> pairs;
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(kCorpus)) {
        const std::string file = entry.path().string();
        const std::string text = entry.is_regular_file() ? test::read_text(file) : "";
        const std::size_t first = text.find_first_not_of(" \t\r\n");
        if ((!text.starts_with("bplist") && (first == std::string::npos || text[first] != '<')) ||
            file.ends_with("artemis_malformed/bad_plist.btm")) {
            continue;  // (libplist decodes that file's broken base64 leniently; plistlib refuses)
        }
        std::string error;
        const auto value = parse(text, &error);
        if (file.ends_with("misc/plaso/truncated.plist")) {
            EXPECT_FALSE(value);
            continue;
        }
        ASSERT_TRUE(value) << file << ": " << error;
        const auto rewrite = dir.write(std::to_string(files.size()) + ".plist", to_xml(*value));
        pairs.emplace_back(file, rewrite.string());
        files.push_back(file);
    }
    ASSERT_GT(files.size(), 40u);
    EXPECT_EQ(plist_test::python_agreeing(pairs), files);
}

}  // namespace
}  // namespace plist
