#include "board/perf/sched_call.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zarn::board {
namespace {

using testing::ElementsAre;

TEST(SchedCallTest, KnowsWhatItIsToDo) {
    EXPECT_EQ(ParseSchedCall({"record", "-o", "x"}).work, SchedWork::kRecord);
    EXPECT_EQ(ParseSchedCall({"latency"}).work, SchedWork::kLatency);
    EXPECT_EQ(ParseSchedCall({"timehist"}).work, SchedWork::kTimehist);
    EXPECT_EQ(ParseSchedCall({"script"}).work, SchedWork::kScript);
    EXPECT_EQ(ParseSchedCall({"map", "-i", "x"}).work, SchedWork::kOther);
    EXPECT_EQ(ParseSchedCall({"-v", "latency"}).work, SchedWork::kOther);
    EXPECT_EQ(ParseSchedCall({"-i"}).work, SchedWork::kOther);
    EXPECT_EQ(ParseSchedCall({}).work, SchedWork::kOther);
}

TEST(SchedCallTest, HandsOnTheWordsOfARecording) {
    EXPECT_THAT(ParseSchedCall({"record", "-o", "x", "-g", "--", "sleep", "1"}).recordWords,
                ElementsAre("-o", "x", "-g", "--", "sleep", "1"));
}

TEST(SchedCallTest, FindsTheFile) {
    EXPECT_EQ(ParseSchedCall({"script"}).input, "perf.data");
    EXPECT_EQ(ParseSchedCall({"script", "-i", "x"}).input, "x");
    EXPECT_EQ(ParseSchedCall({"-i", "x", "script"}).input, "x");
    EXPECT_EQ(ParseSchedCall({"script", "-ix"}).input, "x");
    EXPECT_EQ(ParseSchedCall({"script", "--input=x"}).input, "x");
    EXPECT_EQ(ParseSchedCall({"script", "--input", "x"}).input, "x");
    EXPECT_EQ(ParseSchedCall({"script", "-i"}).input, "");
}

TEST(SchedCallTest, ReadsTheOrderOfAReport) {
    const SchedCall usual = ParseSchedCall({"latency", "-i", "x"});
    EXPECT_THAT(usual.order.keys, ElementsAre(LatencyKey::kMean, LatencyKey::kMost,
                                              LatencyKey::kSwitches, LatencyKey::kRuntime));
    EXPECT_FALSE(usual.order.perTask);
    const SchedCall sorted = ParseSchedCall({"latency", "--sort", "max,runtime", "--pids"});
    EXPECT_THAT(sorted.order.keys, ElementsAre(LatencyKey::kMost, LatencyKey::kRuntime));
    EXPECT_TRUE(sorted.order.perTask);
    EXPECT_THAT(ParseSchedCall({"latency", "-s", "switch", "-p"}).order.keys,
                ElementsAre(LatencyKey::kSwitches));
    EXPECT_EQ(sorted.problem, "");
}

TEST(SchedCallTest, TellsWhatItDoesNotKnow) {
    EXPECT_EQ(ParseSchedCall({"latency", "--sort", "foo"}).problem, "Unknown --sort key: `foo'");
    EXPECT_EQ(ParseSchedCall({"latency", "-C", "1"}).problem, "the board does not know -C");
    EXPECT_EQ(ParseSchedCall({"timehist", "--pids"}).problem, "the board does not know --pids");
    EXPECT_EQ(ParseSchedCall({"script", "--sort", "max"}).problem,
              "the board does not know --sort");
}

}  // namespace
}  // namespace zarn::board
