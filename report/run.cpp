#include "report/run.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "foundation/text.h"

namespace zarn::report {
namespace {

[[nodiscard]] bool IsThere(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0;
}

// The names in a directory, sorted, of what is no directory: what cannot be read is told when it is
// opened. Prints nothing.
[[nodiscard]] std::vector<std::string> NamesOf(const std::string& directory) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(directory.c_str()), ::closedir);
    while (stream != nullptr) {
        const dirent* entry = ::readdir(stream.get());
        if (entry == nullptr) {
            break;
        }
        struct stat status {};
        const std::string name = entry->d_name;
        if (::stat((directory + name).c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

Run::Run(std::uint32_t number, std::string path, Files& files)
    : number_(number), path_(std::move(path)), files_(files) {}

const std::vector<std::string>& Run::NamesIn(const std::string& folder) {
    const auto [known, isNew] = folders_.try_emplace(folder);
    if (isNew) {
        known->second = NamesOf(path_ + folder);
    }
    return known->second;
}

RunFile Run::FileOf(const std::string& folder, const std::string& name) {
    const std::string below = folder + name;
    return {files_.Add(number_, path_ + below, below), path_ + below, below};
}

std::vector<RunFile> Run::Find(const NumberedFile& kind) {
    const std::string end = std::string(".") + kind.suffix;
    std::string_view prefix = kind.prefix;
    // A folder's slash may stand twice in a path.
    while (!prefix.empty() && prefix.front() == '/') {
        prefix.remove_prefix(1);
    }
    std::vector<RunFile> found = Find(kind.folder, std::string(prefix), end);
    const auto isOther = [&](const RunFile& file) {
        const std::size_t begin = std::string(kind.folder).size() + prefix.size();
        const std::string_view digits = std::string_view(file.name).substr(begin);
        return !IsDigitString(digits.substr(0, digits.size() - end.size()));
    };
    found.erase(std::remove_if(found.begin(), found.end(), isOther), found.end());
    return found;
}

std::vector<RunFile> Run::Find(const std::string& folder, const std::string& prefix,
                               const std::string& suffix) {
    std::vector<RunFile> found;
    for (const std::string& name : NamesIn(folder)) {
        if (name.size() >= prefix.size() + suffix.size() && StartsWith(name, prefix) &&
            EndsWith(name, suffix)) {
            found.push_back(FileOf(folder, name));
        }
    }
    return found;
}

std::optional<RunFile> Run::FindOne(const std::string& name) {
    if (!IsThere(path_ + name)) {
        return std::nullopt;
    }
    return FileOf("", name);
}

}  // namespace zarn::report
