#pragma once

#include <map>
#include <string>
#include <vector>

#include "optimizer/search/pso_types.h"

// Whether a benchmark run is good enough beside the one made before the search.
namespace zarn {

// Student t critical values for 19 degrees of freedom, one-sided, by level of significance.
extern const std::map<std::string, double> tCriticalValues;

// One-sided paired t-test of `newList` against `baseList`; sets `t` and returns whether it is above
// the critical value at 0.05, whatever the number of samples. Lists of unlike sizes are reported
// and `newList` cut, or filled with zeros, to the size of `baseList`. Differences that are all the
// same but not 0 give an infinite t; identical lists, a single sample or none give one that is not
// a number, which fails.
[[nodiscard]] bool PerfTTest(const std::vector<double>& baseList, std::vector<double>& newList,
                             double& t);

// Tests every group of `benchmarkPerf`: the CPU has to be better than there, the AI cores and the
// image block may lose a share of aiWorseRate, the smallest frame rate of the camera has to stay
// above camFpsBound. True if all pass. `tValues` takes one entry per group, for the camera that
// smallest rate. Lists of `newPerf` are fitted to the benchmark's sizes. A camera group without a
// sample is reported as an error and fails.
[[nodiscard]] bool ComparePerf(const PsoState& state, const PerfMap& benchmarkPerf,
                               PerfMap& newPerf, std::map<std::string, double>& tValues);

}  // namespace zarn
