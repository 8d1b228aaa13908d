#include "optimizer/options/pso_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/unit/optimizer/options/options_fixture.h"

namespace zarn {
namespace {

using test::AutoConfig;
using test::OptionsRun;
using test::PsoConf;
using test::ReadOptions;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kEnd = "[DdrOptimizer] Failed to parse param settings of pso!\n";
constexpr const char* kAllParams =
    "'psoParams': {'numSize': 3, 'perTime': 4, 'numIterate': 5, 'w_v': 0.1, 'w_p': 0.2, 'w_g': "
    "0.3}";
constexpr const char* kAllIndexes =
    "'psoIndexs': {'beliefProb': 0.5, 'aiWorseRate': 0.25, 'camFpsBound': 30}";

std::string Whole(const std::string& params = kAllParams,
                  const std::string& indexes = kAllIndexes) {
    return AutoConfig(PsoConf(params + "," + indexes));
}

// A configuration in which aic has this pair as its space, or velocity, bounds.
std::string WithSpace(const std::string& pair) {
    return AutoConfig("'psoSpaceBounds': {'aic': " + pair +
                      ", 'cpu': [0, 51], 'imgp': [4, 30]}, 'psoVelBounds': {'aic': [-20, 20],"
                      "'cpu': [-10, 10], 'imgp': [-5, 5]}," +
                      kAllParams + "," + kAllIndexes);
}

std::string WithVelocity(const std::string& pair) {
    return AutoConfig(
        "'psoSpaceBounds': {'aic': [0, 4], 'cpu': [0, 51], 'imgp': [4, 30]},"
        "'psoVelBounds': {'aic': " +
        pair + ", 'cpu': [-10, 10], 'imgp': [-5, 5]}," + kAllParams + "," + kAllIndexes);
}

TEST(PsoOptionsTest, ReadsEverySetting) {
    const OptionsRun run = ReadOptions(Whole());
    const PsoState& state = run.settings.psoState;
    EXPECT_TRUE(run.ok);
    EXPECT_EQ(run.captured.err, "");
    EXPECT_EQ(state.numSize, 3);
    EXPECT_EQ(state.perTime, 4);
    EXPECT_EQ(state.numIterate, 5);
    EXPECT_EQ(state.w_v, double{0.1F}) << "numbers pass through single precision";
    EXPECT_EQ(state.w_p, double{0.2F});
    EXPECT_EQ(state.w_g, double{0.3F});
    EXPECT_EQ(state.beliefProb, 0.5);
    EXPECT_EQ(state.aiWorseRate, 0.25);
    EXPECT_EQ(state.camFpsBound, 30);
    EXPECT_EQ(state.psoVelBounds.at("imgp").low, -5);
    EXPECT_EQ(state.psoVelBounds.at("imgp").up, 5);
    EXPECT_TRUE(state.psoVelBounds.at("imgp").values.empty());
    EXPECT_THAT(state.psoSpaceBounds.at("aic").values, ElementsAre(10, 12, 14, 16, 18));
}

TEST(PsoOptionsTest, WithoutParamsAndIndexesTheDefaultsStay) {
    const OptionsRun run = ReadOptions(AutoConfig(PsoConf()));
    const PsoState& state = run.settings.psoState;
    EXPECT_TRUE(run.ok);
    EXPECT_EQ(run.captured.out,
              "[DdrOptimizer] DdrOptimizer mode is : auto.\n"
              "[DdrOptimizer] Pso params settings are missing. Use default settings.\n"
              "[DdrOptimizer] Pso psoIndexs settings are missing. Use default settings.\n");
    EXPECT_EQ(run.captured.err, "");
    EXPECT_EQ(state.numSize, 20);
    EXPECT_EQ(state.perTime, 30);
    EXPECT_EQ(state.numIterate, 20);
    EXPECT_EQ(state.w_v, 0.8);
    EXPECT_EQ(state.w_p, 0.5);
    EXPECT_EQ(state.w_g, 0.5);
    EXPECT_EQ(state.beliefProb, 0.05);
    EXPECT_EQ(state.aiWorseRate, 0.1);
    EXPECT_EQ(state.camFpsBound, 28);
}

TEST(PsoOptionsTest, EachAbsentKeyIsReportedWithItsDefault) {
    const OptionsRun run = ReadOptions(Whole("'psoParams': {}", "'psoIndexs': {}"));
    const std::string warning = "[DdrOptimizer] Warning, setting of";
    const std::string use = " is missing. Use default value: ";
    EXPECT_TRUE(run.ok);
    EXPECT_EQ(run.captured.err, warning + "numSize" + use + "20\n" + warning + "perTime" + use +
                                    "30\n" + warning + "numIterate" + use + "20\n" + warning +
                                    "w_v" + use + "0.8\n" + warning + "w_p" + use + "0.5\n" +
                                    warning + "w_g" + use + "0.5\n" + warning + "beliefProb" + use +
                                    "0.05\n" + warning + "aiWorseRate" + use + "0.1\n" + warning +
                                    "camFpsBound" + use + "28\n");
    EXPECT_EQ(run.settings.psoState.w_v, 0.8);
}

TEST(PsoOptionsTest, UnsignedKeysKeepSixteenBits) {
    const OptionsRun run =
        ReadOptions(Whole("'psoParams': {'numSize': 65538, 'numIterate': 4294967295}"));
    EXPECT_TRUE(run.ok);
    EXPECT_EQ(run.settings.psoState.numSize, 2);
    EXPECT_EQ(run.settings.psoState.numIterate, 65535);
}

TEST(PsoOptionsTest, ParamsOfAWrongTypeAreRefused) {
    const std::string end = std::string("[DdrOptimizer] Get pso params fail!\n") + kEnd;
    for (const char* key : {"numSize", "perTime", "numIterate"}) {
        for (const char* value : {"-1", "1.5", "'1'", "null", "[]", "4294967296"}) {
            const OptionsRun run =
                ReadOptions(Whole(std::string("'psoParams': {'") + key + "': " + value + "}"));
            EXPECT_FALSE(run.ok);
            EXPECT_THAT(run.captured.err,
                        testing::EndsWith(std::string("[DdrOptimizer] Invalid type of ") + key +
                                          " , which should be unsigned int.\n" + end));
        }
    }
    for (const char* key : {"w_v", "w_p", "w_g"}) {
        for (const char* value : {"'1'", "null", "true", "1e39", "-3.5e38", "{}"}) {
            const OptionsRun run =
                ReadOptions(Whole(std::string("'psoParams': {'") + key + "': " + value + "}"));
            EXPECT_FALSE(run.ok);
            EXPECT_THAT(run.captured.err,
                        testing::EndsWith(std::string("[DdrOptimizer] Invalid type of ") + key +
                                          " , which should be floate.\n" + end));
        }
    }
    const OptionsRun run = ReadOptions(Whole("'psoParams': []"));
    EXPECT_EQ(run.captured.err,
              "[DdrOptimizer] Invalid psoParams type, which should be dict!\n" + end);
}

TEST(PsoOptionsTest, NumbersMayBeWrittenAsIntegers) {
    const OptionsRun run = ReadOptions(Whole("'psoParams': {'w_v': 1, 'w_p': -2, 'w_g': 3.4e38}"));
    EXPECT_TRUE(run.ok);
    EXPECT_EQ(run.settings.psoState.w_v, 1.0);
    EXPECT_EQ(run.settings.psoState.w_p, -2.0);
    EXPECT_EQ(run.settings.psoState.w_g, double{3.4e38F});
}

TEST(PsoOptionsTest, TheGreatestNumberOfSinglePrecisionIsTaken) {
    // Written out, since the library rounds most shorter forms to a neighbour.
    const std::string greatest = "340282346638528859811704183484516925440";
    const OptionsRun run =
        ReadOptions(Whole("'psoParams': {'w_v': " + greatest + ", 'w_p': -" + greatest + "}"));
    EXPECT_TRUE(run.ok);
    EXPECT_EQ(run.settings.psoState.w_v, double{std::numeric_limits<float>::max()});
    EXPECT_EQ(run.settings.psoState.w_p, double{std::numeric_limits<float>::lowest()});
}

TEST(PsoOptionsTest, IndexesOfAWrongTypeAreRefused) {
    const std::string end = std::string("[DdrOptimizer] Get pso indexs fail!\n") + kEnd;
    const std::pair<std::string, std::string> cases[] = {
        {"'psoIndexs': 7", "[DdrOptimizer] Invalid psoIndexs type, which should be dict!\n"},
        {"'psoIndexs': {'beliefProb': 'x'}",
         "[DdrOptimizer] Invalid type of beliefProb , which should be floate.\n"},
        {"'psoIndexs': {'beliefProb': 0, 'aiWorseRate': []}",
         "[DdrOptimizer] Invalid type of aiWorseRate , which should be floate.\n"},
        {"'psoIndexs': {'beliefProb': 0, 'aiWorseRate': 0, 'camFpsBound': 28.0}",
         "[DdrOptimizer] Invalid type of camFpsBound , which should be unsigned int.\n"},
    };
    for (const auto& [indexes, line] : cases) {
        const OptionsRun run = ReadOptions(Whole(kAllParams, indexes));
        EXPECT_FALSE(run.ok);
        EXPECT_EQ(run.captured.err, line + end);
    }
}

TEST(PsoOptionsTest, TheSectionItselfIsNeeded) {
    const std::string head =
        "{'DdrOptimizer': {'mode': 'auto', 'autoMode': {'stressLevel': {}, 'stressNode': '',"
        "'omModel': '', 'optAlg': 'pso'}";
    for (const char* conf : {"}}", ", 'psoConf': []}}", ", 'psoConf': null}}"}) {
        const OptionsRun run = ReadOptions(head + conf);
        EXPECT_FALSE(run.ok);
        EXPECT_EQ(run.captured.err,
                  std::string("[DdrOptimizer] Configs of pso opt algorithm are missing.\n") + kEnd);
    }
}

struct BoundCase {
    const char* pair;
    int low;
    int up;
    std::vector<std::uint16_t> values;
    std::string lines;
};

constexpr const char* kLowWords =
    "[DdrOptimizer] Warning, invalid low bound value of aic , which should be in [0, "
    "UPBOPUND]current value is ";
constexpr const char* kUpWords =
    "[DdrOptimizer] Warning, invalid up bound value of aic , which should be in [LOWBOPUND, 51], "
    "current value is ";

TEST(PsoOptionsTest, SpaceBoundsArePutRight) {
    const std::string low0 = " . The low bound will be set to: 0\n";
    const std::string up51 = " . The up bound will be set to: 51\n";
    const BoundCase cases[] = {
        {"[10, 14]", 10, 14, {10, 12}, ""},
        {"[10, 15]", 10, 15, {10, 12, 14}, ""},
        {"[0, 1]", 0, 1, {0}, ""},
        {"[7, 7]", 0, 7, {0, 2, 4, 6}, std::string(kLowWords) + "7" + low0},
        {"[9, 3]", 0, 3, {0, 2}, std::string(kLowWords) + "9" + low0},
        {"[46, 60]", 46, 51, {46, 48, 50}, std::string(kUpWords) + "60" + up51},
        {"[46, 51]", 46, 51, {46, 48, 50}, ""},
        {"[47, 52]", 47, 51, {47, 49}, std::string(kUpWords) + "52" + up51},
        {"[0, 0]", 0, 0, {}, std::string(kLowWords) + "0" + low0},
        {"[51, 52]", 51, 51, {}, std::string(kUpWords) + "52" + up51},
        {"[100, 4294967295]", 100, 51, {}, std::string(kUpWords) + "4294967295" + up51},
    };
    for (const BoundCase& one : cases) {
        const OptionsRun run = ReadOptions(WithSpace(one.pair));
        const PsoBound& bound = run.settings.psoState.psoSpaceBounds.at("aic");
        EXPECT_TRUE(run.ok) << one.pair;
        EXPECT_EQ(bound.low, one.low) << one.pair;
        EXPECT_EQ(bound.up, one.up) << one.pair;
        EXPECT_EQ(bound.values, one.values) << one.pair;
        EXPECT_EQ(run.captured.err, one.lines) << one.pair;
    }
    const OptionsRun run = ReadOptions(WithSpace("[60, 60]"));
    EXPECT_EQ(run.captured.err, std::string(kLowWords) + "60" + low0 + kUpWords + "60" + up51);
    EXPECT_EQ(run.settings.psoState.psoSpaceBounds.at("aic").values.size(), 26U);
}

TEST(PsoOptionsTest, VelocityBoundsArePutRight) {
    const std::string low =
        "[DdrOptimizer] Warning, invalid vel low bound value of aic, which will be set to: -20\n";
    const std::string up =
        "[DdrOptimizer] Warning, invalid vel up bound value of aic , which will be set to: 20\n";
    const BoundCase cases[] = {
        {"[-20, 20]", -20, 20, {}, ""},
        {"[-30, 30]", -20, 20, {}, low + up},
        {"[-21, 21]", -20, 20, {}, low + up},
        {"[5, 4]", -20, 4, {}, low},
        {"[5, 5]", 5, 5, {}, ""},
        {"[-25, -30]", -20, -30, {}, low},
        {"[30, 25]", -20, 20, {}, low + up},
        {"[0, 0]", 0, 0, {}, ""},
        {"[-2147483648, 2147483647]", -20, 20, {}, low + up},
    };
    for (const BoundCase& one : cases) {
        const OptionsRun run = ReadOptions(WithVelocity(one.pair));
        const PsoBound& bound = run.settings.psoState.psoVelBounds.at("aic");
        EXPECT_TRUE(run.ok) << one.pair;
        EXPECT_EQ(bound.low, one.low) << one.pair;
        EXPECT_EQ(bound.up, one.up) << one.pair;
        EXPECT_EQ(run.captured.err, one.lines) << one.pair;
    }
}

TEST(PsoOptionsTest, SpaceBoundsOfAWrongShapeAreRefused) {
    const std::string end =
        std::string("[DdrOptimizer] Get pso search space bounds fail!\n") + kEnd;
    for (const char* pair : {"[]", "[1]", "[1, 2, 3]", "{}", "5", "null", "'x'"}) {
        EXPECT_EQ(ReadOptions(WithSpace(pair)).captured.err,
                  "[DdrOptimizer] Invalid space bound setting of aic\n" + end);
    }
    for (const char* pair : {"[-1, 5]", "[0, 5.0]", "['0', 5]", "[null, 5]", "[0, 4294967296]"}) {
        EXPECT_EQ(ReadOptions(WithSpace(pair)).captured.err,
                  "[DdrOptimizer] Invalid bound value type of aic , which should be unsigned "
                  "int.\n" +
                      end);
    }
    const std::pair<std::string, std::string> cases[] = {
        {"'x': 1", "[DdrOptimizer] Pso space bound settings are missing. \n"},
        {"'psoSpaceBounds': []",
         "[DdrOptimizer] Invalid psoSpaceBounds type, which should be dict!\n"},
        {"'psoSpaceBounds': {}", "[DdrOptimizer] Invalid space bound setting of aic\n"},
        {"'psoSpaceBounds': {'aic': [0, 9]}",
         "[DdrOptimizer] Invalid space bound setting of cpu\n"},
        {"'psoSpaceBounds': {'aic': [0, 9], 'cpu': [0, 9]}",
         "[DdrOptimizer] Invalid space bound setting of imgp\n"},
    };
    for (const auto& [conf, line] : cases) {
        EXPECT_EQ(ReadOptions(AutoConfig(conf)).captured.err, line + end);
    }
}

TEST(PsoOptionsTest, VelocityBoundsOfAWrongShapeAreRefused) {
    const std::string end =
        std::string("[DdrOptimizer] Get pso search velocity bounds fail!\n") + kEnd;
    const std::string space = "'psoSpaceBounds': {'aic': [0, 9], 'cpu': [0, 9], 'imgp': [0, 9]}";
    for (const char* pair : {"[]", "[1]", "[1, 2, 3]", "{}", "5"}) {
        EXPECT_EQ(ReadOptions(WithVelocity(pair)).captured.err,
                  "[DdrOptimizer] Invalid bound setting of aic\n" + end);
    }
    for (const char* pair : {"[-1.0, 5]", "[0, '5']", "[0, 2147483648]"}) {
        EXPECT_EQ(ReadOptions(WithVelocity(pair)).captured.err,
                  "[DdrOptimizer] Invalid bound value type of aic , which should be int.\n" + end);
    }
    EXPECT_EQ(ReadOptions(AutoConfig(space)).captured.err,
              "[DdrOptimizer] Pso velocity bound settings are missing. \n" + end);
    EXPECT_EQ(ReadOptions(AutoConfig(space + ", 'psoVelBounds': 1")).captured.err,
              "[DdrOptimizer] Invalid psoVelBounds type, which should be dict!\n" + end);
}

}  // namespace
}  // namespace zarn
