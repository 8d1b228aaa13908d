#pragma once

#include <string>
#include <vector>

#include "collectors/device/ai_core/ai_core_sample.h"
#include "collectors/device/ai_core/ai_core_settings.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/host.h"

namespace zarn {

// Samples how busy the AI cores of device 0 are, through the device-management library. The samples
// are kept until the end: one log of all, and a document for each. A query that fails ends the
// collection and loses them; an interrupt keeps those that were taken.
class AiCoreCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "AiCoreCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return AiCoreCollectorKeys(); }

    explicit AiCoreCollector(std::string name, Host host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    bool Sample(const StopFlag* stopFlag);
    // Whether the one device that is measured is there.
    bool FindDevice();
    bool TakeSample();
    [[nodiscard]] bool Save(const std::string& dataPath) const;

    Host host_;
    AiCoreSettings settings_;
    std::string collectTime_;  // of the start, as in the log's name
    std::vector<AiCoreSample> samples_;
};

}  // namespace zarn
