#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>

#include "libs/Disk/Disk.h"
#include "libs/sys/ProgramRunner.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"
#include "support/TempDir.h"

namespace {

using Lines = std::vector<std::string>;

constexpr const char* kEmptyMd5 = "d41d8cd98f00b204e9800998ecf8427e";

// The digest as md5sum computes it, independently of the code under test.
std::string md5sum_of(const std::filesystem::path& file) {
    sys::ProgramRunner programs;
    return programs.run("md5sum", {file.string()}).substr(0, 32);
}

// Content that crosses every read-size boundary and is not all one byte value.
std::string patterned(std::size_t size) {
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<char>((i * 131 + i / 7) & 0xff);
    return content;
}

TEST(DiskGetFileMd5, MatchesAnIndependentDigestForSmallEmptyAndMultiChunkFiles) {
    test::TempDir root;
    const sys::FileSystem files(root.path());
    root.write("empty", "");
    const auto small = root.write("small", "hello\n");
    const auto large = root.write("large", patterned((1 << 20) + 12345));
    test::CapturedLog log;

    EXPECT_EQ(Disk::get_file_md5(files, "/empty"), kEmptyMd5);
    EXPECT_EQ(Disk::get_file_md5(files, "/small"), "b1946ac92492d2347c6235b4d2611184");
    EXPECT_EQ(Disk::get_file_md5(files, "/small"), md5sum_of(small));
    EXPECT_EQ(Disk::get_file_md5(files, "/large"), md5sum_of(large));

    const auto messages = test::log_messages(log.text());
    ASSERT_GE(messages.size(), 2u);
    EXPECT_EQ(messages[0], "Generated md5 for file at: /empty");
    EXPECT_EQ(messages[1], kEmptyMd5);
}

TEST(DiskGetFileMd5, UnusablePathsGetThePlaceholder) {
    test::TempDir root;
    const sys::FileSystem files(root.path());
    root.mkdir("folder");
    root.symlink("dangling", "/nowhere");
    test::CapturedLog log;

    for (const char* path : {"/missing", "/folder", "/dangling", ""}) {
        EXPECT_EQ(Disk::get_file_md5(files, path), Disk::kMissingFileMd5) << path;
    }
    EXPECT_EQ(test::log_messages(log.text()),
              (Lines{"ERROR GETTING FILE MD5 for:/missing", "ERROR GETTING FILE MD5 for:/folder",
                     "ERROR GETTING FILE MD5 for:/dangling", "ERROR GETTING FILE MD5 for:"}));
}

// A hostile report can name a FIFO or a device: the call must come back instead of waiting for
// a writer or reading an endless stream. The wait only turns a hang into a failure: a thread
// stuck on such a file cannot be cancelled, so the binary stops there.
TEST(DiskGetFileMd5, FifoAndDeviceGetThePlaceholderWithoutBlocking) {
    test::TempDir root;
    const auto fifo = root / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const sys::FileSystem fixture(root.path());
    const sys::FileSystem live("/");
    test::CapturedLog log;

    auto hashing = std::async(std::launch::async, [&] {
        return std::vector<std::string>{Disk::get_file_md5(fixture, "/fifo"),
                                        Disk::get_file_md5(live, "/dev/zero"),
                                        Disk::get_file_md5(live, "/dev/null")};
    });
    if (hashing.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
        std::fprintf(stdout, "FAILED: hashing a FIFO or a device blocked\n");
        std::fflush(stdout);
        std::_Exit(1);
    }
    const std::string placeholder(Disk::kMissingFileMd5);
    EXPECT_EQ(hashing.get(), (Lines{placeholder, placeholder, placeholder}));
    EXPECT_TRUE(log.contains("ERROR GETTING FILE MD5 for:/dev/zero"));
}

TEST(DiskGetMd5Array, ManyFilesKeepTheirOrderInResultAndLog) {
    test::TempDir root;
    const sys::FileSystem files(root.path());
    std::vector<std::string> paths;
    Lines expected_md5s;
    for (int i = 0; i < 40; ++i) {
        const std::string name = "/bin/tool" + std::to_string(i);
        const auto host = root.write(name, patterned(static_cast<std::size_t>(i) * 7919));
        paths.push_back(name);
        expected_md5s.push_back(i % 10 == 0 ? md5sum_of(host) : std::string());
    }
    paths.insert(paths.begin() + 5, "/bin/missing");
    paths.push_back("/bin/tool3");  // the same path twice: both slots, both logged
    test::CapturedLog log;

    const Lines md5s = Disk::get_md5_array(files, paths);

    ASSERT_EQ(md5s.size(), paths.size());
    EXPECT_EQ(md5s[5], Disk::kMissingFileMd5);
    EXPECT_EQ(md5s.back(), md5s[3]);  // "/bin/tool3" sits before the missing file
    EXPECT_EQ(md5s[0], kEmptyMd5);
    for (std::size_t i = 0; i < expected_md5s.size(); ++i) {
        const std::size_t slot = i < 5 ? i : i + 1;
        if (!expected_md5s[i].empty()) {
            EXPECT_EQ(md5s[slot], expected_md5s[i]) << paths[slot];
        }
    }

    Lines expected_log;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        if (md5s[i] == Disk::kMissingFileMd5) {
            expected_log.push_back("ERROR GETTING FILE MD5 for:" + paths[i]);
        } else {
            expected_log.push_back("Generated md5 for file at: " + paths[i]);
            expected_log.push_back(md5s[i]);
        }
    }
    EXPECT_EQ(test::log_messages(log.text()), expected_log);
}

TEST(DiskGetSamplesDictionary, JoinsEveryReportAndListsEachPathOnce) {
    test::TempDir root;
    const sys::FileSystem files(root.path());
    root.write("bin/a", "a");
    root.write("bin/b", "b");
    const Disk::Results results{{"Autoruns", {"/bin/a", "/bin/missing"}},
                                {"Processes", {"/bin/b", "/bin/a", "/bin/b"}},
                                {"Net", {}}};
    test::CapturedLog log;

    const Disk::SamplesDictionary samples = Disk::get_samples_dictionary(files, results);

    EXPECT_EQ(samples, (Disk::SamplesDictionary{
                           {"/bin/a", "0cc175b9c0f1b6a831c399e269772661"},
                           {"/bin/b", "92eb5ffee6ae2fec3ad71c777531578f"},
                           {"/bin/missing", std::string(Disk::kMissingFileMd5)},
                       }));
    EXPECT_TRUE(Disk::get_samples_dictionary(files, {}).empty());
}

}  // namespace
