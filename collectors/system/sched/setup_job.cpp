#include "collectors/system/sched/setup_job.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <set>

#include "collectors/system/sched/collected_documents.h"
#include "collectors/system/sched/sched_commands.h"
#include "collectors/system/sched/setup_parser.h"
#include "formats/sched.h"
#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn {
namespace {

constexpr const char* kNamedThread = "specifiedThread";

constexpr const char* kPriorityFault =
    "[SchedAnalyzer] Error occurs in GetProcessPriorityRawData: ";
constexpr const char* kAffinityFault =
    "[SchedAnalyzer] Error occurs in GetProcessAffinityRawData: ";
constexpr const char* kPolicyFault = "[SchedAnalyzer] Error occurs in GetThreadSchedPolicy: ";
constexpr const char* kThreadPriorityFault =
    "[SchedAnalyzer] Error occurs in FillProcessPriorityInfo: ";
constexpr const char* kThreadAffinityFault =
    "[SchedAnalyzer] Error occurs in FillProcessAffinityInfo: ";
constexpr const char* kPriorityTableFault =
    "[SchedAnalyzer] Error occurs in SaveProcessPriorityInfoToCSV: ";
constexpr const char* kAffinityTableFault =
    "[SchedAnalyzer] Error occurs in SaveProcessAffinityInfoToCSV: ";
constexpr const char* kNamedTableFault =
    "[SchedAnalyzer] Error occurs in SaveSpecifiedThreadInfoToCSV: ";
constexpr const char* kTableFault =
    "[SchedCollector] Error occurs when saving all thread info in csv: ";
constexpr const char* kNamedFault = "[SchedAnalyzer] Error occurs in FillSpecifiedThreadInfo: ";

template <typename Parsed>
void TellShortRows(const Parsed& parsed, const char* fault) {
    if (parsed.shortRows > 0) {
        PrintError(fault + ShortRowWords(parsed.shortRows));
    }
}

// What the log holds; nothing if it cannot be opened.
template <typename Parse>
auto ReadLog(const std::string& path, Parse parse, const char* fault, bool* isThere = nullptr) {
    std::string text;
    const bool isOpen = ReadFile(path, text) != FileResult::CannotOpen;
    if (isThere != nullptr) {
        *isThere = isOpen;
    }
    auto parsed = parse(text);
    TellShortRows(parsed, fault);
    return parsed;
}

// Does `action`; an exception ends it with the fault's line.
template <typename Action>
void Guard(const char* fault, Action action) {
    try {
        action();
    } catch (const std::exception& error) {
        PrintError(std::string(fault) + error.what());
    }
}

bool TellMissingLog(const std::string& path) {
    return PrintFailure("[SchedCollector] Cannot find rawData file: " + path +
                        ", check your config about [thread] at priority_affinity.");
}

// Keeps the first of rows that have one id.
template <typename Row>
void KeepFirst(std::vector<Row>& rows) {
    std::set<std::string> seen;
    rows.erase(std::remove_if(rows.begin(), rows.end(),
                              [&seen](const Row& row) { return !seen.insert(row.id).second; }),
               rows.end());
}

// The threads of a list, each once; false after a line if there is none.
bool ReadThreads(const std::string& path, const char* fault, SetupRows& threads) {
    bool isThere = false;
    threads = ReadLog(path, ParseThreadList, fault, &isThere);
    return isThere || TellMissingLog(path);
}

void SaveDocument(const std::string& objectId, const std::string& time, const std::string& path,
                  const std::function<void(EventWriter&)>& writeContent) {
    EventWriter events;
    events.BeginEventList(kSchedEventId, time, objectId);
    writeContent(events);
    events.EndEventList();
    events.Save(path);
}

}  // namespace

// ---- What the tools are asked

void SetupJob::Collect() {
    CollectPriorities();
    CollectAffinities();
    CollectNamedThreads();
}

void SetupJob::CollectPriorities() {
    if (!TakeTime(priorityTime_, "[SchedCollector] Get processPriority happent time failed.")) {
        return;
    }
    const std::string log = sched_files::kPriorityLog.Path(dataPath_, priorityTime_);
    for (std::size_t i = 0; i < param_.priorityProcesses.pids.size(); ++i) {
        const std::string pid = std::to_string(param_.priorityProcesses.pids[i]);
        if (Run(ProcessPriorityCommand(pid, log),
                "[SchedCollector] Fail to generate process priority raw data!")) {
            CollectThreadPriorities(param_.priorityProcesses.names[i], pid);
        }
    }
}

