#pragma once

#include "analyzers/correlation/correlation_table.h"

namespace zarn {

// The shares of the bus masters, and the peaks of their total, as the DDR analyzer left them.
class CorrelationDdr final : public CorrelationTable {
public:
    explicit CorrelationDdr(const CorrelationContext& context);

private:
    void CollectPeaks() override;
};

}  // namespace zarn
