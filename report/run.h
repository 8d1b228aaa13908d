#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "formats/run_tree.h"
#include "foundation/json.h"
#include "report/blocks.h"
#include "report/files.h"

namespace zarn::report {

// A file of a run: its index in the report, where it lies, and its name below the run.
struct RunFile {
    std::uint32_t index = 0;
    std::string path;
    std::string name;
};

// One run tree, which is only read.
class Run {
public:
    // `path` with its final slash.
    Run(std::uint32_t number, std::string path, Files& files);

    [[nodiscard]] std::uint32_t Number() const { return number_; }
    [[nodiscard]] const std::string& Path() const { return path_; }

    // The files of a folder below the tree, by their names; none where there is no such folder.
    [[nodiscard]] const std::vector<std::string>& NamesIn(const std::string& folder);

    // The files of a kind, by their names; of the folder whose names have a beginning and an end.
    [[nodiscard]] std::vector<RunFile> Find(const NumberedFile& kind);
    [[nodiscard]] std::vector<RunFile> Find(const std::string& folder, const std::string& prefix,
                                            const std::string& suffix);
    // The one of that name below the tree, if it is there.
    [[nodiscard]] std::optional<RunFile> FindOne(const std::string& name);

private:
    [[nodiscard]] RunFile FileOf(const std::string& folder, const std::string& name);

    std::uint32_t number_;
    std::string path_;
    Files& files_;
    std::map<std::string, std::vector<std::string>> folders_;
};

}  // namespace zarn::report
