#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "analyzers/cpu/cpu_analysis_tables.h"
#include "analyzers/cpu/cpu_findings.h"
#include "analyzers/cpu/cpu_log_parser.h"
#include "analyzers/cpu/cpu_patterns.h"
#include "analyzers/cpu/cpu_settings.h"
#include "formats/run_tree.h"
#include "kit/basic_analyzer.h"
#include "kit/host.h"

namespace zarn {

// Turns the raw logs of the CPU collection into summaries: means, extremes, peaks and troughs of
// the whole system, of the busiest processes, of named process sets and of each core. An object is
// started once.
class CpuAnalyzer final : public BasicAnalyzer {
public:
    static constexpr const char* kName = "CpuAnalyzer";
    [[nodiscard]] static const SettingKeys& Keys() { return CpuAnalyzerKeys(); }

    // `patterns`: the expressions that the logs are read with; they must outlive the object.
    explicit CpuAnalyzer(std::string name, Host host = {},
                         const CpuPatternTable& patterns = CpuPatterns())
        : BasicAnalyzer(std::move(name)), host_(std::move(host)), patterns_(patterns) {}

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;

private:
    // A log that was read: where it lies and its text, into which the parsed records look.
    struct LogFile {
        std::string path;  // empty if there is none
        std::string text;
    };

    // The stages, in their order. A stage that fails has printed its lines; the others still run,
    // if they do not build on it.
    [[nodiscard]] bool ProcessCpuInfo(const StopFlag* stopFlag);
    [[nodiscard]] bool ReadUsageLog();
    [[nodiscard]] bool AnalyzeGlobal();
    [[nodiscard]] bool AnalyzeProcessSets();
    [[nodiscard]] bool AnalyzeCores();
    [[nodiscard]] bool WriteLoading();

    [[nodiscard]] bool Wants(const char* job) const { return settings_.jobs.count(job) != 0; }
    void FindLog(const NumberedFile& file, LogFile& log) const;
    // Finds, for each of the collector's documents, the rows of its sample and saves both as one.
    void SaveAllProcesses(const std::string& path) const;
    [[nodiscard]] bool SaveCores();
    // Appends to the loading table that is named after the log `source`.
    [[nodiscard]] bool SaveLoading(const std::string& source,
                                   const std::function<void(CsvTable&)>& fill) const;

    Host host_;
    const CpuPatternTable& patterns_;
    CpuAnalyzerSettings settings_;
    std::string dataPath_;
    LogFile usageFile_;
    LogFile coresFile_;
    CpuUsageLog usage_;
    CpuCoresLog cores_;
    std::vector<CpuProcessStatistics> ranked_;
};

}  // namespace zarn
