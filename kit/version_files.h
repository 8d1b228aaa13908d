#pragma once

#include <string>
#include <vector>

#include "formats/run_tree.h"

namespace zarn {

// Where a comparator looks for the files of one version.
struct VersionTree {
    std::string className;  // heads the lines
    std::string version;    // its name in the version map
    std::string root;       // of its run tree, as the user wrote it
};

// The version's files of that kind, in directory order. None: a line on standard output that the
// version is passed over.
[[nodiscard]] std::vector<std::string> FindVersionFiles(const VersionTree& where,
                                                        const NumberedFile& file);

// Appends the whole texts of those files, in the same order. False after its line if one cannot be
// opened; no file at all is no failure.
[[nodiscard]] bool ReadVersionFiles(const VersionTree& where, const NumberedFile& file,
                                    std::vector<std::string>& texts);

}  // namespace zarn