void SetupJob::CollectThreadPriorities(const std::string& name, const std::string& pid) const {
    const auto logs = sched_files::ThreadPriorityLogs(dataPath_, name, priorityTime_);
    const std::string begin = "[SchedCollector] Fail to generate process: " + name;
    SetupRows threads;
    if (!Run(ThreadListCommand(pid, logs.list), begin + " all thread raw data!") ||
        !Run(ThreadPriorityCommand(pid, logs.priority), begin + " all thread priority raw data!") ||
        !ReadThreads(logs.list, kPriorityFault, threads)) {
        return;
    }
    KeepFirst(threads.rows);
    for (const SetupRow& thread : threads.rows) {
        (void)Ask(thread.id, PolicyCommand(thread.id, logs.policy));
    }
}

void SetupJob::CollectAffinities() {
    if (!TakeTime(affinityTime_, "[SchedCollector] Get processAffinity happent time failed.")) {
        return;
    }
    const std::string log = sched_files::kAffinityLog.Path(dataPath_, affinityTime_);
    for (std::size_t i = 0; i < param_.priorityProcesses.pids.size(); ++i) {
        const std::string pid = std::to_string(param_.priorityProcesses.pids[i]);
        if (Run(AffinityCommand(pid, log),
                "[SchedCollector] Fail to generate process affinity raw data!")) {
            CollectThreadAffinities(param_.priorityProcesses.names[i], pid);
        }
    }
}

void SetupJob::CollectThreadAffinities(const std::string& name, const std::string& pid) const {
    const auto logs = sched_files::ThreadAffinityLogs(dataPath_, name, affinityTime_);
    SetupRows threads;
    if (!Run(ThreadListCommand(pid, logs.list),
             "[SchedCollector] Fail to generate process: " + name + " all thread raw data!") ||
        !ReadThreads(logs.list, kAffinityFault, threads)) {
        return;
    }
    KeepFirst(threads.rows);
    for (const SetupRow& thread : threads.rows) {
        (void)Ask(thread.id, AffinityCommand(thread.id, logs.affinity));
    }
}

void SetupJob::CollectNamedThreads() {
    if (!TakeTime(namedTime_, "[SchedCollector] Get specifiedThreadInfo happent time failed.")) {
        return;
    }
    const std::string log = sched_files::kNamedPriorityLog.Path(dataPath_, namedTime_);
    for (const std::string& name : param_.priorityThreads) {
        (void)Run(NamedThreadCommand(name, log),
                  "[SchedCollector] Thread name: " + name +
                      " of SchedCollector [thread] at priority_affinity does not exist in device, "
                      "skipping this thread!");
    }
    if (param_.priorityThreads.empty()) {
        return;
    }
    bool isThere = false;
    TopRows threads = ReadLog(log, ParseTopThreads, kNamedFault, &isThere);
    if (!isThere) {
        (void)TellMissingLog(log);
    }
    KeepFirst(threads.rows);
    const std::string affinityLog = sched_files::kNamedAffinityLog.Path(dataPath_, namedTime_);
    const std::string policyLog = sched_files::kNamedPolicyLog.Path(dataPath_, namedTime_);
    for (const TopRow& thread : threads.rows) {
        (void)(Ask(thread.id, AffinityCommand(thread.id, affinityLog)) &&
               Ask(thread.id, PolicyCommand(thread.id, policyLog)));
    }
}

bool SetupJob::TakeTime(std::string& time, const char* wordsIfFailed) const {
    return host_.clock.currentTime(time) || PrintFailure(wordsIfFailed);
}

bool SetupJob::Run(const std::string& command, const std::string& wordsIfFailed) const {
    return host_.runner.Run(command) == 0 || PrintFailure(wordsIfFailed);
}

bool SetupJob::Ask(const std::string& id, const std::string& command) const {
    return Run(command, "[SchedCollector] Get thread: " + id +
                            " thread info failed with command: " + command +
                            ", skipping this thread!");
}

