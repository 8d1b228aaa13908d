#include "optimizer/search/pso_swarm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/unit/optimizer/search/pso_fixture.h"

namespace zarn {
namespace {

using test::Describe;
using test::ListedRandom;
using test::SearchState;
using testing::ElementsAre;
using testing::Pair;

TEST(PsoRandomTest, AnIndexIsDrawnFromTheGivenOneUpwards) {
    ListedRandom random;
    random.indexes = {1, 3};
    const std::vector<std::uint16_t> values = {0, 2, 4, 6};
    std::size_t index = 0;
    EXPECT_EQ(RandomSpaceIndex(values, index, random), 2);
    EXPECT_EQ(index, 1U);
    EXPECT_EQ(RandomSpaceIndex(values, index, random), 6);
    EXPECT_EQ(index, 3U);
    EXPECT_THAT(random.asked, ElementsAre(Pair(0, 3), Pair(1, 3)));
}

TEST(PsoRandomTest, AnEmptyListOfValuesIsAnError) {
    ListedRandom random;
    std::size_t index = 0;
    EXPECT_THROW(RandomSpaceIndex({}, index, random), std::out_of_range);
    EXPECT_TRUE(random.asked.empty());
}

TEST(PsoRandomTest, ARealLiesBetweenItsBoundsInEitherOrder) {
    ListedRandom random;
    random.reals = {0.0, 0.25, 0.5};
    EXPECT_EQ(RandomReal(-20, 20, random), -20.0);
    EXPECT_EQ(RandomReal(-20, 20, random), -10.0);
    EXPECT_EQ(RandomReal(20, -20, random), 0.0);
}

TEST(PsoRandomTest, TheDeviceGivesWhatIsAskedOfIt) {
    RandomSource& random = DeviceRandomSource();
    bool sawUpper = false;
    bool sawLower = false;
    double smallest = 1.0;
    double greatest = 0.0;
    for (int i = 0; i < 400; ++i) {
        const std::size_t index = random.Index(3, 4);
        ASSERT_TRUE(index == 3 || index == 4);
        (index == 3 ? sawLower : sawUpper) = true;
        const double real = random.Canonical();
        ASSERT_TRUE(real >= 0.0 && real < 1.0);
        smallest = std::min(smallest, real);
        greatest = std::max(greatest, real);
    }
    EXPECT_TRUE(sawLower && sawUpper);
    EXPECT_LT(smallest, 0.1);
    EXPECT_GT(greatest, 0.9);
    EXPECT_EQ(random.Index(7, 7), 7U);
}

TEST(PsoSwarmTest, TheStartingBestIsTheWholeRange) {
    const PsoPosition best = StartingBest();
    EXPECT_THAT(best.bwLow, ElementsAre(Pair(0, 0), Pair(3, 0), Pair(5, 0)));
    EXPECT_THAT(best.bwHigh, ElementsAre(Pair(0, 51), Pair(3, 51), Pair(5, 51)));
    EXPECT_EQ(best.value, 0.0);
}

TEST(PsoSwarmTest, DrawsACandidateGroupByGroup) {
    ListedRandom random;
    random.indexes = {1, 2, 0, 4, 2, 2};
    EXPECT_EQ(Describe(DrawCandidate(SearchState(), random)),
              "aic 5 12 14 0 0 0; cpu 0 10 18 0 0 0; imgp 3 14 14 0 0 0; ");
    EXPECT_THAT(random.asked, ElementsAre(Pair(0, 4), Pair(1, 4), Pair(0, 4), Pair(0, 4),
                                          Pair(0, 4), Pair(2, 4)));
}

TEST(PsoSwarmTest, ACandidateWithoutValuesIsAnError) {
    ListedRandom random;
    random.indexes = {0, 0};
    PsoState state = SearchState();
    state.psoSpaceBounds["cpu"].values.clear();
    EXPECT_THROW(DrawCandidate(state, random), std::out_of_range);
}

TEST(PsoSwarmTest, AFirstVelocityIsCutAndNeverNegative) {
    ListedRandom random;
    // -20 + 40 * c: 0, -20, 19.6, 10, 0.4, -0.4
    random.reals = {0.5, 0.0, 0.99, 0.75, 0.51, 0.49};
    const PsoState state = SearchState();
    std::vector<QosConfig> candidate(3);
    candidate[0].mpam_name = "aic";
    candidate[0].mpamid = 5;
    candidate[1].mpam_name = "cpu";
    candidate[1].mpamid = 0;
    candidate[2].mpam_name = "imgp";
    candidate[2].mpamid = 3;
    const PsoPosition velocity = DrawVelocity(state, candidate, random);
    EXPECT_THAT(velocity.bwLow, ElementsAre(Pair(0, 19), Pair(3, 0), Pair(5, 0)));
    EXPECT_THAT(velocity.bwHigh, ElementsAre(Pair(0, 10), Pair(3, 0), Pair(5, 0)));
}

struct StepCase {
    PsoCoordinate at;  // position, velocity, personal best, global best
    PsoBound velocity;
    PsoBound space;
    double r1;
    double r2;
    int newVelocity;
    int bound;
};

TEST(PsoSwarmTest, StepsACoordinate) {
    const PsoBound speed{-20, 20, {}};
    const PsoBound space{0, 51, {}};
    const StepCase cases[] = {
        // 0.8*5 + 0.5*0.5*(20-10) + 0.5*0.25*(30-10) = 4 + 2.5 + 2.5 = 9; 19 -> 18
        {{10, 5, 20, 30}, speed, space, 0.5, 0.25, 9, 18},
        // 0.8*3 = 2.4, cut to 2; 5 + 2 = 7 -> 6
        {{5, 3, 5, 5}, speed, space, 0.9, 0.9, 2, 6},
        // 0.8*-3 = -2.4, cut towards zero to -2
        {{10, -3, 10, 10}, speed, space, 0.0, 0.0, -2, 8},
        // a pull backwards: 0.5*1*(0-40) + 0.5*1*(0-40) = -40, clamped to -20
        {{40, 0, 0, 0}, speed, space, 1.0, 1.0, -20, 20},
        // 0.8*20 + 0.5*1*40 = 36, clamped to 20; 46 + 20 clamped to 51, cut to 50
        {{46, 20, 86, 46}, speed, space, 1.0, 0.0, 20, 50},
        // below the space: clamped to its low end, which is cut to even too
        {{12, -20, 12, 12}, speed, {11, 51, {}}, 0.0, 0.0, -16, 10},
        // a space that reaches below zero: -1 - 2 = -3 -> -2
        {{-1, -3, -1, -1}, speed, {-30, 51, {}}, 0.0, 0.0, -2, -2},
        // bounds in the wrong order are taken by size
        {{10, 10, 10, 10}, {-20, -30, {}}, space, 0.0, 0.0, -20, 0},
        {{10, 3, 10, 10}, speed, {51, 11, {}}, 0.0, 0.0, 2, 12},
    };
    for (const StepCase& one : cases) {
        ListedRandom random;
        random.reals = {one.r1, one.r2};
        PsoCoordinate at = one.at;
        at.velocityBound = &one.velocity;
        at.spaceBound = &one.space;
        const PsoStep step = StepCoordinate(PsoState(), at, random);
        EXPECT_EQ(step.velocity, one.newVelocity);
        EXPECT_EQ(step.bound, one.bound);
    }
}

TEST(PsoSwarmTest, EnormousWeightsOnlyReachTheVelocityBounds) {
    const PsoBound speed{-20, 20, {}};
    const PsoBound space{0, 51, {}};
    ListedRandom random;
    random.reals = {1.0, 1.0};
    PsoState state;
    state.w_p = 3.4e38;
    const PsoStep step = StepCoordinate(state, {0, 0, 51, 51, &speed, &space}, random);
    EXPECT_EQ(step.velocity, 20);
    EXPECT_EQ(step.bound, 20);
}

// One particle at low 10, high 18 for every partition, at rest.
PsoState OneParticle() {
    PsoState state = SearchState();
    PsoPosition position;
    position.bwLow = {{0, 10}, {3, 10}, {5, 10}};
    position.bwHigh = {{0, 18}, {3, 18}, {5, 18}};
    state.positions = {position};
    state.personalBests = {position};
    state.velocities = {PsoPosition()};
    state.velocities[0].bwLow = {{0, 0}, {3, 0}, {5, 0}};
    state.velocities[0].bwHigh = {{0, 0}, {3, 0}, {5, 0}};
    state.globalBest = StartingBest();
    return state;
}

TEST(PsoSwarmTest, AStepKeepsThePositionAndStoresTheVelocity) {
    PsoState state = OneParticle();
    ListedRandom random;
    // Drawn per group low, high; each r1, r2. The pull of the global best alone acts: low -10 * 0.5
    // * r2, high 33 * 0.5 * r2.
    random.reals = {0, 0.4, 0, 0.2, 0, 0.8, 0, 1, 0, 0, 0, 0};
    EXPECT_EQ(Describe(StepParticle(state, 0, random)),
              "aic 5 10 18 0 0 0; cpu 0 10 18 0 0 0; imgp 3 10 18 0 0 0; ")
        << "the space of this state ends at 10 and 19";
    EXPECT_THAT(state.velocities[0].bwLow, ElementsAre(Pair(0, -4), Pair(3, 0), Pair(5, -2)));
    EXPECT_THAT(state.velocities[0].bwHigh, ElementsAre(Pair(0, 16), Pair(3, 0), Pair(5, 3)));

    for (auto& [group, bound] : state.psoSpaceBounds) {
        bound.low = 0;
        bound.up = 51;
    }
    // All pulls off: velocities shrink by w_v: low -3, 0, -1; high 12, 0, 2.
    random.reals.assign(12, 0.0);
    EXPECT_EQ(Describe(StepParticle(state, 0, random)),
              "aic 5 8 20 0 0 0; cpu 0 6 30 0 0 0; imgp 3 10 18 0 0 0; ");
    random.reals.assign(12, 0.0);
    EXPECT_EQ(Describe(StepParticle(state, 0, random)),
              "aic 5 10 18 0 0 0; cpu 0 8 26 0 0 0; imgp 3 10 18 0 0 0; ")
        << "each candidate is the first position plus the velocity, not the last candidate";
    EXPECT_THAT(state.positions[0].bwLow, ElementsAre(Pair(0, 10), Pair(3, 10), Pair(5, 10)));
}

TEST(PsoSwarmTest, AStepMayPutTheHighBoundBelowTheLow) {
    PsoState state = OneParticle();
    state.positions[0].bwLow[0] = 18;
    state.personalBests[0].bwHigh[0] = 0;
    ListedRandom random;
    // cpu high: 0.5 * 1 * (0 - 18) = -9, to 9, clamped to 10 by the space
    random.reals = {0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0};
    EXPECT_EQ(Describe(StepParticle(state, 0, random)),
              "aic 5 10 18 0 0 0; cpu 0 18 10 0 0 0; imgp 3 10 18 0 0 0; ");
}

TEST(PsoSwarmTest, AParticleThatIsNotThereIsAnError) {
    PsoState state = OneParticle();
    ListedRandom random;
    EXPECT_THROW(StepParticle(state, 1, random), std::out_of_range);
}

TEST(PsoSwarmTest, TheBestIsAppliedInOrderOfPartitionsWithoutNames) {
    EXPECT_EQ(Describe(ConfigsOfBest(StartingBest())),
              " 0 0 51 0 0 0;  3 0 51 0 0 0;  5 0 51 0 0 0; ");
}

TEST(PsoSwarmTest, ACandidateBecomesAPosition) {
    ListedRandom random;
    random.indexes = {1, 2, 0, 4, 2, 2};
    const PsoPosition position = PositionOf(DrawCandidate(SearchState(), random), 2.5);
    EXPECT_THAT(position.bwLow, ElementsAre(Pair(0, 10), Pair(3, 14), Pair(5, 12)));
    EXPECT_THAT(position.bwHigh, ElementsAre(Pair(0, 18), Pair(3, 14), Pair(5, 14)));
    EXPECT_EQ(position.value, 2.5);
}

}  // namespace
}  // namespace zarn
