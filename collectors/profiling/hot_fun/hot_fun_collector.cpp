#include "collectors/profiling/hot_fun/hot_fun_collector.h"

#include <cstddef>
#include <exception>
#include <functional>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "collectors/profiling/hot_fun/function_sets.h"
#include "collectors/profiling/hot_fun/hot_fun_commands.h"
#include "collectors/profiling/hot_fun/hot_fun_documents.h"
#include "collectors/profiling/hot_fun/script_samples.h"
#include "formats/hot_fun.h"
#include "foundation/console.h"
#include "foundation/file_search.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "kit/cost.h"
#include "kit/event_writer.h"
#include "kit/process_id.h"

namespace zarn {
namespace {

namespace names = hot_fun_files;

constexpr const char* kSystemOption = "-a ";
constexpr const char* kCoreOption = "-C ";
constexpr const char* kProcessOption = "-p ";

constexpr ProcessIdWords kProcessWords = {
    {"[HotFunCollector] Failed to get process id of ", "! Skipping this process!"},
    {"[HotFunCollector] Target process:", " does not exist! Skipping this process!"},
};

// Memory that does not suffice for a line fails the reading, too.
bool Succeeds(const std::function<bool()>& read) {
    try {
        return read();
    } catch (const std::exception&) {
        return false;
    }
}

// Adds up the samples of a script, whose call chains are indented.
bool ReadShares(const std::string& script, const FunctionSets& sets,
                std::map<std::string, FunctionShares>& shares) {
    std::string error;
    std::optional<FunctionCycles> cycles = FunctionCycles::Make(sets, error);
    const auto addSample = [&cycles](std::string_view line) {
        const std::optional<SampleHead> head = FindSampleHead(line);
        if (head) {
            cycles->Add(head->name, CyclesOf(*head));
        }
        return head.has_value();
    };
    const std::size_t most = cycles ? std::numeric_limits<std::size_t>::max() : 0;
    if (!TakeMatchingLinesOfFile(script, {' ', '\t', '\r'}, most, addSample)) {
        return false;
    }
    if (!cycles) {
        return PrintFailure("[HotFunCollector] Error occurs: " + error);
    }
    shares = cycles->Shares();
    return true;
}

}  // namespace

HotFunCollector::HotFunCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), host_(std::move(host)) {}

bool HotFunCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return ReadHotFunSettings(config, host_.runner, settings_);
}

bool HotFunCollector::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                            const StopFlag* stopFlag) {
    const MissionCost cost;
    dataPath_ = dataPath;
    if (!CreateDirectory(dataPath + names::kRawDir)) {
        return PrintFailure("[HotFunCollector] Cannot create hotFun collect directory!");
    }
    FindProcesses();
    if (!Record(stopFlag)) {
        return PrintFailure("[HotFunCollector] Failed to collect hotFun!");
    }
    if (settings_.jsonOutput) {
        CreateDocuments();
    }
    cost.Record(kName, dataPath);
    return true;
}

void HotFunCollector::FindProcesses() {
    for (const std::string& name : settings_.processes) {
        const std::optional<std::string> pid = FindProcessId(name, kProcessWords, host_.runner);
        if (pid) {
            pids_[name] = *pid;
        }
    }
}

std::vector<HotFunCollector::Step> HotFunCollector::Steps() const {
    Step cores = {names::kCore,
                  "[HotFunCollector] Received stop signal, core job & following jobs (process, "
                  "global, function_set) not collected!",
                  {}};
    for (const std::string& core : settings_.cores) {
        cores.recordings.push_back({kCoreOption, core, names::CoreTag(core), "core " + core});
    }
    Step processes = {names::kProcess,
                      "[HotFunCollector] Received stop signal, process job & following jobs "
                      "(global, function_set) not collected!",
                      {}};
    for (const auto& [name, pid] : pids_) {
        processes.recordings.push_back(
            {kProcessOption, pid, names::ProcessTag(name, pid), "process " + name});
    }
    return {cores,
            processes,
            {names::kGlobal,
             "[HotFunCollector] Received stop signal, global job & following jobs (global, "
             "function_set) not collected!",
             {{kSystemOption, "", names::kGlobal, names::kGlobal}}},
            {names::kFunctionSet,
             "[HotFunCollector] Received stop signal, function_set job not collected!",
             {{kSystemOption, "", names::kFunctionSet, names::kFunctionSet}}}};
}

bool HotFunCollector::Record(const StopFlag* stopFlag) {
    for (const Step& step : Steps()) {
        if (!settings_.Wants(step.job)) {
            continue;
        }
        if (IsSet(stopFlag)) {
            PrintLine(step.wordsIfStopped);
            return false;
        }
        for (const Recording& recording : step.recordings) {
            Take(step.job, recording);
        }
    }
    return true;
}

