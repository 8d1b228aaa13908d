#include "board/state/cpu_observation.h"

#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <optional>
#include <ostream>
#include <string>

#include "board/setup/scenario_parser.h"

namespace zarn::board {
namespace {

using Event = CpuEvent;

constexpr const char* kScenario =
    R"({"masters": {"cpu": {"demand": 8192, "noise": 0.2}}, "programs": [
    {"name": "a", "pipeline": {"load": 0.5, "cores": [0, 1]}},
    {"name": "b", "pipeline": {"load": 0.25, "cores": [1], "divider": 0.3}},
    {"name": "idle"}]})";

class CpuObservation : public testing::Test {
protected:
    CpuObservation() { EXPECT_EQ(ParseScenario(kScenario, *state_), std::nullopt); }

    [[nodiscard]] CpuCounts Counts(const CpuTarget& target, const BoardSpan& span) const {
        return CountsOf(*state_, WorkOf(*state_, target, span));
    }
    [[nodiscard]] double Cycles(const CpuTarget& target, const BoardSpan& span = {0, 10000}) const {
        return Counts(target, span)[Event::Cycles];
    }

    std::unique_ptr<BoardState> state_ = std::make_unique<BoardState>();
};

TEST_F(CpuObservation, CountsCyclesByTheLoad) {
    // 2 GHz for ten seconds; the load moves by 5 % at most, from tick to tick.
    EXPECT_NEAR(Cycles({0, 1}), 20e9, 0.02 * 20e9);
    EXPECT_NEAR(Cycles({0, 2}), 5e9, 0.02 * 5e9);
    EXPECT_NE(Cycles({0, 2}), 5e9);
    EXPECT_NEAR(Cycles({4, 0}), 0.02 * 20e9, 0.02 * 4e8);
}

TEST_F(CpuObservation, CountsNoCyclesOfAnIdleProgram) {
    EXPECT_TRUE(WorkOf(*state_, {0, 4}, {0, 10000}).empty());
}

TEST_F(CpuObservation, MixesThePrograms) {
    // Half of the first program is on the second core, with all of the second one and the system.
    const double system = Cycles({4, 0});
    EXPECT_NEAR(Cycles({2, 0}), Cycles({0, 1}) / 2 + Cycles({0, 2}) + system, 1.0);
    EXPECT_NEAR(Cycles(AllCores(*state_)), Cycles({0, 3}) + 4 * system, 1.0);
}

TEST_F(CpuObservation, AddsUpWhereverItIsCut) {
    const CpuTarget target = AllCores(*state_);
    const double whole = Cycles(target, {130, 5170});
    EXPECT_NEAR(Cycles(target, {130, 777}) + Cycles(target, {777, 5170}), whole, 1.0);
    EXPECT_EQ(Cycles(target, {130, 130}), 0.0);
}

TEST_F(CpuObservation, WaitsForTheMemoryAsTheSettingsHaveIt) {
    const CpuTarget target{0, 1};
    const CpuCounts served = Counts(target, {0, 10000});
    state_->partitions[0] = {0, 2, 1};
    const CpuCounts throttled = Counts(target, {0, 10000});
    EXPECT_EQ(served[Event::Cycles], throttled[Event::Cycles]);
    // A quarter of what is asked for is granted, so the same work takes four times the wait.
    const double factor = served[Event::InstRetired] / throttled[Event::InstRetired];
    EXPECT_NEAR(factor, 1.3, 0.01);
    EXPECT_NEAR(throttled[Event::LoadStall] * factor / served[Event::LoadStall], 0.48 / 0.18, 0.04);
}

TEST_F(CpuObservation, GivesAllCyclesToFunctions) {
    const auto work = WorkOf(*state_, AllCores(*state_), {0, 1000});
    double sum = 0.0;
    for (const PerFunction& functions : CyclesByFunction(*state_, work)) {
        sum += std::accumulate(functions.begin(), functions.end(), 0.0);
    }
    EXPECT_NEAR(sum, CountsOf(*state_, work)[Event::Cycles], 1.0);
    EXPECT_GT(CyclesByFunction(*state_, work)[kSystemWork][0], 0.0);
    EXPECT_EQ(CyclesByFunction(*state_, work)[kSystemWork][1], 0.0);
}

