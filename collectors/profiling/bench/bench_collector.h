#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "collectors/profiling/bench/bench_commands.h"
#include "collectors/profiling/bench/bench_results.h"
#include "collectors/profiling/bench/bench_settings.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/host.h"

namespace zarn {

// Runs perf's benchmarks of scheduler and memory, counts what the processor does for the system and
// for processes, and copies the kernel's statistics of the image block, one after the other; what
// they print is kept, and condensed into three documents. A job that fails is told and stops no
// other.
class BenchCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "BenchCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return BenchCollectorKeys(); }

    explicit BenchCollector(std::string name, Host host = {})
        : BasicCollector(std::move(name)), host_(std::move(host)) {}

    // A `stat` that cannot be read is told and does not fail the collector.
    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    // The list of jobs alone.
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    bool CheckJobList(const JsonDocument& config);
    void SetOption(const JsonDocument& config);
    // False after an interrupt.
    bool CollectBench(const StopFlag* stopFlag);

    void CollectRawData();
    void RunPerfBench(const std::string& group, const std::string& job);
    void RunPerfStat(const std::string& node);
    void RunFileCopy(const std::string& job);
    bool TakeTime(std::string& time);

    void CreateJson();
    void CreateMemoryResult();
    void CreateSchedulerResult();
    void CreateStatisticsResult();
    // Gives `fill` the result to complete, and saves it.
    template <typename Fill>
    void CreateResult(const bench_files::Kind& kind, Fill fill);
    // Empty for a job without a log.
    [[nodiscard]] std::string ReadValue(const std::string& job, const std::string& filter);
    [[nodiscard]] BenchValues ReadCounters(const std::string& node);
    [[nodiscard]] std::string Ask(const std::string& command);

    Host host_;
    BenchJobs jobs_;
    std::string dataPath_;
    std::map<std::string, std::string> logs_;  // of the benchmarks, by job
    std::vector<std::string> schedulerJobs_;
    std::vector<std::string> memoryJobs_;
    BenchStatSettings stat_;
    std::map<std::string, std::string> statLogs_;  // by node
    std::map<std::string, std::string> pids_;      // of the processes that run, by node
};

}  // namespace zarn
