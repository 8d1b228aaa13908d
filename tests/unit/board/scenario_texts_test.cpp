#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <map>
#include <memory>
#include <numeric>
#include <string>

#include "board/model/buffers.h"
#include "board/model/event_scheduler.h"
#include "board/model/masters.h"
#include "board/model/topdown.h"
#include "board/setup/scenario_parser.h"
#include "board/state/cpu_observation.h"
#include "board/state/observation.h"
#include "foundation/json.h"
#include "tests/support/temp_dir.h"

// The scenarios say in words what the memory model makes of them.
namespace zarn::board {
namespace {

using testing::HasSubstr;

// A scenario over ten minutes of three seeds, in percent of the memory's peak.
class Told {
public:
    explicit Told(const std::string& name) {
        const std::string text =
            test::ReadText(ZARN_SOURCE_DIR "/board/scenarios/" + name + ".json");
        JsonDocument document;
        EXPECT_TRUE(ParseJson(text, document));
        description = document["description"].GetString();
        const auto state = std::make_unique<BoardState>();
        EXPECT_FALSE(ParseScenario(text, *state));
        constexpr std::uint64_t kTicks = 6000;
        constexpr std::uint64_t kSeeds = 3;
        for (state->seed = 1; state->seed <= kSeeds; ++state->seed) {
            for (std::uint64_t tick = 0; tick < kTicks; ++tick) {
                const MemoryMoment moment = Observe(*state, tick * kTickMs);
                for (std::size_t i = 0; i < kMasterCount; ++i) {
                    demands_[i] += moment.demands[i] / (kTicks * kSeeds);
                    grants_[i] += moment.grants[i] / (kTicks * kSeeds);
                }
            }
        }
    }

    // The mean of what these masters ask for, and of what they get, as it is written.
    [[nodiscard]] std::string Asked(std::initializer_list<std::size_t> masters) const {
        return Percent(demands_, masters);
    }
    [[nodiscard]] std::string Given(std::initializer_list<std::size_t> masters) const {
        return Percent(grants_, masters);
    }

    std::string description;

private:
    static std::string Percent(const PerMaster<double>& means,
                               std::initializer_list<std::size_t> masters) {
        double sum = 0.0;
        for (const std::size_t master : masters) {
            sum += means[master];
        }
        return std::to_string(std::lround(sum / (kPeakGb * 1024.0) * 100.0));
    }

