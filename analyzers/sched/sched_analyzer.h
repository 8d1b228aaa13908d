#pragma once

#include <string>
#include <string_view>

#include "analyzers/sched/sched_analyzer_settings.h"
#include "analyzers/sched/sched_source.h"
#include "kit/basic_analyzer.h"
#include "kit/host.h"

namespace zarn {

// Reads what a SchedCollector left of its first pass, finds the tasks that waited longest for a
// core and those that kept one longest, goes back to the recording by perf for their threads and
// what happened around them, and writes documents of both. What fails for one job, core or process
// leaves the others alone.
class SchedAnalyzer final : public BasicAnalyzer {
public:
    static constexpr const char* kName = "SchedAnalyzer";
    [[nodiscard]] static const SettingKeys& Keys() { return SchedAnalyzerKeys(); }

    explicit SchedAnalyzer(std::string name, const Host& host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;

private:
    struct Stamps {
        std::string global;
        std::string core;
        std::string process;
    };

    [[nodiscard]] bool ReadConfig(const JsonDocument& config, std::string& bootTime);
    [[nodiscard]] bool RunJobs(const SchedContext& context, const Stamps& stamps,
                               const StopFlag* stopFlag) const;
    void AnalyzeGlobal(const SchedContext& context, const std::string& stamp) const;
    void AnalyzeCores(const SchedContext& context, const std::string& stamp) const;
    void AnalyzeProcesses(const SchedContext& context, const std::string& stamp) const;

    Host host_;
    SchedAnalyzerSettings settings_;
};

}  // namespace zarn