void HotFunCollector::Take(const char* job, const Recording& recording) {
    std::string time;
    if (!host_.clock.currentTime(time)) {
        PrintError("[HotFunCollector] Failed to get time stamp!");
        return;
    }
    if (!IsDigitString(time)) {
        PrintError("[HotFunCollector] Got non-numeric timestamp!");
        return;
    }
    times_[job] = time;
    const std::string path = dataPath_ + names::kRawDir + names::RawName(recording.tag, time);
    const std::string command =
        RecordCommand({recording.option, recording.value}, path + names::kRecordingSuffix,
                      path + names::kScriptSuffix, settings_.duration);
    PrintLine(command);
    if (host_.runner.Run(command) != 0) {
        PrintError("[HotFunCollector] Fail to collect " + recording.words + " info!");
    }
}

void HotFunCollector::CreateDocuments() {
    if (TimeOf(names::kCore) != nullptr) {
        for (const std::string& core : settings_.cores) {
            SaveCore(core);
        }
    }
    if (TimeOf(names::kProcess) != nullptr) {
        SaveProcesses();
    }
    if (TimeOf(names::kGlobal) != nullptr) {
        SaveGlobal();
    }
    if (TimeOf(names::kFunctionSet) != nullptr) {
        SaveFunctionSets();
    }
}

const std::string* HotFunCollector::TimeOf(const char* job) const {
    const auto found = times_.find(job);
    return found == times_.end() ? nullptr : &found->second;
}

void HotFunCollector::SaveCore(const std::string& core) {
    const std::string tag = names::CoreTag(core);
    ReportRows rows(settings_.top);
    if (ReadReport(names::kCore, names::RecordingGlob(tag, "_"), rows)) {
        SaveRows(names::kCore, "_core" + core, rows);
        RemoveReport(names::kCore);
    }
}

void HotFunCollector::SaveProcesses() {
    std::map<std::string, ReportRows> all;
    for (const auto& [name, pid] : pids_) {
        ReportRows rows(settings_.top);
        if (ReadReport(names::kProcess, names::RecordingGlob(names::ProcessTag(name, pid)), rows)) {
            all.emplace(name, std::move(rows));
            RemoveReport(names::kProcess);
        }
    }
    EventWriter events;
    const std::string& time = *TimeOf(names::kProcess);
    WriteProcessDocument(all, names::ObjectId(names::kProcess), time, events);
    events.Save(names::DocumentPath(dataPath_, names::kProcess, "", time));
}

void HotFunCollector::SaveGlobal() {
    ReportRows rows(settings_.top);
    if (ReadReport(names::kGlobal, names::RecordingGlob(names::kGlobal), rows)) {
        SaveRows(names::kGlobal, "", rows);
        RemoveReport(names::kGlobal);
    }
}

void HotFunCollector::SaveRows(const char* job, const std::string& suffix, const ReportRows& rows) {
    EventWriter events;
    const std::string& time = *TimeOf(job);
    WriteRowsDocument(rows, names::ObjectId(job), time, events);
    events.Save(names::DocumentPath(dataPath_, job, suffix, time));
}

void HotFunCollector::SaveFunctionSets() {
    const std::string& time = *TimeOf(names::kFunctionSet);
    const std::string script = dataPath_ + names::kRawDir +
                               names::RawName(names::kFunctionSet, time) + names::kScriptSuffix;
    std::map<std::string, FunctionShares> shares;
    if (!Succeeds([&] { return ReadShares(script, settings_.functionSets, shares); })) {
        PrintError("[HotFunCollector] Parse function_set result failed!");
        return;
    }
    EventWriter events;
    WriteFunctionSetDocument(shares, names::ObjectId(names::kFunctionSet), time, events);
    events.Save(names::DocumentPath(dataPath_, names::kFunctionSet, "", time));
}

bool HotFunCollector::ReadReport(const std::string& job, const std::string& glob,
                                 ReportRows& rows) {
    const std::string report = names::ReportLog(job);
    if (host_.runner.Run(ReportCommand(dataPath_ + names::kRawDir + glob, report)) != 0) {
        return PrintFailure("[HotFunCollector] Fail to generate " + job + " report!");
    }
    const auto addRow = [&rows](std::string_view line) {
        const std::optional<std::string_view> match = FindReportRow(line);
        if (match) {
            rows.Add(*match);
        }
        return match.has_value();
    };
    if (!Succeeds([&] { return TakeMatchingLinesOfFile(report, {}, settings_.top, addRow); })) {
        return PrintFailure("[HotFunCollector] Parse " + job + " result failed!");
    }
    return true;
}

void HotFunCollector::RemoveReport(const std::string& job) {
    if (host_.runner.Run("rm " + names::ReportLog(job)) != 0) {
        PrintError("[HotFunCollector] Fail to remove " + job + " report!");
    }
}

}  // namespace zarn
