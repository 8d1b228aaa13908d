#include "collectors/profiling/topdown/topdown_collector.h"

#include <array>
#include <cstddef>
#include <optional>

#include "collectors/profiling/topdown/topdown_analysis.h"
#include "collectors/profiling/topdown/topdown_document.h"
#include "collectors/profiling/topdown/topdown_events.h"
#include "collectors/profiling/topdown/topdown_stat_parser.h"
#include "formats/run_tree.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/paths.h"
#include "kit/cost.h"
#include "kit/process_id.h"

namespace zarn {
namespace {

constexpr ProcessIdWords kProcessIdWords = {
    {"[TopdownCollector] Failed to get the pid of ", "! Skipping this process!"},
    {"[TopdownCollector] Target process ", " does not exist! Skipping this process!"},
};

}  // namespace

bool TopdownCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    const JsonValue* section = OpenTopdownSection(config);
    return section != nullptr &&
           (!jobs_.at(topdown_jobs::kProcess) || CheckTopdownProcess(*section)) &&
           (!jobs_.at(topdown_jobs::kCore) || CheckTopdownCore(*section, host_.runner)) &&
           CheckTopdownDuration(*section);
}

bool TopdownCollector::Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) {
    const MissionCost cost;
    rawDataPath_ = dataPath + topdown_files::kRawDir;
    jsonPath_ = dataPath + run_tree::kJsonDir;
    if (!CheckJobList(config)) {
        return PrintFailure("[TopdownCollector] Failed to check topdown job list!");
    }
    if (!SetOption(config)) {
        return PrintFailure("[TopdownCollector] Failed to set topdown option!");
    }
    if (!CreateDirectory(rawDataPath_)) {
        return PrintFailure("[TopdownCollector] Cannot create topdown collect directory!");
    }
    if (!CollectRawData(stopFlag)) {
        return PrintFailure("[TopdownCollector] Failed to collect topdown!");
    }
    CreateJson();
    cost.Record(kName, dataPath);
    return true;
}

bool TopdownCollector::CheckJobList(const JsonDocument& config) {
    return ReadTopdownJobs(config, jobs_);
}

bool TopdownCollector::SetOption(const JsonDocument& config) {
    const JsonValue& section = config[kName];
    if ((jobs_.at(topdown_jobs::kProcess) && !SetProcesses(section["process"])) ||
        (jobs_.at(topdown_jobs::kCore) && !SetCores(section["core"]))) {
        return false;
    }
    duration_ = section["duration"].GetUint();
    return true;
}

bool TopdownCollector::SetProcesses(const JsonValue& names) {
    for (const JsonValue& element : names.GetArray()) {
        const std::string name = TextOf(element);
        if (const auto pid = FindProcessId(name, kProcessIdWords, host_.runner)) {
            processes_.emplace(name, *pid);
        }
    }
    return !processes_.empty() || PrintFailure("[TopdownCollector] job (process) is empty!");
}

bool TopdownCollector::SetCores(const JsonValue& cores) {
    for (const JsonValue& core : cores.GetArray()) {
        cores_.push_back(std::to_string(core.GetUint()));
    }
    return !cores_.empty() || PrintFailure("[TopdownCollector] job (core) is empty!");
}

bool TopdownCollector::CollectRawData(const StopFlag* stopFlag) {
    struct Step {
        const char* job;
        void (TopdownCollector::*collect)();
        const char* wordsIfStopped;
    };
    static constexpr std::array<Step, 3> kSteps = {{
        {topdown_jobs::kGlobal, &TopdownCollector::CollectGlobal,
         "[TopdownCollector] Recieved stop signal, (global, core, process) job not collected!"},
        {topdown_jobs::kCore, &TopdownCollector::CollectCore,
         "[TopdownCollector] Recieved stop signal, (core, process) job not collected!"},
        {topdown_jobs::kProcess, &TopdownCollector::CollectProcess,
         "[TopdownCollector] Recieved stop signal, (process) job not collected!"},
    }};
    PrintLine("[TopdownCollector] Collecting TopdownCollector raw data!");
    for (const Step& step : kSteps) {
        if (!jobs_.at(step.job)) {
            continue;
        }
        if (IsSet(stopFlag)) {
            PrintLine(step.wordsIfStopped);
            return false;
        }
        (this->*step.collect)();
    }
    return true;
}

