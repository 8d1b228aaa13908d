#pragma once

#include <string>
#include <vector>

#include "collectors/system/ddr/qos_access.h"
#include "kit/basic_optimizer.h"
#include "kit/host.h"
#include "optimizer/options/optimizer_options.h"
#include "optimizer/options/optimizer_settings.h"
#include "optimizer/search/pso_random.h"

namespace zarn {

// Sets the DDR bandwidth bounds of the bus masters: those that the configuration lists, or the best
// that a search finds under the stress benchmark, which it leaves on the device.
class DdrOptimizer final : public BasicOptimizer {
public:
    static constexpr const char* kName = "DdrOptimizer";
    [[nodiscard]] static const SettingKeys& Keys() { return DdrOptimizerKeys(); }

    explicit DdrOptimizer(std::string name, Host host = {},
                          RandomSource& random = DeviceRandomSource());

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config) override;

    [[nodiscard]] const OptimizerSettings& Settings() const { return settings_; }
    // What the device held for each master when the mission started, in the order of
    // optimizerQosConfigs.
    [[nodiscard]] const std::vector<QosConfig>& InitQosConfigs() const { return initQosConfigs_; }

private:
    bool InitFilePath(const std::string& dataPath);
    bool InitQosConfig(const std::vector<QosConfig>& rows);
    bool ReadOrSetQosConfig(const QosConfig& row, QosConfig& held);
    bool SetDefault(const QosConfig& row, QosConfig& held);
    bool UpdateQosConfig(const StopFlag* stopFlag);
    bool RunPso(const StopFlag* stopFlag);

    Host host_;
    RandomSource& random_;

    OptimizerSettings settings_;
    std::vector<QosConfig> initQosConfigs_;
    std::string optLogPath_;
    std::string stressLogPath_;
};

}  // namespace zarn
