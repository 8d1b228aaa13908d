#include "optimizer/options/optimizer_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/key_check.h"
#include "tests/unit/optimizer/options/options_fixture.h"

namespace zarn {
namespace {

using test::OptionsRun;
using test::PsoConf;
using test::ReadOptions;
using testing::ElementsAre;
using testing::Pair;

TEST(OptimizerOptionsTest, TheSectionAndItsModeAreNeeded) {
    const std::pair<std::string, std::string> cases[] = {
        {"{}", "[DdrOptimizer] Ddr optimizer config is missing. \n"},
        {"{'DdrOptimizer': {}}", "[DdrOptimizer] Ddr optimizer mode is missing.\n"},
        {"{'DdrOptimizer': {'mode': 1}}",
         "[DdrOptimizer] Invalid mode format, which should be string!\n"},
        {"{'DdrOptimizer': {'mode': ['auto']}}",
         "[DdrOptimizer] Invalid mode format, which should be string!\n"},
    };
    for (const auto& [config, line] : cases) {
        const OptionsRun run = ReadOptions(config);
        EXPECT_FALSE(run.ok);
        EXPECT_EQ(run.captured.err, line);
        EXPECT_EQ(run.captured.out, "");
    }
}

TEST(OptimizerOptionsTest, OtherModesAreRefusedAfterTheyAreNamed) {
    for (const std::string mode : {"Auto", "MANUAL", "", "auto "}) {
        const OptionsRun run = ReadOptions("{'DdrOptimizer': {'mode': '" + mode + "'}}");
        EXPECT_FALSE(run.ok);
        EXPECT_EQ(run.settings.mode, mode);
        EXPECT_EQ(run.captured.out, "[DdrOptimizer] DdrOptimizer mode is : " + mode + ".\n");
        EXPECT_EQ(run.captured.err,
                  "[DdrOptimizer] Invalid opt mode, please set mode as 'auto' or 'manual'. \n");
    }
}

using OptimizerOptionsDeathTest = testing::Test;

TEST(OptimizerOptionsDeathTest, ASectionThatIsNoObjectEndsTheProcess) {
    for (const char* config : {"{'DdrOptimizer': 5}", "{'DdrOptimizer': []}"}) {
        EXPECT_DEATH((void)ReadOptions(config), "");
    }
}

TEST(OptimizerOptionsTest, ManualModeFillsItsList) {
    const OptionsRun run = ReadOptions(
        "{'DdrOptimizer': {'mode': 'manual', 'manualMode': {'mpamName': ['sdma'], 'bwLow': [1],"
        "'bwHigh': [20], 'hardLimit': [0]}}}");
    EXPECT_TRUE(run.ok);
    ASSERT_EQ(run.settings.manualQosConfigs.size(), 1U);
    EXPECT_EQ(run.settings.manualQosConfigs[0].mpamid, 7U);
    EXPECT_EQ(run.captured.out, "[DdrOptimizer] DdrOptimizer mode is : manual.\n");
}

// A configuration in auto mode whose autoMode is `mode`, with a faultless psoConf.
OptionsRun ReadAuto(const std::string& mode) {
    return ReadOptions("{'DdrOptimizer': {'mode': 'auto', 'autoMode': " + mode + ", 'psoConf': {" +
                       PsoConf("'psoParams': {'numSize': 1, 'perTime': 1,"
                               "'numIterate': 1, 'w_v': 1, 'w_p': 1,"
                               "'w_g': 1}, 'psoIndexs': {'beliefProb': 1,"
                               "'aiWorseRate': 1, 'camFpsBound': 1}") +
                       "}}}");
}

std::string AutoMode(const std::string& levels, const std::string& algorithm = "'pso'") {
    return "{'stressLevel': " + levels +
           ", 'stressNode': 'node', 'omModel': 'model', 'optAlg': " + algorithm + "}";
}

TEST(OptimizerOptionsTest, AutoModeStoresItsStrings) {
    const OptionsRun run = ReadAuto(AutoMode("{}"));
    EXPECT_TRUE(run.ok);
    EXPECT_EQ(run.settings.stressNode, "node");
    EXPECT_EQ(run.settings.omModel, "model");
    EXPECT_EQ(run.settings.optAlg, "pso");
    EXPECT_TRUE(run.settings.stressLevels.empty()) << "groups that are left out are left out";
    EXPECT_EQ(run.captured.err, "");
}

TEST(OptimizerOptionsTest, RefusesAWrongShapeOfAutoMode) {
    const std::string missing = "[DdrOptimizer] Configs of auto mode are missing.\n";
    const std::string keys =
        "[DdrOptimizer] Configs of auto mode should contain 'stressLevel', stressNode, 'omModel', "
        "'optAlg'!\n";
    const std::string types = "[DdrOptimizer] Invalid auto mode params type!\n";
    const std::pair<std::string, std::string> cases[] = {
        {"[]", missing},
        {"null", missing},
        {"'pso'", missing},
        {"{}", keys},
        {"{'stressNode': '', 'omModel': '', 'optAlg': 'pso'}", keys},
        {"{'stressLevel': {}, 'omModel': '', 'optAlg': 'pso'}", keys},
        {"{'stressLevel': {}, 'stressNode': '', 'optAlg': 'pso'}", keys},
        {"{'stressLevel': {}, 'stressNode': '', 'omModel': ''}", keys},
        {"{'stressLevel': [], 'stressNode': '', 'omModel': '', 'optAlg': 'pso'}", types},
        {"{'stressLevel': {}, 'stressNode': 1, 'omModel': '', 'optAlg': 'pso'}", types},
        {"{'stressLevel': {}, 'stressNode': '', 'omModel': {}, 'optAlg': 'pso'}", types},
        {"{'stressLevel': {}, 'stressNode': '', 'omModel': '', 'optAlg': null}", types},
    };
    for (const auto& [mode, line] : cases) {
        const OptionsRun run = ReadAuto(mode);
        EXPECT_FALSE(run.ok) << mode;
        EXPECT_EQ(run.captured.err, line) << mode;
    }
    EXPECT_EQ(ReadOptions("{'DdrOptimizer': {'mode': 'auto'}}").captured.err, missing);
}

TEST(OptimizerOptionsTest, StressLevelsAreAtMostTen) {
    const OptionsRun run = ReadAuto(AutoMode("{'cpu': 11, 'imgp': 10, 'aic': 65540, 'gpu': 'x'}"));
    EXPECT_TRUE(run.ok);
    EXPECT_THAT(run.settings.stressLevels,
                ElementsAre(Pair("aic", 4), Pair("cpu", 10), Pair("imgp", 10)))
        << "a level is kept in 16 bits";
    EXPECT_EQ(run.captured.err,
              "[DdrOptimizer] Warning, stress level of cpu is larger 10, which will be set to "
              "10!\n");
}

TEST(OptimizerOptionsTest, AStressLevelThatIsNoUnsignedIntegerIsRefused) {
    for (const char* level : {"-1", "1.0", "'1'", "null", "4294967296"}) {
        const OptionsRun run = ReadAuto(AutoMode(std::string("{'cpu': ") + level + "}"));
        EXPECT_FALSE(run.ok);
        EXPECT_EQ(run.captured.err,
                  "[DdrOptimizer] Invalid type of cpu , which should be unsigned int.\n"
                  "[DdrOptimizer] Invalid auto mode params type!\n");
        EXPECT_EQ(run.settings.stressNode, "");
    }
}

TEST(OptimizerOptionsTest, OtherAlgorithmsAreRefusedAfterTheRestIsStored) {
    const OptionsRun run = ReadAuto(AutoMode("{'cpu': 3}", "'ga'"));
    EXPECT_FALSE(run.ok);
    EXPECT_EQ(run.captured.err,
              "[DdrOptimizer] Failed to set opt algorithm! Only support 'pso'!\n");
    EXPECT_THAT(run.settings.stressLevels, ElementsAre(Pair("cpu", 3)));
    EXPECT_EQ(run.settings.stressNode, "node");
    EXPECT_EQ(run.settings.omModel, "model");
    EXPECT_EQ(run.settings.optAlg, "ga");
}

TEST(OptimizerOptionsTest, TheCheckHoldsToTheDeclaredKeys) {
    const auto check = [](const JsonDocument& config) {
        OptimizerSettings settings;
        return ReadOptimizerOptions(config, settings);
    };
    test::ExpectKeysHold("DdrOptimizer", DdrOptimizerKeys(),
                         R"({"DdrOptimizer":{"mode":"manual","manualMode":{"mpamName":["cpu"],)"
                         R"("bwLow":[1],"bwHigh":[9],"hardLimit":[1]}}})",
                         check);
    test::ExpectKeysHold(
        "DdrOptimizer", DdrOptimizerKeys(),
        R"({"DdrOptimizer":{"mode":"auto","autoMode":{"stressLevel":{"cpu":3},"stressNode":"n",)"
        R"("omModel":"m","optAlg":"pso"},"psoConf":{)"
        R"("psoSpaceBounds":{"aic":[1,9],"cpu":[1,9],"imgp":[1,9]},)"
        R"("psoVelBounds":{"aic":[-1,9],"cpu":[-1,9],"imgp":[-1,9]},)"
        R"("psoParams":{"numSize":2,"numIterate":2,"w_v":0.1,"w_p":0.1,"w_g":0.1,"perTime":1},)"
        R"("psoIndexs":{"aiWorseRate":0.1,"camFpsBound":1,"beliefProb":0.1}}}})",
        check);
}

}  // namespace
}  // namespace zarn
