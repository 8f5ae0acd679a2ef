#include "support/TempDir.h"

#include <stdlib.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace test {

TempDir::TempDir() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "tvtriage-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

std::filesystem::path TempDir::operator/(std::string_view relative) const {
    while (!relative.empty() && relative.front() == '/') relative.remove_prefix(1);
    return path_ / std::filesystem::path(relative);
}

std::filesystem::path TempDir::write(std::string_view relative, std::string_view contents) const {
    auto file = *this / relative;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    return file;
}

std::filesystem::path TempDir::mkdir(std::string_view relative) const {
    auto dir = *this / relative;
    std::filesystem::create_directories(dir);
    return dir;
}

std::filesystem::path TempDir::symlink(std::string_view relative, std::string_view target) const {
    auto link = *this / relative;
    std::filesystem::create_directories(link.parent_path());
    std::filesystem::create_symlink(std::filesystem::path(target), link);
    return link;
}

std::string read_text(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

}  // namespace test