// ---- What becomes of the answers

void SetupJob::Save() const {
    const std::size_t count = param_.priorityProcesses.pids.size();
    std::vector<Threads> priorities(count);
    std::vector<Threads> affinities(count);
    Threads named;
    Guard(kPriorityFault, [this] { SavePriorities(); });
    for (std::size_t i = 0; i < count; ++i) {
        Guard(kThreadPriorityFault, [&, i] { priorities[i] = SaveThreadPriorities(i); });
    }
    Guard(kAffinityFault, [this] { SaveAffinities(); });
    for (std::size_t i = 0; i < count; ++i) {
        Guard(kThreadAffinityFault, [&, i] { affinities[i] = SaveThreadAffinities(i); });
    }
    if (!param_.priorityThreads.empty()) {
        Guard(kNamedFault, [&] { named = SaveNamedThreads(); });
    }
    for (std::size_t i = 0; i < count; ++i) {
        Guard(kAffinityTableFault, [&, i] { AddCores(affinities[i], priorities[i]); });
    }
    Guard(kTableFault, [&] { SaveTable(priorities, named); });
}

std::string SetupJob::KeyOf(std::size_t process) const {
    return SetupKey(param_.priorityProcesses.names[process],
                    std::to_string(param_.priorityProcesses.pids[process]));
}

void SetupJob::SavePriorities() const {
    bool isThere = false;
    const SetupValues values(ReadLog(sched_files::kPriorityLog.Path(dataPath_, priorityTime_),
                                     ParsePriorities, kPriorityFault, &isThere));
    if (!isThere) {
        PrintError(
            "[SchedCollector] Cannot find processPriority rawData file, check your config about "
            "processPriority.");
        return;
    }
    SaveDocument(kSchedPriority, priorityTime_,
                 sched_files::kPriorityInfo.Path(dataPath_, priorityTime_),
                 [&](EventWriter& events) {
                     for (std::size_t i = 0; i < param_.priorityProcesses.pids.size(); ++i) {
                         const std::string pid = std::to_string(param_.priorityProcesses.pids[i]);
                         WriteProcessSetup(KeyOf(i), "priority", values.Of(pid), events);
                     }
                 });
}

void SetupJob::SaveAffinities() const {
    bool isThere = false;
    const SetupValues values(ReadLog(sched_files::kAffinityLog.Path(dataPath_, affinityTime_),
                                     ParseAffinities, kAffinityFault, &isThere));
    if (!isThere) {
        PrintError(
            "[SchedCollector] Cannot find processAffinity rawData file, check your config about "
            "processAffinity.");
        return;
    }
    SaveDocument(kSchedAffinity, affinityTime_,
                 sched_files::kAffinityInfo.Path(dataPath_, affinityTime_),
                 [&](EventWriter& events) {
                     for (std::size_t i = 0; i < param_.priorityProcesses.pids.size(); ++i) {
                         const std::string pid = std::to_string(param_.priorityProcesses.pids[i]);
                         WriteProcessSetup(KeyOf(i), "coreList", values.Of(pid), events);
                     }
                 });
}

SetupJob::Threads SetupJob::SaveThreadPriorities(std::size_t process) const {
    const std::string& name = param_.priorityProcesses.names[process];
    const auto logs = sched_files::ThreadPriorityLogs(dataPath_, name, priorityTime_);
    SetupRows threads;
    if (!ReadThreads(logs.list, kThreadPriorityFault, threads)) {
        return {};
    }
    const SetupRows priorities = ReadLog(logs.priority, ParsePriorities, kThreadPriorityFault);
    const SetupRows policies = ReadLog(logs.policy, ParsePolicies, kPolicyFault);
    KeepFirst(threads.rows);
    if (threads.rows.size() != priorities.rows.size() ||
        threads.rows.size() != policies.rows.size()) {
        PrintError("[SchedCollector] The size of [name, priority, schedPolicy] is not equal in " +
                   name + " process rawData file, check your config about processPriority.");
    }
    const SetupValues priorityOf(priorities);
    const SetupValues policyOf(policies);
    Threads found;
    for (const SetupRow& thread : threads.rows) {
        found.push_back(
            {thread.id, thread.value, priorityOf.Of(thread.id), policyOf.Of(thread.id), kNoSetup});
    }
    SaveDocument(kSchedThreadPriority, priorityTime_,
                 sched_files::ThreadPriorityInfoPath(dataPath_, name, priorityTime_),
                 [&](EventWriter& events) {
                     WriteThreadSetups(KeyOf(process), found, {true, false}, events);
                 });
    return found;
}

