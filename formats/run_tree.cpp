#include "formats/run_tree.h"

#include "foundation/file_search.h"

namespace zarn {

std::string NumberedFile::Path(const std::string& dataPath, const std::string& time) const {
    return dataPath + folder + prefix + time + "." + suffix;
}

std::vector<std::string> NumberedFile::FindAll(const std::string& dataPath) const {
    return FindIndexedFiles(dataPath + folder, prefix, suffix);
}

}  // namespace zarn
