#include "analyzers/correlation/correlation_table.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "analyzers/correlation/table_rows.h"
#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn {

std::string FirstFile(const NumberedFile& kind, const std::string& dataPath) {
    const std::vector<std::string> paths = kind.FindAll(dataPath);
    const auto first = std::min_element(paths.begin(), paths.end());
    return first == paths.end() ? "" : *first;
}

namespace {

// False, with nothing added, if the table cannot be read.
bool CollectTimes(const std::string& path, TimeSet& times) {
    const std::size_t before = times.Added();
    LineFile file(path);
    TableRows rows(LinesOf(file));
    while (rows.Next()) {
        times.Add(rows.Time());
    }
    if (file.IsOpen() && !file.HasFailed()) {
        return true;
    }
    times.TakeBack(before);
    return false;
}

}  // namespace

bool CorrelationTable::Collect(const CorrelationSettings& settings, TimeSet& times) {
    const std::string path = FirstFile(table_, context_.dataPath);
    if (path.empty()) {
        PrintError(words_.notFound + context_.dataPath + table_.folder);
        return PrintFailure(words_.skipped);
    }
    if (!CollectTimes(path, times)) {
        PrintError(words_.cannotOpen + path);
        return PrintFailure(words_.withoutTimes);
    }
    settings_ = settings;
    tablePath_ = path;
    CollectPeaks();
    return true;
}

void CorrelationTable::AddPeaks(const std::string& head, const std::vector<TimeDigits>& peaks) {
    if (!peaks.empty()) {
        peaks_.push_back({head, SpansAround(peaks, settings_.peakIntervalUs)});
    }
}

bool CorrelationTable::Save(const std::string& path) {
    auto file = std::make_unique<LineFile>(tablePath_);
    if (!file->IsOpen()) {
        return PrintFailure(words_.save.cannotOpen);
    }
    auto rows = std::make_unique<TableRows>(LinesOf(*file));
    std::vector<ColumnGroup> groups;
    groups.push_back(
        {rows->Heads(prefix_), rows->Columns(), std::move(file), std::move(rows), &peaks_});
    return SaveColumns(
        path, groups, words_.save, [] { return true; }, context_.runner);
}

}  // namespace zarn
