#include "board/perf/sched_sampling.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "board/server/function_files.h"
#include "board/setup/scenario_parser.h"
#include "board/state/sched_tasks.h"

namespace zarn::board {
namespace {

using testing::ElementsAre;

constexpr std::uint64_t kMapped = 0x400000;

// Two tasks on core 1, one on core 2, nobody on the others.
class SchedSamplingTest : public testing::Test {
protected:
    SchedSamplingTest() {
        EXPECT_EQ(ParseScenario(R"({"sched": {"cores": 4, "processes": [
            {"name": "planner", "affinity": [1], "period_us": 10000, "run_us": 4000, "jitter": 0.3,
             "stacks": [{"share": 3, "calls": ["loop", "plan", "expand"]},
                        {"share": 0, "calls": ["never"]}, {"share": 1, "calls": ["loop", "send"]}],
             "threads": [{"name": "helper", "period_us": 7000, "run_us": 2000}]},
            {"name": "plain", "affinity": [2], "run_us": 1000}]}})",
                                *state_),
                  std::nullopt);
        state_->startNs = 7000000000;
        state_->seed = 3;
    }

    [[nodiscard]] std::vector<CycleSample> Samples(std::uint32_t cores, std::uint32_t frequency,
                                                   const SchedSpan& span) const {
        return SchedSamples(*state_, {cores, frequency, span});
    }

    // The names of a sample's functions, the innermost first.
    [[nodiscard]] std::string Calls(const CycleSample& sample) const {
        std::string text;
        for (const std::uint64_t address : sample.chain) {
            const std::uint64_t function = (address - kMapped - kFirstFunction) / kFunctionSize;
            EXPECT_LT(function, state_->scenario.sched.functionCount);
            text += std::string(text.empty() ? "" : " ") +
                    state_->scenario.sched.functions[function].data();
        }
        return text;
    }

    std::unique_ptr<BoardState> state_ = std::make_unique<BoardState>();
};

TEST_F(SchedSamplingTest, NamesTheTaskThatRunsAtEachMoment) {
    const SchedSpan span{1500000, 1700000};
    const auto samples = Samples(~0U, 1000, span);
    std::size_t next = 0;
    for (std::uint64_t timeUs = span.fromUs; timeUs < span.toUs; timeUs += 1000) {
        const auto running = RunningAt(state_->scenario.sched, state_->seed, timeUs);
        for (std::uint32_t core = 0; core < running.size(); ++core) {
            if (running[core] == SchedEvent::kIdleTask) {
                continue;
            }
            ASSERT_LT(next, samples.size());
            const CycleSample& sample = samples[next++];
            EXPECT_EQ(sample.core, core);
            EXPECT_EQ(sample.timeNs, 7000000000 + timeUs * 1000);
            EXPECT_EQ(sample.tid, SchedTid(*state_, running[core]));
            EXPECT_EQ(sample.pid, SchedPid(*state_, running[core]));
            EXPECT_EQ(sample.cycles, 2000000U);
        }
    }
    EXPECT_EQ(next, samples.size());
    EXPECT_GT(next, 200U);
}

TEST_F(SchedSamplingTest, ATimeIsSampledAlikeWheneverItIs) {
    const auto whole = Samples(~0U, 999, {1000000, 1300000});
    const auto part = Samples(~0U, 999, {1100000, 1200000});
    ASSERT_FALSE(part.empty());
    const auto begin = std::find_if(whole.begin(), whole.end(), [&](const CycleSample& sample) {
        return sample.timeNs == part.front().timeNs;
    });
    ASSERT_LE(part.size(), static_cast<std::size_t>(whole.end() - begin));
    for (std::size_t i = 0; i < part.size(); ++i) {
        EXPECT_EQ(begin[static_cast<std::ptrdiff_t>(i)].timeNs, part[i].timeNs);
        EXPECT_EQ(begin[static_cast<std::ptrdiff_t>(i)].chain, part[i].chain);
    }
}

TEST_F(SchedSamplingTest, LooksAtTheCoresOfTheTargetAlone) {
    for (const CycleSample& sample : Samples(4, 1000, {0, 100000})) {
        EXPECT_EQ(sample.core, 2U);
    }
    EXPECT_EQ(Samples(4, 1000, {1000, 101000}).size(), 100U);
    EXPECT_TRUE(Samples(9, 1000, {0, 100000}).empty());
    EXPECT_TRUE(Samples(~0U, 1000, {50000, 50000}).empty());
}

TEST_F(SchedSamplingTest, StacksComeByTheirShares) {
    std::map<std::string, double> found;
    double sum = 0;
    for (const CycleSample& sample : Samples(2, 10000, {0, 2000000})) {
        ++found[Calls(sample)];
        ++sum;
    }
    ASSERT_EQ(found.size(), 2U);
    ASSERT_GT(sum, 10000);
    EXPECT_NEAR(found["expand plan loop"] / sum, 0.75, 0.02);
    EXPECT_NEAR(found["send loop"] / sum, 0.25, 0.02);
}

TEST_F(SchedSamplingTest, ATaskWithoutStacksIsInMain) {
    for (const CycleSample& sample : Samples(4, 1000, {0, 100000})) {
        EXPECT_EQ(Calls(sample), "main");
    }
}

TEST_F(SchedSamplingTest, ProcessesHaveTheirFunctionsAndThreadsTheirNames) {
    const auto processes = SchedSampledProcesses(*state_, "/board");
    ASSERT_EQ(processes.size(), 3U);
    EXPECT_EQ(processes[0].name, "planner");
    EXPECT_EQ(processes[0].path, "/board/tasks/planner");
    EXPECT_EQ(processes[0].start, kMapped);
    EXPECT_EQ(processes[0].tid, 0U);
    EXPECT_EQ(processes[1].name, "helper");
    EXPECT_EQ(processes[1].pid, processes[0].pid);
    EXPECT_EQ(processes[1].tid, SchedTid(*state_, 1));
    EXPECT_EQ(processes[1].size, 0U);
    EXPECT_EQ(processes[2].path, "/board/tasks/plain");
}

}  // namespace
}  // namespace zarn::board
