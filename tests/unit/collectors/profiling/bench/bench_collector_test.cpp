#include "collectors/profiling/bench/bench_collector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/run_tree.h"
#include "tests/support/section_config.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kAllJobs =
    R"(["vpc","stat","memcpy","messaging","venc","pipe","vdec","memset"])";
constexpr const char* kInterrupted = "[BenchCollector] Failed to process bench info!\n";

// The moments of a run.
std::string Tick(int tick) {
    return "2023010112000000" + std::to_string(tick);
}

class BenchCollectorTest : public testing::Test {
protected:
    Captured Run(const std::string& jobs,
                 const std::string& stat = R"({"nodes":["global"],"sleep":3})") {
        const JsonDocument config =
            ParsedConfigOf("BenchCollector", SectionText({{"job", jobs}, {"stat", stat}}));
        BenchCollector collector(BenchCollector::kName, host.Get());
        return Capture([&] {
            EXPECT_TRUE(collector.CheckOptions(config, "collector"));
            result = collector.Start(config, tree.Path(), &stopFlag);
        });
    }

    // The collector's own commands, the asking for values left out; a log's path is its name.
    [[nodiscard]] std::vector<std::string> Commands() const {
        const std::string raw = tree.Path() + "raw_data/bench/";
        std::vector<std::string> commands;
        for (std::string command : runner.Commands()) {
            if (const std::size_t path = command.find(raw); path != std::string::npos) {
                command.erase(path, raw.size());
            }
            const bool asks = command.rfind("cat bench_", 0) == 0;
            const std::size_t events = command.find(" -e ");
            const std::size_t behind = command.find("iTLB-loads");
            if (!asks && events != std::string::npos && behind != std::string::npos) {
                command.replace(events, behind + 10 - events, " EVENTS");
            }
            if (!asks) {
                commands.push_back(command);
            }
        }
        return commands;
    }

    RunTree tree;
    FakeHost host;
    FakeRunner& runner = host.runner;
    StopFlag stopFlag{0};
    bool result = false;
};

TEST_F(BenchCollectorTest, TheJobsRunInTheirOrder) {
    const Captured captured = Run(kAllJobs);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_THAT(
        Commands(),
        ElementsAre("perf bench sched messaging>> bench_sched_messaging_" + Tick(0) + ".log",
                    "perf bench sched pipe>> bench_sched_pipe_" + Tick(1) + ".log",
                    "perf bench mem memset>> bench_mem_memset_" + Tick(2) + ".log",
                    "perf bench mem memcpy>> bench_mem_memcpy_" + Tick(3) + ".log",
                    "perf stat -a EVENTS sleep 3 >> bench_stat_global_" + Tick(4) + ".log 2>&1",
                    "cat /proc/umap/vdec>> bench_vdec_" + Tick(5) + ".log",
                    "cat /proc/umap/venc>> bench_venc_" + Tick(6) + ".log",
                    "cat /proc/umap/vpc>> bench_vpc_" + Tick(7) + ".log"));
    EXPECT_THAT(tree.NamesIn("json"), ElementsAre("soc_cpu_bench_info_" + Tick(9) + ".data",
                                                  "soc_cpu_stat_info_20230101120000010.data",
                                                  "soc_mem_throughput_info_" + Tick(8) + ".data"));
    EXPECT_THAT(tree.Read("env_info/time_cost.log"),
                MatchesRegex("\\[BenchCollector\\] cost time: [0-9.e-]+s\n"));
}