SetupJob::Threads SetupJob::SaveThreadAffinities(std::size_t process) const {
    const std::string& name = param_.priorityProcesses.names[process];
    const auto logs = sched_files::ThreadAffinityLogs(dataPath_, name, affinityTime_);
    SetupRows threads;
    if (!ReadThreads(logs.list, kThreadAffinityFault, threads)) {
        return {};
    }
    const SetupRows affinities = ReadLog(logs.affinity, ParseAffinities, kThreadAffinityFault);
    KeepFirst(threads.rows);
    if (threads.rows.size() != affinities.rows.size()) {
        PrintError("[SchedCollector] The size of [name, affinity] is not equal in " + name +
                   " process rawData file, check your config about processAffinity.");
    }
    const SetupValues coresOf(affinities);
    Threads found;
    for (const SetupRow& thread : threads.rows) {
        found.push_back({thread.id, thread.value, kNoSetup, kNoSetup, coresOf.Of(thread.id)});
    }
    SaveDocument(kSchedThreadAffinity, affinityTime_,
                 sched_files::ThreadAffinityInfoPath(dataPath_, name, affinityTime_),
                 [&](EventWriter& events) {
                     WriteThreadSetups(KeyOf(process), found, {false, true}, events);
                 });
    return found;
}

SetupJob::Threads SetupJob::SaveNamedThreads() const {
    const std::string log = sched_files::kNamedPriorityLog.Path(dataPath_, namedTime_);
    bool isThere = false;
    TopRows threads = ReadLog(log, ParseTopThreads, kNamedFault, &isThere);
    if (!isThere) {
        (void)TellMissingLog(log);
        return {};
    }
    KeepFirst(threads.rows);
    const SetupRows policies = ReadLog(sched_files::kNamedPolicyLog.Path(dataPath_, namedTime_),
                                       ParsePolicies, kPolicyFault);
    const SetupRows affinities = ReadLog(sched_files::kNamedAffinityLog.Path(dataPath_, namedTime_),
                                         ParseAffinities, kNamedFault);
    if (threads.rows.size() != policies.rows.size() ||
        threads.rows.size() != affinities.rows.size()) {
        PrintError(
            "[SchedCollector] The size of specified thread [priority, schedPolicy, affinity] is "
            "not equal in rawData file, check your config about processPriority.");
    }
    const SetupValues policyOf(policies);
    const SetupValues coresOf(affinities);
    Threads found;
    for (const TopRow& thread : threads.rows) {
        found.push_back({thread.id, thread.name, thread.priority, policyOf.Of(thread.id),
                         coresOf.Of(thread.id)});
    }
    SaveDocument(kSchedNamedThread, namedTime_,
                 sched_files::kNamedThreadInfo.Path(dataPath_, namedTime_),
                 [&found](EventWriter& events) {
                     for (const ThreadSetup& thread : found) {
                         WriteThreadSetups(SetupKey(kNamedThread, thread.name), {thread},
                                           {true, true}, events);
                     }
                 });
    return found;
}

void SetupJob::SaveTable(const std::vector<Threads>& processes, const Threads& named) const {
    CsvTable table;
    for (std::size_t i = 0; i < processes.size(); ++i) {
        Guard(kPriorityTableFault, [&, i] {
            AppendSetupHead(table);
            for (const ThreadSetup& thread : processes[i]) {
                AppendSetupRow(KeyOf(i), thread, table);
            }
        });
    }
    if (!param_.priorityThreads.empty()) {
        Guard(kNamedTableFault, [&] {
            AppendSetupHead(table);
            for (const ThreadSetup& thread : named) {
                AppendSetupRow(SetupKey(kNamedThread, thread.name), thread, table);
            }
        });
    }
    const std::string path = dataPath_ + sched_files::kThreadTable;
    if (WriteFile(path, table.TakeText()) != FileResult::Ok) {
        PrintError(kTableFault + path);
    }
}

}  // namespace zarn
