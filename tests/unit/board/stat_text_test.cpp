#include "board/perf/stat_text.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "board/model/topdown.h"
#include "board/setup/scenario_parser.h"
#include "collectors/profiling/topdown/topdown_analysis.h"
#include "collectors/profiling/topdown/topdown_stat_parser.h"
#include "foundation/text.h"
#include "tests/support/labelled_pipelines.h"

namespace zarn::board {
namespace {

using Event = CpuEvent;

// All events of the processor, each in a group of its own.
PerfCall AllEvents() {
    std::string events;
    for (const std::uint32_t code : kCpuEventCodes) {
        std::ostringstream text;
        text << "{r" << std::hex << code << "},";
        events += text.str();
    }
    return ParseStatCall({"-x;", "-I", "2000", "-a", "-e", events});
}

// A board in the test's own memory.
class Counters : public testing::Test {
protected:
    void Have(const std::string& masters, const std::string& pipeline, std::uint64_t seed = 1) {
        state_ = std::make_unique<BoardState>();
        const std::string text =
            "{\"masters\": {" + masters +
            "}, \"programs\": [{\"name\": \"busy\", \"pipeline\": {\"load\": 0.9, " + pipeline +
            "}}, {\"name\": \"lazy\"}]}";
        ASSERT_EQ(ParseScenario(text, *state_), std::nullopt);
        state_->seed = seed;
    }

    [[nodiscard]] std::string Rows(const PerfCall& call, const CpuTarget& target,
                                   const BoardSpan& span) const {
        return StatRows(*state_, call, target, 1000, span);
    }

    // Five seconds in intervals of two.
    [[nodiscard]] std::string FiveSeconds(const CpuTarget& target) const {
        return Rows(AllEvents(), target, {1000, 3000}) + Rows(AllEvents(), target, {3000, 5000}) +
               Rows(AllEvents(), target, {5000, 6002});
    }

    // What the board's counts say without counters.
    [[nodiscard]] Topdown Truth(const CpuTarget& target) const {
        return TopdownOf(CountsOf(*state_, WorkOf(*state_, target, {1000, 6002})));
    }

