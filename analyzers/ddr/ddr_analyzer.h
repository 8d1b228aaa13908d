#pragma once

#include <set>
#include <string>

#include "kit/basic_analyzer.h"
#include "kit/host.h"
#include "kit/setting_key.h"

namespace zarn {

// Reads the shares of DDR bandwidth and the QoS settings that a DdrCollector left in a run
// directory and writes, for each bus master and for the total, mean, extremes, peaks, troughs and
// the excess over its upper bound: a line of json/soc_ddr_ana_info_1_<ts>.data (appended) and a
// table of all samples, raw_data/ddr/soc_ddr_ana_info_1_<ts>.csv (replaced). A directory must hold
// exactly one collection.
class DdrAnalyzer final : public BasicAnalyzer {
public:
    static constexpr const char* kName = "DdrAnalyzer";
    [[nodiscard]] static const SettingKeys& Keys();

    explicit DdrAnalyzer(std::string name, const Host& host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;

private:
    bool ParseConfig(const JsonDocument& config);
    bool InitPaths(const std::string& dataPath);
    bool Process(const StopFlag* stopFlag);
    [[nodiscard]] bool LoadQosSettings() const;
    [[nodiscard]] bool LoadBandwidth() const;
    bool Save();
    bool SaveDocument();
    bool SaveTable();

    std::set<std::string> jobs_;
    std::string anaDataPath_;
    std::string anaCsvPath_;
    std::string ddrInfoPath_;
    std::string qosConfigPath_;
    std::string timeStamp_;  // of the collection, as in the files' names
};

}  // namespace zarn
