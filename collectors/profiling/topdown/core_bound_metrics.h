#pragma once

#include "collectors/profiling/topdown/basic_metric.h"

// Where the pipeline waits for units that execute.
namespace zarn {

class CoreBound final : public BasicMetric {
public:
    CoreBound();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class Divider final : public BasicMetric {
public:
    Divider();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class FSUStall final : public BasicMetric {
public:
    FSUStall();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class ExePortsUtilization final : public BasicMetric {
public:
    ExePortsUtilization();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class ALUPortsUtilized final : public BasicMetric {
public:
    ALUPortsUtilized();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class LSPortsUtilized final : public BasicMetric {
public:
    LSPortsUtilized();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class FSUPortsUtilized final : public BasicMetric {
public:
    FSUPortsUtilized();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

}  // namespace zarn
