#include "board/setup/scenario_parser.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <set>
#include <string>

#include "board/model/standard_events.h"
#include "board/state/observation.h"
#include "tests/support/temp_dir.h"

namespace zarn::board {
namespace {

std::unique_ptr<BoardState> Parsed(const std::string& text) {
    auto state = std::make_unique<BoardState>();
    const std::optional<std::string> reason = ParseScenario(text, *state);
    EXPECT_FALSE(reason.has_value()) << *reason;
    return state;
}

TEST(ParseScenario, AnEmptyOneIsAQuietBoardWithoutBounds) {
    const auto state = Parsed("{}");
    EXPECT_EQ(Observe(*state, 0).demands, PerMaster<double>{});
    EXPECT_EQ(state->scenario.deviceCount, 1U);
    for (const BusMaster& master : kMasters) {
        EXPECT_EQ(state->partitions[master.mpamid].low, 0U);
        EXPECT_EQ(state->partitions[master.mpamid].high, 51U);
        EXPECT_EQ(state->partitions[master.mpamid].hardlimit, 1U);
    }
    EXPECT_EQ(state->masters[17].mpamid, 10U);
    EXPECT_EQ(state->masters[17].priority, 5U);
}

TEST(ParseScenario, ReadsTheDemandOfAMaster) {
    const auto state = Parsed(R"({"masters": {"aic_dat": {"demand": 8000, "noise": 0.1,
        "phases": [[2500, 1], [1500, 1.5]],
        "burst": {"every_ms": 3000, "length_ms": 700, "add": -20}}}})");
    const MasterDemand& demand = state->scenario.demands[kAicDat];
    EXPECT_EQ(demand.base, 8000.0);
    EXPECT_EQ(demand.noise, 0.1);
    EXPECT_EQ(demand.phaseCount, 2U);
    EXPECT_EQ(demand.phases[1].lengthMs, 1500U);
    EXPECT_EQ(demand.phases[1].factor, 1.5);
    EXPECT_EQ(demand.burstEveryMs, 3000U);
    EXPECT_EQ(demand.burstLengthMs, 700U);
    EXPECT_EQ(demand.burstAdd, -20.0);
}

TEST(ParseScenario, ReadsTheSettingsABoardStartsWith) {
    const auto state = Parsed(R"({"masters": {
        "imgp_vpc": {"qos": {"bw_low": 2, "bw_high": 40, "hardlimit": 0, "priority": 6}},
        "cpu": {"qos": {"bw_high": 4, "priority": 3}}, "isp_vipe": {"qos": "unset"}}})");
    EXPECT_EQ(state->partitions[3].low, 2U);
    EXPECT_EQ(state->partitions[3].high, 40U);
    EXPECT_EQ(state->partitions[3].hardlimit, 0U);
    EXPECT_EQ(state->masters[2].priority, 6U);
    EXPECT_EQ(state->partitions[0].high, 4U);
    EXPECT_EQ(state->partitions[0].hardlimit, 1U);
    EXPECT_EQ(state->scenario.cpuPriority, 3U);
    EXPECT_EQ(state->partitions[10].high, 101U);
    EXPECT_EQ(state->masters[17].mpamid, 10U);
}

TEST(ParseScenario, ReadsDevicesEnginesAndBuffers) {
    const auto state = Parsed(R"({"devices": [0, 3], "ddr_type": 9,
        "ai_block": {"cores": 3, "codes": [0, 239]}, "load": {"aic": 50, "vpc": 100},
        "buffers": {"held": 2, "leak_every_ms": 100, "block_size": 1, "block_count": 3}})");
    EXPECT_EQ(state->scenario.deviceCount, 2U);
    EXPECT_EQ(state->scenario.devices[1], 3);
    EXPECT_EQ(state->scenario.ddrType, 9U);
    EXPECT_EQ(state->scenario.aiCoreCount, 3U);
    EXPECT_EQ(state->scenario.aiCoreCodes[1], 239);
    EXPECT_EQ(state->scenario.load.vpc, 100.0);
    const BufferPools& pools = state->scenario.buffers;
    EXPECT_EQ(pools.blockSize, 1U);
    EXPECT_EQ(pools.blockCount, 3U);
    ASSERT_EQ(pools.ownerCount, 2U);
    EXPECT_EQ(pools.owners[0].everyUs, 100000U);
    EXPECT_EQ(pools.owners[0].most, 3U);
    EXPECT_EQ(pools.owners[1].most, 2U);
}

