#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "analyzers/correlation/correlation_base.h"
#include "analyzers/correlation/correlation_table.h"
#include "analyzers/correlation/peak_reader.h"

namespace zarn {

// The load of the AI cores: a document a sample, as their collector left them. Its one peak is the
// first sample of the greatest average.
class CorrelationAicore final : public CorrelationBase {
public:
    explicit CorrelationAicore(CorrelationContext context) : context_(std::move(context)) {}

    [[nodiscard]] bool Collect(const CorrelationSettings& settings, TimeSet& times) override;
    [[nodiscard]] bool Save(const std::string& path) override;

private:
    void CollectSample(const std::string& path, FirstDocument& document);
    void FindPeak(const CorrelationSettings& settings);

    CorrelationContext context_;
    std::map<TimeDigits, std::vector<std::string>> samples_;  // the average, then the cores
    std::vector<PeakColumn> peaks_;
};

}  // namespace zarn
