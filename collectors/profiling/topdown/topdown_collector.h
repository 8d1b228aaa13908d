#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "collectors/profiling/topdown/topdown_settings.h"
#include "formats/topdown.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/event_writer.h"
#include "kit/host.h"

namespace zarn {

// Counts what the pipelines of the cores do, with `perf stat`: of the whole system, of cores, of
// processes, one after the other, and makes of each counter file a document with all metrics and
// the bottleneck. A measurement that fails is told and stops no other.
class TopdownCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "TopdownCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return TopdownCollectorKeys(); }

    explicit TopdownCollector(std::string name, Host host = {})
        : BasicCollector(std::move(name)), host_(std::move(host)) {}

    // An element of `core` or `process` of a wrong type, its job asked for, ends the process by the
    // JSON library's assertion.
    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    // That all keys are there, and the type of `duration`; the list of jobs is judged in Start.
    // Cores and processes are tested here only if it has been.
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    // The files of a job, in the order of its cores or processes.
    struct JobFiles {
        topdown_files::Kind kind;
        std::string timeStamp;
        std::vector<std::string> raw;        // names in the raw data path
        std::vector<std::string> documents;  // names in the JSON path
    };

    bool CheckJobList(const JsonDocument& config);
    bool SetOption(const JsonDocument& config);
    bool SetProcesses(const JsonValue& names);
    bool SetCores(const JsonValue& cores);

    bool CollectRawData(const StopFlag* stopFlag);
    void CollectGlobal();
    void CollectCore();
    void CollectProcess();
    bool TakeTime(JobFiles& files);
    // `target`: perf's option for what is measured, with a blank behind it.
    bool Measure(JobFiles& files, const std::string& target, const std::string& element);

    void CreateJson();
    bool SaveResultJson(const std::string& rawPath, const std::string& jsonPath,
                        const JobFiles& files);
    bool AnalyzeRawFile(const std::string& rawPath, EventWriter& document);
    bool ParseRawFile(const std::string& rawPath, std::unordered_map<std::string, float>& events);

    Host host_;
    TopdownJobs jobs_ = {{topdown_jobs::kCore, false},
                         {topdown_jobs::kProcess, false},
                         {topdown_jobs::kGlobal, false}};
    std::map<std::string, std::string> processes_;  // name to pid
    std::vector<std::string> cores_;
    std::uint32_t duration_ = 0;  // seconds
    std::string rawDataPath_;
    std::string jsonPath_;
    JobFiles global_ = {topdown_files::kGlobal, {}, {}, {}};
    JobFiles core_ = {topdown_files::kCore, {}, {}, {}};
    JobFiles process_ = {topdown_files::kProcess, {}, {}, {}};
};

}  // namespace zarn
