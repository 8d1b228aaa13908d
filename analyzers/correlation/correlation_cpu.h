#pragma once

#include "analyzers/correlation/correlation_table.h"

namespace zarn {

// The load of the processors, as the CPU analyzer left it, and the peaks of their idle shares, of
// all together and of each core. These are the moments of the least load.
class CorrelationCpu final : public CorrelationTable {
public:
    explicit CorrelationCpu(const CorrelationContext& context);

private:
    void CollectPeaks() override;
    void CollectGlobalPeaks(const std::string& path);
    void CollectCorePeaks(const std::string& path);
};

}  // namespace zarn
