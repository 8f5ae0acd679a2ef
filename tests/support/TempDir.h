// A fresh temporary directory for one test, removed with everything in it afterwards; and small
// builders for fixture trees.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace test {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    // path() joined with a relative path ("a/b" or "/a/b", both under the directory).
    std::filesystem::path operator/(std::string_view relative) const;

    // Writes a file (parents created) and returns its full path.
    std::filesystem::path write(std::string_view relative, std::string_view contents) const;
    std::filesystem::path mkdir(std::string_view relative) const;
    // A symbolic link at relative holding target exactly as given.
    std::filesystem::path symlink(std::string_view relative, std::string_view target) const;

private:
    std::filesystem::path path_;
};

std::string read_text(const std::filesystem::path& file);

}  // namespace test