TEST(ParseScenario, ReadsWhatTheCountersLack) {
    const auto state = Parsed(R"({"perf": {"not_supported": ["cycles", "iTLB-load-misses"]}})");
    EXPECT_EQ(state->scenario.unsupportedEvents,
              1U << static_cast<unsigned>(StandardEvent::Cycles) |
                  1U << static_cast<unsigned>(StandardEvent::CodeTlbLoadMisses));
    EXPECT_EQ(Parsed("{}")->scenario.unsupportedEvents, 0U);
}

TEST(ParseFaultPlan, AddsRulesBehindThoseOfTheScenario) {
    const auto state = Parsed(R"({"faults": [{"call": "*", "skip": 3, "times": 1, "code": -1}]})");
    EXPECT_EQ(ParseFaultPlan(R"({"faults": [{"call": "tovi_get_device_info", "device": 0,
        "main": 13, "sub": 1, "key": 9, "size": 40}]})",
                             state->faults),
              std::nullopt);
    ASSERT_EQ(state->faults.count, 2U);
    EXPECT_EQ(state->faults.rules[0].call, Call::kAny);
    EXPECT_EQ(state->faults.rules[0].skip, 3U);
    EXPECT_EQ(state->faults.rules[0].times, 1U);
    EXPECT_EQ(state->faults.rules[0].code, -1);
    EXPECT_EQ(state->faults.rules[0].mainCommand, FaultRule::kAnyValue);
    const FaultRule& rule = state->faults.rules[1];
    EXPECT_EQ(rule.call, Call::kGetDeviceInfo);
    EXPECT_EQ(rule.device, 0U);
    EXPECT_EQ(rule.mainCommand, 13U);
    EXPECT_EQ(rule.subCommand, 1U);
    EXPECT_EQ(rule.key, 9U);
    EXPECT_EQ(rule.answerSize, 40U);
    EXPECT_EQ(rule.times, FaultRule::kAnyValue);
}

struct BadText {
    const char* text;
    const char* reason;
};

class ParseScenarioRefuses : public testing::TestWithParam<BadText> {};

