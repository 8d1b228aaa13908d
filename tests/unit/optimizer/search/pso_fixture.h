#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "collectors/system/ddr/qos_config.h"
#include "optimizer/search/pso_random.h"
#include "optimizer/search/pso_types.h"

namespace zarn::test {

// Gives the listed numbers, in order, and notes the bounds of every index asked for. A list that is
// used up fails the test.
class ListedRandom final : public RandomSource {
public:
    std::deque<std::size_t> indexes;
    std::deque<double> reals;
    std::vector<std::pair<std::size_t, std::size_t>> asked;

    std::size_t Index(std::size_t first, std::size_t last) override;
    double Canonical() override;
};

// "<name> <mpamid> <low> <high> <hardlimit> <master> <priority>; " for each record.
[[nodiscard]] std::string Describe(const std::vector<QosConfig>& configs);

// A state whose groups all search 10 to 19 (values 10, 12, 14, 16, 18), at velocities -20 to 20.
[[nodiscard]] PsoState SearchState();

}  // namespace zarn::test
