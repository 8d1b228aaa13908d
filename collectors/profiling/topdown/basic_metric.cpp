#include "collectors/profiling/topdown/basic_metric.h"

#include <cmath>
#include <limits>

#include "foundation/console.h"

namespace zarn {

BasicMetric::BasicMetric(const Words& words, std::int32_t level, float limit)
    : name_(words.name),
      fullName_(std::string(words.prefix) + words.name),
      label_(words.label),
      level_(level),
      limit_(limit) {}

BasicMetric* BasicMetric::Child(const std::string& key) const {
    const auto found = children_.find(key);
    return found == children_.end() ? nullptr : found->second.get();
}

void BasicMetric::Adopt(const std::string& key, std::unique_ptr<BasicMetric> child) {
    if (child->level_ >= kFirstLimitedLevel) {
        child->parentName_ = fullName_;
    }
    children_[key] = std::move(child);
    order_.push_back(key);
}

bool BasicMetric::ComputeBy(TopdownData& data, const Formula& formula) {
    const float cycles = GetEvent("CPU_CYCLES", data);
    if (std::abs(cycles) < std::numeric_limits<float>::epsilon()) {
        return PrintFailure("[TopdownCollector] " + label_ + " zero division !");
    }
    value_ = formula(cycles);
    if (level_ >= kFirstLimitedLevel) {
        const bool parentCounts = GetThresh(parentName_, data);
        threshold_ = value_ > limit_ && parentCounts;
    }
    data.metrics[fullName_] = value_;
    data.thresholds[fullName_] = threshold_;
    ComputeChildren(data);
    return true;
}

void BasicMetric::ComputeChildren(TopdownData& data) {
    for (const std::string& key : order_) {
        (void)Child(key)->Compute(data);
    }
}

}  // namespace zarn
