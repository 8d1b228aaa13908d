#include "collectors/system/sched/sched_collector.h"

#include <string_view>
#include <utility>

#include "collectors/system/sched/collected_documents.h"
#include "collectors/system/sched/latency_report.h"
#include "collectors/system/sched/lite_job.h"
#include "collectors/system/sched/sched_commands.h"
#include "collectors/system/sched/setup_job.h"
#include "formats/sched.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/paths.h"
#include "foundation/time.h"
#include "kit/cost.h"

namespace zarn {
namespace {

// Of the passes, the one whose reports become documents.
constexpr std::uint32_t kFirstPass = 1;

bool HasRepeatingJob(const SchedJobParam& param) {
    return param.Has(kSchedGlobalJob) || param.Has(kSchedCoreJob) || param.Has(kSchedProcessJob) ||
           param.Has(kSchedLiteJob);
}

}  // namespace

SchedCollector::SchedCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), host_(std::move(host)) {}

bool SchedCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return ReadSchedJobParam(config, host_.runner, param_);
}

bool SchedCollector::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                           const StopFlag* stopFlag) {
    const MissionCost cost;
    dataPath_ = dataPath;
    rawDir_ = dataPath + sched_files::kRawDir;
    stopFlag_ = stopFlag;
    if (!CreateDirectory(rawDir_)) {
        return PrintFailure("[SchedCollector] Failed to init output file!");
    }
    if (!GetBootTime(bootTime_, host_.runner)) {
        return PrintFailure("[SchedCollector] Failed to get system start up time!");
    }
    PrintLine("[SchedCollector] Collecting SchedCollector raw data!");
    SetupJob setup(host_, param_, dataPath_);
    if (!RunPasses() || !RunOnce(setup)) {
        return PrintFailure("[SchedCollector] Failed to process sched info!");
    }
    PrintLine("[SchedCollector] Success:: SchedCollector has completed raw data collection!");
    if (IsSet(stopFlag_)) {
        return PrintFailure("[SchedCollector] Failed to CreateOutputJson because of stopFlag!");
    }
    CreateOutputJson(setup);
    cost.RecordAndPrint(kName, dataPath);
    return true;
}

// ---- Passes

bool SchedCollector::RunPasses() {
    if (!HasRepeatingJob(param_)) {
        return true;
    }
    for (std::uint32_t done = 0; done < param_.count; ++done) {
        if (!RunPass(done + kFirstPass)) {
            return false;
        }
    }
    return true;
}

bool SchedCollector::RunPass(std::uint32_t pass) {
    const std::pair<const char*, void (SchedCollector::*)(std::uint32_t)> jobs[] = {
        {kSchedGlobalJob, &SchedCollector::CollectGlobal},
        {kSchedCoreJob, &SchedCollector::CollectCores},
        {kSchedProcessJob, &SchedCollector::CollectProcesses},
        {kSchedLiteJob, &SchedCollector::CollectLite},
    };
    for (const auto& [job, collect] : jobs) {
        if (!param_.Has(job)) {
            continue;
        }
        if (IsSet(stopFlag_)) {
            return PrintFailure(std::string("[SchedCollector] Failed to process [") + job +
                                "] sched info because of stopFlag!");
        }
        (this->*collect)(pass);
    }
    return true;
}

bool SchedCollector::RunOnce(SetupJob& setup) const {
    if (!param_.Has(kSchedPriorityJob)) {
        return true;
    }
    if (IsSet(stopFlag_)) {
        PrintError(
            "[SchedCollector] Failed to process [priority_affinity] info because of stopFlag!");
        return PrintFailure(
            "[SchedCollector] Failed to process once job info because of stopFlag!");
    }
    setup.Collect();
    return true;
}

bool SchedCollector::TakeTime(std::string& time, const char* wordsIfFailed) const {
    return host_.clock.currentTime(time) || PrintFailure(wordsIfFailed);
}

