#include "board/server/recorder_texts.h"

#include <gtest/gtest.h>

#include <memory>

namespace zarn::board {
namespace {

// A board with a main thread and another one of a process, and the tids that they have.
class RecorderTextsTest : public testing::Test {
protected:
    RecorderTextsTest() {
        state_->startNs = 41000000000;
        SchedPlan& plan = state_->scenario.sched;
        plan.cores = 2;
        plan.processCount = 1;
        plan.processes[0] = {{'p', 'l', 'a', 'n'}, 0, 2};
        plan.taskCount = 2;
        plan.tasks[0].name = {'p', 'l', 'a', 'n'};
        plan.tasks[1].name = {'i', 'o'};
        state_->schedTids = {70, 71};
        notes_.sums.resize(2);
    }

    [[nodiscard]] RecorderView View() const { return {*state_, notes_, settings_}; }

    std::unique_ptr<BoardState> state_ = std::make_unique<BoardState>();
    RecorderNotes notes_;
    RecorderSettings settings_{std::nullopt, 100, 1000};
};

TEST_F(RecorderTextsTest, HaveAHeadAloneBeforeAnythingIsNoted) {
    EXPECT_EQ(SchedLogText(View()), "sched_log: 0 delays\n");
    EXPECT_EQ(SchedTableText(View()), "sched_table: 0 threads\n");
    EXPECT_EQ(SchedStacksText(View()), "sched_stacks: 0 delays\n");
}

TEST_F(RecorderTextsTest, TellWhoWaitedWhenAndForWhom) {
    notes_.last = {{{1, 0, 1000, 1600500}, 0, SwitchReason::kSlept},
                   {{0, 1, 2000000, 2000007}, SchedEvent::kIdleTask, SwitchReason::kPreempted},
                   {{0, 1, 3000000, 3000001}, 1, SwitchReason::kWaitsForLock}};
    EXPECT_EQ(
        SchedLogText(View()),
        "sched_log: 3 delays\n"
        "42.600500 cpu 0 pid 70 tid 71 comm io latency(ns) 1599500000 behind tid 70 comm plan\n"
        "43.000007 cpu 1 pid 70 tid 70 comm plan latency(ns) 7000 behind tid 0 comm idle\n"
        "44.000001 cpu 1 pid 70 tid 70 comm plan latency(ns) 1000 behind tid 71 comm io\n");
    EXPECT_EQ(SchedStacksText(View()),
              "sched_stacks: 3 delays\n"
              "42.600500 pid 70 tid 71 comm io "
              "schedule+0x5c do_nanosleep+0x8c hrtimer_nanosleep+0x94\n"
              "43.000007 pid 70 tid 70 comm plan "
              "schedule+0x5c exit_to_user_mode_prepare+0x1a0 irqentry_exit_to_user_mode+0x18\n"
              "44.000001 pid 70 tid 70 comm plan "
              "schedule+0x5c futex_wait_queue+0x70 do_futex+0x14c\n");
}

TEST_F(RecorderTextsTest, TheThreadOfTheLongestDelayIsTheFirst) {
    notes_.sums[0] = {3, 500, 900};
    notes_.sums[1] = {1, 700, 700};
    const std::string second =
        "pid 70 tid 70 comm plan delays 3 max_latency(ns) 500000 total_latency(ns) 900000\n";
    const std::string first =
        "pid 70 tid 71 comm io delays 1 max_latency(ns) 700000 total_latency(ns) 700000\n";
    EXPECT_EQ(SchedTableText(View()), "sched_table: 2 threads\n" + first + second);
    settings_.threads = 1;
    EXPECT_EQ(SchedTableText(View()), "sched_table: 1 threads\n" + first);
    settings_.threads = 0;
    EXPECT_EQ(SchedTableText(View()), "sched_table: 0 threads\n");
}

TEST_F(RecorderTextsTest, TheLastDelaysHaveAPlace) {
    for (std::uint64_t i = 0; i < 5; ++i) {
        notes_.last.push_back({{0, 0, i, 1000000 * i}, 1, SwitchReason::kSlept});
    }
    settings_.delays = 1;
    EXPECT_EQ(SchedLogText(View()),
              "sched_log: 1 delays\n"
              "45.000000 cpu 0 pid 70 tid 70 comm plan latency(ns) 3999996000 behind tid 71 "
              "comm io\n");
    EXPECT_EQ(SchedStacksText(View()),
              "sched_stacks: 1 delays\n"
              "45.000000 pid 70 tid 70 comm plan "
              "schedule+0x5c do_nanosleep+0x8c hrtimer_nanosleep+0x94\n");
}

TEST(RecorderSettingsTest, AreWhatWasWritten) {
    const RecorderSettings settings = ReadRecorderSettings("0xf\n", "150000000\n", "100,1000\n");
    EXPECT_EQ(settings.thresholdNs, 150000000U);
    EXPECT_EQ(settings.threads, 100U);
    EXPECT_EQ(settings.delays, 1000U);
}

TEST(RecorderSettingsTest, AnyNumberButZeroArms) {
    for (const char* word : {"1", "15", "0xF0\n", "0x1"}) {
        EXPECT_EQ(ReadRecorderSettings(word, "7", "1,1").thresholdNs, 7U) << word;
    }
    for (const char* word :
         {"", "0", "0\n", "0x0", "0x", "on", "-1", "1 ", "99999999999999999999"}) {
        EXPECT_EQ(ReadRecorderSettings(word, "7", "1,1").thresholdNs, std::nullopt) << word;
    }
}

TEST(RecorderSettingsTest, WhatIsNoNumberCountsAsNothing) {
    EXPECT_EQ(ReadRecorderSettings("1", "many", "1,1").thresholdNs, 0U);
    EXPECT_EQ(ReadRecorderSettings("1", "18446744073709551615", "1,1").thresholdNs, UINT64_MAX);
    for (const char* sizes : {"", "100", "a,b", ",", " 1, 2"}) {
        const RecorderSettings settings = ReadRecorderSettings("1", "7", sizes);
        EXPECT_EQ(settings.threads, 0U) << sizes;
        EXPECT_EQ(settings.delays, 0U) << sizes;
    }
}

TEST_F(RecorderTextsTest, TheStatusSaysWhetherItIsArmed) {
    const std::string scheduler = "scheduler: 2 cores, time 0 is at 41.000000 s\n";
    EXPECT_EQ(SchedStatusText(*state_), scheduler + "recorder: not armed\n");
    Rearm(state_->schedRecording, 5, 700);
    EXPECT_EQ(SchedStatusText(*state_),
              scheduler + "recorder: armed for delays above 700 ns, since 5 us\n");
    Rearm(state_->schedRecording, 9, std::nullopt);
    EXPECT_EQ(SchedStatusText(*state_), scheduler + "recorder: not armed\n");
}

}  // namespace
}  // namespace zarn::board
