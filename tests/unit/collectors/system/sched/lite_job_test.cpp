#include <gmock/gmock.h>

#include "tests/unit/collectors/system/sched/sched_collector_fixture.h"

// The job "lite".
namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kStart = "[SchedCollector] Start to collect lite sched raw data!\n";
const std::string kExit = "[SchedCollector] Success to exit lite raw data collection!\n";
const std::string kStop = "echo 0 > /proc/perf/sched_ctrl";
const std::string kSleep = "sleep 10";

std::string Progress(const std::string& percent) {
    return "[SchedCollector] Completed " + percent + "% lite sched data collection time.\n";
}

const std::string kEnd =
    Progress("100") + "[SchedCollector] End to collect lite sched raw data!!\n";

class LiteJobTest : public SchedCollectorTest {
protected:
    [[nodiscard]] std::string Begin(const std::string& pass, const std::string& time) const {
        const std::string raw = tree.PathOf("raw_data/sched/sched_lite_");
        const std::string end = "_" + pass + "_" + time + ".log";
        return "echo 0 > /proc/perf/sched_ctrl && echo 100,1000 > /proc/perf/sched_record_size && "
               "echo 150000000 > /proc/perf/sched_threshold && echo 0xf > /proc/perf/sched_ctrl && "
               "cat /proc/perf/sched_log > " +
               raw + "log" + end + " && cat /proc/perf/sched_table > " + raw + "table" + end +
               " && cat /proc/perf/sched_stacks > " + raw + "stacks" + end;
    }
};

TEST_F(LiteJobTest, ItArmsWaitsInStepsAndDisarms) {
    liteSeconds = "30";
    const Captured captured = Run(R"("lite")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(captured.out, kBegun + kStart + Progress("33") + Progress("66") + kEnd + kExit +
                                kCollected + kSaved);
    EXPECT_THAT(Commands(), ElementsAre(Begin("1", kTime), kSleep, kSleep, kSleep, kStop));
    EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
}

TEST_F(LiteJobTest, OneStepIsTheShortestWait) {
    for (const char* seconds : {"0", "5", "10"}) {
        liteSeconds = seconds;
        tree.Remove("env_info/time_cost.log");
        EXPECT_EQ(Run(R"("lite")").out, kBegun + kStart + kEnd + kExit + kCollected + kSaved)
            << seconds;
    }
    EXPECT_THAT(Commands(), ElementsAre(Begin("1", kTime), kSleep, kStop, Begin("1", kTime), kSleep,
                                        kStop, Begin("1", kTime), kSleep, kStop));
}

TEST_F(LiteJobTest, EachPassHasItsFiles) {
    count = "2";
    liteSeconds = "1";
    (void)Run(R"("lite")");
    EXPECT_THAT(Commands(), ElementsAre(Begin("1", kTime), kSleep, kStop,
                                        Begin("2", "20230101120000001"), kSleep, kStop));
}

TEST_F(LiteJobTest, AFailedStartIsTakenBack) {
    host.runner.On("sched_stacks", "", 1 << 8);
    const Captured captured = Run(R"("lite")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "[SchedCollector] Fail to start collecting lite raw data!\n");
    EXPECT_EQ(captured.out, std::string(kBegun) + kCollected + kSaved);
    EXPECT_THAT(Commands(), ElementsAre(Begin("1", kTime), kStop));
}

TEST_F(LiteJobTest, AFailedSleepDisarms) {
    host.runner.On(kSleep, "", 1 << 8);
    const Captured captured = Run(R"("lite")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "[SchedCollector] Fail to sleep for collecting lite sched raw data!\n");
    EXPECT_EQ(captured.out, kBegun + kStart + kExit + kCollected + kSaved);
    EXPECT_THAT(Commands(), ElementsAre(Begin("1", kTime), kSleep, kStop));
}

TEST_F(LiteJobTest, AFailedDisarmingIsTold) {
    host.runner.On("sched_stacks", "", 0).On(kStop, "", 1 << 8);
    liteSeconds = "1";
    EXPECT_EQ(Run(R"("lite")").err, "[SchedCollector] Fail to exit lite raw data collection!\n");
}

TEST_F(LiteJobTest, AnInterruptDuringASleepDisarms) {
    host.runner.On(kSleep, "", 2);
    StopAt(kSleep);
    const Captured captured = Run(R"("lite")");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err, "[SchedCollector] Failed to CreateOutputJson because of stopFlag!\n");
    EXPECT_EQ(captured.out, kBegun + kStart +
                                "[SchedCollector] Early exit of lite sched raw data collection "
                                "because of stopFlag!\n" +
                                kExit + kCollected);
    EXPECT_THAT(Commands(), ElementsAre(Begin("1", kTime), kSleep, kStop));
}

TEST_F(LiteJobTest, AnInterruptOfTheProgramAloneIsSeenBehindTheSleep) {
    StopAt(kSleep);
    liteSeconds = "100";
    EXPECT_EQ(Run(R"("lite")").out, kBegun + kStart + Progress("10") + kExit + kCollected);
    EXPECT_THAT(Commands(), ElementsAre(Begin("1", kTime), kSleep, kStop));
}

TEST_F(LiteJobTest, AnInterruptWhileArmingLeavesNothingArmed) {
    StopAt("sched_stacks");
    EXPECT_EQ(Run(R"("lite")").out, kBegun + kStart + kExit + kCollected);
    EXPECT_THAT(Commands(), ElementsAre(Begin("1", kTime), kStop));
}

}  // namespace
}  // namespace zarn::test
