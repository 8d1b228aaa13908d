#pragma once

#include "collectors/profiling/topdown/basic_metric.h"

// The root of the tree and what of its children has no family of its own.
namespace zarn {

class Retiring final : public BasicMetric {
public:
    Retiring();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class BackendBound final : public BasicMetric {
public:
    BackendBound();
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

class TopDown final : public BasicMetric {
public:
    TopDown();
    // Always true: it has no value of its own.
    [[nodiscard]] bool Compute(TopdownData& data) override;
};

}  // namespace zarn
