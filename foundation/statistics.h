#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zarn {

// Arithmetic mean; 0 for an empty list.
void GetAverage(const std::vector<double>& values, double& average);
// All 0 for an empty list.
void GetMaxMinAverage(const std::vector<double>& values, double& maximum, double& minimum,
                      double& average);

// Inserts the indexes of local maxima above reference * ratio: the midpoint of each top that was
// risen to and is fallen from. FindTroughs is the mirror, below reference * ratio.
void FindPeaks(const std::vector<double>& values, double reference, std::set<std::size_t>& indexes,
               double ratio);
void FindTroughs(const std::vector<double>& values, double reference,
                 std::set<std::size_t>& indexes, double ratio);

// Greater value first; equal values in increasing byte order of the name.
[[nodiscard]] bool CompareByValueDescending(const std::pair<std::string, double>& a,
                                            const std::pair<std::string, double>& b);

}  // namespace zarn
