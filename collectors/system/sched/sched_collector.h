#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "collectors/system/sched/sched_job_param.h"
#include "collectors/system/sched/setup_job.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/host.h"

namespace zarn {

// Records how the kernel's scheduler treated the system, cores and processes, by `perf sched`, and
// keeps its reports as text; the heads of the latency reports of the first pass become documents.
// Two more jobs look at how processes and threads are set up, and at the kernel's own recorder. A
// job that fails says so, and the next one runs. An interrupt is seen between the jobs and counts
// as a failure.
class SchedCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "SchedCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return SchedCollectorKeys(); }

    explicit SchedCollector(std::string name, Host host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    // A latency report that becomes a document.
    struct Report {
        std::string log;
        std::string document;
        std::string time;
    };
    // A core or process, or the system.
    struct Target {
        std::string name;    // as raw files have it
        std::string option;  // that restricts the recording to it
    };

    // Which pass, counted from 1, and when.
    struct Moment {
        std::uint32_t pass;
        std::string time;
    };

    // False after an interrupt.
    [[nodiscard]] bool RunPasses();
    [[nodiscard]] bool RunPass(std::uint32_t pass);
    [[nodiscard]] bool RunOnce(SetupJob& setup) const;

    void CollectGlobal(std::uint32_t pass);
    void CollectCores(std::uint32_t pass);
    void CollectProcesses(std::uint32_t pass);
    void CollectLite(std::uint32_t pass);
    [[nodiscard]] bool TakeTime(std::string& time, const char* wordsIfFailed) const;
    // Gives the path of the latency report.
    std::string Record(const Target& target, const Moment& moment, const char* wordsIfFailed);

    void CreateOutputJson(const SetupJob& setup) const;
    void SaveLatency(const Report& report, const char* objectId, const char* wordsIfMissing) const;

    Host host_;
    SchedJobParam param_;
    std::string dataPath_;
    std::string rawDir_;
    std::string bootTime_;
    const StopFlag* stopFlag_ = nullptr;
    std::vector<Report> globalReports_;  // of the first pass
    std::vector<Report> coreReports_;
};

}  // namespace zarn
