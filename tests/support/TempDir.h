// A fresh temporary directory for one test, removed with everything in it afterwards; and small
// builders for fixture trees.
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
        std::string pattern =
            (std::filesystem::temp_directory_path() / "tvtriage-test-XXXXXX").string();
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
        while (relative.starts_with('/')) relative.remove_prefix(1);
        return path_ / std::filesystem::path(relative);
    }

    // Writes a file (parents created) and returns its full path.
    std::filesystem::path write(std::string_view relative, std::string_view contents) const {
        const std::filesystem::path file = *this / relative;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary | std::ios::trunc) << contents;
        return file;
    }
    std::filesystem::path mkdir(std::string_view relative) const {
        std::filesystem::create_directories(*this / relative);
        return *this / relative;
    }
    // A symbolic link at relative holding target exactly as given.
    std::filesystem::path symlink(std::string_view relative, std::string_view target) const {
        const std::filesystem::path link = *this / relative;
        std::filesystem::create_directories(link.parent_path());
        std::filesystem::create_symlink(std::filesystem::path(target), link);
        return link;
    }

private:
    std::filesystem::path path_;
};

inline std::string read_text(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace test