    std::unique_ptr<BoardState> state_ = std::make_unique<BoardState>();
};

// Adds up the rows as a reader of them does, in single precision.
CpuCounts SumOf(const std::string& rows) {
    std::array<float, kCpuEventCount> sums{};
    std::istringstream lines(rows);
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> fields;
        SplitString(line, ";", fields);
        EXPECT_EQ(fields.size(), 5U) << line;
        const auto event = EventOfCode(
            static_cast<std::uint32_t>(std::strtoul(fields[2].c_str() + 1, nullptr, 16)));
        EXPECT_TRUE(event.has_value()) << line;
        sums[static_cast<std::size_t>(*event)] += std::strtof(fields[1].c_str(), nullptr);
    }
    CpuCounts counts;
    for (std::size_t i = 0; i < kCpuEventCount; ++i) {
        counts[static_cast<Event>(i)] = static_cast<double>(sums[i]);
    }
    return counts;
}

constexpr const char* kTopMetrics[] = {"Frontend_Bound", "Bad_Speculation", "Retiring",
                                       "Backend_Bound"};

class LabelledCounters : public Counters,
                         public testing::WithParamInterface<test::LabelledPipeline> {};

TEST_P(LabelledCounters, SayWhatThePipelineIsHeldUpBy) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        Have(GetParam().masters, GetParam().pipeline, seed);
        for (const CpuTarget& target : {CpuTarget{0, 1}, CpuTarget{1, 0}}) {
            TopdownTotals totals;
            std::istringstream lines(FiveSeconds(target));
            for (std::string line; std::getline(lines, line);) {
                totals.Add(line);
            }
            TopdownData counted;
            counted.events = totals.Events();
            AnalyzeMetrics(counted);
            EXPECT_EQ(counted.events.size(), kCpuEventCount);
            const Topdown truth = Truth(target);
            EXPECT_EQ(counted.bottleneck, GetParam().bottleneck) << "seed " << seed;
            EXPECT_EQ(truth.bottleneck, GetParam().bottleneck) << "seed " << seed;
            for (const char* name : kTopMetrics) {
                EXPECT_NEAR(counted.metrics.at(name), truth.metrics.at(name), 0.01)
                    << name << ", seed " << seed;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Pipelines, LabelledCounters, testing::ValuesIn(test::kLabelledPipelines));

TEST_F(Counters, HaveARowForEachEventInTheOrderAsked) {
    Have("", R"("retiring": 0.25)");
    const PerfCall call = ParseStatCall({"-x;", "-I", "2000", "-a", "-e", "{r11},r8:u,{r9999}"});
    const std::string rows = Rows(call, {2, 0}, {1000, 3000});
    // A core that does nothing but the system's work, counted without turns: for 2 s, 2 % of the
    // cycles.
    EXPECT_EQ(rows.substr(0, 8), "     2.0");
    std::vector<std::vector<std::string>> fields;
    std::istringstream lines(rows);
    for (std::string line; std::getline(lines, line);) {
        fields.emplace_back();
        SplitString(line, ";", fields.back());
        fields.back().erase(fields.back().begin());
    }
    ASSERT_EQ(fields.size(), 3U);
    const double cycles = CountsOf(*state_, WorkOf(*state_, {2, 0}, {1000, 3000}))[Event::Cycles];
    EXPECT_NEAR(cycles, 8e7, 8e5);
    EXPECT_EQ(fields[0], (std::vector<std::string>{std::to_string(std::llround(cycles)), "r11",
                                                   "2000000000", "100.00"}));
    EXPECT_EQ(fields[1][1], "r8:u");
    EXPECT_EQ(fields[2], (std::vector<std::string>{"<not supported>", "r9999", "0", "100.00"}));
}

TEST_F(Counters, LeaveTheTimeOutWithoutIntervals) {
    Have("", R"("retiring": 0.25)");
    const PerfCall call = ParseStatCall({"-x,", "-p", "1", "-e", "r9999"});
    EXPECT_EQ(Rows(call, {0, 1}, {1000, 3000}), "<not supported>,,r9999,0,100.00,,\n");
}

TEST_F(Counters, TakeTurnsWhereTheyAreTooFew) {
    Have("", R"("retiring": 0.25)");
    const std::string rows = Rows(AllEvents(), {1, 0}, {1000, 3000});
    std::istringstream lines(rows);
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        std::vector<std::string> fields;
        SplitString(line, ";", fields);
        const double percent = std::strtod(fields[4].c_str(), nullptr);
        EXPECT_NEAR(percent, 600.0 / 35, 0.18) << line;
        EXPECT_NEAR(std::strtod(fields[3].c_str(), nullptr), 2e7 * percent, 1.1e5) << line;
    }
    EXPECT_EQ(count, 35U);
}

TEST_F(Counters, CountNothingOfAnIdleProcess) {
    Have("", R"("retiring": 0.25)");
    const PerfCall call = ParseStatCall({"-x;", "-p", "1", "-e", "{r11}"});
    EXPECT_EQ(Rows(call, {0, 2}, {1000, 3000}), "<not counted>;;r11;0;100.00;;\n");
    EXPECT_EQ(Rows(call, {0, 0}, {1000, 3000}), "<not counted>;;r11;0;100.00;;\n");
}

TEST_F(Counters, AreTheSameBytesForTheSameSeedAndTime) {
    Have("", R"("retiring": 0.25)", 7);
    const std::string rows = FiveSeconds({1, 0});
    EXPECT_EQ(FiveSeconds({1, 0}), rows);
    Have("", R"("retiring": 0.25)", 8);
    EXPECT_NE(FiveSeconds({1, 0}), rows);
}

TEST_F(Counters, NeverRefillMoreThanTheyAskFor) {
    // Every access is refilled, every miss goes to the DDR, all that is done is retired.
    Have(
        "",
        R"("itlb_near": 0, "icache_near": 0, "l1_open": 0, "bad_speculation": 0, "fetch_latency": 1, "nuke": 1)");
    for (std::uint64_t timeMs = 1000; timeMs < 11000; timeMs += 100) {
        const CpuCounts counts = SumOf(Rows(AllEvents(), {0, 1}, {timeMs, timeMs + 100}));
        EXPECT_LE(counts[Event::L2iRefill], counts[Event::L2iAccess]);
        EXPECT_LE(counts[Event::L2iTlbRefill], counts[Event::L2iTlbAccess]);
        EXPECT_LE(counts[Event::L2MissOpen], counts[Event::L1MissOpen]);
        EXPECT_LE(counts[Event::InstRetired], counts[Event::InstSpec]);
        EXPECT_LE(counts[Event::LongFetchBubble], counts[Event::FetchBubble]);
        EXPECT_LE(counts[Event::NukeFlush], counts[Event::Flush]);
    }
}

TEST_F(Counters, LookAtProcessesBeforeCores) {
    Have("", R"("retiring": 0.25)");
    const CpuTarget processes = TargetOf(*state_, ParseStatCall({"-p", "1", "-C", "1", "-a"}), 2);
    EXPECT_EQ(processes.cores, 0U);
    EXPECT_EQ(processes.programs, 2U);
    EXPECT_EQ(TargetOf(*state_, ParseStatCall({"-C", "1", "-a"}), 0).cores, 2U);
    EXPECT_EQ(TargetOf(*state_, ParseStatCall({"-a"}), 0).cores, 15U);
}

TEST(StatHead, IsACommentAndAnEmptyLine) {
    EXPECT_EQ(StatHead("Sun Nov 22 10:32:29 2026"), "# started on Sun Nov 22 10:32:29 2026\n\n");
}

}  // namespace
}  // namespace zarn::board
