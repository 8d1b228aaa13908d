#pragma once

#include <string>
#include <vector>

namespace zarn::test {

// The masters in the order of a bandwidth table, then "total".
extern const std::vector<std::string> kDdrNames;

// A line of a collector's bandwidth documents in which every name has the same share, but for
// `name`, which has `share`.
[[nodiscard]] std::string BandwidthLine(const std::string& time, const std::string& shareOfAll,
                                        const std::string& name = "",
                                        const std::string& share = "");

// Lines of samples a second apart from 20230101120000000 on, in which `name` has these shares and
// the others have none.
[[nodiscard]] std::string BandwidthLines(const std::string& name,
                                         const std::vector<double>& shares);

// A line of a collector's QoS documents.
[[nodiscard]] std::string QosLine(const std::string& name, const std::string& bwLow,
                                  const std::string& bwHigh);

// Lines for all masters with these bounds.
[[nodiscard]] std::string QosLines(const std::string& bwLow, const std::string& bwHigh);

// One fault of a file: what its text is, and the line that tells of it.
struct FaultyText {
    std::string text;
    std::string words;
};

// A value nested `depth` deep that fits where a JSON value does.
[[nodiscard]] std::string NestedArrays(std::size_t depth);

}  // namespace zarn::test