TEST_F(BenchCollectorTest, TheSchedulersResultHasAnObjectForEachBenchmark) {
    const std::string messaging =
        "cat " + tree.Path() + "raw_data/bench/bench_sched_messaging_" + Tick(0) + ".log";
    const std::string pipe =
        "cat " + tree.Path() + "raw_data/bench/bench_sched_pipe_" + Tick(1) + ".log";
    runner.On(messaging + " | grep time |awk '{print $3}'", "0.990\n");
    runner.On(pipe + " | grep time |awk '{print $3}'", "5.287\n");
    runner.On(pipe + "  | grep ops |awk '{print $1}'", "189136\n");
    runner.On(pipe + "  | grep usecs |awk '{print $1}'", "5.287192\n");
    EXPECT_EQ(Run(R"(["pipe","messaging"])").err, "");
    EXPECT_EQ(tree.Read("json/soc_cpu_bench_info_" + Tick(2) + ".data"),
              R"({"eventId":"222210140","happenTime":")" + Tick(2) +
                  R"(","objectId":"soc_cpu_bench_info","content":{)"
                  R"("messaging":{"Description":"20 sender and receiver processes per group, )"
                  R"(10 groups == 400 processes run","Total time":"0.990"},)"
                  R"("pipe":{"Description":"Executed 1000000 pipe operations between two )"
                  R"(processes","Total time":"5.287","operations per second":"189136",)"
                  R"("time cost per operation":"5.287192"}}})"
                  "\n");
    EXPECT_THAT(tree.NamesIn("json"), SizeIs(1));
}

TEST_F(BenchCollectorTest, OnlyTheJobsThatRanHaveMembers) {
    runner.On("grep time", "1\n");
    (void)Run(R"(["messaging","memcpy"])");
    EXPECT_THAT(tree.Read(tree.OnlyFile("json", "soc_cpu_bench_info_")),
                EndsWith(R"(400 processes run","Total time":"1"}}})"
                         "\n"));
    EXPECT_THAT(tree.Read(tree.OnlyFile("json", "soc_mem_throughput_info_")),
                EndsWith(R"x("content":{"memory copy speed(GB/sec)":""}})x"
                         "\n"));
}

TEST_F(BenchCollectorTest, TheMemorysResultIsFlatAndMayHaveSeveralLines) {
    runner.On("bench_mem_memset_" + Tick(0) + ".log | grep GB| awk '{print $1}'", "26.3\n34.8\n");
    runner.On("bench_mem_memcpy_" + Tick(1) + ".log | grep GB| awk '{print $1}'", "17.7\n");
    (void)Run(R"(["memset","memcpy"])");
    EXPECT_EQ(
        tree.Read("json/soc_mem_throughput_info_" + Tick(2) + ".data"),
        R"({"eventId":"222210150","happenTime":")" + Tick(2) +
            R"(","objectId":"soc_mem_throughput_info","content":{)"
            R"x("memory set speed(GB/sec)":"26.3\n34.8","memory copy speed(GB/sec)":"17.7"}})x"
            "\n");
}

TEST_F(BenchCollectorTest, StatisticsHaveAnObjectForEachNode) {
    runner.On("pidof planner| sed 's/[ ][ ]*/,/g'", "417,418\n");
    runner.On("bench_stat_global_" + Tick(0) + ".log |grep cycles\\ \\  ", "12345\n");
    runner.On("bench_stat_planner_" + Tick(1) + ".log |grep context-switches ", "7\n");
    runner.On("|grep cache-misses |awk '{print$1}' | sed 's/,//g'", "<not\n");
    EXPECT_EQ(Run(R"(["stat"])", R"({"nodes":["global","planner"],"sleep":0})").err, "");
    EXPECT_THAT(
        Commands(),
        ElementsAre("perf stat -a EVENTS sleep 0 >> bench_stat_global_" + Tick(0) + ".log 2>&1",
                    "pidof planner| sed 's/[ ][ ]*/,/g'",
                    "perf stat -a EVENTS -p 417,418  sleep 0 >> bench_stat_planner_" + Tick(1) +
                        ".log 2>&1"));
    const std::string behind =
        R"("instructions":"","stalledCyclesFrontend":"","stalledCyclesBackend":"",)"
        R"("cacheReferences":"","cacheMisses":"<not","LLCLoads":"","LLCLoadMisses":"",)"
        R"("LLCStores":"","LLCStoreMisses":"","L1DcacheLoads":"","L1DcacheLoadMisses":"",)"
        R"("L1DcacheStores":"","L1DcacheStoreMisses":"","dTLBLoads":"","dTLBLoadMisses":"",)"
        R"("iTLBLoadMisses":"","iTLBLoads":""})";
    EXPECT_EQ(tree.Read("json/soc_cpu_stat_info_" + Tick(2) + ".data"),
              R"({"eventId":"222210160","happenTime":")" + Tick(2) +
                  R"(","objectId":"soc_cpu_stat_info","content":{"global":{"contextSwitches":"",)"
                  R"("cpuMigrations":"","pageFaults":"","branchMisses":"","cycles":"12345",)" +
                  behind + R"(,"planner":{"contextSwitches":"7","cpuMigrations":"",)" +
                  R"("pageFaults":"","branchMisses":"","cycles":"",)" + behind + "}}\n");
}

