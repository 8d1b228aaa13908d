#include "kit/version_files.h"

#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn {

std::vector<std::string> FindVersionFiles(const VersionTree& where, const NumberedFile& file) {
    std::vector<std::string> paths = file.FindAll(where.root);
    if (paths.empty()) {
        PrintLine("[" + where.className + "] Missing valid " + file.prefix + "xxx files in " +
                  where.version + ", will skip it.");
    }
    return paths;
}

bool ReadVersionFiles(const VersionTree& where, const NumberedFile& file,
                      std::vector<std::string>& texts) {
    for (const std::string& path : FindVersionFiles(where, file)) {
        // What could be read of a file that fails on the way is taken as it is.
        if (ReadFile(path, texts.emplace_back()) == FileResult::CannotOpen) {
            return PrintFailure("[" + where.className + "] Failed to open " + path);
        }
    }
    return true;
}

}  // namespace zarn