TEST_F(CpuObservation, HasAtLeastFourCoresAndAllThatAreNamed) {
    EXPECT_EQ(CoreCount(*state_), 4U);
    EXPECT_EQ(AllCores(*state_).cores, 0xFU);
    state_->scenario.programs.plans[1].pipeline.cores = 1U << 9U;
    EXPECT_EQ(CoreCount(*state_), 10U);
}

TEST(ParseScenario, ReadsPipelines) {
    const auto state = std::make_unique<BoardState>();
    ASSERT_EQ(ParseScenario(R"({"programs": [
        {"name": "a"},
        {"name": "b", "version": 2, "functions": {"sort_tracks": 3, "copy_frame": 1},
         "pipeline": {"load": 0.5, "cores": [3, 0], "ddr_wait": 0.25, "fsu_ports": 0.5, "branch_misses": 7.5}}]})",
                            *state),
              std::nullopt);
    const auto& plans = state->scenario.programs.plans;
    EXPECT_EQ(plans[0].pipeline.load, 0.0);
    EXPECT_EQ(plans[0].pipeline.functions, UsualFunctions(1));
    EXPECT_EQ(plans[1].pipeline.load, 0.5);
    EXPECT_EQ(plans[1].pipeline.cores, 9U);
    EXPECT_EQ(plans[1].pipeline.version, 2U);
    EXPECT_EQ(plans[1].pipeline.ddrWait, 0.25);
    EXPECT_EQ(plans[1].pipeline.fsuPorts, 0.5);
    EXPECT_EQ(plans[1].pipeline.branchMisses, 7.5);
    EXPECT_EQ(plans[1].pipeline.functions, (PerFunction{0, 0, 0, 0, 0.25, 0, 0.75}));
}

struct BadPipeline {
    const char* members;
    const char* reason;
};

std::ostream& operator<<(std::ostream& out, const BadPipeline& bad) {
    return out << bad.members;
}

class PipelineRefused : public testing::TestWithParam<BadPipeline> {};

TEST_P(PipelineRefused, WithItsPlaceAndWhatWasExpected) {
    const auto state = std::make_unique<BoardState>();
    const std::string text =
        std::string(R"({"programs": [{"name": "a", )") + GetParam().members + "}]}";
    EXPECT_EQ(ParseScenario(text, *state).value_or("taken"), GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, PipelineRefused,
    testing::Values(
        BadPipeline{R"("pipeline": 1)", "programs[0].pipeline: expected an object"},
        BadPipeline{R"("pipeline": {"speed": 1})", "programs[0].pipeline.speed: unknown"},
        BadPipeline{R"("pipeline": {"load": 0.99})",
                    "programs[0].pipeline.load: expected a number from 0 to 0.98"},
        BadPipeline{R"("pipeline": {"cores": [16]})",
                    "programs[0].pipeline.cores: expected numbers of cores from 0 to 15"},
        BadPipeline{
            R"("pipeline": {"retiring": 0.8})",
            "programs[0].pipeline.retiring: expected at most 1 with bad_speculation and frontend"},
        BadPipeline{R"("pipeline": {"ddr_wait": 0.7})",
                    "programs[0].pipeline.load_stall: expected at most 1 with store_stall, "
                    "ddr_wait, resource and core"},
        BadPipeline{R"("pipeline": {"push": 0.8})",
                    "programs[0].pipeline.indirect: expected at most 1 with push and pop"},
        BadPipeline{R"("version": 0)", "programs[0].version: expected 1 or 2"},
        BadPipeline{R"("version": 3)", "programs[0].version: expected a whole number from 0 to 2"},
        BadPipeline{R"("functions": {"sort_tracks": 1})",
                    "programs[0].functions.sort_tracks: expected a number from 0 to 0"},
        BadPipeline{R"("functions": {"other": 1})",
                    "programs[0].functions: expected a share for one of them at least"},
        BadPipeline{R"("functions": {"pack_result": 1, "other": 1})",
                    "programs[0].functions.other: unknown"},
        BadPipeline{R"("pipeline": {"load": 0.5}}, {"name": "b", "pipeline": {"load": 0.5})",
                    "programs: expected a load of at most 0.98 on core 0"}));

}  // namespace
}  // namespace zarn::board
