#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "collectors/system/cpu_peak/cpu_peak_commands.h"
#include "collectors/system/cpu_peak/cpu_peak_settings.h"
#include "collectors/system/cpu_peak/stat_counts.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/basic_collector.h"
#include "kit/host.h"

namespace zarn {

// Watches the load of each core, from one reading of /proc/stat to the next, and the moment some
// are above the limit records with `perf record` what these do, from the core that does least. It
// leaves the recordings and their texts, and makes no document. A recording is made on a thread of
// its own, for which the scan waits, so that there is never more than one; one that fails says so,
// and the scan goes on. A counter file that cannot be read ends the collection.
class CpuPeakCollector final : public BasicCollector {
public:
    static constexpr const char* kName = "CpuPeakCollector";
    [[nodiscard]] static const SettingKeys& Keys() { return CpuPeakCollectorKeys(); }

    explicit CpuPeakCollector(std::string name, Host host = {});

    [[nodiscard]] bool Start(const JsonDocument& config, const std::string& dataPath,
                             const StopFlag* stopFlag) override;
    [[nodiscard]] bool CheckOptions(const JsonDocument& config,
                                    const std::string& modeName) override;

private:
    [[nodiscard]] bool Scan(const StopFlag* stopFlag);
    [[nodiscard]] bool TakePass(const StopFlag* stopFlag);
    [[nodiscard]] bool ReadCounts(std::vector<CoreCounts>& counts);
    void LookForPeak();
    void Record() const;
    [[nodiscard]] std::chrono::nanoseconds EndPeriod(std::chrono::nanoseconds elapsed,
                                                     const StopFlag* stopFlag) const;

    Host host_;
    CpuPeakSettings settings_;
    std::string rawDir_;
    PeakCores cores_;     // the quiet one stays from pass to pass until there is another
    long coreCount_ = 0;  // of the configured processors, once known
    // Of the pass in hand, kept for their memory.
    std::string text_;
    std::vector<CoreCounts> before_;
    std::vector<CoreCounts> after_;
    std::vector<float> idleShares_;
};

}  // namespace zarn