TEST_F(BenchCollectorTest, AFileCopyAloneLeavesNoResult) {
    EXPECT_EQ(Run(R"(["vpc"])").err, "");
    EXPECT_TRUE(result);
    EXPECT_THAT(Commands(), ElementsAre("cat /proc/umap/vpc>> bench_vpc_" + Tick(0) + ".log"));
    EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
}

TEST_F(BenchCollectorTest, WithoutAJobNothingIsRun) {
    EXPECT_EQ(Run("[]").err, "");
    EXPECT_TRUE(result);
    EXPECT_THAT(runner.Commands(), IsEmpty());
    EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
}

// ---- Nodes

TEST_F(BenchCollectorTest, ANodeWithoutPidsIsToldAndTouchesNoOther) {
    runner.On("pidof planner|", "417\n");
    runner.On(" -p   sleep", "", 234 << 8);
    const Captured captured = Run(R"(["stat"])", R"({"nodes":["nobody","planner"],"sleep":1})");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(captured.err,
              "[BenchCollector] Failed to collect nobody info!\n"
              "[BenchCollector] Failed to find  process : nobody !\n");
    const std::string text = tree.Read(tree.OnlyFile("json", "soc_cpu_stat_info_"));
    EXPECT_THAT(text, HasSubstr(R"("content":{"planner":{)"));
    EXPECT_THAT(text, testing::Not(HasSubstr("nobody")));
}

TEST_F(BenchCollectorTest, ANodeThatIsNamedTwiceIsToldOnce) {
    runner.On("bench_stat_global_" + Tick(1) + ".log |grep page-faults", "5\n");
    EXPECT_EQ(Run(R"(["stat"])", R"({"nodes":["global","global"],"sleep":1})").err, "");
    EXPECT_THAT(Commands(), SizeIs(2));
    EXPECT_THAT(tree.Read(tree.OnlyFile("json", "soc_cpu_stat_info_")),
                testing::ContainsRegex("^[^}]*\"pageFaults\":\"5\"[^}]*}}}\n$"));
}

TEST_F(BenchCollectorTest, PidofThatCannotBeStartedIsANodeWithoutPids) {
    runner.Refuse("pidof");
    const Captured captured = Run(R"(["stat"])", R"({"nodes":["planner"],"sleep":1})");
    EXPECT_THAT(captured.err, EndsWith("[BenchCollector] Failed to find  process : planner !\n"));
    EXPECT_THAT(captured.err, StartsWith("[zarn_utils] "));
    EXPECT_THAT(tree.Read(tree.OnlyFile("json", "soc_cpu_stat_info_")), EndsWith(R"("content":{}})"
                                                                                 "\n"));
}

TEST_F(BenchCollectorTest, AStatThatCannotBeReadFailsNothing) {
    const Captured captured = Run(R"(["stat","vpc"])", "{}");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[BenchCollector] Failed to find stat's nodes parameter in benchCollector!\n");
    EXPECT_THAT(Commands(), SizeIs(1));
    EXPECT_THAT(tree.Read(tree.OnlyFile("json", "soc_cpu_stat_info_")), EndsWith(R"("content":{}})"
                                                                                 "\n"));
    EXPECT_EQ(Run(R"(["vpc"])", "{}").err, "");
}

// ---- What fails

