#include "optimizer/ddr_optimizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "foundation/files.h"
#include "optimizer/benchmark/stress_benchmark.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/run_tree.h"
#include "tests/unit/optimizer/options/options_fixture.h"
#include "tests/unit/optimizer/search/pso_fixture.h"

namespace zarn {
namespace {

using test::AutoConfig;
using test::Captured;
using test::Describe;
using test::FakeDevice;
using test::FakeHost;
using test::FakeRunner;
using test::Json;
using test::ListedRandom;
using test::PsoConf;
using test::RunTree;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr const char* kManual =
    "{'DdrOptimizer': {'mode': 'manual', 'manualMode': {'mpamName': ['cpu', 'aic_dat'],"
    "'bwLow': [10, 0], 'bwHigh': [51, 30], 'hardLimit': [0, 1]}}}";
constexpr const char* kStart =
    "[DdrOptimizer] DdrOptimizer Start.\n[DdrOptimizer] Start to init qos Config. \n";
constexpr const char* kDefaults =
    "[DdrOptimizer] Sys has not yet set Qos conf, using default settings. \n";
constexpr const char* kInitFailure = "[DdrOptimizer] Failed to init file path!\n";

// Calls of the device made for one configured, and for one never configured, master.
constexpr std::size_t kReadCalls = 2;
constexpr std::size_t kSetCalls = 6;

class DdrOptimizerTest : public testing::Test {
protected:
    DdrOptimizerTest() {
        ProcessStressCommand().clear();
        for (const QosConfig& row : optimizerQosConfigs) {
            if (row.mpam_name != "cpu") {
                device_.masters[row.master] = {row.mpamid, 3};
            }
            device_.bounds[row.mpamid] = {40, 2, 1};
        }
    }

    // One mission on the configuration `text`, in which ' stands for ".
    void Start(const std::string& text, bool expected) {
        DdrOptimizer optimizer("DdrOptimizer", host_.Get(), random_);
        const JsonDocument config = Json(text);
        captured_ = test::Capture(
            [&] { EXPECT_EQ(optimizer.Start(config, tree_.Path(), &stopFlag_), expected); });
        held_ = Describe(optimizer.InitQosConfigs());
    }

