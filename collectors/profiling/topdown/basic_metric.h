#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "collectors/profiling/topdown/topdown_data.h"

namespace zarn {

// A node of the metric tree; it owns its children. Each metric is a class of its own, which holds
// its place in the tree (constructor) and its formula (Compute).
class BasicMetric {
public:
    BasicMetric(const BasicMetric&) = delete;
    BasicMetric& operator=(const BasicMetric&) = delete;
    virtual ~BasicMetric() = default;

    // Computes the metric and all below it from the record's counters and the metrics that came
    // before it. False, after a line on the error stream, without cycles to divide by: nothing is
    // stored then, and nothing below it computed.
    [[nodiscard]] virtual bool Compute(TopdownData& data) = 0;

    // The child under that key, which for two children is not the name; nullptr if there is none.
    [[nodiscard]] BasicMetric* Child(const std::string& key) const;

    [[nodiscard]] const std::string& Name() const { return name_; }

protected:
    static constexpr float kSlotsPerCycle = 4.0F;

    // What a metric is called: `prefix` and `name` make the full name, `label` stands in its line.
    struct Words {
        const char* prefix;
        const char* name;
        const char* label;
    };

    // `level`: 0 for the root. From kFirstLimitedLevel on a metric counts in the search only above
    // `limit`, and if its parent counts.
    static constexpr std::int32_t kFirstLimitedLevel = 3;
    BasicMetric(const Words& words, std::int32_t level, float limit = 0.0F);

    // Adds a child, in the order of computing, under its name or under another key.
    template <class Metric>
    void Add() {
        auto child = std::make_unique<Metric>();
        const std::string key = child->Name();
        Adopt(key, std::move(child));
    }
    template <class Metric>
    void AddAs(const char* key) {
        Adopt(key, std::make_unique<Metric>());
    }

    // What all metrics have in common: the guard against no cycles, `formula` of the cycles, the
    // limit, the storing, the children. A formula reads in an order of its own, since each name
    // that is missing is told when it is read.
    using Formula = std::function<float(float cycles)>;
    [[nodiscard]] bool ComputeBy(TopdownData& data, const Formula& formula);

    void ComputeChildren(TopdownData& data);

private:
    void Adopt(const std::string& key, std::unique_ptr<BasicMetric> child);

    std::unordered_map<std::string, std::unique_ptr<BasicMetric>> children_;
    std::vector<std::string> order_;  // of the children, by their keys
    std::string name_;
    std::string fullName_;
    std::string parentName_;  // full; empty where no limit asks for it
    std::string label_;
    std::int32_t level_;
    float limit_;
    bool threshold_ = true;
    float value_ = 0.0F;
};

}  // namespace zarn
