#include "collectors/system/sched/sched_commands.h"

#include <gtest/gtest.h>

namespace zarn {
namespace {

const PerfFiles kFiles = {"/r/a.perf", "/r/b.log", "/r/c.log"};

TEST(SchedCommandsTest, TheSystemIsRecordedThenReportedTwice) {
    SchedJobParam param;
    param.duration = 5;
    EXPECT_EQ(PerfCommand(param, "", kFiles),
              "perf sched record -o /r/a.perf -- sleep 5 && perf sched latency -i /r/a.perf --sort "
              "max >> /r/b.log && perf sched timehist -i /r/a.perf >> /r/c.log");
}

TEST(SchedCommandsTest, CallGraphsAndTargetsStandBeforeTheCommand) {
    SchedJobParam param;
    param.isCallRecord = true;
    param.sorted = "avg";
    EXPECT_EQ(PerfCommand(param, CoreOption(3), kFiles),
              "perf sched record -o /r/a.perf -g -C 3 -- sleep 1 && perf sched latency -i "
              "/r/a.perf --sort avg >> /r/b.log && perf sched timehist -i /r/a.perf >> /r/c.log");
    param.isCallRecord = false;
    EXPECT_EQ(PerfCommand(param, ProcessOption(42), {"/r/a b.perf", "/r/[1].log", "/r/$x.log"}),
              "perf sched record -o '/r/a b.perf' -p 42 -- sleep 1 && perf sched latency -i '/r/a "
              "b.perf' --sort avg >> /r/[1].log && perf sched timehist -i '/r/a b.perf' >> "
              "'/r/$x.log'");
}

TEST(SchedCommandsTest, ToolsAreAskedOneByOne) {
    EXPECT_EQ(ProcessPriorityCommand("7", "/l"), "ps -l 7 >> /l");
    EXPECT_EQ(ThreadListCommand("7", "/l"), "ps -T -p 7 >> /l");
    EXPECT_EQ(ThreadPriorityCommand("7", "/l"), "ps -l -T 7 >> /l");
    EXPECT_EQ(AffinityCommand("7", "/l"), "taskset -pc 7 >> /l");
    EXPECT_EQ(PolicyCommand("7", "/l"), "chrt -p 7 >> /l");
}

TEST(SchedCommandsTest, ANamedThreadIsLookedForAsItStands) {
    EXPECT_EQ(NamedThreadCommand("loop", "/l"), "top -H -n 1 -b | grep 'loop' >> /l");
    EXPECT_EQ(NamedThreadCommand("it's $(x)", "/l"),
              R"(top -H -n 1 -b | grep 'it'\''s $(x)' >> /l)");
    EXPECT_EQ(NamedThreadCommand("-v", "/l"), "top -H -n 1 -b | grep -e '-v' >> /l");
}

TEST(SchedCommandsTest, TheLightRecorderIsToldNanoseconds) {
    const LiteFiles files = {"/r/l", "/r/t", "/r/s"};
    const auto command = [](const std::string& threshold) {
        return "echo 0 > /proc/perf/sched_ctrl && echo 100,1000 > /proc/perf/sched_record_size && "
               "echo " +
               threshold +
               " > /proc/perf/sched_threshold && echo 0xf > /proc/perf/sched_ctrl && cat "
               "/proc/perf/sched_log > /r/l && cat /proc/perf/sched_table > /r/t && cat "
               "/proc/perf/sched_stacks > /r/s";
    };
    EXPECT_EQ(LiteStartCommand(150, files), command("150000000"));
    EXPECT_EQ(LiteStartCommand(5000, files), command("5000000000"));
    EXPECT_EQ(LiteStartCommand(18446744073709, files), command("18446744073709000000"));
    EXPECT_EQ(LiteStartCommand(18446744073710, files), command("18446744073709551615"));
}

}  // namespace
}  // namespace zarn
