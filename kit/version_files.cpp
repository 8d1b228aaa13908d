#include "kit/version_files.h"

#include "foundation/console.h"
#include "foundation/file_search.h"
#include "foundation/files.h"

namespace zarn {

std::vector<std::string> FindVersionLogs(const VersionDirectory& where, const std::string& prefix) {
    std::vector<std::string> paths = FindIndexedFiles(where.directory, prefix, "log");
    if (paths.empty()) {
        PrintLine("[" + where.className + "] Missing valid " + prefix + "xxx files in " +
                  where.version + ", will skip it.");
    }
    return paths;
}

bool ReadVersionLogs(const VersionDirectory& where, const std::string& prefix,
                     std::vector<std::string>& texts) {
    for (const std::string& path : FindVersionLogs(where, prefix)) {
        // What could be read of a file that fails on the way is taken as it is.
        if (ReadFile(path, texts.emplace_back()) == FileResult::CannotOpen) {
            PrintError("[" + where.className + "] Failed to open " + path);
            return false;
        }
    }
    return true;
}

}  // namespace zarn