void SchedCollector::CollectGlobal(std::uint32_t pass) {
    std::string time;
    if (!TakeTime(time, "[SchedCollector] Get global happen time failed.")) {
        return;
    }
    const std::string log = Record({sched_files::GlobalTarget(), ""}, {pass, time},
                                   "[SchedCollector] Fail to generate global raw data!");
    if (pass == kFirstPass) {
        globalReports_.push_back(
            {log, sched_files::GlobalLatencyPath(dataPath_, pass, time), time});
    }
}

void SchedCollector::CollectCores(std::uint32_t pass) {
    std::string time;
    if (param_.cores.empty() || !TakeTime(time, "[SchedCollector] Get core happen time failed.")) {
        return;
    }
    for (const std::uint32_t core : param_.cores) {
        const std::string log =
            Record({sched_files::CoreTarget(core), CoreOption(core)}, {pass, time},
                   "[SchedCollector] Fail to generate core raw data!");
        if (pass == kFirstPass) {
            coreReports_.push_back(
                {log, sched_files::CoreLatencyPath(dataPath_, core, pass, time), time});
        }
    }
}

void SchedCollector::CollectProcesses(std::uint32_t pass) {
    std::string time;
    if (!TakeTime(time, "[SchedCollector] Get process happen time failed.")) {
        return;
    }
    for (std::size_t i = 0; i < param_.processes.pids.size(); ++i) {
        const std::int32_t pid = param_.processes.pids[i];
        (void)Record(
            {sched_files::ProcessTarget(param_.processes.names[i], pid), ProcessOption(pid)},
            {pass, time}, "[SchedCollector] Fail to generate process raw data!");
    }
}

void SchedCollector::CollectLite(std::uint32_t pass) {
    LiteJob(host_, param_, rawDir_).Collect(pass, stopFlag_);
}

std::string SchedCollector::Record(const Target& target, const Moment& moment,
                                   const char* wordsIfFailed) {
    const auto& [name, option] = target;
    const auto& [pass, time] = moment;
    const PerfFiles files = {
        rawDir_ + sched_files::RecordName(name, pass, time),
        rawDir_ + sched_files::LatencyName(name, param_.sorted, pass, time),
        rawDir_ + sched_files::TimehistName(name, pass, time),
    };
    if (host_.runner.Run(PerfCommand(param_, option, files)) != 0) {
        PrintError(wordsIfFailed);
    }
    return files.latency;
}

// ---- Documents

void SchedCollector::CreateOutputJson(const SetupJob& setup) const {
    for (const Report& report : globalReports_) {
        SaveLatency(report, kSchedGlobalLatency,
                    "[SchedCollector] Cannot find global rawData file, check your config about "
                    "global.");
    }
    for (const Report& report : coreReports_) {
        SaveLatency(
            report, kSchedCoreLatency,
            "[SchedCollector] Cannot find core rawData file, check your config about core.");
    }
    if (param_.Has(kSchedPriorityJob)) {
        setup.Save();
    }
    PrintLine("[SchedCollector] Success:: SchedCollector has completed JSON data storage!");
}

void SchedCollector::SaveLatency(const Report& report, const char* objectId,
                                 const char* wordsIfMissing) const {
    LineFile lines(report.log);
    if (!lines.IsOpen()) {
        PrintError(wordsIfMissing);
        return;
    }
    EventWriter events;
    events.BeginEventList(kSchedEventId, report.time, objectId);
    LatencyRows rows(param_.topN);
    for (std::string_view line; rows.WantsMore() && lines.Next(line);) {
        if (rows.Take(line) != LatencyLine::Row) {
            continue;
        }
        if (const auto row = ParseLatencyRow(line)) {
            WriteLatencyRow(*row, bootTime_, events);
        } else {
            PrintError(std::string("[SchedAnalyzer] Error occurs in AddOneLatencyRawData: ") +
                       kShortLatencyRow);
        }
    }
    events.EndEventList();
    events.Save(report.document);
}

}  // namespace zarn
