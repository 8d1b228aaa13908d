#include "analyzers/correlation/correlation_sched.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "analyzers/correlation/digit_arithmetic.h"
#include "analyzers/correlation/peak_reader.h"
#include "formats/sched.h"
#include "foundation/console.h"
#include "foundation/file_search.h"
#include "foundation/files.h"
#include "foundation/text.h"

namespace zarn {
namespace {

constexpr const char* kNoFile = "[CorrelationAnalyzer] Sched json file not exist. ";
constexpr SaveWords kSaveWords = {
    "[CorrelationAnalyzer] Failed to open file for writting sched data!",
    "[CorrelationAnalyzer] Failed to save sched data."};

bool IsKnownJob(const std::string& job) {
    return job == kSchedGlobalSource || job == kSchedCoreSource || job == kSchedProcessSource;
}

// The names of the files of a folder.
std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const std::string& path : ListFiles(folder)) {
        names.push_back(path.substr(folder.size()));
    }
    return names;
}

std::string ColumnHeads(const std::string& label) {
    std::string heads;
    for (const char* column : kSchedColumns) {
        heads += label + "_" + column + ",";
    }
    return heads;
}

}  // namespace

bool CorrelationSched::Collect(const CorrelationSettings& settings, TimeSet& times) {
    const bool good = FindLogs(settings.sched) && ReadBootTime() && CollectTimes(times);
    if (!good) {
        logs_.clear();
        return false;
    }
    CollectPeaks(settings);
    return true;
}

bool CorrelationSched::FindLogs(const std::string& job) {
    if (!IsKnownJob(job)) {
        return PrintFailure("[CorrelationAnalyzer] Invalid sched job, skip sched.");
    }
    const std::string folder = context_.dataPath + sched_files::kRawDir;
    const auto isAnalysed = [this](const SchedLog& log) {
        std::error_code ignored;
        return std::filesystem::is_regular_file(DocumentPath(log), ignored);
    };
    for (SchedLog& log : SelectSchedLogs(NamesIn(folder), job, isAnalysed)) {
        logs_.push_back({std::move(log), 0, {}});
    }
    if (logs_.empty()) {
        PrintError("[CorrelationAnalyzer] sched raw data not exist in dir:" + folder);
        return PrintFailure("[CorrelationAnalyzer] Failed to get sched raw data, skip sched.");
    }
    return std::all_of(logs_.begin(), logs_.end(),
                       [&isAnalysed](const Log& log) { return isAnalysed(log.file); }) ||
           PrintFailure("[CorrelationAnalyzer] Failed to get sched analyzer data, skip sched.");
}

bool CorrelationSched::ReadBootTime() {
    const auto read = [this] {
        FirstDocument document;
        if (!document.Open(DocumentPath(logs_.front().file))) {
            return PrintFailure(kNoFile);
        }
        const JsonValue* content = document.Content();
        if (content == nullptr) {
            return false;
        }
        const bool hasRow = content->IsArray() && !content->Empty();
        const JsonValue* boot =
            MemberOf(hasRow ? &(*content)[0] : nullptr, kSchedBootMember, JsonType::String);
        bootTime_ = boot == nullptr ? "" : TextOf(*boot);
        return IsNumber(bootTime_) || FailJson("Sched json file lacks of required field.");
    };
    if (!read()) {
        return PrintFailure(
            "[CorrelationAnalyzer] Failed to get system start up Time, skip sched.");
    }
    PrintLine("SystemStarUpTime:" + bootTime_);
    return true;
}

bool CorrelationSched::CollectTimes(TimeSet& times) {
    const std::size_t before = times.Added();
    for (Log& log : logs_) {
        LineFile file(RawPath(log));
        SchedRows rows(LinesOf(file), bootTime_);
        while (rows.Next()) {
            times.Add(rows.Time());
        }
        if (!file.IsOpen() || file.HasFailed()) {
            times.TakeBack(before);
            PrintError("[CorrelationAnalyzer] Failed to open sched raw data: " + RawPath(log));
            return PrintFailure(
                "[CorrelationAnalyzer] Failed to get sched time stamp, skip sched.");
        }
        log.rows = rows.Taken();
    }
    return true;
}

void CorrelationSched::CollectPeaks(const CorrelationSettings& settings) {
    for (Log& log : logs_) {
        std::vector<TimeDigits> peaks;
        if (!ReadPeaks(log, peaks)) {
            PrintError("[CorrelationAnalyzer] Failed to get sched peak time.");
        } else if (!peaks.empty()) {
            log.peaks.push_back(
                {"peak_" + log.file.label, SpansAround(peaks, settings.peakIntervalUs)});
        }
    }
}

bool CorrelationSched::ReadPeaks(const Log& log, std::vector<TimeDigits>& peaks) const {
    FirstDocument document;
    if (!document.Open(DocumentPath(log.file))) {
        return PrintFailure(kNoFile);
    }
    const JsonValue* content = document.Content();
    if (content == nullptr) {
        return false;
    }
    if (!content->IsArray()) {
        return FailJson("Sched json lacks of time.");
    }
    BootClock clock(bootTime_);
    return ReadTimes(*content, "time", "Sched json lacks of time.", [&](std::string_view text) {
        PieceCursor pieces(text, ' ');
        std::string_view seconds;
        TimeDigits time;
        if (pieces.Next(seconds) && clock.Read(seconds, time)) {
            peaks.push_back(time);
        }
    });
}

bool CorrelationSched::Save(const std::string& path) {
    std::vector<const SchedRows*> opened;
    std::vector<ColumnGroup> groups;
    for (const Log& log : logs_) {
        auto file = std::make_unique<LineFile>(RawPath(log));
        if (!file->IsOpen()) {
            return PrintFailure(kSaveWords.cannotOpen);
        }
        auto rows = std::make_unique<SchedRows>(LinesOf(*file), bootTime_);
        opened.push_back(rows.get());
        groups.push_back({ColumnHeads(log.file.label), kSchedColumnCount, std::move(file),
                          std::move(rows), &log.peaks});
    }
    if (groups.empty()) {
        return PrintFailure(kSaveWords.cannotOpen);
    }
    const auto isUnchanged = [this, &opened] {
        const bool same = std::equal(
            logs_.begin(), logs_.end(), opened.begin(),
            [](const Log& log, const SchedRows* rows) { return log.rows == rows->Taken(); });
        return same ||
               PrintFailure("[CorrelationAnalyzer] Peak size not equal to raw data file size.");
    };
    return SaveColumns(path, groups, kSaveWords, isUnchanged, context_.runner);
}

std::string CorrelationSched::RawPath(const Log& log) const {
    return context_.dataPath + sched_files::kRawDir + log.file.name;
}

std::string CorrelationSched::DocumentPath(const SchedLog& log) const {
    return context_.dataPath + run_tree::kJsonDir +
           sched_files::AnalysisName(log.target, sched_files::kTimehistAnalysis);
}

}  // namespace zarn
