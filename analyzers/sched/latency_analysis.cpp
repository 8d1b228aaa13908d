#include "analyzers/sched/latency_analysis.h"

#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "analyzers/sched/latency_ranking.h"
#include "analyzers/sched/sched_commands.h"
#include "analyzers/sched/sched_documents.h"
#include "analyzers/sched/thread_logs.h"
#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn {
namespace {

using Paths = std::vector<std::string>;

constexpr const char* kNameChanged =
    "[SchedAnalyzer] Latency analyzer raw data task for filename replace in ";

// A step's last line: `what` failed for the target.
bool FailStep(const SchedSource& source, const char* before, const char* behind) {
    return PrintFailure(before + source.target.label + behind);
}

bool ReadTop(const SchedContext& context, const SchedSource& source,
             std::vector<LatencyCells>& top) {
    LineFile file(source.latency);
    if (!file.IsOpen()) {
        return PrintFailure("[SchedAnalyzer] Cannot find collector latency rawData file: " +
                            source.latency + ", check your config.");
    }
    top = ReadTopTasks(LinesOf(file), context.settings.collected.topN);
    return true;
}

bool MakeTaskLogs(const SchedContext& context, const SchedSource& source,
                  const std::vector<LatencyCells>& top, Paths& logs) {
    for (const LatencyCells& row : top) {
        const std::string& task = row[kTaskCell];
        const std::string name = NameForFile(task, kNameChanged, source.target.label);
        logs.push_back(context.analysisDir + sched_files::TaskLogName(source.target, name));
        const std::string command = TaskLogCommand({source.record, logs.back()}, TaskKey(task));
        if (context.runner.Run(command) != 0) {
            return PrintFailure(
                "[SchedAnalyzer] Failed to run perf sched latency --pids | grep processName "
                "command: " +
                command);
        }
    }
    return true;
}

// The threads of one task. One of which the history has no line is told, and the next follows.
bool MakeThreadLogsOf(const SchedContext& context, const SchedSource& source,
                      const std::string& taskLog, std::vector<std::string>& threadLogs) {
    LineFile file(taskLog);
    if (!file.IsOpen()) {
        return PrintFailure("[SchedAnalyzer] Cannot find processTid timehist rawData file: " +
                            taskLog + ", check your config.");
    }
    bool good = true;
    for (std::string_view line; file.Next(line);) {
        const LatencyThread thread = ReadLatencyThread(line);
        if (!MakeThreadLog(context, source, {thread.cell, thread.name, thread.tid}, threadLogs)) {
            good = PrintFailure(
                "[SchedAnalyzer] Cannot generate processTid timehist rawData file in " +
                source.target.label + " with tempLine : " + std::string(line));
        }
    }
    return good;
}

bool MakeThreadLogs(const SchedContext& context, const SchedSource& source, const Paths& taskLogs,
                    std::vector<std::string>& threadLogs) {
    bool good = true;
    for (const std::string& path : taskLogs) {
        good = MakeThreadLogsOf(context, source, path, threadLogs) && good;
    }
    return good || FailStep(source, "[SchedAnalyzer] Failed to generate ",
                            " processTid timehist raw data!");
}

bool ReadThreads(const Paths& taskLogs, LatencyFindings& findings) {
    try {
        for (const std::string& path : taskLogs) {
            LineFile file(path);
            if (!file.IsOpen()) {
                return PrintFailure("[SchedAnalyzer] Cannot find latency analyzer rawData file: " +
                                    path + ", check your config.");
            }
            findings.threads.push_back(ReadTaskThreads(LinesOf(file)));
        }
    } catch (const std::exception& error) {
        return PrintFailure("[SchedAnalyzer] Error occurs in GetAndSortLatencyAnalyzerRawData: " +
                            std::string(error.what()));
    }
    return true;
}

bool WriteDocument(const SchedContext& context, const SchedSource& source,
                   const LatencyFindings& findings) {
    EventWriter events;
    events.BeginEventList(kSchedAnalysisEvent, source.target.stamp, kSchedAnalysis);
    try {
        if (!WriteLatencyFindings(findings, context.bootTime, events)) {
            return false;
        }
    } catch (const std::exception& error) {
        return PrintFailure("[SchedAnalyzer] Error occurs in AddObjectToContentFromTokens: " +
                            std::string(error.what()));
    }
    events.EndEventList();
    events.Save(context.jsonDir +
                sched_files::AnalysisName(source.target, sched_files::kLatencyAnalysis));
    return true;
}

}  // namespace

bool AnalyzeLatency(const SchedContext& context, const SchedSource& source) {
    LatencyFindings findings;
    Paths taskLogs;
    std::vector<std::string> threadLogs;
    if (!ReadTop(context, source, findings.top)) {
        return false;
    }
    if (!MakeTaskLogs(context, source, findings.top, taskLogs)) {
        return FailStep(source, "[SchedAnalyzer] Failed to generate ",
                        " latency analyzer raw data!");
    }
    // What else there is to tell does not depend on the threads that are missing.
    const bool allThreads = MakeThreadLogs(context, source, taskLogs, threadLogs);
    if (!ReadThreads(taskLogs, findings)) {
        return FailStep(source, "[SchedAnalyzer] Failed to get and sort ",
                        " latency analyzer raw data!");
    }
    if (!WriteDocument(context, source, findings)) {
        return FailStep(source, "[SchedAnalyzer] Failed to create ",
                        " latency analyzer output json!");
    }
    return WriteThreadRows(context, source, threadLogs) && allThreads;
}

}  // namespace zarn
