#include "board/model/sched_recording.h"

#include <gtest/gtest.h>

namespace zarn::board {
namespace {

TEST(SchedRecordingTest, IsArmedFromAMomentToTheNext) {
    SchedRecording recording;
    EXPECT_EQ(ArmedThresholdNs(recording), std::nullopt);
    EXPECT_EQ(ArmingAt(recording, 5), nullptr);
    Rearm(recording, 10, 700);
    EXPECT_EQ(ArmedThresholdNs(recording), 700U);
    EXPECT_EQ(ArmingAt(recording, 9), nullptr);
    EXPECT_EQ(ArmingAt(recording, 10)->thresholdNs, 700U);
    EXPECT_EQ(ArmingAt(recording, 1000000)->thresholdNs, 700U);
    Rearm(recording, 20, std::nullopt);
    EXPECT_EQ(ArmedThresholdNs(recording), std::nullopt);
    EXPECT_EQ(ArmingAt(recording, 19)->thresholdNs, 700U);
    EXPECT_EQ(ArmingAt(recording, 20), nullptr);
}

TEST(SchedRecordingTest, AnotherThresholdIsAnotherArming) {
    SchedRecording recording;
    Rearm(recording, 10, 700);
    Rearm(recording, 20, 0);
    EXPECT_EQ(recording.count, 2U);
    EXPECT_EQ(ArmingAt(recording, 19)->thresholdNs, 700U);
    EXPECT_EQ(ArmingAt(recording, 20)->thresholdNs, 0U);
    EXPECT_EQ(ArmedThresholdNs(recording), 0U);
}

TEST(SchedRecordingTest, DisarmingTwiceChangesNothing) {
    SchedRecording recording;
    Rearm(recording, 5, std::nullopt);
    Rearm(recording, 10, 700);
    Rearm(recording, 20, std::nullopt);
    Rearm(recording, 30, std::nullopt);
    EXPECT_EQ(recording.count, 1U);
    EXPECT_EQ(ArmingAt(recording, 25), nullptr);
}

TEST(SchedRecordingTest, TheFirstArmingMakesRoom) {
    SchedRecording recording;
    for (std::uint32_t i = 0; i <= kMaxArmings; ++i) {
        Rearm(recording, std::uint64_t{100} * (i + 1), i);
        Rearm(recording, std::uint64_t{100} * (i + 1) + 50, std::nullopt);
    }
    EXPECT_EQ(recording.count, kMaxArmings);
    EXPECT_EQ(ArmingAt(recording, 100), nullptr);
    EXPECT_EQ(ArmingAt(recording, 200)->thresholdNs, 1U);
    EXPECT_EQ(ArmingAt(recording, 100 * (kMaxArmings + 1))->thresholdNs, kMaxArmings);
}

}  // namespace
}  // namespace zarn::board