void TopdownCollector::CollectGlobal() {
    if (TakeTime(global_) && !Measure(global_, "", "")) {
        PrintError("[TopdownCollector] Fail to collect global info!");
    }
}

void TopdownCollector::CollectCore() {
    if (!TakeTime(core_)) {
        return;
    }
    for (const std::string& core : cores_) {
        if (!Measure(core_, "-C " + core + " ", core)) {
            PrintError("[TopdownCollector] Fail to collect core " + core + " info!");
        }
    }
}

void TopdownCollector::CollectProcess() {
    if (!TakeTime(process_)) {
        return;
    }
    for (const auto& [name, pid] : processes_) {
        if (!Measure(process_, "-p " + pid + " ", name)) {
            PrintError("[TopdownCollector] Fail to collect process " + name + " info!");
        }
    }
}

bool TopdownCollector::TakeTime(JobFiles& files) {
    return host_.clock.currentTime(files.timeStamp) ||
           PrintFailure("[TopdownCollector] Failed to get time stamp!");
}

bool TopdownCollector::Measure(JobFiles& files, const std::string& target,
                               const std::string& element) {
    files.raw.push_back(topdown_files::RawName(files.kind, element, files.timeStamp));
    files.documents.push_back(topdown_files::DocumentName(files.kind, element, files.timeStamp));
    return host_.runner.Run("perf stat " + target + "-x\\; -o " + rawDataPath_ + files.raw.back() +
                            " -I 2000 -e " + kTopdownEventGroups + " -a sleep " +
                            std::to_string(duration_)) == 0;
}

void TopdownCollector::CreateJson() {
    PrintLine("[TopdownCollector] Creating TopdownCollector output json!");
    for (const JobFiles* files : {&global_, &core_, &process_}) {
        for (std::size_t i = 0; i < files->raw.size(); ++i) {
            const std::string& raw = files->raw[i];
            const std::string& document = files->documents[i];
            if (!SaveResultJson(rawDataPath_ + raw, jsonPath_ + document, *files)) {
                PrintError("[TopdownCollector] Fail to create json: " +
                           (files == &global_ ? raw : document));
            }
        }
    }
    PrintLine("[TopdownCollector] Success: TopdownCollector has completed JSON data storage!");
}

bool TopdownCollector::SaveResultJson(const std::string& rawPath, const std::string& jsonPath,
                                      const JobFiles& files) {
    EventWriter document;
    document.Begin();
    document.Text("eventId", topdown_files::kEventId);
    document.Text("happenTime", files.timeStamp);
    document.Text("objectId", files.kind.objectId);
    if (!AnalyzeRawFile(rawPath, document)) {
        return PrintFailure("[TopdownCollector] Cannot parse raw data file.");
    }
    document.End();
    document.Save(jsonPath);
    return true;
}

bool TopdownCollector::AnalyzeRawFile(const std::string& rawPath, EventWriter& document) {
    PrintLine("[TopdownCollector] Analyzing collection results: " + rawPath);
    TopdownData data;
    if (!ParseRawFile(rawPath, data.events)) {
        return PrintFailure("[TopdownCollector] Cannot get cpu event data.");
    }
    AnalyzeMetrics(data);
    WriteTopdownContent(data, document);
    return true;
}

bool TopdownCollector::ParseRawFile(const std::string& rawPath,
                                    std::unordered_map<std::string, float>& events) {
    LineFile file(rawPath);
    if (!file.IsOpen()) {
        return PrintFailure(
            "[TopdownCollector] Cannot find result file, check your config about topdown.");
    }
    TopdownTotals totals;
    for (std::string_view line; file.Next(line);) {
        totals.Add(line);
    }
    events = totals.Events();
    return true;
}

}  // namespace zarn
