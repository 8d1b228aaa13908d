#include "collectors/profiling/topdown/topdown_analysis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "collectors/profiling/topdown/topdown_events.h"
#include "tests/support/captured_streams.h"

namespace zarn::test {
namespace {

constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TopdownData Analyzed(std::unordered_map<std::string, float> events) {
    TopdownData data;
    for (std::size_t i = 0; i < kTopdownEventCount; ++i) {
        events.emplace(TopdownEventName(i), 0.0F);
    }
    data.events = std::move(events);
    EXPECT_EQ(Capture([&data] { AnalyzeMetrics(data); }).err, "");
    return data;
}

TEST(FindBottleneckTest, WithoutCandidatesThereIsNone) {
    EXPECT_EQ(FindBottleneck({}, 0), "");
    EXPECT_EQ(FindBottleneck({{"a.b", 1.0F}}, 0), "");
    EXPECT_EQ(FindBottleneck({{"a", 1.0F}}, 1), "");
}

TEST(FindBottleneckTest, TheSearchDescendsIntoTheGreatest) {
    const MetricValues candidates = {{"a", 0.2F},     {"a.z", 9.0F},     {"b", 0.5F},
                                     {"b.c", 0.1F},   {"b.d", 0.3F},     {"b.c.e", 7.0F},
                                     {"b.d.f", 0.2F}, {"b.d.f.g", -1.0F}};
    EXPECT_EQ(FindBottleneck(candidates, 0), "b.d.f.g");
    EXPECT_EQ(FindBottleneck(candidates, 2), "b.c.e");
}

TEST(FindBottleneckTest, BelowMeansTheSamePrefixWhateverFollows) {
    EXPECT_EQ(FindBottleneck({{"a", 2.0F}, {"ab", 1.0F}, {"ab.c", 1.0F}}, 0), "ab.c");
}

TEST(FindBottleneckTest, NoNumberRanksLastAndEqualValuesGoByName) {
    EXPECT_EQ(FindBottleneck({{"a", kNoNumber}, {"b", -kInfinity}, {"c", kNoNumber}}, 0), "b");
    EXPECT_EQ(FindBottleneck({{"c", kNoNumber}, {"b", kNoNumber}}, 0), "b");
    EXPECT_EQ(FindBottleneck({{"c", 1.0F}, {"b", 1.0F}, {"a", kNoNumber}}, 0), "b");
    EXPECT_EQ(FindBottleneck({{"c", 0.0F}, {"b", -0.0F}}, 0), "b");
    EXPECT_EQ(FindBottleneck({{"a", 1.0F}, {"b", kInfinity}}, 0), "b");
}

TEST(FindBottleneckTest, TheOrderOfCandidatesDoesNotMatter) {
    MetricValues candidates;
    for (int i = 0; i < 40; ++i) {
        const float value = i % 3 == 0 ? kNoNumber : static_cast<float>(i % 5);
        candidates.emplace_back("m" + std::to_string(i), value);
    }
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        std::shuffle(candidates.begin(), candidates.end(), random);
        EXPECT_EQ(FindBottleneck(candidates, 0), "m14");
    }
}

TEST(AnalyzeMetricsTest, TheBottleneckCanBeOfAnyLevel) {
    EXPECT_EQ(Analyzed({{"CPU_CYCLES", 100}, {"INST_RETIRED", 400}, {"INST_SPEC", 400}}).bottleneck,
              "Retiring");
    EXPECT_EQ(
        Analyzed({{"CPU_CYCLES", 100}, {"fetch_bubble", 300}, {"FetchBubbles_ExceedMIW", 100}})
            .bottleneck,
        "Frontend_Bound.Fetch_Bandwidth");
    EXPECT_EQ(Analyzed({{"CPU_CYCLES", 100}, {"memstall_anyload", 80}, {"memstall_L2miss", 81}})
                  .bottleneck,
              "Backend_Bound.Memory_Bound.DRAM_Bound");
    EXPECT_EQ(
        Analyzed({{"CPU_CYCLES", 100}, {"exe_stall_cycle", 90}, {"fsu_isq_stall", 50}}).bottleneck,
        "Backend_Bound.Core_Bound.Exe_Ports_Utilization.FSU_Ports_Utilized");
    // No metric below it passes its limit.
    EXPECT_EQ(Analyzed({{"CPU_CYCLES", 100}, {"resource_bound", 10}}).bottleneck,
              "Backend_Bound.Resource_Bound");
}

TEST(AnalyzeMetricsTest, WithoutCyclesThereIsNoBottleneck) {
    TopdownData data;
    (void)Capture([&data] { AnalyzeMetrics(data); });
    EXPECT_EQ(data.bottleneck, "");
    EXPECT_TRUE(data.metrics.empty());
}

TEST(AnalyzeMetricsTest, HalvesThatAreNoNumbersGiveTheFirstByName) {
    EXPECT_EQ(Analyzed({{"CPU_CYCLES", 100}, {"INST_SPEC", 400}}).bottleneck,
              "Bad_Speculation.Branch_Mispredicts");
}

}  // namespace
}  // namespace zarn::test
