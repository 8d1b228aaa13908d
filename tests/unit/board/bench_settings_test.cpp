#include "board/bench/bench_settings.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/temp_dir.h"

namespace zarn::board {
namespace {

TEST(BenchSettingsTest, TheFileThatIsDeliveredHoldsTheDefaults) {
    BenchSettings read;
    read.periods = 0;
    read.speeds = {};
    const BenchSettings usual;
    EXPECT_FALSE(ParseBenchSettings(
        test::ReadText(ZARN_SOURCE_DIR "/board/virtual_node/config/Config.yaml"), read));
    EXPECT_EQ(read.periods, usual.periods);
    EXPECT_EQ(read.periodMs, usual.periodMs);
    EXPECT_EQ(read.paceMs, usual.paceMs);
    EXPECT_EQ(read.noise, usual.noise);
    EXPECT_EQ(read.fault, usual.fault);
    for (std::size_t i = 0; i < kStressCount; ++i) {
        EXPECT_EQ(read.speeds[i].fps, usual.speeds[i].fps);
        EXPECT_EQ(read.speeds[i].need, usual.speeds[i].need);
    }
}

TEST(BenchSettingsTest, ReadsEveryKey) {
    BenchSettings settings;
    EXPECT_FALSE(
        ParseBenchSettings("---\n"
                           "periods: 7 # seven\n"
                           "\n"
                           "  period_ms:100\n"
                           "pace_ms: 0\n"
                           "noise: 0.25\n"
                           "seed: 1000000\n"
                           "aic_fps: 1\n"
                           "cpu_need: 0.5\n"
                           "imgp_venc_fps: 2.5\n"
                           "imgp_vpc_need: 1\n"
                           "isp_fps: 0\n"
                           "fault: malformed\n"
                           "fault_skip: 3\n"
                           "fault_skip: 4",
                           settings));
    EXPECT_EQ(settings.periods, 7U);
    EXPECT_EQ(settings.periodMs, 100U);
    EXPECT_EQ(settings.paceMs, 0U);
    EXPECT_EQ(settings.noise, 0.25);
    EXPECT_EQ(settings.seed, 1000000U);
    EXPECT_EQ(settings.speeds[kAicStress].fps, 1.0);
    EXPECT_EQ(settings.speeds[kCpuStress].need, 0.5);
    EXPECT_EQ(settings.speeds[kVencStress].fps, 2.5);
    EXPECT_EQ(settings.speeds[kIspStress].fps, 0.0);
    EXPECT_EQ(settings.fault, BenchFault::Malformed);
    EXPECT_EQ(settings.faultSkip, 4U) << "the later line counts";
}

TEST(BenchSettingsTest, RefusesWhatItDoesNotKnow) {
    for (const char* line :
         {"periods",          "periods 3",     "periods:",     "periods: -1", "periods: 1.5",
          "periods: 1000001", "periods: 3 4",  "noise: 1.01",  "noise: x",    "noise: nan",
          "aic_need: 0",      "aic_need: 1.1", "aic_fps: 1e9", "aic: 3",      "gpu_fps: 3",
          "fault: None",      "fault:",        "Periods: 3",   ": 3",         "- periods: 3"}) {
        BenchSettings settings;
        EXPECT_EQ(ParseBenchSettings(std::string("noise: 0.5\n") + line + "\n", settings),
                  std::string("line 2: no setting, or out of its range"))
            << line;
    }
}

TEST(BenchSettingsTest, AnEmptyFileKeepsTheDefaults) {
    BenchSettings settings;
    EXPECT_FALSE(ParseBenchSettings("", settings));
    EXPECT_EQ(settings.periods, 26U);
}

}  // namespace
}  // namespace zarn::board
