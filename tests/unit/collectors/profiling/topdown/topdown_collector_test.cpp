#include <gmock/gmock.h>

#include "tests/support/key_check.h"
#include "tests/support/section_config.h"
#include "tests/support/topdown_lines.h"
#include "tests/unit/collectors/profiling/topdown/topdown_collector_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST_F(TopdownCollectorTest, TheSystemIsMeasuredAndItsMetricsAreADocument) {
    PerfLeaves(MemoryBoundCounterFile());
    const Captured said = Run(R"(["global"])");
    EXPECT_TRUE(checked && result);
    EXPECT_EQ(said.err, "");
    const std::string raw = std::string("topdown_global_") + kFirst + ".log";
    EXPECT_EQ(said.out, OutputFor({raw}));
    EXPECT_THAT(runner.Commands(), ElementsAre(PerfCommand("", raw)));
    const std::string document =
        Document(std::string("soc_topdown_global_info_1_") + kFirst + ".data");
    EXPECT_EQ(
        document,
        std::string(R"({"eventId":"222200005","happenTime":")") + kFirst +
            R"(","objectId":"soc_topdown_global_info","content":[{)"
            R"("<==":"Backend_Bound.Memory_Bound.L1_Bound",)"
            R"("Backend_Bound":"0.8000","Backend_Bound.Core_Bound":"-0.5600",)"
            R"("Backend_Bound.Core_Bound.Divider":"0.0000",)"
            R"("Backend_Bound.Core_Bound.Exe_Ports_Utilization":"-0.5600",)"
            R"("Backend_Bound.Core_Bound.Exe_Ports_Utilization.ALU_BRU_Ports_Utilized":"0.0000",)"
            R"("Backend_Bound.Core_Bound.Exe_Ports_Utilization.FSU_Ports_Utilized":"0.0000",)"
            R"("Backend_Bound.Core_Bound.Exe_Ports_Utilization.LS_Ports_Utilized":"0.0000",)"
            R"("Backend_Bound.Core_Bound.FSU_Stall":"0.0000",)"
            R"("Backend_Bound.Memory_Bound":"0.5600",)"
            R"("Backend_Bound.Memory_Bound.DRAM_Bound":"0.5000",)"
            R"("Backend_Bound.Memory_Bound.L1_Bound":"0.7000",)"
            R"("Backend_Bound.Memory_Bound.L2_Bound":"0.7000",)"
            R"("Backend_Bound.Memory_Bound.Store_Bound":"0.0000",)"
            R"("Backend_Bound.Resource_Bound":"0.0000",)"
            R"("Backend_Bound.Resource_Bound.PC_buffer_stall":"0.0000",)"
            R"("Backend_Bound.Resource_Bound.Ptag_Stall":"0.0000",)"
            R"("Backend_Bound.Resource_Bound.Rob_Stall":"0.0000",)"
            R"("Backend_Bound.Resource_Bound.SaveOpQ_Stall":"0.0000",)"
            R"("Backend_Bound.Resource_Bound.Sync_Stall":"0.0000",)"
            R"("Bad_Speculation":"0.0000","Bad_Speculation.Branch_Mispredicts":"0.0000",)"
            R"("Bad_Speculation.Branch_Mispredicts.Indirect_Branch":"0.0000",)"
            R"("Bad_Speculation.Branch_Mispredicts.Other_Branch":"0.0000",)"
            R"("Bad_Speculation.Branch_Mispredicts.Pop_Branch":"0.0000",)"
            R"("Bad_Speculation.Branch_Mispredicts.Push_Branch":"0.0000",)"
            R"("Bad_Speculation.Machine_Clears":"0.0000",)"
            R"("Bad_Speculation.Machine_Clears.Nuke_Flush":"0.0000",)"
            R"("Bad_Speculation.Machine_Clears.Other_Flush":"1.0000",)"
            R"("Frontend_Bound":"0.0000","Frontend_Bound.Fetch_Bandwidth":"0.0000",)"
            R"("Frontend_Bound.Fetch_Latency":"0.0000",)"
            R"("Frontend_Bound.Fetch_Latency.BP_Misp_Flush":"0.0050",)"
            R"("Frontend_Bound.Fetch_Latency.ICache_Misses":"0.0000",)"
            R"("Frontend_Bound.Fetch_Latency.ICache_Misses.L1_ICache_MISS":"0.0000",)"
            R"("Frontend_Bound.Fetch_Latency.ICache_Misses.L2_ICache_MISS":"0.0000",)"
            R"("Frontend_Bound.Fetch_Latency.ITLB_Misses":"0.0000",)"
            R"("Frontend_Bound.Fetch_Latency.ITLB_Misses.L1_ITBL_MISS":"0.0000",)"
            R"("Frontend_Bound.Fetch_Latency.ITLB_Misses.L2_ITBL_MISS":"0.0000",)"
            R"("Frontend_Bound.Fetch_Latency.OOO_Flush":"0.0050",)"
            R"("Frontend_Bound.Fetch_Latency.SP_Flush":"0.0000","Retiring":"0.2000"}]})"
            "\n");
    EXPECT_THAT(tree.Read("env_info/time_cost.log"), StartsWith("[TopdownCollector] cost time: "));
}

