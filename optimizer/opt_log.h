#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "optimizer/search/pso_types.h"

namespace zarn {

// The optimizer's own log: progress lines that a user also sees on the screen.
class OptLog {
public:
    explicit OptLog(std::string path) : path_(std::move(path)) {}

    // Prints the text on standard output and appends it, with a newline, to the log. A log that
    // cannot be opened is reported and passed over.
    void WriteOptLog(const std::string& text) const;

    [[nodiscard]] const std::string& Path() const { return path_; }

private:
    std::string path_;
};

// "<mpamid> : <bound>,  " for each entry.
[[nodiscard]] std::string BoundsText(const std::map<std::int16_t, std::int16_t>& bounds);

// "<group> : <mean frame rate>,  " for each group, six decimals; the mean of no samples is 0.
[[nodiscard]] std::string PerfText(const PerfMap& perf);

// A t-value with six decimals; "nan" for one that is not a number, whatever its sign bit.
[[nodiscard]] std::string TValueText(double value);

}  // namespace zarn
