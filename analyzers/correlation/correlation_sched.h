#pragma once

#include <memory>
#include <string>
#include <vector>

#include "analyzers/correlation/correlation_base.h"
#include "analyzers/correlation/correlation_table.h"
#include "analyzers/correlation/sched_logs.h"
#include "analyzers/correlation/sched_rows.h"

namespace zarn {

// What the scheduler did: the histories of one job, as its collector left them, and their rows that
// ran longest, which its analyzer chose, as peaks.
class CorrelationSched final : public CorrelationBase {
public:
    explicit CorrelationSched(CorrelationContext context) : context_(std::move(context)) {}

    [[nodiscard]] bool Collect(const CorrelationSettings& settings, TimeSet& times) override;
    [[nodiscard]] bool Save(const std::string& path) override;

private:
    // A history that is shown.
    struct Log {
        SchedLog file;
        std::size_t rows = 0;  // when it was collected
        std::vector<PeakColumn> peaks;
    };

    [[nodiscard]] bool FindLogs(const std::string& job);
    [[nodiscard]] bool ReadBootTime();
    [[nodiscard]] bool CollectTimes(TimeSet& times);
    void CollectPeaks(const CorrelationSettings& settings);
    [[nodiscard]] bool ReadPeaks(const Log& log, std::vector<TimeDigits>& peaks) const;
    [[nodiscard]] std::string RawPath(const Log& log) const;
    [[nodiscard]] std::string DocumentPath(const SchedLog& log) const;

    CorrelationContext context_;
    std::string bootTime_;
    std::vector<Log> logs_;  // empty where the source does not take part
};

}  // namespace zarn
