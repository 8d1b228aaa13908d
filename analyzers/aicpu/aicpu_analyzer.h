#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "analyzers/aicpu/aicpu_analyzer_settings.h"
#include "analyzers/aicpu/aicpu_results.h"
#include "analyzers/aicpu/raw_sections.h"
#include "formats/aicpu.h"
#include "foundation/stop_flag.h"
#include "kit/basic_analyzer.h"
#include "kit/host.h"

namespace zarn {

// Reads what an AicpuCollector left in a run directory, of one process after the other: the event
// scheduler's view of the whole complex and of the process, and which threads had events over the
// thresholds. Writes json/soc_aicpu_ana_1_soc_<T>.data, anew for each process, and appends to
// json/soc_aicpu_ana_1_<process>_<T>.data, <T> being that of the collector's record. A process that
// cannot be analysed has no documents; the others go on.
class AicpuAnalyzer final : public BasicAnalyzer {
public:
    static constexpr const char* kName = "AicpuAnalyzer";
    [[nodiscard]] static const SettingKeys& Keys() { return AicpuAnalyzerKeys(); }

    explicit AicpuAnalyzer(std::string name, const Host& host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;

private:
    [[nodiscard]] bool ReadRecord();
    [[nodiscard]] bool JobsWereCollected() const;

    void AnalyzeAll(const StopFlag* stopFlag);
    // The process in hand, into the findings.
    [[nodiscard]] bool Analyze();
    [[nodiscard]] bool AnalyzeCore();
    [[nodiscard]] bool AnalyzeEvents();
    [[nodiscard]] bool AnalyzeAbnormal();
    [[nodiscard]] bool AnalyzeProcess();
    // Reads the process's sections of that list. False after `words` if there are none to read.
    [[nodiscard]] bool ReadList(const AicpuList& list, const char* words,
                                WantedSections& wanted) const;
    void Save() const;

    std::string dataPath_;
    std::string time_;  // in the names of the collector's files
    AicpuJobs jobs_;
    AicpuRecord record_;
    const AicpuProcess* process_ = nullptr;  // in hand
    std::size_t ordinal_ = 0;                // of its sections among those of its name
    AicpuFindings findings_;
};

}  // namespace zarn
