#pragma once

#include <string>
#include <vector>

namespace zarn {

// Where a comparator looks for the raw logs of one version.
struct VersionDirectory {
    std::string className;  // heads the lines
    std::string version;    // its name in the version map
    std::string directory;  // with its final slash
};

// The logs prefix + digits + ".log" of the version, in directory order. None: a line on standard
// output that the version is passed over.
[[nodiscard]] std::vector<std::string> FindVersionLogs(const VersionDirectory& where,
                                                       const std::string& prefix);

// Appends the whole texts of those logs, in the same order. False after its line if one cannot be
// opened; no log at all is no failure.
[[nodiscard]] bool ReadVersionLogs(const VersionDirectory& where, const std::string& prefix,
                                   std::vector<std::string>& texts);

}  // namespace zarn