    PerMaster<double> demands_{};
    PerMaster<double> grants_{};
};

constexpr std::initializer_list<std::size_t> kAll{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
constexpr std::initializer_list<std::size_t> kImage{kImgpVenc, kImgpVdec, kImgpVpc};
constexpr std::initializer_list<std::size_t> kAi{kAicDat, kAicDat + 1};

TEST(ScenarioTexts, SayHowFullTheMemoryIs) {
    const Told camera("camera_pipeline");
    EXPECT_THAT(camera.description,
                HasSubstr("the memory used to " + camera.Asked(kAll) + " percent"));
    EXPECT_EQ(camera.Given(kAll), camera.Asked(kAll));
    const Told idle("idle");
    EXPECT_THAT(idle.description, HasSubstr("the memory used to " + idle.Asked(kAll) + " percent"));
    const Told burst("ai_burst");
    EXPECT_THAT(burst.description,
                HasSubstr("all masters ask for " + burst.Asked(kAll) +
                          " percent of the memory and get " + burst.Given(kAll)));
}

TEST(ScenarioTexts, SayWhoAsksForWhat) {
    const Told flood("image_flood");
    EXPECT_THAT(flood.description,
                HasSubstr("the image block asks for " + flood.Asked(kImage) +
                          " percent of the memory, the AI block for " + flood.Asked(kAi) +
                          ", all masters for " + flood.Asked(kAll)));
    const Told hungry("memory_hungry");
    EXPECT_THAT(hungry.description,
                HasSubstr("the AI block asks for " + hungry.Asked(kAi) +
                          " percent of the memory, the image block for " + hungry.Asked(kImage) +
                          ", all masters for " + hungry.Asked(kAll)));
}

TEST(ScenarioTexts, SayWhatTheCpuIsHeldAt) {
    const Told throttled("throttled_cpu");
    EXPECT_THAT(throttled.description, HasSubstr("the CPU held at 4 GB/s"));
    EXPECT_EQ(throttled.Given({0}), std::to_string(std::lround(4.0 / kPeakGb * 100.0)));
}

// What the events of a scenario come to in a minute.
class ToldEvents {
public:
    explicit ToldEvents(const std::string& name) {
        EXPECT_FALSE(ParseScenario(
            test::ReadText(ZARN_SOURCE_DIR "/board/scenarios/" + name + ".json"), state_));
        const EventPlan& plan = state_.scenario.events;
        for (std::uint32_t kind = 0; kind < plan.kindCount; ++kind) {
            ratePerS += plan.kinds[kind].ratePerS;
        }
        EventScheduler scheduler(plan, 1, 0);
        PerEventList<std::array<std::uint64_t, kMaxEventKinds>> before{};
        for (std::uint64_t second = 1; second <= 60; ++second) {
            scheduler.Advance(second * 1000000, [this](std::uint64_t tickMs) {
                return ServedShare(state_, Observe(state_, tickMs), kAicDat);
            });
            for (std::size_t list = 0; list < kEventLists; ++list) {
                const auto& counts = scheduler.Late(static_cast<EventList>(list)).ofKind;
                mostInASecond = std::max(mostInASecond, Sum(counts) - Sum(before[list]));
                before[list] = counts;
            }
        }
        lateRuns = scheduler.Late(EventList::kRun).ofKind;
        meanWaitUs = scheduler.WaitTimes().MeanUs();
        failures = scheduler.Cores()[0].failures + scheduler.Cores()[1].failures +
                   scheduler.Cores()[2].failures;
    }

    // The program and the number of the thread with most late runs, and their share of all.
    [[nodiscard]] std::string Slowest() const {
        const auto most = std::max_element(lateRuns.begin(), lateRuns.end()) - lateRuns.begin();
        const EventPlan& plan = state_.scenario.events;
        const EventThread& thread = plan.threads[plan.kinds[static_cast<std::size_t>(most)].thread];
        return state_.scenario.programs.plans[plan.groups[thread.group].program].name.data() +
               ("_" + std::to_string(thread.number));
    }
    [[nodiscard]] std::uint64_t LateRuns() const { return Sum(lateRuns); }

    double ratePerS = 0.0;
    std::uint64_t mostInASecond = 0;  // events over the threshold of one list
    std::array<std::uint64_t, kMaxEventKinds> lateRuns{};
    std::uint64_t meanWaitUs = 0;
    std::uint64_t failures = 0;

private:
    static std::uint64_t Sum(const std::array<std::uint64_t, kMaxEventKinds>& counts) {
        return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
    }

    BoardState state_;
};

TEST(ScenarioTexts, SayWhatTheDevicesDo) {
    const Told healthy("device_healthy");
    EXPECT_THAT(healthy.description, HasSubstr("An AI block with all the memory it asks for"));
    EXPECT_EQ(healthy.Given(kAi), healthy.Asked(kAi));
    const ToldEvents events("device_healthy");
    EXPECT_THAT(
        healthy.description,
        HasSubstr("with " + std::to_string(std::lround(events.ratePerS)) + " events per second"));
    EXPECT_LT(events.LateRuns(), 10U);
    const Told trouble("device_trouble");
    EXPECT_THAT(trouble.description, HasSubstr("the AI block held at 6 GB/s"));
    EXPECT_EQ(trouble.Given(kAi), std::to_string(std::lround(6.0 / kPeakGb * 100.0)));
    const ToldEvents late("device_trouble");
    EXPECT_EQ(late.ratePerS, events.ratePerS);
    EXPECT_THAT(trouble.description, HasSubstr(late.Slowest() + ", four times as slow"));
    EXPECT_GT(late.LateRuns(), 100 * (events.LateRuns() + 1));
    EXPECT_GT(late.meanWaitUs, 3 * events.meanWaitUs);
    EXPECT_EQ(late.failures, 0U);
}

// Who looks once in a second misses none of them.
TEST(ScenarioTexts, TheListsOfLateEventsHoldThoseOfASecond) {
    for (const char* name : {"device_healthy", "device_trouble"}) {
        EXPECT_LT(ToldEvents(name).mostInASecond, LateEvents::kKept) << name;
    }
}

// The names of those who hold buffers too long in the first minute, as a recording from the board's
// start finds them: of how many of their buffers.
std::map<std::string, std::size_t> LateOwners(const std::string& name) {
    BoardState state;
    EXPECT_FALSE(
        ParseScenario(test::ReadText(ZARN_SOURCE_DIR "/board/scenarios/" + name + ".json"), state));
    OverdueWalk walk(state.scenario.buffers, 1, {0, 60000000, 10000, 5000});
    std::map<std::string, std::size_t> late;
    for (OverdueBuffer buffer; walk.Next(buffer);) {
        const std::uint32_t holder = state.scenario.buffers.owners[buffer.owner].holder;
        ++late[state.scenario.programs.plans.at(holder).name.data()];
    }
    return late;
}

TEST(ScenarioTexts, SayWhoKeepsBuffers) {
    EXPECT_THAT(LateOwners("device_healthy"), testing::IsEmpty());
    // One in twenty of forty a second, and the two held all along.
    const auto kept =
        testing::Pair("planner", testing::AllOf(testing::Ge(119U), testing::Le(123U)));
    EXPECT_THAT(LateOwners("device_trouble"), testing::ElementsAre(kept));
    EXPECT_THAT(LateOwners("stuck_buffers"),
                testing::ElementsAre(kept, testing::Pair("recorder", testing::Gt(20U))));
}

// What a scenario's first program does in ten seconds of a seed.
struct Worked {
    Worked(const std::string& name, std::uint64_t seed) {
        const auto state = std::make_unique<BoardState>();
        EXPECT_FALSE(ParseScenario(
            test::ReadText(ZARN_SOURCE_DIR "/board/scenarios/" + name + ".json"), *state));
        state->seed = seed;
        const auto work = WorkOf(*state, {0, 1}, {3000, 13000});
        topdown = TopdownOf(CountsOf(*state, work));
        const PerFunction cycles = CyclesByFunction(*state, work)[0];
        const double whole = std::accumulate(cycles.begin(), cycles.end(), 0.0);
        for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
            shares[kWorkFunctions[i].name] = cycles[i] / whole;
        }
    }
    Topdown topdown;
    std::map<std::string, double> shares;
};

TEST(ScenarioTexts, SayWhatHoldsTheFrameWorkerUp) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        const Worked served("frame_worker", seed);
        const Worked throttled("frame_worker_throttled", seed);
        EXPECT_EQ(served.topdown.bottleneck, "Retiring");
        EXPECT_EQ(throttled.topdown.bottleneck, "Backend_Bound.Memory_Bound.DRAM_Bound");
        // The functions that wait most grow by much, those that wait least shrink.
        EXPECT_GT(throttled.shares.at("copy_frame"), 1.5 * served.shares.at("copy_frame"));
        EXPECT_GT(throttled.shares.at("filter_image"), 1.1 * served.shares.at("filter_image"));
        EXPECT_LT(throttled.shares.at("decode_frame"), 0.95 * served.shares.at("decode_frame"));
    }
}

TEST(ScenarioTexts, SayWhatTheSecondVersionDoesMore) {
    const Worked first("frame_worker", 1);
    const Worked second("frame_worker_2", 1);
    EXPECT_GT(second.shares.at("match_features"), 1.5 * first.shares.at("match_features"));
    EXPECT_EQ(first.shares.at("sort_tracks"), 0.0);
    EXPECT_GT(second.shares.at("sort_tracks"), 0.05);
}

}  // namespace
}  // namespace zarn::board
