#pragma once

#include "collectors/profiling/topdown/basic_metric.h"

// Where the front end does not feed the pipeline. 15 and 100 are the cycles that a miss of the
// first and of the second level costs, 5 those of a flush.
namespace zarn {

class FrontendBound final : public BasicMetric {
public:
    FrontendBound();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class FetchLatency final : public BasicMetric {
public:
    FetchLatency();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class FetchBandwidth final : public BasicMetric {
public:
    FetchBandwidth();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class ITLBMisses final : public BasicMetric {
public:
    ITLBMisses();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class L1ITBLMISS final : public BasicMetric {
public:
    L1ITBLMISS();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class L2ITBLMISS final : public BasicMetric {
public:
    L2ITBLMISS();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class ICacheMisses final : public BasicMetric {
public:
    ICacheMisses();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class L1ICacheMISS final : public BasicMetric {
public:
    L1ICacheMISS();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class L2ICacheMISS final : public BasicMetric {
public:
    L2ICacheMISS();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class BPMispFlush final : public BasicMetric {
public:
    BPMispFlush();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class OOOFlush final : public BasicMetric {
public:
    OOOFlush();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class SPFlush final : public BasicMetric {
public:
    SPFlush();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

}  // namespace zarn
