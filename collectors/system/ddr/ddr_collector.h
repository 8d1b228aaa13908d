#pragma once

#include <cstdint>
#include <queue>
#include <string>

#include "collectors/system/ddr/ddr_settings.h"
#include "collectors/system/ddr/qos_config.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/host.h"

namespace zarn {

// Process-wide and unguarded, since a process runs one DdrCollector. The moments of the samples:
// pushed while sampling, taken while the results are written.
extern std::queue<std::string> ddrTimeStampQueue;

// Process-wide too: the command that appends the bandwidth table to the raw log. Made at the first
// sample of the process and kept, so that a second collector's tables go to the first one's log.
extern std::string ddrReadCommand;

// Samples the DDR bandwidth of every bus master: gives each master that was never configured the
// default QoS settings, records the settings of all, switches the bandwidth monitor on (it stays
// on), appends the kernel's bandwidth table to the raw log at each sample, and turns the log into
// one document per sample, with shares in percent of the DDR's peak. A row with an unknown id or
// with a bandwidth that is no integer ends `Start` by the standard library's exception, which no
// mission catches.
class DdrCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "DdrCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return DdrCollectorKeys(); }

    explicit DdrCollector(std::string name, Host host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& runDirectory,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    bool InitOutputFile(const std::string& runDirectory);
    bool InitQosConfig();
    bool ConfigureMaster(const QosConfig& defaults, QosConfig& held);
    bool CollectDdrInfo(const StopFlag* stopFlag);
    bool TakeSample();
    bool OutputDdrInfo();

    Host host_;
    DdrSettings settings_;
    std::string rawLogPath_;
    std::string dataPath_;  // of the bandwidth documents
    std::string qosConfigPath_;
    std::string timeStamp_;  // of the start, as in the files' names
};

}  // namespace zarn
