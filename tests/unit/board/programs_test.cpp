#include "board/model/programs.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "board/setup/scenario_parser.h"

namespace zarn::board {
namespace {

TEST(PrivateKb, FollowsStepsAndLeakUpToItsMost) {
    ProgramPlan plan;
    plan.privateKb = 1000;
    plan.mostKb = 2500;
    plan.leakKbPerS = 100;
    plan.stepCount = 2;
    plan.steps = {{{2000, 500}, {4000, -600}}};
    EXPECT_EQ(PrivateKb(plan, 0), 1000U);
    EXPECT_EQ(PrivateKb(plan, 1999), 1199U);
    EXPECT_EQ(PrivateKb(plan, 2000), 1700U);
    EXPECT_EQ(PrivateKb(plan, 4000), 1300U);
    EXPECT_EQ(PrivateKb(plan, 15990), 2499U);
    EXPECT_EQ(PrivateKb(plan, 86400000), 2500U);
    plan.steps[0].addKb = -5000;
    EXPECT_EQ(PrivateKb(plan, 2000), 0U);
}

TEST(SharePoolKb, MovesWithThePrivateMemory) {
    ProgramPlan plan;
    plan.privateKb = 1000;
    plan.mostKb = 3000;
    plan.leakKbPerS = 500;
    plan.sharePoolKb = 64;
    EXPECT_EQ(SharePoolKb(plan, 0), 64U);
    EXPECT_EQ(SharePoolKb(plan, 2000), 128U);
    EXPECT_EQ(SharePoolKb(plan, 60000), 192U);
    plan.privateKb = 0;
    EXPECT_EQ(SharePoolKb(plan, 2000), 64U);
}

constexpr const char* kTwoPrograms = R"({"programs": [
    {"name": "a", "private_kb": 1000, "leak_kb_s": 10, "threads": 3, "share_pool_kb": 64,
     "shared": [{"kb": 200, "with": ["b"]}, {"kb": 20}]},
    {"name": "b", "private_kb": 500, "steps": [[1000, 100], [2000, -50]]}]})";

TEST(ParseScenario, ReadsPrograms) {
    const auto state = std::make_unique<BoardState>();
    ASSERT_EQ(ParseScenario(kTwoPrograms, *state), std::nullopt);
    const BoardPrograms& programs = state->scenario.programs;
    ASSERT_EQ(programs.count, 2U);
    EXPECT_STREQ(programs.plans[0].name.data(), "a");
    EXPECT_EQ(programs.plans[0].mostKb, 1000U + 32768U);
    EXPECT_EQ(programs.plans[0].threads, 3U);
    EXPECT_EQ(programs.plans[1].threads, 1U);
    EXPECT_EQ(programs.plans[1].mostKb, 600U);
    EXPECT_EQ(programs.plans[1].steps[1].addKb, -50);
    ASSERT_EQ(programs.areaCount, 2U);
    EXPECT_EQ(programs.areas[0].programs, 3U);
    EXPECT_EQ(programs.areas[1].programs, 1U);
    EXPECT_EQ(ProgramsKb(programs, 1000), 1010U + 600U + 220U);
    EXPECT_EQ(MostProgramsKb(programs), 33768U + 600U + 220U);
    EXPECT_EQ(state->scenario.memory.totalKb, 0U);
}

struct BadPrograms {
    const char* text;
    const char* reason;
};

class ProgramsRefused : public testing::TestWithParam<BadPrograms> {};

TEST_P(ProgramsRefused, WithTheirPlaceAndWhatWasExpected) {
    const auto state = std::make_unique<BoardState>();
    EXPECT_EQ(ParseScenario(GetParam().text, *state).value_or("taken"), GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ProgramsRefused,
    testing::Values(
        BadPrograms{R"({"programs": {}})", "programs: expected a list of at most 16 entries"},
        BadPrograms{R"({"programs": [1]})", "programs[0]: expected an object"},
        BadPrograms{R"({"programs": [{}]})",
                    "programs[0].name: expected a name of its own, 1 to 15 of A-Z, a-z, 0-9, _ "
                    "and -"},
        BadPrograms{R"({"programs": [{"name": "sixteen_letters_"}]})",
                    "programs[0].name: expected a name of its own, 1 to 15 of A-Z, a-z, 0-9, _ "
                    "and -"},
        BadPrograms{R"({"programs": [{"name": "a"}, {"name": "a"}]})",
                    "programs[1].name: expected a name of its own, 1 to 15 of A-Z, a-z, 0-9, _ "
                    "and -"},
        BadPrograms{R"({"programs": [{"name": "a", "leak": 1}]})", "programs[0].leak: unknown"},
        BadPrograms{R"({"programs": [{"name": "a", "steps": [[1]]}]})",
                    "programs[0].steps: expected pairs of milliseconds and KB"},
        BadPrograms{R"({"programs": [{"name": "a", "shared": [{"kb": 1, "with": ["b"]}]}]})",
                    "programs[0].shared: expected names of programs"},
        BadPrograms{R"({"programs": [{"name": "a", "threads": 17}]})",
                    "programs[0].threads: expected a whole number from 0 to 16"},
        BadPrograms{R"({"programs": [{"name": "a", "private_kb": 200000}, {"name": "b",
                        "leak_kb_s": 1}]})",
                    "programs: expected at most 204800 KB in all"},
        BadPrograms{R"({"memory": {"base_kb": 10, "slab_kb": 11}})",
                    "memory.base_kb: expected no less than the kernel's parts of it"},
        BadPrograms{R"({"memory": {"total_kb": 100, "base_kb": 60, "cached_kb": 41}})",
                    "memory.total_kb: expected no less than base, cache and programs"}));

}  // namespace
}  // namespace zarn::board
