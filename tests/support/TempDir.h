// A fresh temporary directory for one test, removed afterwards; and builders for fixture trees.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace test {

class TempDir {
public:
    TempDir() {
        std::string pattern = std::filesystem::temp_directory_path() / "tvtriage-test-XXXXXX";
        if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
        path_ = pattern;
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    // path() joined with a relative path ("a/b" or "/a/b", both under the directory).
    std::filesystem::path operator/(std::string_view relative) const {
        return path_ / std::filesystem::path(relative).relative_path();
    }
    // Builders: each makes the missing parents and returns the full path of what it made.
    std::filesystem::path write(std::string_view relative, std::string_view contents) const {
        std::filesystem::create_directories((*this / relative).parent_path());
        std::ofstream(*this / relative, std::ios::binary | std::ios::trunc) << contents;
        return *this / relative;
    }
    std::filesystem::path mkdir(std::string_view relative) const {
        std::filesystem::create_directories(*this / relative);
        return *this / relative;
    }
    // A symbolic link at relative holding target exactly as given.
    std::filesystem::path symlink(std::string_view relative, std::string_view target) const {
        std::filesystem::create_directories((*this / relative).parent_path());
        std::filesystem::create_symlink(std::filesystem::path(target), *this / relative);
        return *this / relative;
    }

private:
    std::filesystem::path path_;
};

inline std::string read_text(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace test
