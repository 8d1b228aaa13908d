#include "analyzers/sched/timehist_analysis.h"

#include <exception>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "analyzers/sched/sched_commands.h"
#include "analyzers/sched/sched_documents.h"
#include "analyzers/sched/thread_logs.h"
#include "analyzers/sched/timehist_selection.h"
#include "foundation/console.h"
#include "foundation/file_search.h"
#include "foundation/files.h"
#include "foundation/numbers.h"

namespace zarn {
namespace {

using KeptRows = std::vector<KeptTimehistRow>;

constexpr const char* kNoNumber = "stod";  // what the standard conversion says

constexpr const char* kNoRunTime =
    "[SchedAnalyzer] Error occurs when translate string to double for runTime in comparison rule: ";
constexpr const char* kNoDelay =
    "[SchedAnalyzer] Error occurs when translate string to double for schedDelay in comparison "
    "rule: ";

// Calls take(row) for each row of the target's history. Nothing after its line if there is no
// history; else whether all lines were rows.
template <typename Take>
std::optional<bool> ForEachRow(const SchedSource& source, Take take) {
    LineFile file(source.timehist);
    if (!file.IsOpen()) {
        PrintError("[SchedAnalyzer] Cannot find collector timehist rawData file: " +
                   source.timehist + ", check your config.");
        return std::nullopt;
    }
    bool allAreRows = true;
    std::string_view line;
    for (std::size_t i = 0; file.Next(line); ++i) {
        if (i < kTimehistHeadLines) {
            continue;
        }
        TimehistRow row;
        const bool isRow = ReadTimehistRow(line, row);
        allAreRows = allAreRows && isRow;
        if (isRow) {
            take(row);
        }
    }
    return allAreRows;
}

// The lines about rows that could not be compared, if there were any.
void TellFaults(const std::string& words, bool allAreRows, bool metNoNumber) {
    if (!allAreRows) {
        PrintError(words + kShortTimehistRow);
    }
    if (metNoNumber) {
        PrintError(words + kNoNumber);
    }
}

bool FailReading(const SchedSource& source) {
    return PrintFailure("[SchedAnalyzer] Failed to get and sort " + source.target.label +
                        " timehist raw data!");
}

// What the recording tells of the row's core before its time.
bool MakeScriptLog(const SchedContext& context, const SchedSource& source, const TimehistRow& row) {
    constexpr std::size_t kCpuBegin = 2;
    constexpr std::size_t kCpuDigits = 3;  // as many as the recording's text shows
    const std::string time(row.time);
    const std::string cpu = std::string(row.cpu).substr(kCpuBegin, kCpuDigits);
    const std::string log = sched_files::ScriptLogName(source.target, SanitizeProcessName(time),
                                                       SanitizeProcessName(cpu));
    const std::string command =
        ScriptLogCommand({source.record, context.analysisDir + log}, time, cpu);
    return context.runner.Run(command) == 0 ||
           PrintFailure("[SchedAnalyzer] Failed to run perf sched script command: " + command);
}

// Follows the row up if it ran longer than the threshold.
bool FollowUp(const SchedContext& context, const SchedSource& source, const TimehistRow& row) {
    constexpr const char* kWords = "[SchedAnalyzer] Error occurs in IsGenerateAnalyzerLog: ";
    const std::optional<double> runTime = NumberIn(row.runTime);
    if (!runTime) {
        return PrintFailure(std::string(kWords) + kNoNumber);
    }
    try {
        return *runTime <= context.settings.runTimeThreshold || MakeScriptLog(context, source, row);
    } catch (const std::exception& error) {
        return PrintFailure(kWords + std::string(error.what()));
    }
}

bool AddRunTimes(const SchedContext& context, const SchedSource& source, const KeptRows& rows,
                 EventWriter& events) {
    try {
        for (const KeptTimehistRow& kept : rows) {
            const TimehistRow row = kept.Row();
            WriteTimehistRow(row, context.bootTime, events);
            if (!FollowUp(context, source, row)) {
                PrintError("[SchedAnalyzer] Failed to generate timehist analyzer log based on " +
                           std::string(row.task) + " at " + std::string(row.time) + " !");
            }
        }
        return true;
    } catch (const std::exception& error) {
        PrintError("[SchedAnalyzer] Error occurs in AddCustomizationContentFromTokens: " +
                   std::string(error.what()));
    }
    return PrintFailure("[SchedAnalyzer] Failed to add customization data to content!");
}

bool WriteRunTimes(const SchedContext& context, const SchedSource& source, const KeptRows& rows) {
    EventWriter events;
    events.BeginEventList(kSchedAnalysisEvent, source.target.stamp,
                          SchedTimehistAnalysis(source.target.job));
    if (!AddRunTimes(context, source, rows, events)) {
        return PrintFailure("[SchedAnalyzer] Failed to create " + source.target.label +
                            " timehist analyzer output json!");
    }
    events.EndEventList();
    events.Save(context.jsonDir +
                sched_files::AnalysisName(source.target, sched_files::kTimehistAnalysis));
    return true;
}

// Rows whose moment cannot be read are left out after one line about them all.
void WriteDelays(const SchedContext& context, const SchedSource& source, const KeptRows& rows) {
    EventWriter events;
    events.BeginEventList(kSchedAnalysisEvent, source.target.stamp, kSchedAnalysis);
    bool allWritten = true;
    for (const KeptTimehistRow& kept : rows) {
        allWritten = WriteDelayRow(kept.Row(), context.bootTime, events) && allWritten;
    }
    if (!allWritten) {
        PrintError("[SchedAnalyzer] Error occurs in CreateProcessTimehistSchedDelayJson: " +
                   std::string(kNoNumber));
    }
    events.EndEventList();
    events.Save(context.jsonDir +
                sched_files::AnalysisName(source.target, sched_files::kDelayInfo));
}

// A log for each tid among the rows, at its first one.
bool MakeThreadLogs(const SchedContext& context, const SchedSource& source, const KeptRows& rows,
                    std::vector<std::string>& logs) {
    bool good = true;
    std::set<std::string> seen;
    for (const KeptTimehistRow& kept : rows) {
        const TimehistRow row = kept.Row();
        const TimehistTask task = SplitTimehistTask(row.task);
        const std::string tid(task.tid);
        if (tid.empty()) {
            continue;
        }
        if (!seen.insert(tid).second) {
            PrintLine("[SchedAnalyzer] : Duplicate tid: " + tid + ", skipping this tid in " +
                      source.target.label);
            continue;
        }
        const SchedThread thread = {std::string(row.task), std::string(task.name), tid};
        good = MakeThreadLog(context, source, thread, logs) && good;
    }
    return good;
}

// MakeThreadLogs, and the line about what else may go wrong in it.
bool MakeThreadLogsChecked(const SchedContext& context, const SchedSource& source,
                           const KeptRows& rows, std::vector<std::string>& logs) {
    try {
        if (MakeThreadLogs(context, source, rows, logs)) {
            return true;
        }
    } catch (const std::exception& error) {
        PrintError("[SchedAnalyzer] Error occurs in GenerateTidTimehistRawData: " +
                   std::string(error.what()));
    }
    return PrintFailure("[SchedAnalyzer] Failed to generate " + source.target.label +
                        " processTid timehist raw data!");
}

// Idle rows are ordered with the others before they are left out, so their faults are told too.
void OfferUnlessIdle(const TimehistRow& row, TimehistSelection& selection) {
    if (IsIdleTask(row.task)) {
        selection.PassOver(row);
    } else {
        selection.Offer(row);
    }
}

}  // namespace

bool AnalyzeTimehist(const SchedContext& context, const SchedSource& source) {
    TimehistSelection runTimes(&TimehistRow::runTime, context.settings.collected.topN);
    const std::optional<bool> allAreRows =
        ForEachRow(source, [&runTimes](const TimehistRow& row) { OfferUnlessIdle(row, runTimes); });
    if (!allAreRows) {
        return FailReading(source);
    }
    TellFaults(kNoRunTime, *allAreRows, runTimes.MetNoNumber());
    return WriteRunTimes(context, source, runTimes.Take());
}

bool AnalyzeProcessTimehist(const SchedContext& context, const SchedSource& source) {
    const std::size_t most = context.settings.collected.topN;
    TimehistSelection delays(&TimehistRow::schedDelay, most);
    TimehistSelection runTimes(&TimehistRow::runTime, most);
    const std::optional<bool> allAreRows = ForEachRow(source, [&](const TimehistRow& row) {
        delays.Offer(row);
        OfferUnlessIdle(row, runTimes);
    });
    if (!allAreRows) {
        return FailReading(source);
    }
    TellFaults(kNoDelay, *allAreRows, delays.MetNoNumber());
    TellFaults(kNoRunTime, true, runTimes.MetNoNumber());
    const KeptRows waited = delays.Take();
    WriteDelays(context, source, waited);
    std::vector<std::string> logs;
    const bool allThreads = MakeThreadLogsChecked(context, source, waited, logs);
    const bool allRows = WriteThreadRows(context, source, logs);
    return WriteRunTimes(context, source, runTimes.Take()) && allThreads && allRows;
}

}  // namespace zarn