TEST_F(BenchCollectorTest, AJobThatFailsIsToldAndStopsNoOther) {
    runner.On("perf bench", "", 127 << 8);
    runner.On("perf stat", "", 9);
    runner.On("cat /proc/umap", "", 256);
    const Captured captured = Run(kAllJobs);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(captured.err,
              "[BenchCollector] Fail to collect messaging info!\n"
              "[BenchCollector] Fail to collect pipe info!\n"
              "[BenchCollector] Fail to collect memset info!\n"
              "[BenchCollector] Fail to collect memcpy info!\n"
              "[BenchCollector] Failed to collect global info!\n"
              "[BenchCollector] Fail to collect vdec info!\n"
              "[BenchCollector] Fail to collect venc info!\n"
              "[BenchCollector] Fail to collect vpc info!\n");
    EXPECT_THAT(Commands(), SizeIs(8));
    EXPECT_THAT(tree.NamesIn("json"), SizeIs(3));
}

TEST_F(BenchCollectorTest, WithoutATimeAJobIsLeftOutAndItsValuesAreEmpty) {
    host.failingTick = 0;
    EXPECT_EQ(Run(R"(["pipe","vpc"])").err, "[BenchCollector] Failed to get time stamp!\n");
    EXPECT_TRUE(result);
    EXPECT_THAT(Commands(), ElementsAre("cat /proc/umap/vpc>> bench_vpc_" + Tick(1) + ".log"));
    EXPECT_THAT(tree.Read(tree.OnlyFile("json", "soc_cpu_bench_info_")),
                HasSubstr(R"("Total time":"","operations per second":"")"));
}

TEST_F(BenchCollectorTest, WithoutATimeAResultIsLeftOut) {
    host.failingTick = 2;
    EXPECT_EQ(Run(R"(["pipe","memset"])").err, "[BenchCollector] Failed to get time stamp!\n");
    EXPECT_TRUE(result);
    EXPECT_THAT(tree.NamesIn("json"), ElementsAre("soc_cpu_bench_info_" + Tick(3) + ".data"));
}

TEST_F(BenchCollectorTest, ATimeThatIsNoNumberIsNone) {
    host.currentTime = [](std::string& time) {
        time = "2023-01-01";
        return true;
    };
    EXPECT_EQ(Run(R"(["stat","vpc"])").err,
              "[BenchCollector] Got non-numeric timestamp!\n"
              "[BenchCollector] Got non-numeric timestamp!\n"
              "[BenchCollector] Got non-numeric timestamp!\n");
    EXPECT_TRUE(result);
    EXPECT_THAT(runner.Commands(), IsEmpty());
    EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
}

TEST_F(BenchCollectorTest, WithoutItsFolderItFails) {
    tree.PutInTheWay("raw_data");
    EXPECT_THAT(Run(kAllJobs).err,
                EndsWith("[BenchCollector] Cannot create bench collect directory!\n"));
    EXPECT_FALSE(result);
    EXPECT_THAT(runner.Commands(), IsEmpty());
}

TEST_F(BenchCollectorTest, AResultThatCannotBeWrittenIsTold) {
    tree.Remove("json");
    EXPECT_EQ(Run(R"(["memset"])").err, "[zarn_utils] Cannot open outfile, check your filePath.\n");
    EXPECT_TRUE(result);
}

// ---- The stop flag

TEST_F(BenchCollectorTest, AStopBeforeTheStartLeavesNothing) {
    stopFlag = 1;
    const Captured captured = Run(kAllJobs);
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out, "[BenchCollector] The process to generate raw data is interrupted!\n");
    EXPECT_EQ(captured.err, kInterrupted);
    EXPECT_THAT(runner.Commands(), IsEmpty());
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

// All jobs run to their end.
TEST_F(BenchCollectorTest, AStopBetweenTheStagesLeavesLogsAndNoResult) {
    runner.Before("perf bench sched messaging", [this](const std::string&) { stopFlag = 1; });
    const Captured captured = Run(kAllJobs);
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out, "[BenchCollector] The process to generate json data is interrupted!\n");
    EXPECT_EQ(captured.err, kInterrupted);
    EXPECT_THAT(Commands(), SizeIs(8));
    EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

TEST_F(BenchCollectorTest, AStopAmongTheResultsIsTooLate) {
    runner.Before("grep GB", [this](const std::string&) { stopFlag = 1; });
    EXPECT_EQ(Run(kAllJobs).out, "");
    EXPECT_TRUE(result);
    EXPECT_THAT(tree.NamesIn("json"), SizeIs(3));
}

}  // namespace
}  // namespace zarn::test
