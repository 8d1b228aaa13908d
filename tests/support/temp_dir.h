#pragma once

#include <string>
#include <string_view>

namespace zarn::test {

// A fresh directory for one test, removed with everything in it at the end.
class TempDir {
public:
    TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    ~TempDir();

    // The directory with its final slash.
    [[nodiscard]] const std::string& Path() const { return path_; }

    // Writes a file, with missing parents, and returns its path.
    std::string Write(const std::string& name, std::string_view text) const;
    // The text of a file below the directory; fails the test if it cannot be read.
    [[nodiscard]] std::string Read(const std::string& name) const;
    // The name, not the path, of the one file in the directory `sub` that begins with `prefix`;
    // empty, and a failed test, if there is not exactly one.
    [[nodiscard]] std::string OnlyFile(const std::string& sub, std::string_view prefix) const;

private:
    std::string path_;
};

// Writes a file, with missing parents, and returns its path.
std::string WriteText(const std::string& path, std::string_view text);

// The text of a file; fails the test if it cannot be read.
[[nodiscard]] std::string ReadText(const std::string& path);

// A file of tests/data, such as "top-4.0.2/plain.txt".
[[nodiscard]] std::string DataPath(const std::string& name);

}  // namespace zarn::test
