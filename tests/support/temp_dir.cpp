#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

namespace zarn::test {

namespace fs = std::filesystem;

TempDir::TempDir() : path_((fs::temp_directory_path() / "zarn-test-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) {
        ADD_FAILURE() << "no temporary directory " << path_;
    }
    path_ += '/';
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TempDir::Write(const std::string& name, std::string_view text) const {
    return WriteText(path_ + name, text);
}

std::string TempDir::Read(const std::string& name) const {
    return ReadText(path_ + name);
}

std::string TempDir::OnlyFile(const std::string& sub, std::string_view prefix) const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path_ + sub)) {
        const std::string name = entry.path().filename().string();
        if (std::string_view(name).substr(0, prefix.size()) == prefix) {
            names.push_back(name);
        }
    }
    EXPECT_EQ(names.size(), 1U) << prefix << " in " << sub;
    return names.size() == 1 ? names.front() : "";
}

std::string WriteText(const std::string& path, std::string_view text) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

std::string ReadText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    // Not byte by byte, which takes most of the time of a test of megabytes under a sanitizer.
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string DataPath(const std::string& name) {
    return std::string(ZARN_SOURCE_DIR) + "/tests/data/" + name;
}

}  // namespace zarn::test
