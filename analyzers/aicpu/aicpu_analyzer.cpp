#include "analyzers/aicpu/aicpu_analyzer.h"

#include <algorithm>
#include <deque>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

#include "analyzers/aicpu/aicpu_record_reader.h"
#include "foundation/console.h"
#include "foundation/file_search.h"
#include "foundation/files.h"
#include "foundation/text.h"
#include "foundation/time.h"
#include "kit/cost.h"

namespace zarn {
namespace {

constexpr const char* kBadPriority = "[AicpuAnalyzer] Fail to analyze proc pri content.";
constexpr const char* kBadStatus = "[AicpuAnalyzer] Fail to analyze proc status content.";
constexpr const char* kBadEventNum = "[AicpuAnalyzer] Fail to analyze proc event num content.";
constexpr const char* kBadGroupList = "[AicpuAnalyzer] Fail to analyze proc group list content.";

// The names of the collector's records in a run tree, whatever stands for the time.
std::vector<std::string> FindRecords(const std::string& dataPath) {
    const std::string directory = dataPath + aicpu_files::kRecord.folder;
    const std::string head = directory + aicpu_files::kRecord.prefix;
    const std::string tail = std::string(".") + aicpu_files::kRecord.suffix;
    std::vector<std::string> paths = ListFiles(directory);
    paths.erase(std::remove_if(paths.begin(), paths.end(),
                               [&](const std::string& path) {
                                   return path.size() < head.size() + tail.size() ||
                                          !StartsWith(path, head) || !EndsWith(path, tail);
                               }),
                paths.end());
    return paths;
}

bool BadSection(const char* section) {
    return PrintFailure("[AicpuAnalyzer] Fail to analyze " + std::string(section) + " content.");
}

// Pairs in their order; of a name that comes again the last value counts.
NamedValues WithoutRepeats(const NamedValues& values) {
    NamedValues kept;
    std::unordered_map<std::string, std::size_t> places;
    for (const auto& [name, value] : values) {
        const auto [place, isNew] = places.try_emplace(name, kept.size());
        if (isNew) {
            kept.emplace_back(name, value);
        } else {
            kept[place->second].second = value;
        }
    }
    return kept;
}

}  // namespace

AicpuAnalyzer::AicpuAnalyzer(std::string name, const Host& /*host*/)
    : BasicAnalyzer(std::move(name)) {}

bool AicpuAnalyzer::Start(const JsonDocument& config, const std::string& dataPath,
                          const StopFlag* stopFlag) {
    const MissionCost cost;
    dataPath_ = dataPath;
    if (!ReadAicpuAnalyzerSettings(config, jobs_) || !ReadRecord() || !JobsWereCollected()) {
        PrintError("[AicpuAnalyzer] Get aicpu set info failed.");
        return PrintFailure("[AicpuAnalyzer] Failed to parse aicpu analyzer config!");
    }
    AnalyzeAll(stopFlag);
    cost.RecordAndPrint(kName, dataPath);
    return true;
}

bool AicpuAnalyzer::ReadRecord() {
    const std::vector<std::string> paths = FindRecords(dataPath_);
    if (paths.size() != 1) {
        return PrintFailure("[AicpuAnalyzer] Only one soc_aicpu_info file should be existed.");
    }
    time_ = GetFileTimestamp(paths.front());
    std::string text;
    const bool isRead = ReadFile(paths.front(), text) == FileResult::Ok;
    switch (isRead ? ReadAicpuRecord(text, record_) : RecordResult::NoJson) {
        case RecordResult::NoJson:
            return PrintFailure("[AicpuAnalyzer] Exception occurs while parsing json file.");
        case RecordResult::BadFormat:
            return PrintFailure("[AicpuAnalyzer] Result json format is invalid.");
        case RecordResult::Ok:
            break;
    }
    return true;
}

bool AicpuAnalyzer::JobsWereCollected() const {
    const AicpuJobs& collected = record_.jobs;
    const bool good = (!jobs_.core || collected.core) && (!jobs_.event || collected.event) &&
                      (!jobs_.abnormal || collected.abnormal);
    return good ||
           PrintFailure("[AicpuAnalyzer] Cannot analyze because have not collect correspond data.");
}

void AicpuAnalyzer::AnalyzeAll(const StopFlag* stopFlag) {
    std::map<std::string, std::size_t> met;  // sections, by name
    for (const AicpuProcess& process : record_.processes) {
        if (IsSet(stopFlag)) {
            return;
        }
        process_ = &process;
        // Without a pass there are no sections.
        ordinal_ = process.collectTimes.empty() ? met[process.name] : met[process.name]++;
        findings_ = {};
        if (Analyze()) {
            Save();
        } else {
            PrintError("[AicpuAnalyzer] Failed to analyze aicpu info of " + process.name + ".");
        }
    }
}

bool AicpuAnalyzer::Analyze() {
    return (!jobs_.core || AnalyzeCore()) && (!jobs_.event || AnalyzeEvents()) &&
           (!jobs_.abnormal || AnalyzeAbnormal()) && (!process_->valid || AnalyzeProcess());
}

bool AicpuAnalyzer::AnalyzeCore() {
    NodePoolReader pool;
    ProcListReader processes;
    CorePoolsReader cores(record_.deMin, record_.deMax);
    WantedSections wanted = {
        {"node_event_resource", &pool}, {"proc_list", &processes}, {"cpu_event_resource", &cores}};
    if (!ReadList(aicpuCoreList, "[AicpuAnalyzer] parse core info file failed.", wanted)) {
        return false;
    }
    if (!wanted[0].IsGood()) {
        return PrintFailure("[AicpuAnalyzer] Fail to analyze node event resource content.");
    }
    if (!wanted[1].IsGood()) {
        return PrintFailure("[AicpuAnalyzer] Fail to analyze proc list content.");
    }
    if (!wanted[2].IsGood()) {
        return PrintFailure("[AicpuAnalyzer] Fail to analyze cpu event resource content.");
    }
    findings_.core = {*pool.Pool(), processes.Rows(), cores.Rows()};
    return true;
}

bool AicpuAnalyzer::AnalyzeEvents() {
    EventSummaryReader summary;
    WantedSections wanted = {{"node_event_summary", &summary}};
    if (!ReadList(aicpuEventList, "[AicpuAnalyzer] parse event info file failed.", wanted)) {
        return false;
    }
    if (!wanted[0].IsGood()) {
        return PrintFailure("[AicpuAnalyzer] Fail to analyze node event summary content.");
    }
    findings_.event = {summary.TakeSeries(), summary.Events()};
    return true;
}

// First the lists of the complex, then, for a valid record, those of the process.
bool AicpuAnalyzer::AnalyzeAbnormal() {
    std::deque<AbnormalEventReader> lists;  // they do not move
    std::array<ThresholdReader, kAbnormalLists.size()> thresholds;
    WantedSections wanted;
    for (const AbnormalList& list : kAbnormalLists) {
        wanted.push_back({list.events, &lists.emplace_back(list.pidField, process_->pid)});
    }
    for (std::size_t i = 0; i < kAbnormalLists.size(); ++i) {
        wanted.push_back({kAbnormalLists[i].threshold, &thresholds[i]});
    }
    if (!ReadList(aicpuAbnormalList, "[AicpuAnalyzer] parse abnormal info file failed.", wanted)) {
        return false;
    }
    for (std::size_t i = 0; i < kAbnormalLists.size(); ++i) {
        if (kAbnormalLists[i].ofComplex && !wanted[i].IsGood()) {
            return BadSection(wanted[i].attribute);
        }
    }
    for (const WantedSection& section : wanted) {
        if (process_->valid && !section.IsGood()) {
            return BadSection(section.attribute);
        }
    }
    auto& found = findings_.abnormal.emplace();
    for (std::size_t i = 0; i < kAbnormalLists.size(); ++i) {
        found[i] = {lists[i].Ranked(), lists[i].OwnStarts(), thresholds[i].Value()};
    }
    return true;
}

bool AicpuAnalyzer::AnalyzeProcess() {
    PriorityReader priority(process_->pid);
    StatusReader status;
    EventNumReader eventNum;
    GroupListReader groups;
    WantedSections wanted = {{"proc_pri", &priority},
                             {"proc_status", &status},
                             {"proc_event_num", &eventNum},
                             {"proc_group_list", &groups}};
    if (!ReadList(aicpuProcessList, "[AicpuAnalyzer] parse process info file failed.", wanted)) {
        return false;
    }
    const std::array<const char*, 4> words = {kBadPriority, kBadStatus, kBadEventNum,
                                              kBadGroupList};
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (!wanted[i].IsGood()) {
            return PrintFailure(words[i]);
        }
    }
    NamedValues values = {{"name", priority.Name()}, {"priority", priority.Priority()}};
    values.insert(values.end(), status.Values().begin(), status.Values().end());
    findings_.process = {WithoutRepeats(values), eventNum.Published(), eventNum.Scheduled(),
                         groups.Groups()};
    return true;
}

bool AicpuAnalyzer::ReadList(const AicpuList& list, const char* words,
                             WantedSections& wanted) const {
    LineFile file(aicpu_files::SectionsPath(dataPath_, list.name, process_->name, time_));
    if (!file.IsOpen()) {
        return PrintFailure(words);
    }
    ReadSections(LinesOf(file), list, ordinal_, wanted);
    return true;
}

void AicpuAnalyzer::Save() const {
    EventWriter events;
    WriteSocDocument(findings_, *process_, time_, events);
    events.SaveAnew(aicpu_files::kSocAnalysis.Path(dataPath_, time_));
    if (findings_.process) {
        WriteProcessDocument(findings_, time_, events);
        events.Save(aicpu_files::ProcessAnalysisPath(dataPath_, process_->name, time_));
    }
}

}  // namespace zarn
