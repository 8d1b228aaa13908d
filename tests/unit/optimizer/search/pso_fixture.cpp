#include "tests/unit/optimizer/search/pso_fixture.h"

#include <gtest/gtest.h>

namespace zarn::test {
namespace {

template <class Number>
Number Take(std::deque<Number>& numbers) {
    if (numbers.empty()) {
        ADD_FAILURE() << "more random numbers are drawn than the test lists";
        return Number();
    }
    const Number number = numbers.front();
    numbers.pop_front();
    return number;
}

}  // namespace

std::size_t ListedRandom::Index(std::size_t first, std::size_t last) {
    asked.emplace_back(first, last);
    const std::size_t index = Take(indexes);
    EXPECT_TRUE(index >= first && index <= last) << index << " is outside what is asked for";
    return index;
}

double ListedRandom::Canonical() {
    return Take(reals);
}

std::string Describe(const std::vector<QosConfig>& configs) {
    std::string text;
    for (const QosConfig& config : configs) {
        text += config.mpam_name;
        for (const auto value : {config.mpamid, config.bw_low, config.bw_high, config.hardlimit,
                                 config.master, config.priority}) {
            text += " " + std::to_string(value);
        }
        text += "; ";
    }
    return text;
}

PsoState SearchState() {
    PsoState state;
    for (const auto& [group, mpamids] : stressGroups) {
        state.psoSpaceBounds[group] = {10, 19, {10, 12, 14, 16, 18}};
        state.psoVelBounds[group] = {-20, 20, {}};
    }
    return state;
}

}  // namespace zarn::test
