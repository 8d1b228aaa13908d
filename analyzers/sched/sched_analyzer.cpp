#include "analyzers/sched/sched_analyzer.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "analyzers/sched/latency_analysis.h"
#include "analyzers/sched/raw_stamps.h"
#include "analyzers/sched/timehist_analysis.h"
#include "formats/sched.h"
#include "foundation/console.h"
#include "foundation/paths.h"
#include "foundation/stop_flag.h"
#include "foundation/time.h"
#include "kit/cost.h"

namespace zarn {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kFirstPass = 1;
constexpr const char* kNoFiles = "[SchedAnalyzer] Cannot find sched collection files! ";

// The entries of a folder in the order of their names. Those behind an error are missing.
std::vector<fs::directory_entry> EntriesOf(const std::string& folder, std::error_code& error) {
    std::vector<fs::directory_entry> entries;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        entries.push_back(*entry);
    }
    std::sort(entries.begin(), entries.end(),
              [](const auto& a, const auto& b) { return a.path().native() < b.path().native(); });
    return entries;
}

// A folder that is missing leaves the moments unknown; one that cannot be read, or holds more than
// files, fails.
bool FindStamps(const std::string& folder, RawStamps& stamps) {
    std::error_code error;
    if (!fs::exists(folder, error)) {
        PrintError("[SchedAnalyzer] The SchedCollector rawData path: " + folder +
                   " doesn't exisit.");
        return true;
    }
    const std::vector<fs::directory_entry> entries = EntriesOf(folder, error);
    if (error) {
        return PrintFailure(kNoFiles);
    }
    for (const fs::directory_entry& entry : entries) {
        if (!entry.is_regular_file(error)) {
            return PrintFailure(kNoFiles);
        }
        stamps.Offer(entry.path().filename().string());
        if (stamps.AreAllKnown()) {
            break;
        }
    }
    return true;
}

// Where the files lie that the collector made of `measured`.
SchedSource SourceOf(const SchedContext& context, sched_files::AnalysisTarget target,
                     const std::string& measured) {
    const std::string& stamp = target.stamp;
    const std::string& dir = context.rawDir;
    SchedSource source;
    source.record = dir + sched_files::RecordName(measured, kFirstPass, stamp);
    source.latency = dir + sched_files::LatencyName(measured, context.settings.collected.sorted,
                                                    kFirstPass, stamp);
    source.timehist = dir + sched_files::TimehistName(measured, kFirstPass, stamp);
    source.target = std::move(target);
    return source;
}

void TellIfFailed(bool good, const SchedSource& source, const char* what) {
    if (!good) {
        PrintError("[SchedAnalyzer] Failed to analyze " + source.target.label + what);
    }
}

void AnalyzeBoth(const SchedContext& context, const SchedSource& source) {
    TellIfFailed(AnalyzeLatency(context, source), source, " latency raw data!");
    TellIfFailed(AnalyzeTimehist(context, source), source, " timehist raw data!");
}

}  // namespace

SchedAnalyzer::SchedAnalyzer(std::string name, const Host& host)
    : BasicAnalyzer(std::move(name)), host_(host) {}

bool SchedAnalyzer::Start(const JsonDocument& config, const std::string& dataPath,
                          const StopFlag* stopFlag) {
    const MissionCost cost;
    std::string bootTime;
    if (!ReadConfig(config, bootTime)) {
        return PrintFailure("[SchedAnalyzer] Failed to parse sched config!");
    }
    const SchedContext context = {host_.runner,
                                  settings_,
                                  dataPath + sched_files::kRawDir,
                                  dataPath + sched_files::kAnalysisRawDir,
                                  dataPath + run_tree::kJsonDir,
                                  bootTime};
    RawStamps stamps;
    if (!CreateDirectory(context.analysisDir) || !FindStamps(context.rawDir, stamps)) {
        return PrintFailure("[SchedAnalyzer] Failed to init output file!");
    }
    if (!RunJobs(context, {stamps.Global(), stamps.Core(), stamps.Process()}, stopFlag)) {
        return PrintFailure("[SchedAnalyzer] Failed to process sched analyzer!");
    }
    cost.RecordAndPrint(kName, dataPath);
    return true;
}

bool SchedAnalyzer::ReadConfig(const JsonDocument& config, std::string& bootTime) {
    settings_ = {};
    if (!ReadSchedAnalyzerSettings(config, kName, host_.runner, settings_)) {
        return false;
    }
    return GetBootTime(bootTime, host_.runner) ||
           PrintFailure("[SchedAnalyzer] Failed to get system start up time!");
}

bool SchedAnalyzer::RunJobs(const SchedContext& context, const Stamps& stamps,
                            const StopFlag* stopFlag) const {
    using Analyze = void (SchedAnalyzer::*)(const SchedContext&, const std::string&) const;
    struct Job {
        const char* name;
        Analyze analyze;
        const std::string& stamp;
    };
    const Job jobs[] = {{kSchedGlobalJob, &SchedAnalyzer::AnalyzeGlobal, stamps.global},
                        {kSchedCoreJob, &SchedAnalyzer::AnalyzeCores, stamps.core},
                        {kSchedProcessJob, &SchedAnalyzer::AnalyzeProcesses, stamps.process}};
    for (const Job& job : jobs) {
        if (!settings_.collected.Has(job.name)) {
            continue;
        }
        if (IsSet(stopFlag)) {
            return PrintFailure("[SchedAnalyzer] Failed to process [" + std::string(job.name) +
                                "] sched analyzer because of stopFlag!");
        }
        (this->*job.analyze)(context, job.stamp);
    }
    PrintLine("[SchedAnalyzer] Success:: SchedAnalyzer has analyzed raw data!");
    return true;
}

void SchedAnalyzer::AnalyzeGlobal(const SchedContext& context, const std::string& stamp) const {
    AnalyzeBoth(context, SourceOf(context, {kSchedGlobalJob, kSchedGlobalJob, stamp},
                                  sched_files::GlobalTarget()));
}

void SchedAnalyzer::AnalyzeCores(const SchedContext& context, const std::string& stamp) const {
    for (const std::uint32_t core : settings_.collected.cores) {
        AnalyzeBoth(context,
                    SourceOf(context, {kSchedCoreJob, kSchedCoreJob + std::to_string(core), stamp},
                             sched_files::CoreTarget(core)));
    }
}

void SchedAnalyzer::AnalyzeProcesses(const SchedContext& context, const std::string& stamp) const {
    const SchedProcesses& processes = settings_.collected.processes;
    for (std::size_t i = 0; i < processes.names.size(); ++i) {
        const std::string& name = processes.names[i];
        const std::string label =
            std::string(kSchedProcessJob) + "_" + name + "_" + std::to_string(processes.pids[i]);
        const SchedSource source = SourceOf(context, {kSchedProcessJob, label, stamp},
                                            sched_files::ProcessTarget(name, processes.pids[i]));
        TellIfFailed(AnalyzeProcessTimehist(context, source), source, " timehist raw data!");
    }
}

}  // namespace zarn