TEST_F(TopdownCollectorTest, JobsFollowInTheirOrderEachWithOneTimeOfItsOwn) {
    PerfLeaves(CounterFile({{"r11", 1000}}));
    runner.On("pidof planner", "41\n").On("pidof camera", "77\n");
    const Captured said =
        Run(R"(["process","core","global"])", "[3,0,3]", R"(["planner","camera","planner"])", "7");
    EXPECT_TRUE(checked && result);
    const std::string first = kFirst;
    const std::string second = kSecond;
    const std::string third = kThird;
    const std::vector<std::string> raw = {
        "topdown_global_" + first + ".log",         "topdown_core_3_" + second + ".log",
        "topdown_core_0_" + second + ".log",        "topdown_core_3_" + second + ".log",
        "topdown_process_camera_" + third + ".log", "topdown_process_planner_" + third + ".log"};
    EXPECT_THAT(
        runner.Commands(),
        ElementsAre("pidof planner", "pidof camera", "pidof planner", PerfCommand("", raw[0], "7"),
                    PerfCommand("-C 3 ", raw[1], "7"), PerfCommand("-C 0 ", raw[2], "7"),
                    PerfCommand("-C 3 ", raw[3], "7"), PerfCommand("-p 77 ", raw[4], "7"),
                    PerfCommand("-p 41 ", raw[5], "7")));
    EXPECT_EQ(said.out, OutputFor(raw));
    const auto head = [](const std::string& time, const std::string& objectId) {
        return R"({"eventId":"222200005","happenTime":")" + time + R"(","objectId":")" + objectId +
               R"(","content":[{"<==":")";
    };
    EXPECT_THAT(Document("soc_topdown_global_info_1_" + first + ".data"),
                StartsWith(head(first, "soc_topdown_global_info")));
    EXPECT_THAT(Document("soc_topdown_core_info_core0_1_" + second + ".data"),
                StartsWith(head(second, "soc_topdown_core_info")));
    EXPECT_THAT(Document("soc_topdown_process_info_processcamera_1_" + third + ".data"),
                StartsWith(head(third, "soc_topdown_process_info")));
    EXPECT_THAT(Document("soc_topdown_process_info_processplanner_1_" + third + ".data"),
                StartsWith(head(third, "soc_topdown_process_info")));
    // Named twice, measured twice into the same file, and told twice.
    const std::string twice = Document("soc_topdown_core_info_core3_1_" + second + ".data");
    EXPECT_EQ(twice.substr(0, twice.size() / 2), twice.substr(twice.size() / 2));
}

TEST_F(TopdownCollectorTest, CoresAndProcessesOfOtherJobsAreNotRead) {
    PerfLeaves("");
    (void)Run(R"(["global"])", "{\"any\":1}", "null", "0");
    EXPECT_TRUE(checked && result);
    EXPECT_THAT(runner.Commands(), ElementsAre(PerfCommand(
                                       "", std::string("topdown_global_") + kFirst + ".log", "0")));
}

TEST_F(TopdownCollectorTest, AFileWithoutCountersGivesTheBottleneckAlone) {
    for (const char* text : {"", "# started on\n\n", "x\ny;z\n", "\n\n\n"}) {
        host.ticks = 0;
        tree.Remove("json");
        tree.MakeFolder("json");
        PerfLeaves(text);
        const Captured said = Run(R"(["global"])");
        EXPECT_TRUE(result);
        EXPECT_EQ(said.err,
                  "[TopdownCollector] Event don't contain CPU_CYCLES\n"
                  "[TopdownCollector] Frontend Bound zero division !\n"
                  "[TopdownCollector] Bad Speculation zero division !\n"
                  "[TopdownCollector] Retiring zero division !\n"
                  "[TopdownCollector] Backend Bound zero division !\n");
        EXPECT_THAT(Document(std::string("soc_topdown_global_info_1_") + kFirst + ".data"),
                    testing::EndsWith("\"content\":[{\"<==\":\"\"}]}\n"));
    }
}

TEST_F(TopdownCollectorTest, EachFileIsAnAnalysisOfItsOwn) {
    PerfLeaves("2.0;5;;r11\n");
    const Captured said = Run(R"(["core"])", "[0,1]");
    const std::string line = "[TopdownCollector] Event don't contain fetch_bubble\n";
    const std::size_t first = said.err.find(line);
    ASSERT_NE(first, std::string::npos);
    EXPECT_NE(said.err.find(line, first + 1), std::string::npos);
}

TEST_F(TopdownCollectorTest, ARunOfTheSameTimeAddsALine) {
    PerfLeaves(CounterFile({{"r11", 1000}}));
    (void)Run(R"(["global"])");
    const std::string name = std::string("soc_topdown_global_info_1_") + kFirst + ".data";
    const std::string once = Document(name);
    host.ticks = 0;
    (void)Run(R"(["global"])");
    EXPECT_EQ(Document(name), once + once);
}

TEST_F(TopdownCollectorTest, NoNumberReachesTheDocumentWithoutASign) {
    PerfLeaves(CounterFile({{"r11", 1000}, {"r1b", 10}}));
    (void)Run(R"(["global"])");
    const std::string document =
        Document(std::string("soc_topdown_global_info_1_") + kFirst + ".data");
    EXPECT_THAT(document, HasSubstr(R"("Bad_Speculation.Machine_Clears":"nan")"));
    EXPECT_THAT(document, Not(HasSubstr("-nan")));
}

TEST_F(TopdownCollectorTest, TheOptionCheckProvesTheKeysAndTheDurationAlone) {
    Captured said = Run("5", "\"x\"", "[1]", "0");
    EXPECT_TRUE(checked);
    EXPECT_FALSE(result);
    EXPECT_EQ(said.err,
              "[TopdownCollector] Invalid TopdownCollector param type! Should be array type!\n"
              "[TopdownCollector] Failed to check topdown job list!\n");
    said = Run("5", "\"x\"", "[1]", "-1");
    EXPECT_FALSE(checked);
    EXPECT_THAT(said.err, StartsWith("[TopdownCollector] Invalid TopdownCollector param type "
                                     "(duration)! Should be uint type!\n"));
}

TEST_F(TopdownCollectorTest, OnceItsJobsAreKnownTheOptionCheckLooksAtElementsToo) {
    runner.On("pidof", "41\n").On("/proc/cpuinfo", "2\n");
    const JsonDocument good =
        ParsedConfigOf("TopdownCollector",
                       R"({"job":["core","process"],"core":[0],"process":["p"],"duration":1})");
    TopdownCollector collector(TopdownCollector::kName, host.Get());
    (void)Capture([&] { EXPECT_TRUE(collector.Start(good, tree.Path(), &stopFlag)); });
    EXPECT_TRUE(collector.CheckOptions(good, "collector"));
    for (const auto& [lists, line] : std::initializer_list<std::pair<const char*, const char*>>{
             {R"("core":[0],"process":[1])",
              "[TopdownCollector] Invalid TopdownCollector process type (process)! Should be "
              "string type!\n"},
             {R"("core":[2],"process":[])",
              "[zarn_utils] Invalid coreID value: 2, it should less than 2 !\n"
              "[TopdownCollector] Invalid TopdownCollector core 2 !\n"}}) {
        const JsonDocument config = ParsedConfigOf(
            "TopdownCollector", R"({"job":[],"duration":1,)" + std::string(lists) + "}");
        const Captured said =
            Capture([&] { EXPECT_FALSE(collector.CheckOptions(config, "collector")); });
        EXPECT_EQ(said.err, line);
    }
}

TEST_F(TopdownCollectorTest, TheKeysAreWhatCheckAndStartTake) {
    runner.On("pidof", "41\n");
    ExpectKeysHold("TopdownCollector", TopdownCollector::Keys(),
                   R"({"TopdownCollector":{"job":["global","core","process"],"core":[0],)"
                   R"("process":["p"],"duration":1}})",
                   [this](const JsonDocument& config) {
                       TopdownCollector collector(TopdownCollector::kName, host.Get());
                       return collector.CheckOptions(config, "collector") &&
                              collector.Start(config, tree.Path(), &stopFlag);
                   });
}

}  // namespace
}  // namespace zarn::test
