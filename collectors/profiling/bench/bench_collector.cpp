#include "collectors/profiling/bench/bench_collector.h"

#include <array>
#include <set>

#include "foundation/commands.h"
#include "foundation/console.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "kit/cost.h"

namespace zarn {
namespace {

constexpr const char* kSchedulerGroup = "sched";
constexpr const char* kMemoryGroup = "mem";

std::string DescriptionOf(const std::string& job) {
    return job == bench_jobs::kMessaging
               ? "20 sender and receiver processes per group, 10 groups == 400 processes run"
               : "Executed 1000000 pipe operations between two processes";
}

std::string SpeedNameOf(const std::string& job) {
    return job == bench_jobs::kMemset ? "memory set speed(GB/sec)" : "memory copy speed(GB/sec)";
}

}  // namespace

bool BenchCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return CheckJobList(config);
}

bool BenchCollector::Start(const JsonDocument& config, const std::string& dataPath,
                           const StopFlag* stopFlag) {
    const MissionCost cost;
    dataPath_ = dataPath;
    if (!CreateDirectory(dataPath + bench_files::kRawDir)) {
        return PrintFailure("[BenchCollector] Cannot create bench collect directory!");
    }
    SetOption(config);
    if (!CollectBench(stopFlag)) {
        return PrintFailure("[BenchCollector] Failed to process bench info!");
    }
    cost.Record(kName, dataPath);
    return true;
}

bool BenchCollector::CheckJobList(const JsonDocument& config) {
    return ReadBenchJobs(config, jobs_);
}

void BenchCollector::SetOption(const JsonDocument& config) {
    if (jobs_.count(bench_jobs::kStat) != 0) {
        (void)ReadBenchStat(config, stat_);
    }
}

bool BenchCollector::CollectBench(const StopFlag* stopFlag) {
    if (IsSet(stopFlag)) {
        PrintLine("[BenchCollector] The process to generate raw data is interrupted!");
        return false;
    }
    CollectRawData();
    if (IsSet(stopFlag)) {
        PrintLine("[BenchCollector] The process to generate json data is interrupted!");
        return false;
    }
    CreateJson();
    return true;
}

// ---- Raw data

void BenchCollector::CollectRawData() {
    struct Benchmark {
        const char* group;
        const char* job;
        std::vector<std::string> BenchCollector::*noted;
    };
    static constexpr std::array<Benchmark, 4> kBenchmarks{{
        {kSchedulerGroup, bench_jobs::kMessaging, &BenchCollector::schedulerJobs_},
        {kSchedulerGroup, bench_jobs::kPipe, &BenchCollector::schedulerJobs_},
        {kMemoryGroup, bench_jobs::kMemset, &BenchCollector::memoryJobs_},
        {kMemoryGroup, bench_jobs::kMemcpy, &BenchCollector::memoryJobs_},
    }};
    BenchJobs others = jobs_;
    for (const Benchmark& benchmark : kBenchmarks) {
        if (others.erase(benchmark.job) != 0) {
            RunPerfBench(benchmark.group, benchmark.job);
            (this->*benchmark.noted).emplace_back(benchmark.job);
        }
    }
    if (others.erase(bench_jobs::kStat) != 0) {
        for (const std::string& node : stat_.nodes) {
            RunPerfStat(node);
        }
    }
    for (const std::string& job : others) {
        RunFileCopy(job);
    }
}

void BenchCollector::RunPerfBench(const std::string& group, const std::string& job) {
    std::string time;
    if (!TakeTime(time)) {
        return;
    }
    const std::string log =
        dataPath_ + bench_files::kRawDir + bench_files::RawName(group + "_" + job, time);
    logs_[job] = log;
    if (host_.runner.Run(PerfBenchCommand(group, job, log)) != 0) {
        PrintError("[BenchCollector] Fail to collect " + job + " info!");
    }
}

