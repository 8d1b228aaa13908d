#include "optimizer/search/pso_search.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/captured_streams.h"
#include "tests/support/temp_dir.h"
#include "tests/unit/optimizer/search/pso_fixture.h"

namespace zarn {
namespace {

using test::Captured;
using test::Describe;
using test::ListedRandom;
using test::SearchState;
using testing::ElementsAre;
using testing::HasSubstr;

// Three samples around `cpu` with a spread of 1, so that against 0, 0, 0 the t-value is cpu *
// sqrt(3); the other groups stay inside their limits if `accepted`.
PerfMap Perf(double cpu, bool accepted = true) {
    return {{"aic", {99, 100, 101}},
            {"cpu", {cpu - 1, cpu, cpu + 1}},
            {"imgp", {199, 200, 201}},
            {"isp", {30, 30, accepted ? 30.0 : 20.0}}};
}

// Answers from scripts; when one is used up, the last answer stays. Sets the stop flag after as
// many runs of the benchmark as it is told.
class ScriptedBoard final : public StressBoard {
public:
    bool Apply(const std::vector<QosConfig>& configs) override {
        applied.push_back(Describe(configs));
        const bool ok = refusals.empty() || !refusals.front();
        if (!refusals.empty()) {
            refusals.pop_front();
        }
        if (!ok && --stopAfterRefusals == 0) {
            stopFlag = 1;
        }
        return ok;
    }

    bool RunBenchmark(PerfMap& perf) override {
        ++runs;
        if (runs == stopAfterRuns) {
            stopFlag = 1;
        }
        if (runs == failingRun) {
            return false;
        }
        for (const auto& [group, rates] : perfs.front()) {
            std::vector<double>& list = perf[group];
            list.insert(list.end(), rates.begin(), rates.end());
        }
        if (perfs.size() > 1) {
            perfs.pop_front();
        }
        return true;
    }

    std::deque<PerfMap> perfs;  // the first is the benchmark's
    std::deque<bool> refusals;  // of Apply; none: all succeed
    int runs = 0;
    int failingRun = -1;
    int stopAfterRuns = -1;
    int stopAfterRefusals = -1;
    StopFlag stopFlag{0};
    std::vector<std::string> applied;
};

class PsoSearchTest : public testing::Test {
protected:
    PsoSearchTest() : log_(dir_.Path() + "opt.log"), state_(SearchState()) {
        state_.numSize = 1;
        state_.numIterate = 0;
        PerfMap base = Perf(0);
        base["cpu"] = {0, 0, 0};
        base["aic"] = {100, 100, 100};
        base["imgp"] = {200, 200, 200};
        board_.perfs = {base};
    }

    void Run(bool expected) {
        captured_ = test::Capture([&] {
            PsoSearch search(state_, {board_, log_, random_, &board_.stopFlag});
            EXPECT_EQ(search.RunPso(), expected);
        });
    }

    // The numbers for `count` candidates of an initialisation, all 10 to 10, and for each a
    // velocity of 0, but for the cpu's high bound.
    void ListInit(int count) {
        for (int i = 0; i < count; ++i) {
            random_.indexes.insert(random_.indexes.end(), {0, 0, 0, 0, 0, 0});
        }
        random_.reals.insert(random_.reals.end(), {0.5, 0.5, 0.5, 0.625, 0.5, 0.5});
    }

    // No pull for one update: the velocities shrink.
    void ListUpdate() { random_.reals.insert(random_.reals.end(), 12, 0.0); }

    // The search of one particle whose first candidate measures `first` and whose update `then`.
    void RunOneUpdate(const PerfMap& first, const PerfMap& then) {
        state_.numIterate = 1;
        board_.perfs.push_back(first);
        board_.perfs.push_back(then);
        ListInit(1);
        ListUpdate();
        Run(true);
    }

    std::string Log() { return dir_.Read("opt.log"); }

