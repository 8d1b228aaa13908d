#include "analyzers/sched/thread_logs.h"

#include <exception>
#include <set>

#include "analyzers/sched/sched_commands.h"
#include "analyzers/sched/sched_documents.h"
#include "foundation/console.h"
#include "foundation/file_search.h"
#include "foundation/files.h"

namespace zarn {
namespace {

constexpr const char* kReadingFailed =
    "[SchedAnalyzer] Error occurs in GetProcessTidTimehistRawData: ";

constexpr const char* kNameChanged =
    "[SchedAnalyzer] ProcessTid timehist raw data task for filename replace in ";

bool WriteRowsOf(const SchedContext& context, const SchedSource& source, const std::string& log) {
    const std::string path = context.analysisDir + log;
    LineFile file(path);
    if (!file.IsOpen()) {
        return PrintFailure("[SchedAnalyzer] Cannot find processTid timehist rawData file: " +
                            path + ", check your config.");
    }
    FileAppender document(context.jsonDir + sched_files::ThreadRowsName(log));
    EventWriter events;
    events.BeginEventList(kSchedThreadRowsEvent, source.target.stamp, kSchedThreadRows);
    bool allAreRows = true;
    for (std::string_view line; file.Next(line);) {
        TimehistRow row;
        const bool isRow = ReadTimehistRow(line, row);
        allAreRows = allAreRows && isRow;
        if (isRow) {
            WriteTimehistRow(row, context.bootTime, events);
            events.HandOn(document);
        }
    }
    if (!allAreRows) {
        PrintError(std::string(kReadingFailed) + kShortTimehistRow);
    }
    events.EndEventList();
    events.Save(document);
    return true;
}

}  // namespace

std::string NameForFile(const std::string& task, std::string_view words, const std::string& label) {
    std::string name = SanitizeProcessName(task);
    if (name != task) {
        PrintLine(std::string(words) + label + " : " + task + " to " + name);
    }
    return name;
}

bool MakeThreadLog(const SchedContext& context, const SchedSource& source,
                   const SchedThread& thread, std::vector<std::string>& logs) {
    const std::string log = sched_files::ThreadLogName(
        source.target, NameForFile(thread.task, kNameChanged, source.target.label));
    const std::string command =
        ThreadLogCommand({source.timehist, context.analysisDir + log}, thread.name, thread.tid);
    if (context.runner.Run(command) != 0) {
        return PrintFailure(
            "[SchedAnalyzer] Cannot run cat timehist.log | grep processName | grep processTid: " +
            command);
    }
    logs.push_back(log);
    return true;
}

bool WriteThreadRows(const SchedContext& context, const SchedSource& source,
                     const std::vector<std::string>& logs) {
    bool good = true;
    std::set<std::string> written;
    for (const std::string& log : logs) {
        if (!written.insert(log).second) {
            continue;
        }
        try {
            good = WriteRowsOf(context, source, log) && good;
        } catch (const std::exception& error) {
            good = PrintFailure(kReadingFailed + std::string(error.what()));
        }
    }
    return good || PrintFailure("[SchedAnalyzer] Failed to create " + source.target.label +
                                " processTid timehist output json!");
}

}  // namespace zarn
