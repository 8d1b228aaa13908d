#include "benchmarks/naive/correlation_join.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

#include "benchmarks/support/correlation_generator.h"
#include "tests/support/amounts.h"
#include "tests/unit/analyzers/correlation/correlation_analyzer_fixture.h"

namespace zarn::test {
namespace {

// The analyzer against the plain form of it, on small trees of all kinds.
class PlainJoinTest : public CorrelationTest {
protected:
    // Whether the tables are the same, byte for byte.
    bool IsSame(std::uint64_t seed) {
        bench::Generator generator(seed);
        const char* const jobs[] = {"global", "core", "process"};
        const std::string job = jobs[generator.Below(3)];
        const std::uint64_t intervals[] = {0, 1, 1000, 500000, 10000000};
        const auto interval = static_cast<std::uint32_t>(intervals[generator.Below(5)]);
        if (!bench::CorrelationGenerator(seed).WriteSmall(tree.Path(), job)) {
            return false;
        }
        RunUncaptured(Section(job, std::to_string(interval)));
        bench::PlainCorrelation(tree.Path(), interval, job).Write(tree.PathOf("plain.csv"));
        return result && Table() == tree.Read("plain.csv");
    }
};

// In parts that may run side by side.
class PlainJoinPart : public PlainJoinTest, public testing::WithParamInterface<std::uint64_t> {};

constexpr std::uint64_t kParts = 4;

TEST_P(PlainJoinPart, GivesTheSameOnRandomTrees) {
    std::vector<std::uint64_t> different;
    (void)Capture([&] {
        for (std::uint64_t seed = GetParam(); seed < Amount(10000); seed += kParts) {
            if (!IsSame(seed)) {
                different.push_back(seed);
            }
        }
    });
    EXPECT_THAT(different, testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Parts, PlainJoinPart, testing::Range(std::uint64_t{0}, kParts));

}  // namespace
}  // namespace zarn::test
