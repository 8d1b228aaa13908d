#include "optimizer/search/significance.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <exception>
#include <stdexcept>

#include "foundation/console.h"

namespace zarn {

const std::map<std::string, double> tCriticalValues = {
    {"0.25", 0.688},  {"0.2", 0.861},  {"0.15", 1.066},  {"0.1", 1.328},   {"0.05", 1.729},
    {"0.025", 2.093}, {"0.01", 2.539}, {"0.005", 2.861}, {"0.001", 3.579}, {"0.0005", 3.883},
};

namespace {

// May they lose up to this share, and is the rest as good as before?
bool TestScaled(const std::vector<double>& benchmark, double share, std::vector<double>& newList,
                double& t) {
    std::vector<double> scaled = benchmark;
    for (double& rate : scaled) {
        rate *= share;
    }
    return PerfTTest(scaled, newList, t);
}

bool TestCamera(std::size_t benchmarkSize, double bound, std::vector<double>& newList,
                double& smallest) {
    if (newList.size() != benchmarkSize) {
        PrintError(
            "[DdrOptimizer] Warning! Insufficient perf data collection when comparing. Pleass "
            "enlarge collect times.");
        newList.resize(benchmarkSize);
    }
    const auto least = std::min_element(newList.begin(), newList.end());
    if (least == newList.end()) {
        throw std::out_of_range("no frame rate of isp");
    }
    smallest = *least;
    return smallest > bound;
}

bool TestGroup(const PsoState& state, const std::string& group,
               const std::vector<double>& benchmark, std::vector<double>& newList, double& value) {
    if (group == "cpu") {
        return PerfTTest(benchmark, newList, value);
    }
    if (group == "isp") {
        return TestCamera(benchmark.size(), state.camFpsBound, newList, value);
    }
    return TestScaled(benchmark, 1.0 - state.aiWorseRate, newList, value);
}

}  // namespace

bool PerfTTest(const std::vector<double>& baseList, std::vector<double>& newList, double& t) {
    const std::size_t n = baseList.size();
    if (newList.size() != n) {
        PrintError(
            "[DdrOptimizer] Warning! Insufficient perf data collection when perf analyzing. Pleass "
            "enlarge collect times.");
        newList.resize(n);
    }
    const auto count = static_cast<double>(n);
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        sum += newList[i] - baseList[i];
    }
    const double mean = sum / count;
    double squares = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        const double deviation = newList[i] - baseList[i] - mean;
        squares += deviation * deviation;
    }
    const double spread = std::sqrt(squares / (count - 1.0));
    t = mean / (spread / std::sqrt(count));
    return t > tCriticalValues.at("0.05");
}

bool ComparePerf(const PsoState& state, const PerfMap& benchmarkPerf, PerfMap& newPerf,
                 std::map<std::string, double>& tValues) {
    try {
        bool acceptable = true;
        for (const auto& [group, benchmark] : benchmarkPerf) {
            double value = 0.0;
            const bool passed = TestGroup(state, group, benchmark, newPerf[group], value);
            tValues[group] = value;
            acceptable = acceptable && passed;
        }
        return acceptable;
    } catch (const std::exception& error) {
        return PrintFailure(std::string("[DdrOptimizer] Failed to compare perf resuls. Error: ") +
                            error.what());
    }
}

}  // namespace zarn
