#include "foundation/statistics.h"

#include <algorithm>
#include <functional>
#include <numeric>

namespace zarn {
namespace {

// Walks the adjacent pairs. `before(a, b)` orders a value below the next one on the way to an
// extreme: less for peaks, greater for troughs. The top of an extreme is the run of equal values
// between the way there and the way back; its midpoint is inserted if `reference * ratio` lies
// before it.
template <typename Order>
void FindExtremes(const std::vector<double>& values, double bound, std::set<std::size_t>& indexes,
                  Order before) {
    std::size_t topStart = 0;  // 0: none, for nothing leads to the first value
    for (std::size_t i = 0; i + 1 < values.size(); ++i) {
        if (before(values[i], values[i + 1])) {
            topStart = i + 1;
        } else if (before(values[i + 1], values[i])) {
            if (topStart != 0) {
                const std::size_t middle = (i + topStart) / 2;
                if (before(bound, values[middle])) {
                    indexes.insert(middle);
                }
            }
            topStart = 0;
        }
    }
}

}  // namespace

void GetAverage(const std::vector<double>& values, double& average) {
    average = values.empty() ? 0.0
                             : std::accumulate(values.begin(), values.end(), 0.0) /
                                   static_cast<double>(values.size());
}

void GetMaxMinAverage(const std::vector<double>& values, double& maximum, double& minimum,
                      double& average) {
    GetAverage(values, average);
    maximum = values.empty() ? 0.0 : *std::max_element(values.begin(), values.end());
    minimum = values.empty() ? 0.0 : *std::min_element(values.begin(), values.end());
}

void FindPeaks(const std::vector<double>& values, double reference, std::set<std::size_t>& indexes,
               double ratio) {
    FindExtremes(values, reference * ratio, indexes, std::less<>());
}

void FindTroughs(const std::vector<double>& values, double reference,
                 std::set<std::size_t>& indexes, double ratio) {
    FindExtremes(values, reference * ratio, indexes, std::greater<>());
}

bool CompareByValueDescending(const std::pair<std::string, double>& a,
                              const std::pair<std::string, double>& b) {
    return a.second != b.second ? a.second > b.second : a.first < b.first;
}

}  // namespace zarn