    test::TempDir dir_;
    OptLog log_;
    PsoState state_;
    ListedRandom random_;
    ScriptedBoard board_;
    Captured captured_;
};

constexpr const char* kBaseLines =
    "[DdrOptimizer] ======= start to collect bencharmk perf =======\n"
    "[DdrOptimizer] ======= start to init pso =======\n";
constexpr const char* kCandidate = "aic 5 10 10 0 0 0; cpu 0 10 10 0 0 0; imgp 3 10 10 0 0 0; ";

TEST_F(PsoSearchTest, TellsTheWholeStoryOfASearch) {
    RunOneUpdate(Perf(2), Perf(3));
    // The cpu's high bound starts at velocity 5, which shrinks to 4.
    EXPECT_THAT(
        board_.applied,
        ElementsAre(kCandidate, "aic 5 10 10 0 0 0; cpu 0 10 14 0 0 0; imgp 3 10 10 0 0 0; ",
                    " 0 10 14 0 0 0;  3 10 10 0 0 0;  5 10 10 0 0 0; "));
    const std::string story =
        std::string(kBaseLines) +
        "[DdrOptimizer] t-value  cpu : 3.464102 aic : 17.320508 imgp : 34.641016 isp : 30.000000\n"
        "[DdrOptimizer] ======= pso num: 1 =======, cpu t-value: 3.464102\n"
        "[DdrOptimizer] ======= start to search qos setting =======\n"
        "[DdrOptimizer] t-value  cpu : 5.196152 aic : 17.320508 imgp : 34.641016 isp : 30.000000\n"
        "[DdrOptimizer] ======= update pso num: 1 =======,cpu t-value: 5.196152\n"
        "[DdrOptimizer] ======= iter num: 1 ======= \n"
        "[DdrOptimizer]   best bwLow setting: 0 : 10,  3 : 10,  5 : 10,  \n"
        "[DdrOptimizer]   best bwHigh setting: 0 : 14,  3 : 10,  5 : 10,  \n"
        "[DdrOptimizer]   best cpu perf: 5.196152\n"
        "[DdrOptimizer] ======= DDR Optimizer result =======\n"
        "[DdrOptimizer] benchmark : aic : 100.000000,  cpu : 3.000000,  imgp : 200.000000,  isp : "
        "30.000000,  \n"
        "[DdrOptimizer] optimized : aic : 100.000000,  cpu : 0.000000,  imgp : 200.000000,  isp : "
        "30.000000,  \n";
    EXPECT_EQ(Log(), story);
    std::string screen = story;
    const std::string update = "[DdrOptimizer] Successfully update global best position!!\n";
    const std::string finished = "[DdrOptimizer] pso init finished.\n";
    screen.insert(screen.find("[DdrOptimizer] ======= pso num"), update);
    screen.insert(screen.find("[DdrOptimizer] ======= start to search"), finished);
    EXPECT_EQ(captured_.out, screen);
    EXPECT_EQ(captured_.err, "");
}

TEST_F(PsoSearchTest, WithoutABenchmarkThereIsNoSearch) {
    board_.failingRun = 1;
    Run(false);
    EXPECT_EQ(captured_.err, "[DdrOptimizer] Failed to get base perf data.\n");
    EXPECT_EQ(Log(), "[DdrOptimizer] ======= start to collect bencharmk perf =======\n");
    EXPECT_TRUE(board_.applied.empty());
}

TEST_F(PsoSearchTest, TheFourthTryIsTakenWhateverItIs) {
    board_.perfs.push_back(Perf(5, false));
    ListInit(4);
    Run(true);
    EXPECT_EQ(board_.runs, 5);
    EXPECT_THAT(Log(), HasSubstr("======= pso num: 1 =======, cpu t-value: 8.660254\n"));
    EXPECT_EQ(state_.globalBest.value, state_.positions[0].value)
        << "the camera's limit failed, and the candidate is the best all the same";
}

TEST_F(PsoSearchTest, EachParticleHasItsOwnTries) {
    state_.numSize = 2;
    board_.perfs.push_back(Perf(1, false));
    random_.indexes.assign(48, 0);
    random_.reals.assign(12, 0.0);
    Run(true);
    EXPECT_EQ(board_.runs, 9);
    EXPECT_EQ(state_.positions.size(), 2U);
}

TEST_F(PsoSearchTest, AnAcceptableTryEndsTheTrying) {
    board_.perfs.push_back(Perf(5, false));
    board_.perfs.push_back(Perf(4));
    ListInit(2);
    Run(true);
    EXPECT_EQ(board_.runs, 3);
    EXPECT_NEAR(state_.globalBest.value, 6.928203, 1e-6);
}

TEST_F(PsoSearchTest, ATValueOfZeroDoesNotReplaceTheStartingBest) {
    board_.perfs.push_back(Perf(0));
    ListInit(4);
    Run(true);
    EXPECT_EQ(state_.positions[0].value, 0.0);
    EXPECT_THAT(board_.applied.back(), " 0 0 51 0 0 0;  3 0 51 0 0 0;  5 0 51 0 0 0; ");
    EXPECT_THAT(Log(), HasSubstr("[DdrOptimizer] benchmark : aic : 0.000000,  cpu : 0.000000,  "
                                 "imgp : 0.000000,  isp : 0.000000,  \n"));
}

TEST_F(PsoSearchTest, ATValueThatIsNoNumberNeverBecomesABest) {
    state_.numIterate = 1;
    PerfMap same = board_.perfs.front();
    board_.perfs.push_back(same);
    ListInit(4);
    for (int i = 0; i < 4; ++i) {
        ListUpdate();
    }
    Run(true);
    EXPECT_EQ(board_.runs, 9);
    EXPECT_EQ(state_.globalBest.value, 0.0);
    EXPECT_THAT(Log(), HasSubstr("======= update pso num: 1 =======,cpu t-value: nan\n"));
}

TEST_F(PsoSearchTest, APersonalBestOnlyRises) {
    state_.numIterate = 2;
    board_.perfs.push_back(Perf(3));
    board_.perfs.push_back(Perf(2));
    board_.perfs.push_back(Perf(4));
    ListInit(1);
    ListUpdate();
    ListUpdate();
    Run(true);
    // Velocity 5, 4, 3: candidates 10, 14, 12 from the first position.
    EXPECT_EQ(state_.personalBests[0].bwHigh.at(0), 12);
    EXPECT_NEAR(state_.personalBests[0].value, 6.928203, 1e-6);
    EXPECT_EQ(state_.positions[0].bwHigh.at(0), 10);
    EXPECT_EQ(state_.velocities[0].bwHigh.at(0), 3);
    EXPECT_THAT(Log(), HasSubstr("iter num: 1 ======= \n[DdrOptimizer]   best bwLow setting: 0 : "
                                 "10,  3 : 10,  5 : 10,  \n[DdrOptimizer]   best bwHigh setting: 0 "
                                 ": 10,  3 : 10,  5 : 10,  \n[DdrOptimizer]   best cpu perf: "
                                 "5.196152\n"));
}

TEST_F(PsoSearchTest, APersonalBestIsNotReplacedByItsEqual) {
    RunOneUpdate(Perf(3), Perf(3));
    EXPECT_EQ(board_.runs, 3);
    EXPECT_EQ(state_.personalBests[0].bwHigh.at(0), 10);
}

TEST_F(PsoSearchTest, BoundsThatAreRefusedAreNoTry) {
    board_.perfs.push_back(Perf(5, false));
    board_.refusals = {true, true, true, false, false, false, false};
    ListInit(7);
    Run(true);
    EXPECT_EQ(board_.runs, 5);
}

TEST_F(PsoSearchTest, WithoutParticlesTheWholeRangeIsApplied) {
    state_.numSize = 0;
    state_.numIterate = 2;
    Run(true);
    EXPECT_EQ(board_.runs, 1);
    EXPECT_THAT(board_.applied, ElementsAre(" 0 0 51 0 0 0;  3 0 51 0 0 0;  5 0 51 0 0 0; "));
    EXPECT_THAT(Log(), HasSubstr("======= iter num: 2 ======= \n"));
    EXPECT_EQ(captured_.err, "");
}

TEST_F(PsoSearchTest, ABenchmarkThatFailsDuringInitEndsTheSearch) {
    board_.failingRun = 2;
    ListInit(1);
    Run(false);
    EXPECT_EQ(captured_.err,
              "[DdrOptimizer] Failed to get pref datas.\n"
              "[DdrOptimizer] Failed to init pso state.\n");
    EXPECT_EQ(Log(), kBaseLines);
}

TEST_F(PsoSearchTest, ABenchmarkThatFailsDuringTheIterationEndsTheSearch) {
    state_.numIterate = 3;
    board_.perfs.push_back(Perf(2));
    board_.failingRun = 3;
    ListInit(1);
    ListUpdate();
    Run(false);
    EXPECT_EQ(captured_.err,
              "[DdrOptimizer] Failed to get pref datas.\n"
              "[DdrOptimizer] Failed to run pso alg.\n");
    EXPECT_EQ(board_.applied.size(), 2U) << "the best is not applied";
}

TEST_F(PsoSearchTest, BoundsThatAreRefusedAreDrawnAnew) {
    state_.numIterate = 1;
    board_.perfs.push_back(Perf(2));
    board_.refusals = {true, true, false, true, false};
    ListInit(3);
    ListUpdate();
    ListUpdate();
    Run(true);
    EXPECT_EQ(captured_.err,
              "[DdrOptimizer] Set new qos conf fail when pso init.\n"
              "[DdrOptimizer] Set new qos conf fail when pso init.\n"
              "[DdrOptimizer] Set new qos conf fail.\n");
    EXPECT_EQ(board_.runs, 3);
}

TEST_F(PsoSearchTest, TheStopFlagEndsADeviceThatRefusesForever) {
    for (const int stopAfter : {5, 7}) {
        board_.refusals.assign(20, true);
        board_.stopAfterRefusals = stopAfter;
        board_.stopFlag = 0;
        board_.applied.clear();
        random_.indexes.assign(60, 0);
        Run(true);
        EXPECT_EQ(board_.applied.size(), static_cast<std::size_t>(stopAfter) + 1);
        EXPECT_THAT(captured_.err,
                    testing::EndsWith("[DdrOptimizer] Set new qos conf fail when pso init.\n"
                                      "[DdrOptimizer] Failed to item qos conf.\n"
                                      "[DdrOptimizer] Warning! Failed to enable the best qos "
                                      "Conf, you can enable them manually.\n"));
    }
}

TEST_F(PsoSearchTest, TheStopFlagEndsRefusalsInTheIteration) {
    state_.numIterate = 2;
    board_.perfs.push_back(Perf(2));
    board_.refusals = {false, true, true, true};
    board_.stopAfterRefusals = 3;
    ListInit(1);
    for (int i = 0; i < 3; ++i) {
        ListUpdate();
    }
    Run(true);
    EXPECT_EQ(board_.applied.back(), " 0 10 10 0 0 0;  3 10 10 0 0 0;  5 10 10 0 0 0; ");
    EXPECT_THAT(Log(), HasSubstr("======= iter num: 2 ======= \n"));
}

TEST_F(PsoSearchTest, AnInterruptDuringInitLeavesTheBestSoFar) {
    state_.numSize = 5;
    state_.numIterate = 2;
    board_.perfs.push_back(Perf(2));
    board_.stopAfterRuns = 2;
    ListInit(1);
    Run(true);
    EXPECT_EQ(state_.positions.size(), 1U);
    EXPECT_EQ(board_.runs, 2);
    EXPECT_EQ(board_.applied.back(), " 0 10 10 0 0 0;  3 10 10 0 0 0;  5 10 10 0 0 0; ");
    EXPECT_THAT(Log(), HasSubstr("======= iter num: 1 ======= \n"));
    EXPECT_THAT(Log(), HasSubstr("======= iter num: 2 ======= \n"));
    EXPECT_THAT(Log(), HasSubstr("======= DDR Optimizer result =======\n"));
}

TEST_F(PsoSearchTest, AnInterruptDuringTheBenchmarkLeavesTheWholeRange) {
    board_.stopAfterRuns = 1;
    Run(true);
    EXPECT_THAT(board_.applied, ElementsAre(" 0 0 51 0 0 0;  3 0 51 0 0 0;  5 0 51 0 0 0; "));
}

TEST_F(PsoSearchTest, AnInterruptDuringTheIterationLeavesTheBestSoFar) {
    state_.numSize = 2;
    state_.numIterate = 3;
    board_.perfs = {board_.perfs.front(), Perf(2), Perf(1.5), Perf(4)};
    board_.stopAfterRuns = 4;
    ListInit(1);
    ListInit(1);
    ListUpdate();
    Run(true);
    EXPECT_EQ(board_.runs, 4);
    EXPECT_EQ(board_.applied.back(), " 0 10 14 0 0 0;  3 10 10 0 0 0;  5 10 10 0 0 0; ");
    EXPECT_THAT(Log(), HasSubstr("======= iter num: 3 ======= \n"));
}

TEST_F(PsoSearchTest, EmptyValuesEndTheInitialisation) {
    state_.psoSpaceBounds["cpu"].values.clear();
    random_.indexes = {0, 0};
    Run(false);
    EXPECT_EQ(captured_.err,
              "[DdrOptimizer] Failed to calculate new pso value. Error: no bandwidth value to draw "
              "from\n"
              "[DdrOptimizer] Failed to init pso state.\n");
    EXPECT_TRUE(board_.applied.empty());
}

TEST_F(PsoSearchTest, AnErrorInAnUpdateEndsTheSearch) {
    state_.numIterate = 1;
    board_.perfs.push_back(Perf(2));
    ListInit(1);
    // A random source that is gone: the second draw of the update raises.
    class Failing final : public RandomSource {
    public:
        explicit Failing(RandomSource& inner) : inner_(inner) {}
        std::size_t Index(std::size_t first, std::size_t last) override {
            return inner_.Index(first, last);
        }
        double Canonical() override {
            if (draws_++ > 6) {
                throw std::runtime_error("no device");
            }
            return draws_ > 6 ? 0.0 : inner_.Canonical();
        }

    private:
        RandomSource& inner_;
        int draws_ = 0;
    } failing(random_);
    captured_ = test::Capture([&] {
        PsoSearch search(state_, {board_, log_, failing, &board_.stopFlag});
        EXPECT_FALSE(search.RunPso());
    });
    EXPECT_EQ(captured_.err,
              "[DdrOptimizer] Failed to calculate new pso value. Error: no device\n"
              "[DdrOptimizer] Get new qos conf fail.\n"
              "[DdrOptimizer] Failed to update pso. Error: no device\n"
              "[DdrOptimizer] Failed to run pso alg.\n");
}

TEST_F(PsoSearchTest, ABenchmarkWithoutSamplesMakesEveryCandidateUnacceptable) {
    board_.perfs = {PerfMap()};
    ListInit(4);
    Run(true);
    EXPECT_EQ(board_.runs, 5);
    EXPECT_THAT(captured_.err,
                testing::StartsWith("[DdrOptimizer] Failed to compare perf resuls. Error: no frame "
                                    "rate of isp\n"));
    EXPECT_THAT(Log(), HasSubstr("[DdrOptimizer] t-value  cpu : nan aic : nan imgp : nan isp : "
                                 "0.000000\n"));
}

}  // namespace
}  // namespace zarn