TEST_P(ParseScenarioRefuses, AndSaysWhereAndWhatItExpected) {
    BoardState state;
    EXPECT_EQ(ParseScenario(GetParam().text, state).value_or("taken"), GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ParseScenarioRefuses,
    testing::Values(
        BadText{"", "no JSON document"}, BadText{"{", "no JSON document"},
        BadText{"[]", "file: expected an object"}, BadText{R"({"a": 1})", "a: unknown"},
        BadText{R"({"description": 1})", "description: expected a text"},
        BadText{R"({"masters": []})", "masters: expected an object"},
        BadText{R"({"masters": {"gpu": {}}})", "masters.gpu: unknown"},
        BadText{R"({"masters": {"cpu": {"demand": -1}}})",
                "masters.cpu.demand: expected a number from 0 to 1e+06"},
        BadText{R"({"masters": {"cpu": {"noise": "x"}}})",
                "masters.cpu.noise: expected a number from 0 to 1"},
        BadText{R"({"masters": {"cpu": {"phases": [[0, 1]]}}})",
                "masters.cpu.phases: expected pairs of milliseconds and factor"},
        BadText{R"({"masters": {"cpu": {"phases": [1,2,3,4,5,6,7,8,9]}}})",
                "masters.cpu.phases: expected a list of at most 8 entries"},
        BadText{R"({"masters": {"cpu": {"burst": {"every_ms": 10, "length_ms": 11}}}})",
                "masters.cpu.burst.length_ms: expected a whole number from 0 to 10"},
        BadText{R"({"masters": {"cpu": {"qos": "none"}}})", "masters.cpu.qos: expected an object"},
        BadText{R"({"masters": {"cpu": {"qos": {"bw_high": 52}}}})",
                "masters.cpu.qos.bw_high: expected a whole number from 0 to 51"},
        BadText{R"({"devices": [-1]})", "devices: expected device ids"},
        BadText{R"({"perf": {"not_supported": ["page-faults"]}})",
                "perf.not_supported: expected names of counters"},
        BadText{R"({"perf": {"not_supported": [1]}})",
                "perf.not_supported: expected names of counters"},
        BadText{R"({"perf": {"unsupported": []}})", "perf.unsupported: unknown"},
        BadText{R"({"ai_block": {"cores": 33}})",
                "ai_block.cores: expected a whole number from 0 to 32"},
        BadText{R"({"ai_block": {"cores": 1, "codes": [256]}})",
                "ai_block.codes: expected codes from 0 to 255"},
        BadText{R"({"ai_block": {"cores": 1, "codes": [0, 0]}})",
                "ai_block.codes: expected a list of at most 1 entries"},
        BadText{R"({"load": {"aic": 101}})", "load.aic: expected a number from 0 to 100"},
        BadText{R"({"faults": [{"code": 1}]})",
                "faults[0].call: expected the name of a library call or *"},
        BadText{R"({"faults": [{"call": "*"}]})",
                "faults[0]: expected either a code other than 0 or a size"},
        BadText{R"({"faults": [{"call": "*", "code": 0}]})",
                "faults[0]: expected either a code other than 0 or a size"},
        BadText{R"({"faults": [{"call": "kesBuffGetInfo", "code": 1, "size": 1}]})",
                "faults[0]: expected either a code other than 0 or a size"},
        BadText{R"({"faults": [{"call": "kesBuffCfg", "size": 1}]})",
                "faults[0].size: expected a call that answers a size"},
        BadText{R"({"faults": [{"call": "*", "code": 1.5}]})",
                "faults[0].code: expected a whole number of 32 bits"},
        BadText{R"({"faults": [{"call": "*", "code": 1, "sub": 256}]})",
                "faults[0].sub: expected a whole number from 0 to 255"}));

TEST(ParseFaultPlan, RefusesAFileWithoutRules) {
    FaultPlan plan;
    EXPECT_EQ(ParseFaultPlan("{}", plan), "faults: expected a list of rules");
    EXPECT_EQ(ParseFaultPlan(R"({"faults": [], "seed": 1})", plan), "seed: unknown");
}

// What each delivered scenario promises by its name.
class Delivered : public testing::Test {
protected:
    static std::unique_ptr<BoardState> Load(const std::string& name) {
        return Parsed(
            test::ReadText(std::string(ZARN_SOURCE_DIR) + "/board/scenarios/" + name + ".json"));
    }

    // Mean MB/s over a minute of the board.
    static PerMaster<double> MeanGrants(const BoardState& state) {
        PerMaster<double> mean{};
        for (std::uint64_t tick = 0; tick < 600; ++tick) {
            const PerMaster<double> grants = Observe(state, tick * kTickMs).grants;
            for (std::size_t i = 0; i < kMasterCount; ++i) {
                mean[i] += grants[i] / 600.0;
            }
        }
        return mean;
    }
};

TEST_F(Delivered, EveryScenarioIsTaken) {
    std::set<std::string> names;
    const std::string directory = std::string(ZARN_SOURCE_DIR) + "/board/scenarios";
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        names.insert(entry.path().stem());
        Load(entry.path().stem());
    }
    EXPECT_TRUE(names.count("camera_pipeline") == 1 && names.count("idle") == 1);
}

TEST_F(Delivered, TheThrottledCpuGetsLessAndTheOthersTheSame) {
    const PerMaster<double> free = MeanGrants(*Load("camera_pipeline"));
    const PerMaster<double> throttled = MeanGrants(*Load("throttled_cpu"));
    EXPECT_NEAR(throttled[0], 4096.0, 1.0);
    EXPECT_GT(free[0], 8000.0);
    for (std::size_t i = 1; i < kMasterCount; ++i) {
        EXPECT_NEAR(throttled[i], free[i], free[i] * 0.01) << kMasters[i].name;
    }
}

TEST_F(Delivered, OnTheHungryBoardTheCpuWinsByALowBound) {
    const auto state = Load("memory_hungry");
    const double before = MeanGrants(*state)[0];
    state->partitions[0].low = 16;
    EXPECT_GT(MeanGrants(*state)[0], before * 1.2);
    EXPECT_LT(before, 12000.0);
}

TEST_F(Delivered, NeverConfiguredMastersCarryTheMark) {
    const auto state = Load("never_configured");
    for (const BusMaster& master : kMasters) {
        EXPECT_EQ(state->partitions[master.mpamid].high, master.mpamid == 3 ? 40U : 101U);
    }
}

TEST_F(Delivered, SameScenarioSeedAndTimesGiveTheSameNumbers) {
    const auto one = Load("ai_burst");
    const auto two = Load("ai_burst");
    const auto other = Load("ai_burst");
    other->seed = 2;
    EXPECT_EQ(MeanGrants(*one), MeanGrants(*two));
    EXPECT_NE(MeanGrants(*one), MeanGrants(*other));
}

}  // namespace
}  // namespace zarn::board
