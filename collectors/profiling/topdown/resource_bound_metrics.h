#pragma once

#include "collectors/profiling/topdown/basic_metric.h"

// Where the pipeline waits for room in its queues and registers.
namespace zarn {

class ResourceBound final : public BasicMetric {
public:
    ResourceBound();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class SyncStall final : public BasicMetric {
public:
    SyncStall();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class RobStall final : public BasicMetric {
public:
    RobStall();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class PtagStall final : public BasicMetric {
public:
    PtagStall();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class SaveOpQStall final : public BasicMetric {
public:
    SaveOpQStall();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class PCbufferstall final : public BasicMetric {
public:
    PCbufferstall();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

}  // namespace zarn