    RunTree tree_;
    FakeHost host_;
    FakeRunner& runner_ = host_.runner;
    FakeDevice& device_ = host_.device;
    ListedRandom random_;
    StopFlag stopFlag_{0};
    Captured captured_;
    std::string held_;
};

TEST_F(DdrOptimizerTest, AppliesTheBoundsOfManualMode) {
    Start(kManual, true);
    EXPECT_EQ(captured_.out,
              std::string(kStart) +
                  "[DdrOptimizer] DdrOptimizer mode is : manual.\n"
                  "Successfully set: mpamid: 0 cpu , bw_low: 10, bw_high: 51, hardlimit: 0\n"
                  "Successfully set: mpamid: 5 aic_dat , bw_low: 0, bw_high: 30, hardlimit: 1\n"
                  "[DdrOptimizer] Successfully set new qos conf! DdrOptimizer finished!\n");
    EXPECT_EQ(captured_.err, "");
    EXPECT_EQ(device_.bounds[0].high, 51U);
    EXPECT_EQ(device_.bounds[0].low, 10U);
    EXPECT_THAT(tree_.Read("env_info/time_cost.log"),
                MatchesRegex("\\[DdrOptimizer\\] cost time: [0-9.e-]+s\n"));
    EXPECT_TRUE(tree_.Has("raw_data/ddr/"));
    EXPECT_TRUE(runner_.Commands().empty());
}

TEST_F(DdrOptimizerTest, ReadsWhatTheDeviceHoldsForEveryMaster) {
    device_.bounds[1] = {33, 4, 0};
    Start(kManual, true);
    // The cpu is asked for by the number of imgp_venc, whose partition it therefore gets.
    EXPECT_EQ(held_,
              "cpu 1 4 33 0 0 3; aic_dat 5 2 40 1 9 3; aic_ins 6 2 40 1 10 3; "
              "imgp_venc 1 4 33 0 0 3; imgp_vdec 2 2 40 1 1 3; imgp_vpc 3 2 40 1 2 3; "
              "isp_vicap 8 2 40 1 15 3; isp_viproc 9 2 40 1 16 3; isp_vipe 10 2 40 1 17 3; "
              "sdma 7 2 40 1 13 3; ");
}

TEST_F(DdrOptimizerTest, GivesDefaultsToAMasterThatWasNeverSet) {
    device_.bounds[9] = {101, 0, 0};
    Start("{}", false);
    EXPECT_EQ(captured_.out, std::string(kStart) + kDefaults);
    EXPECT_EQ(device_.masters[16].mpamid, 9U);
    EXPECT_EQ(device_.masters[16].priority, 5U);
    EXPECT_EQ(device_.bounds[9].high, 51U);
    EXPECT_EQ(device_.bounds[9].hardlimit, 1U);
    EXPECT_THAT(held_, HasSubstr("isp_viproc 9 0 51 1 16 5; "));
    EXPECT_EQ(captured_.err,
              "[DdrOptimizer] Ddr optimizer config is missing. \n"
              "[DdrOptimizer] Failed to parse qos config!\n")
        << "the device is read before the options are checked";
}

TEST_F(DdrOptimizerTest, AFailingReadHasTheWordsOfTheFilePath) {
    device_.FailCall(4 * kReadCalls, 7);
    Start(kManual, false);
    EXPECT_EQ(captured_.out, kStart);
    EXPECT_EQ(captured_.err, std::string("Check master config failed! Ret: 7\n"
                                         "[DdrOptimizer] Failed to get init qos mpamid!\n") +
                                 kInitFailure);

    FakeDevice second;
    device_.FailCall(device_.Calls().size() + kReadCalls + 1, 8);
    Start(kManual, false);
    EXPECT_EQ(captured_.err, std::string("Failed to get aic_dat qos config, ret = 8\n"
                                         "[DdrOptimizer] Failed to get init qos conf!\n") +
                                 kInitFailure);
    EXPECT_FALSE(tree_.Has("env_info/time_cost.log"));
}

TEST_F(DdrOptimizerTest, EachCallOfTheDefaultsCanFail) {
    const std::string refused =
        std::string("[DdrOptimizer] Failed to set qos with default settings!\n") + kInitFailure;
    const std::pair<std::string, std::string> lines[] = {
        {"Set master qos config failed, ret = 9\n", refused},
        {"", "Check master config failed! Ret: 9\n" + refused},
        {"Set mata qos config failed, ret = 9\n", refused},
        {"", "Failed to get isp_vicap qos config, ret = 9\n" + refused},
    };
    for (std::size_t call = kReadCalls; call < kSetCalls; ++call) {
        device_.bounds[8] = {101, 0, 0};
        device_.FailCall(device_.Calls().size() + 6 * kReadCalls + call, 9);
        Start(kManual, false);
        const auto& [out, err] = lines[call - kReadCalls];
        EXPECT_EQ(captured_.out, std::string(kStart) + kDefaults + out);
        EXPECT_EQ(captured_.err, err);
    }
}

TEST_F(DdrOptimizerTest, ARefusedBoundFailsTheManualMode) {
    device_.FailCall(optimizerQosConfigs.size() * kReadCalls + 2, 5);
    Start(kManual, false);
    EXPECT_EQ(captured_.err,
              "[dev:0] set aic_dat qos config failed, ret = 5\n"
              "[DdrOptimizer] Failed to update qos config!\n");
    EXPECT_EQ(device_.bounds[0].low, 10U) << "what was set before stays";
    EXPECT_EQ(device_.bounds[5].high, 40U);
}

TEST_F(DdrOptimizerTest, AnEmptyListLeavesTheDeviceAlone) {
    Start(
        "{'DdrOptimizer': {'mode': 'manual', 'manualMode': {'mpamName': [], 'bwLow': [1],"
        "'bwHigh': [], 'hardLimit': []}}}",
        true);
    EXPECT_EQ(device_.Calls().size(), optimizerQosConfigs.size() * kReadCalls);
}

TEST_F(DdrOptimizerTest, AStopFlagSetBeforeEndsAfterTheOptions) {
    stopFlag_ = 1;
    Start(kManual, false);
    EXPECT_THAT(captured_.out, EndsWith("[DdrOptimizer] DdrOptimizer mode is : manual.\n"));
    EXPECT_EQ(captured_.err,
              "[DdrOptimizer] Failed to process ddr optimizer because of stopFlag!\n"
              "[DdrOptimizer] Failed to update qos config!\n");
    EXPECT_EQ(device_.bounds[0].low, 2U);
}

TEST_F(DdrOptimizerTest, AFolderThatCannotBeMadeEndsTheMission) {
    tree_.PutInTheWay("raw_data");
    Start(kManual, false);
    EXPECT_EQ(captured_.out, "[DdrOptimizer] DdrOptimizer Start.\n");
    EXPECT_THAT(captured_.err, StartsWith("[zarn_utils] Failed to create directory : " +
                                          tree_.Path() + "raw_data/ddr, error code:"));
    EXPECT_THAT(captured_.err, EndsWith(kInitFailure));
    EXPECT_TRUE(device_.Calls().empty());
}

TEST_F(DdrOptimizerTest, AutoModeSearchesAndLeavesItsLogs) {
    runner_.Before("| tee ", [](const std::string& command) {
        const std::string path = command.substr(command.find("| tee ") + 6);
        std::string log = "1\n2\n3\n4\n";
        for (const char* rate : {"10.0", "11.0", "12.5"}) {
            log += std::string("aicStress : 5.0 fps. cpuStress : ") + rate +
                   " fps. imgpVencStress : 1.0 fps. imgpVpcStress : 5.0 fps. ispStress : 30.0 "
                   "fps.\n";
        }
        ASSERT_EQ(WriteFile(path, log), FileResult::Ok);
    });
    Start(AutoConfig(PsoConf("'psoParams': {'numSize': 0, 'perTime': 0, 'numIterate': 0, 'w_v': 0,"
                             "'w_p': 0, 'w_g': 0}")),
          true);
    const std::string opt = tree_.OnlyFile("raw_data/ddr", "soc_ddr_opt_info_1_");
    EXPECT_THAT(opt, MatchesRegex("raw_data/ddr/soc_ddr_opt_info_1_[0-9]{17}\\.log"));
    EXPECT_EQ("raw_data/ddr/soc_ddr_stress_info_1_" + opt.substr(32),
              tree_.OnlyFile("raw_data/ddr", "soc_ddr_stress_info_1_"))
        << "both carry the same time";
    EXPECT_THAT(tree_.Read(opt),
                EndsWith("[DdrOptimizer] optimized : aic : 5.000000,  cpu : 11.166667,  imgp : "
                         "5.000000,  isp : 30.000000,  \n"));
    EXPECT_EQ(device_.bounds[0].high, 51U);
    EXPECT_EQ(device_.bounds[3].hardlimit, 0U);
    EXPECT_EQ(captured_.err, "");
}

TEST_F(DdrOptimizerTest, AutoModeFailsWithItsBenchmark) {
    runner_.On("rungate", "", 127 << 8);
    Start(AutoConfig(PsoConf()), false);
    EXPECT_EQ(captured_.err,
              "[DdrOptimizer] Failed to run stress benchmark!\n"
              "[DdrOptimizer] Failed to get base perf data.\n"
              "[DdrOptimizer] Failed to update qos config!\n");
}

}  // namespace
}  // namespace zarn
