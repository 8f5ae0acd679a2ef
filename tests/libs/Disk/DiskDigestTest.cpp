#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <iostream>

#include "libs/Disk/Disk.h"
#include "libs/sys/ProgramRunner.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"
#include "support/TempDir.h"

namespace {

using Lines = std::vector<std::string>;

// Each distinct path is hashed once, on several threads, yet every occurrence keeps its slot and
// its log lines, in the order given.
TEST(DiskDigest, MatchesAnIndependentDigestInOrderWithDuplicates) {
    test::TempDir root;
    root.write("a", "a");
    // Content that crosses every read-size boundary and is not all one byte value.
    std::string content((1 << 20) + 12345, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 131 + i / 7);
    const std::string big = root.write("large", content).string();
    const std::string kLarge = sys::ProgramRunner().run("md5sum", {big}).substr(0, 32);
    const std::string kA = "0cc175b9c0f1b6a831c399e269772661";
    test::CapturedLog log;

    EXPECT_EQ(Disk::get_md5_array(sys::FileSystem(root.path()), {"/a", "/missing", "/large", "/a"}),
              (Lines{kA, std::string(Disk::kMissingFileMd5), kLarge, kA}));
    EXPECT_EQ(
        test::log_messages(log.text()),
        (Lines{"Generated md5 for file at: /a", kA, "ERROR GETTING FILE MD5 for:/missing",
               "Generated md5 for file at: /large", kLarge, "Generated md5 for file at: /a", kA}));
}

// A hostile report can name a FIFO or a device: the call must come back instead of waiting for
// a writer or reading an endless stream. The wait only turns a hang into a failure: a thread
// stuck on such a file cannot be cancelled, so the binary stops there.
TEST(DiskDigest, UnusablePathsGetThePlaceholderWithoutBlocking) {
    test::TempDir root;
    root.mkdir("folder");
    ASSERT_EQ(::mkfifo((root / "fifo").c_str(), 0600), 0);
    const sys::FileSystem fixture(root.path()), live("/");
    const Lines paths{"/folder", "", "/fifo", "/dev/zero", "/dev/null"};
    test::CapturedLog log;
    auto hashing = std::async(std::launch::async, [&] {
        Lines md5s;
        for (const auto& path : paths)
            md5s.push_back(Disk::get_file_md5(path.starts_with("/dev") ? live : fixture, path));
        return md5s;
    });
    if (hashing.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
        std::cout << "FAILED: hashing a FIFO or a device blocked" << std::endl;
        std::_Exit(1);
    }
    EXPECT_EQ(hashing.get(), Lines(paths.size(), std::string(Disk::kMissingFileMd5)));
    EXPECT_TRUE(log.contains("ERROR GETTING FILE MD5 for:/fifo"));
}

}  // namespace
