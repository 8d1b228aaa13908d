#include "comparators/mem/mem_version_loader.h"

#include <functional>

#include "comparators/mem/mem_version_reader.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/paths.h"
#include "foundation/statistics.h"

namespace zarn {
namespace {

template <typename Values>
MemColumn ColumnOf(const Values& values) {
    MemColumn column;
    for (const std::vector<double>& list : values) {
        MemFigures figures;
        GetMaxMinAverage(list, figures.max, figures.min, figures.average);
        column.push_back(list.empty() ? std::nullopt : std::optional<MemFigures>(figures));
    }
    return column;
}

bool ReadLines(const std::string& path, const std::function<bool(const NextLine&)>& read) {
    if (!ResolvePath(path)) {
        return PrintFailure("[MemComparator]: Illegal json file: \"" + path + "\"!");
    }
    LineFile file(path);
    if (!file.IsOpen()) {
        return PrintFailure("[MemComparator] Could not open the file: \"" + path + "\"!");
    }
    return read(LinesOf(file));
}

}  // namespace

bool LoadMemSystem(const std::string& root, MemVersionInfo& info) {
    const std::vector<std::string> paths = mem_files::kSystemSamples.FindAll(root + "/");
    if (paths.size() != 1) {
        return PrintFailure("[MemComparator] Only one system mem data file should be used!");
    }
    MemSystemValues values;
    if (!ReadLines(paths.front(),
                   [&values](const NextLine& next) { return ReadVersionSystem(next, values); })) {
        return false;
    }
    info.system = ColumnOf(values);
    return true;
}

bool LoadMemProcesses(const std::string& root, const std::vector<std::string>& commands,
                      MemVersionInfo& info) {
    std::vector<std::string> paths = mem_files::kRawProcessSamples.FindAll(root + "/");
    if (paths.empty()) {
        paths = mem_files::kProcessSamples.FindAll(root + "/");
    }
    if (paths.size() != 1) {
        return PrintFailure("[MemComparator] Only one process mem data file should be used!");
    }
    std::map<std::string, MemProcessValues, std::less<>> values;
    for (const std::string& command : commands) {
        values[command];
    }
    if (!ReadLines(paths.front(), [&values](const NextLine& next) {
            return ReadVersionProcesses(next, values);
        })) {
        return false;
    }
    for (const auto& [command, lists] : values) {
        info.processes[command] = ColumnOf(lists);
    }
    return true;
}

}  // namespace zarn
