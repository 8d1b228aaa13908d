#include "collectors/profiling/bench/bench_commands.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

#include "collectors/profiling/bench/bench_results.h"
#include "foundation/commands.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

constexpr const char* kEvents =
    "-a -e task-clock,cycles,instructions,branches,branch-misses,context-switches,cpu-migrations,"
    "page-faults -e stalled-cycles-frontend,stalled-cycles-backend  -e "
    "cache-references,cache-misses"
    " -e LLC-loads,LLC-load-misses,LLC-stores,LLC-store-misses -e L1-dcache-loads,"
    "L1-dcache-load-misses,L1-dcache-stores,L1-dcache-store-misses -e dTLB-loads,dTLB-load-misses,"
    "iTLB-load-misses,iTLB-loads";

TEST(BenchCommandsTest, AreThoseThatAreRun) {
    EXPECT_EQ(PerfBenchCommand("sched", "pipe", "/a/b.log"), "perf bench sched pipe>> /a/b.log");
    EXPECT_EQ(StatisticsCommand("venc", "/a/b.log"), "cat /proc/umap/venc>> /a/b.log");
    EXPECT_EQ(PidListCommand("planner"), "pidof planner| sed 's/[ ][ ]*/,/g'");
    EXPECT_EQ(SystemStatCommand(3, "/a/b.log"),
              std::string("perf stat ") + kEvents + " sleep 3 >> /a/b.log 2>&1");
    EXPECT_EQ(ProcessStatCommand("4,17", -1, "/a/b.log"),
              std::string("perf stat ") + kEvents + " -p 4,17  sleep -1 >> /a/b.log 2>&1");
    EXPECT_EQ(ValueCommand("/a/b.log", kTotalTime.filter),
              "cat /a/b.log | grep time |awk '{print $3}'");
    EXPECT_EQ(ValueCommand("/a/b.log", kPipeOperations.filter),
              "cat /a/b.log  | grep ops |awk '{print $1}'");
    EXPECT_EQ(ValueCommand("/a/b.log", kPipeCost.filter),
              "cat /a/b.log  | grep usecs |awk '{print $1}'");
    EXPECT_EQ(ValueCommand("/a/b.log", kSpeedFilter), "cat /a/b.log | grep GB| awk '{print $1}'");
    EXPECT_EQ(CounterCommand("/a/b.log", {"cycles", "cycles\\ \\ "}),
              "cat /a/b.log |grep cycles\\ \\  |awk '{print$1}' | sed 's/,//g'");
}

TEST(BenchCommandsTest, EachCounterIsAskedForOnceAndHasANameOfItsOwn) {
    const std::string command = SystemStatCommand(1, "log");
    std::set<std::string> names;
    std::set<std::string> events;
    for (const BenchCounter& counter : kBenchCounters) {
        names.insert(counter.name);
        events.insert(counter.event);
        const std::string text = counter.event;
        EXPECT_NE(command.find(text.substr(0, text.find('\\'))), std::string::npos) << text;
    }
    EXPECT_EQ(names.size(), 22U);
    EXPECT_EQ(events.size(), 22U);
}

// ---- What they find in what perf really prints

std::string Captured(const std::string& name) {
    return test::DataPath("perf-6.1.187-bench/" + name + ".txt");
}

std::string Find(const std::string& command) {
    std::string output;
    EXPECT_TRUE(ExecuteCommand(command, output));
    return std::string(ValueOf(output));
}

std::string Counted(const std::string& log, const std::string& name) {
    for (const BenchCounter& counter : kBenchCounters) {
        if (counter.name == name) {
            return Find(CounterCommand(log, counter));
        }
    }
    return "no such counter";
}

TEST(BenchCommandsTest, FindTheValuesOfTheBenchmarks) {
    EXPECT_EQ(Find(ValueCommand(Captured("sched_messaging"), kTotalTime.filter)), "0.990");
    EXPECT_EQ(Find(ValueCommand(Captured("sched_pipe"), kTotalTime.filter)), "5.287");
    EXPECT_EQ(Find(ValueCommand(Captured("sched_pipe"), kPipeOperations.filter)), "189136");
    EXPECT_EQ(Find(ValueCommand(Captured("sched_pipe"), kPipeCost.filter)), "5.287192");
}

// A speed for each function that the benchmark tries.
TEST(BenchCommandsTest, FindTheSpeedOfEachFunction) {
    EXPECT_EQ(Find(ValueCommand(Captured("mem_memset"), kSpeedFilter)),
              "26.393581\n34.877232\n122.070312\n139.508929");
    EXPECT_EQ(Find(ValueCommand(Captured("mem_memcpy"), kSpeedFilter)),
              "17.755682\n11.625744\n34.877232\n48.828125");
}

TEST(BenchCommandsTest, FindTheCountersOfAMachineThatHasFew) {
    const std::set<std::string> counted{"contextSwitches", "cpuMigrations", "pageFaults"};
    for (const BenchCounter& counter : kBenchCounters) {
        const std::string value = Find(CounterCommand(Captured("stat_process"), counter));
        if (counted.count(counter.name) == 0) {
            EXPECT_EQ(value, "<not") << counter.name;
        }
        EXPECT_EQ(Find(CounterCommand(Captured("stat_no_process"), counter)), "") << counter.name;
    }
    EXPECT_EQ(Counted(Captured("stat_process"), "contextSwitches"), "495");
    EXPECT_EQ(Counted(Captured("stat_process"), "cpuMigrations"), "1");
    EXPECT_EQ(Counted(Captured("stat_process"), "pageFaults"), "0");
}

// As on a machine with counters: commas, a comment behind, shares of the time, lines about others.
TEST(BenchCommandsTest, FindCountersWithCommasAndCyclesAlone) {
    const test::TempDir dir;
    const std::string log = dir.Write(
        "log",
        "         4,012.34 msec task-clock                #    4.001 CPUs utilized          \n"
        "    1,234,567,890      cycles                    #    0.308 GHz                      "
        "(45.45%)\n"
        "      987,654,321      instructions              #    0.80  insn per cycle           "
        "(54.55%)\n"
        "                                                  #    1.00  stalled cycles per insn  "
        "(54.55%)\n"
        "       12,345,678      stalled-cycles-frontend   #    1.00% frontend cycles idle     "
        "(45.45%)\n"
        "       23,456,789      stalled-cycles-backend    #    1.90% backend cycles idle      "
        "(45.45%)\n"
        "    <not counted>      LLC-loads                                                     "
        "(0.00%)\n");
    EXPECT_EQ(Counted(log, "cycles"), "1234567890");
    EXPECT_EQ(Counted(log, "instructions"), "987654321");
    EXPECT_EQ(Counted(log, "stalledCyclesFrontend"), "12345678");
    EXPECT_EQ(Counted(log, "stalledCyclesBackend"), "23456789");
    EXPECT_EQ(Counted(log, "LLCLoads"), "<not");
    EXPECT_EQ(Counted(log, "dTLBLoads"), "");
}

}  // namespace
}  // namespace zarn
