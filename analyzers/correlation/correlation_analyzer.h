#pragma once

#include <map>
#include <memory>
#include <string>

#include "analyzers/correlation/correlation_base.h"
#include "kit/basic_analyzer.h"
#include "kit/host.h"

namespace zarn {

// Lays the series of the AI cores, the processors, the DDR and the scheduler in a run directory
// side by side, with a mark at the rows near each one's peaks:
// csv/correlation/soc_correlation_ana_info_<ts>.csv, <ts> being the moment of the analysis. A row
// takes only what was measured at its very moment. A source that is missing or cannot be read costs
// its columns, and is no failure.
class CorrelationAnalyzer final : public BasicAnalyzer {
public:
    static constexpr const char* kName = "CorrelationAnalyzer";
    [[nodiscard]] static const SettingKeys& Keys() { return CorrelationKeys(); }

    explicit CorrelationAnalyzer(std::string name, const Host& host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;

private:
    using Sources = std::map<std::string, std::unique_ptr<CorrelationBase>>;

    [[nodiscard]] bool InitPath(const std::string& dataPath);
    [[nodiscard]] bool Collect(const std::string& dataPath, const StopFlag* stopFlag);
    [[nodiscard]] bool Save(const StopFlag* stopFlag);
    [[nodiscard]] bool WriteTimes();

    Host host_;
    CorrelationSettings settings_;
    std::string outputPath_;
    std::string time_;  // of the run
    std::unique_ptr<TimeSet> times_;
    Sources sources_;
};

}  // namespace zarn
