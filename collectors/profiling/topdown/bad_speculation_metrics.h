#pragma once

#include "collectors/profiling/topdown/basic_metric.h"

// Where the pipeline works in vain. Some are shares of their parent's counter, not of the slots, as
// are those that subtract them; without such an event they are infinite or no number.
namespace zarn {

class BadSpeculation final : public BasicMetric {
public:
    BadSpeculation();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class BranchMispredicts final : public BasicMetric {
public:
    BranchMispredicts();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class IndirectBranch final : public BasicMetric {
public:
    IndirectBranch();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class PushBranch final : public BasicMetric {
public:
    PushBranch();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class PopBranch final : public BasicMetric {
public:
    PopBranch();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class OtherBranch final : public BasicMetric {
public:
    OtherBranch();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class MachineClears final : public BasicMetric {
public:
    MachineClears();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class NukeFlush final : public BasicMetric {
public:
    NukeFlush();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class OtherFlush final : public BasicMetric {
public:
    OtherFlush();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

}  // namespace zarn
