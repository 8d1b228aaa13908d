#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "collectors/system/mem/mem_collector.h"
#include "tests/support/process_state.h"
#include "tests/unit/collectors/system/mem/mem_collector_fixture.h"

namespace zarn::test {
namespace {

using testing::HasSubstr;

constexpr const char* kNotStarted = "[zarn_utils] Failed to popen command!\n";
constexpr const char* kNoTime = "[MemCollector]: Failed to get collect time!.\n";
constexpr const char* kNoItem = "[MemCollector]: Failed to collect meminfo item!\n";
constexpr const char* kNoFreeSum = "[MemCollector]: Failed to collect meminfo free!\n";
constexpr const char* kNoNumber = "[MemCollector]: free get value is not number!\n";
constexpr const char* kNoSystemValue = "[MemCollector]: Failed to get system value!\n";
constexpr const char* kMissing = "[MemCollector]: Failed to create system json value missing!\n";
constexpr const char* kNoPoolCommand = "[MemCollector]: Failed to get share pool command!\n";
constexpr const char* kPoolEmpty = "[MemCollector]: Failed to get sharepool value empty!\n";
constexpr const char* kPoolMissing = "[MemCollector]: Failed to get sharepool value missing!\n";
constexpr const char* kNoLog = "[MemCollector]: Failed to mem log doesn't Exist !\n";
constexpr const char* kNoDocument = "[zarn_utils] Cannot open outfile, check your filePath.\n";

using MemCollectorFailure = MemCollectorTest;

TEST_F(MemCollectorFailure, WithoutItsFolderItFails) {
    tree.PutInTheWay("raw_data");
    const Captured captured = RunSystem();
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err,
                HasSubstr("[MemCollector]: Failed to create mem collect directory!\n"));
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

TEST_F(MemCollectorFailure, WithoutATimeForItsFilesItFails) {
    host.failingTick = 0;
    const Captured captured = RunSystem();
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[MemCollector]: Failed to collect time!\n"
              "[MemCollector]: Failed to process mem info!\n");
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

TEST_F(MemCollectorFailure, ATableWithoutATimeIsLeftOut) {
    host.failingTick = 1;  // of the counters in the first sample
    EXPECT_EQ(RunSystem(2).err, std::string(kNoTime) + kMissing);
    EXPECT_TRUE(result);
    EXPECT_EQ(Log("soc_gea_meminfo_info").find(Separator()),
              Log("soc_gea_meminfo_info").rfind(Separator()));
    EXPECT_THAT(Log("soc_gea_memory_info"), HasSubstr(Separator() + "total used"));
}

TEST_F(MemCollectorFailure, TheOtherTablesWithoutATimeAreLeftOutToo) {
    host.failingTick = 2;  // of `free`
    EXPECT_EQ(RunSystem().err, kNoTime);
    EXPECT_EQ(Log("soc_gea_memory_info") + Documents("soc_gea_memory_info"), "");
    host.failingTick = 1;  // of the processes
    AddNode("11");
    EXPECT_EQ(RunProcesses().err, kNoTime);
    EXPECT_EQ(Log("soc_gea_process_info"), "");
    EXPECT_EQ(Log("soc_gea_process_smaps_11"), Separator());
}

TEST_F(MemCollectorFailure, ACounterThatFailsLeavesOutItsLogAndTheDocument) {
    const std::string words = "[MemCollector]: mem key information doesn't contain an integer. \n" +
                              std::string(kNoItem) + kMissing;
    runner.On("grep Hugetlb", "\n");
    EXPECT_EQ(RunSystem(2).err, words + words);
    EXPECT_TRUE(result);
    EXPECT_EQ(Log("soc_gea_meminfo_info") + Documents("soc_gea_memory_info"), "");
    EXPECT_THAT(Log("soc_gea_memory_info"), HasSubstr("total used"));
}

TEST_F(MemCollectorFailure, ACounterBeyond32BitsIsToldAsSuch) {
    runner.On("grep KernelStack", "3e+09\n");
    EXPECT_EQ(RunSystem().err, "[MemCollector]: mem key information out of int32 range. \n" +
                                   std::string(kNoItem) + kMissing);
}

TEST_F(MemCollectorFailure, ACommandThatCannotBeStartedFailsItsTable) {
    runner.Refuse("grep KernelStack");
    EXPECT_EQ(RunSystem().err, std::string(kNotStarted) + kNoItem + kMissing);
}

TEST_F(MemCollectorFailure, AFreeThatPrintsNoNumberLeavesOutBothTables) {
    int asked = 0;
    runner.Before("{used+=$3}", [&asked](const std::string&) { ++asked; });
    runner.On("{used+=$3}", "no number\n");
    EXPECT_EQ(RunSystem().err, std::string(kNoFreeSum) + kNoNumber + kNoSystemValue);
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(
        Log("soc_gea_meminfo_info") + Log("soc_gea_memory_info") + Documents("soc_gea_memory_info"),
        "");
}

TEST_F(MemCollectorFailure, AFreeThatPrintsNothingOrGarbageLeavesOutItsTable) {
    runner.On("free -k | awk", "\n").On("free -k", "");
    EXPECT_EQ(RunSystem().err, std::string(kNoFreeSum) + kNoNumber + kNoSystemValue);
    EXPECT_THAT(tree.NamesIn("raw_data/mem"), testing::IsEmpty());
}

TEST_F(MemCollectorFailure, AFreeThatCannotBeStartedDoesSoToo) {
    runner.On("free -k | awk", "1\n").Refuse("free -k");
    EXPECT_EQ(RunSystem().err, std::string(kNotStarted) + kNoSystemValue);
    EXPECT_EQ(Log("soc_gea_memory_info") + Documents("soc_gea_memory_info"), "");
    EXPECT_THAT(Log("soc_gea_meminfo_info"), HasSubstr("pss"));
}

TEST_F(MemCollectorFailure, ASharePoolLineThatIsNoRowLeavesOutItsTable) {
    const std::string head = "PID Group_ID\n11 1 512 0 512 900 800 8 RW\n";
    const std::pair<std::string, std::string> tables[] = {
        {head + "\n", std::string(kPoolEmpty) + kNoPoolCommand},
        {head + "12 1 512\n", std::string(kPoolMissing) + kNoPoolCommand},
        {head + "noone 1 512 0 512 900 800 8 RW\n", std::string(kPoolEmpty) + kNoPoolCommand},
    };
    for (const auto& [text, words] : tables) {
        FakeRunner fresh;
        fresh.On("pidof", "11\n").On("grep Name -s /proc/11/", "node\n").On("grep -A 1000", text);
        host.otherRunner = &fresh;
        EXPECT_EQ(RunProcesses().err, words) << text;
        EXPECT_TRUE(result);
        EXPECT_EQ(Log("soc_gea_sharepool_mem_info"), "") << text;
        EXPECT_THAT(Log("soc_gea_process_info"), HasSubstr("HugePages"));
    }
}

TEST_F(MemCollectorFailure, SharePoolCommandsThatCannotBeStartedLeaveItOut) {
    const std::pair<const char*, std::string> refused[] = {
        {"grep 'Spa",
         std::string(kNotStarted) + "[MemCollector]: Failed to get share pool total num!\n"},
        {"grep -A 1000", std::string(kNotStarted) + kNoPoolCommand},
        {"grep Name", std::string(kNotStarted) +
                          "[MemCollector]: Failed to sharepool pid switch command!\n" +
                          kNoPoolCommand},
    };
    for (const auto& [command, words] : refused) {
        FakeRunner fresh;
        fresh.Refuse(command)
            .On("pidof", "11\n")
            .On("grep -A 1000", "PID\n11 1 512 0 512 900 800 8 RW\n");
        host.otherRunner = &fresh;
        EXPECT_EQ(RunProcesses().err, words) << command;
        EXPECT_EQ(Log("soc_gea_sharepool_mem_info"), "") << command;
    }
}

TEST_F(MemCollectorFailure, ProcessCommandsThatCannotBeStartedLeaveOutTheRow) {
    for (const char* command : {"grep AnonHugePages", "sp_group", "-e Threads"}) {
        FakeRunner fresh;
        fresh.Refuse(command)
            .On("pidof", "11\n")
            .On("smaps | awk", "40\n")
            .On("-e Threads", "node\n64\n1\n2\n3\n4\n5\n6\n7\n");
        host.otherRunner = &fresh;
        EXPECT_EQ(RunProcesses().err, kNotStarted) << command;
        EXPECT_EQ(Log("soc_gea_process_info").find("node"), std::string::npos) << command;
    }
    FakeRunner fresh;
    fresh.Refuse("cat ").On("pidof", "11\n");
    host.otherRunner = &fresh;
    const std::string before = Log("soc_gea_process_smaps_11");
    EXPECT_EQ(RunProcesses().err, kNotStarted);
    EXPECT_EQ(Log("soc_gea_process_smaps_11"), before);
}

TEST_F(MemCollectorFailure, APssThatIsNoNumberOf64BitsLeavesOutTheDocuments) {
    AddNode("11");
    AddProcess("11", std::string(40, '7'), "node");
    EXPECT_EQ(RunProcesses().err,
              "[MemCollector]: Failed to sort process mem!\n"
              "[MemCollector]: Failed to get process log data!\n");
    EXPECT_THAT(Log("soc_gea_process_info"), HasSubstr("node"));
    EXPECT_EQ(Documents("soc_gea_process_info") + Documents("soc_gea_process_static_info") +
                  Documents("soc_gea_process_mem_rawdata_info"),
              "");
}

TEST_F(MemCollectorFailure, WithoutAListOfProcessesThePassStartsAgainUntilTheStop) {
    int asked = 0;
    runner.Refuse("ps -ef").Before("ps -ef",
                                   [&](const std::string&) { stopFlag = ++asked == 3 ? 1 : 0; });
    const std::string words =
        std::string(kNotStarted) + "[MemCollector]: Failed to get all process pid!\n";
    EXPECT_EQ(Run(R"(["process_mem"])").err, words + words + words);
    EXPECT_TRUE(result);
    EXPECT_EQ(host.sleeps.size(), 1U);  // which the stop ends at once
    EXPECT_EQ(Log("soc_gea_sharepool_mem_info"), "");
}

TEST_F(MemCollectorFailure, AListOfNoProcessesIsAskedForAgainInTheNextSample) {
    int asked = 0;
    runner.On("ps -ef", "\n").Before("ps -ef", [&asked](const std::string&) { ++asked; });
    EXPECT_EQ(Run(R"(["process_mem"])", "[]", 3).err, "");
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(host.sleeps.size(), 3U);
}

TEST_F(MemCollectorFailure, LogsAndDocumentsThatCannotBeOpenedAreToldAndTheSampleGoesOn) {
    const std::string ending = std::string("_1_") + kStart;
    for (const char* log :
         {"raw_data/mem/soc_gea_meminfo_info", "raw_data/mem/soc_gea_memory_info",
          "raw_data/mem/soc_gea_sharepool_mem_info", "raw_data/mem/soc_gea_process_info",
          "raw_data/mem/soc_gea_process_smaps_11"}) {
        tree.MakeFolder(log + ending + ".log");
    }
    tree.MakeFolder("json/soc_gea_memory_info" + ending + ".data");
    AddNode("11");
    AddProcess("11", "40", "node");
    const Captured captured = Run(R"(["system_mem","process_mem"])", R"(["node"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, std::string(kNoLog) + kNoLog + kNoDocument + kNoLog + kNoLog + kNoLog);
    EXPECT_THAT(Documents("soc_gea_process_mem_rawdata_info"), HasSubstr("node"));
}

TEST_F(MemCollectorFailure, AFullDiskLeavesEachLogAsItWas) {
    AddNode("11");
    runner.On("cat /proc/11/smaps", std::string(200000, 'x') + "\n");
    AddProcess("11", "40", "node");
    {
        const ScopedFileSizeLimit limit(150000);
        EXPECT_EQ(RunProcesses(2).err, std::string(kNoLog) + kNoLog);
    }
    EXPECT_TRUE(result);
    EXPECT_EQ(Log("soc_gea_process_smaps_11"), "");
    EXPECT_THAT(Log("soc_gea_process_info"), HasSubstr("node"));
}

}  // namespace
}  // namespace zarn::test
