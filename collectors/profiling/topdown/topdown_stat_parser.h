#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

#include "collectors/profiling/topdown/topdown_events.h"

namespace zarn {

// Adds up the counters of perf's file, "time;count;;event;...", over all its intervals, in single
// precision. Of a line the first three fields that are not empty count, blanks around it do not.
// Passed over are empty lines, those that begin with "#", those of fewer fields, and counters that
// no metric is made of. A count is a decimal number, whatever follows it. One that is none, such as
// "<not counted>", that is not finite or that leaves the range of a float adds 0.
class TopdownTotals {
public:
    void Add(std::string_view line);

    // The counters that had a line, by their names.
    [[nodiscard]] std::unordered_map<std::string, float> Events() const;

private:
    struct Total {
        float count = 0.0F;
        bool isThere = false;
    };

    std::array<Total, kTopdownEventCount> totals_;
};

}  // namespace zarn
