#include "analyzers/sched/sched_commands.h"

#include <gtest/gtest.h>

namespace zarn::test {
namespace {

TEST(SchedCommandsTest, OrdinaryNamesStandAsTheyAre) {
    const SchedPaths paths = {"/d/raw_data/sched/a.perf", "/d/raw_data/schedAna/b[1].log"};
    EXPECT_EQ(TaskLogCommand(paths, "sh:12"),
              "perf sched latency -i /d/raw_data/sched/a.perf --pids | grep sh:12 >> "
              "/d/raw_data/schedAna/b[1].log");
    EXPECT_EQ(ThreadLogCommand(paths, "migration/0", "18"),
              "cat /d/raw_data/sched/a.perf | grep migration/0 | grep 18 >> "
              "/d/raw_data/schedAna/b[1].log");
    EXPECT_EQ(ScriptLogCommand(paths, "16418.440755", "000"),
              "perf sched script -i /d/raw_data/sched/a.perf | grep 16418.440755 -B 200 | grep 000 "
              ">> /d/raw_data/schedAna/b[1].log");
}

TEST(SchedCommandsTest, WhatCouldBeACommandIsQuoted) {
    EXPECT_EQ(TaskLogCommand({"/a b", "/$(c)"}, "d'; e|f"),
              "perf sched latency -i '/a b' --pids | grep 'd'\\''; e|f' >> '/$(c)'");
    EXPECT_EQ(ThreadLogCommand({"/a", "/b"}, "-v", ""), "cat /a | grep -e -v | grep '' >> /b");
    EXPECT_EQ(ScriptLogCommand({"/a", "/b"}, "-c `d`", ""),
              "perf sched script -i /a | grep -e '-c `d`' -B 200 | grep '' >> /b");
}

TEST(SchedCommandsTest, ThreadsThatAreSummedUpAreFoundByTheirName) {
    EXPECT_EQ(TaskKey("sh:(10)"), "sh");
    EXPECT_EQ(TaskKey("worker(1):(2)"), "worker(1)");
    EXPECT_EQ(TaskKey("net:rx:(2)"), "net:rx");
    EXPECT_EQ(TaskKey("net:rx:12"), "net:rx:12");
    EXPECT_EQ(TaskKey("worker(1):12"), "worker(1)");
    EXPECT_EQ(TaskKey("odd(1)"), "odd(1)");
}

}  // namespace
}  // namespace zarn::test
