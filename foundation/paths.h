#pragma once

#include <optional>
#include <string>

// Paths are byte strings, joined by plain concatenation: a directory that is the prefix of a path
// carries its final slash.
namespace zarn {

// realpath(3): the absolute path without links, if `path` exists. Prints nothing.
[[nodiscard]] std::optional<std::string> ResolvePath(const std::string& path);

// The rule for paths given by a user: it exists and resolves to something under /opt/usr/.
[[nodiscard]] bool CheckFilePath(const std::string& path);
[[nodiscard]] bool CheckFileReadable(const std::string& path);
[[nodiscard]] bool CheckFileWritable(const std::string& path);

// Makes the directory with all missing parents. Success at once if the path exists, whatever it is;
// and also if another thread or process makes the directory at the same time.
[[nodiscard]] bool CreateDirectory(const std::string& path);

// Everything up to and including the last "/"; "./" if there is none.
[[nodiscard]] std::string GetDirectoryOfPath(const std::string& path);

}  // namespace zarn
