#pragma once

#include <string>
#include <vector>

#include "analyzers/mem/mem_analyzer_settings.h"
#include "analyzers/mem/mem_results.h"
#include "formats/run_tree.h"
#include "kit/basic_analyzer.h"
#include "kit/host.h"

namespace zarn {

// Reads all samples that MemCollectors left in a run directory and finds, for one figure of the
// system and one of each process, greatest, least and mean value, peaks and troughs: a line of
// json/soc_gea_memory_ana_1_<ts>.data and one of json/soc_gea_process_ana_1_<ts>.data (appended),
// <ts> being that of the earliest file that was read. Both jobs run, whatever becomes of the other.
class MemAnalyzer final : public BasicAnalyzer {
public:
    static constexpr const char* kName = "MemAnalyzer";
    [[nodiscard]] static const SettingKeys& Keys() { return MemAnalyzerKeys(); }

    explicit MemAnalyzer(std::string name, const Host& host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;

private:
    [[nodiscard]] bool Analyze() const;
    [[nodiscard]] bool AnalyzeSystem() const;
    [[nodiscard]] bool AnalyzeProcesses() const;
    [[nodiscard]] bool FindExtremes(const MemFrames& frames, MemFindings& findings) const;
    [[nodiscard]] bool SaveSystem(const MemSystemSamples& samples, const std::string& time) const;
    [[nodiscard]] bool SaveProcesses(const MemProcessSamples& samples,
                                     const std::string& time) const;

    MemAnalyzerSettings settings_;
    std::string dataPath_;
};

}  // namespace zarn
