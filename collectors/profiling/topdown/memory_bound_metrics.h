#pragma once

#include "collectors/profiling/topdown/basic_metric.h"

// Where the pipeline waits for loads and stores. The first level adds the stores, which a metric of
// their own tells again.
namespace zarn {

class MemoryBound final : public BasicMetric {
public:
    MemoryBound();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class L1Bound final : public BasicMetric {
public:
    L1Bound();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class L2Bound final : public BasicMetric {
public:
    L2Bound();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class DRAMBound final : public BasicMetric {
public:
    DRAMBound();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class StoreBound final : public BasicMetric {
public:
    StoreBound();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

}  // namespace zarn