void BenchCollector::RunPerfStat(const std::string& node) {
    std::string time;
    if (!TakeTime(time)) {
        return;
    }
    const std::string log =
        dataPath_ + bench_files::kRawDir + bench_files::RawName("stat_" + node, time);
    statLogs_[node] = log;
    std::string command;
    if (node == kGlobalNode) {
        command = SystemStatCommand(stat_.sleep, log);
    } else {
        const std::string pids(PidListOf(Ask(PidListCommand(node))));
        if (!pids.empty()) {
            pids_[node] = pids;
        }
        command = ProcessStatCommand(pids, stat_.sleep, log);
    }
    if (host_.runner.Run(command) != 0) {
        PrintError("[BenchCollector] Failed to collect " + node + " info!");
    }
}

void BenchCollector::RunFileCopy(const std::string& job) {
    std::string time;
    if (!TakeTime(time)) {
        return;
    }
    const std::string log = dataPath_ + bench_files::kRawDir + bench_files::RawName(job, time);
    if (host_.runner.Run(StatisticsCommand(job, log)) != 0) {
        PrintError("[BenchCollector] Fail to collect " + job + " info!");
    }
}

bool BenchCollector::TakeTime(std::string& time) {
    if (!host_.clock.currentTime(time)) {
        return PrintFailure("[BenchCollector] Failed to get time stamp!");
    }
    return IsDigitString(time) || PrintFailure("[BenchCollector] Got non-numeric timestamp!");
}

// ---- Results

void BenchCollector::CreateJson() {
    if (!memoryJobs_.empty()) {
        CreateMemoryResult();
    }
    if (!schedulerJobs_.empty()) {
        CreateSchedulerResult();
    }
    if (jobs_.count(bench_jobs::kStat) != 0) {
        CreateStatisticsResult();
    }
}

template <typename Fill>
void BenchCollector::CreateResult(const bench_files::Kind& kind, Fill fill) {
    BenchResult result{kind, {}, {}, {}};
    if (!TakeTime(result.time)) {
        return;
    }
    fill(result);
    EventWriter events;
    WriteBenchResult(result, events);
    events.Save(kind.Path(dataPath_, result.time));
}

void BenchCollector::CreateMemoryResult() {
    CreateResult(bench_files::kMemory, [this](BenchResult& result) {
        for (const std::string& job : memoryJobs_) {
            result.values.emplace_back(SpeedNameOf(job), ReadValue(job, kSpeedFilter));
        }
    });
}

void BenchCollector::CreateSchedulerResult() {
    CreateResult(bench_files::kScheduler, [this](BenchResult& result) {
        for (const std::string& job : schedulerJobs_) {
            BenchValues values{{"Description", DescriptionOf(job)},
                               {kTotalTime.name, ReadValue(job, kTotalTime.filter)}};
            if (job == bench_jobs::kPipe) {
                for (const BenchValue& value : {kPipeOperations, kPipeCost}) {
                    values.emplace_back(value.name, ReadValue(job, value.filter));
                }
            }
            result.groups.emplace_back(job, std::move(values));
        }
    });
}

// A node that is named twice has been counted twice; it is told once, as it was the last time.
void BenchCollector::CreateStatisticsResult() {
    CreateResult(bench_files::kStatistics, [this](BenchResult& result) {
        std::set<std::string> told;
        for (const std::string& node : stat_.nodes) {
            if (!told.insert(node).second) {
                continue;
            }
            if (node != kGlobalNode && pids_.count(node) == 0) {
                PrintError("[BenchCollector] Failed to find  process : " + node + " !");
                continue;
            }
            result.groups.emplace_back(node, ReadCounters(node));
        }
    });
}

BenchValues BenchCollector::ReadCounters(const std::string& node) {
    const auto log = statLogs_.find(node);
    BenchValues values;
    for (const BenchCounter& counter : kBenchCounters) {
        values.emplace_back(counter.name,
                            log == statLogs_.end()
                                ? std::string()
                                : std::string(ValueOf(Ask(CounterCommand(log->second, counter)))));
    }
    return values;
}

std::string BenchCollector::ReadValue(const std::string& job, const std::string& filter) {
    const auto log = logs_.find(job);
    return log == logs_.end() ? std::string()
                              : std::string(ValueOf(Ask(ValueCommand(log->second, filter))));
}

std::string BenchCollector::Ask(const std::string& command) {
    std::string output;
    (void)ExecuteCommand(command, output, host_.runner);
    return output;
}

}  // namespace zarn
