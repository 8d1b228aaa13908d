#include "collectors/system/mem/mem_collector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/unit/collectors/system/mem/mem_collector_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr const char* kColumns =
    "PID HugePages RSS PSS USS SP_ALLOC VSS VmData VmStk VmExe VmLib VmPTE Threads FDSize COMMAND";

// The cells of a process as AddProcess describes it.
std::string Cells(const std::string& pid, const std::string& pss, const std::string& name,
                  const std::string& alloc = "0K") {
    return pid + " " + pss + "K " + pss + "K " + pss + "K " + pss + "K " + alloc +
           " 100K 200K 300K 400K 500K 600K 7 64 " + name;
}

std::string DocumentHead(const std::string& name, const std::string& time) {
    return R"({"objectId":")" + name + R"(","happenTime":")" + time +
           R"(","eventId":"962201576","content":[)";
}

std::string SystemDocument(const std::string& time) {
    return DocumentHead("soc_gea_memory_info", time) +
           R"({"memInfo":{"total":"200","used":"300","free":"400","shared":"500","cache":"600",)"
           R"("avail":"700","pss":"1000","pagetable":"200","slabInfo":"1234570","hugetlb":"0",)"
           R"("kermod":"27168","kernelStack":"9512","sum":"1272450"}}]})"
           "\n";
}

// How often `text` stands in the command lines.
std::size_t CountOf(const std::vector<std::string>& commands, const std::string& text) {
    return static_cast<std::size_t>(std::count_if(
        commands.begin(), commands.end(),
        [&text](const std::string& command) { return command.find(text) != std::string::npos; }));
}

TEST_F(MemCollectorTest, SamplesTheSystemByThesePipelines) {
    EXPECT_EQ(RunSystem().err, "");
    EXPECT_TRUE(result);
    EXPECT_THAT(
        runner.Commands(),
        ElementsAre("grep Pss -s /proc/[1-9]*/smaps | awk '{total+=$2}; END {print total}'",
                    "grep PageTables -s /proc/meminfo | awk '{print $2}'",
                    "cat /proc/slabinfo |awk 'BEGIN{sum=0;}{sum=sum+$3*$4;}END{print sum/1024}'",
                    "grep Hugetlb -s /proc/meminfo | awk '{print $2}'",
                    "grep vmalloc -s /proc/vmallocinfo | awk '{total+=$2}; END {print total/1024}'",
                    "grep KernelStack -s /proc/meminfo | awk '{print $2}'",
                    "free -k | awk '{used+=$3}; END {print used}'", "free -k",
                    "free -k | awk '{used+=$2}; END {print used}'",
                    "free -k | awk '{used+=$3}; END {print used}'",
                    "free -k | awk '{used+=$4}; END {print used}'",
                    "free -k | awk '{used+=$5}; END {print used}'",
                    "free -k | awk '{used+=$6}; END {print used}'",
                    "free -k | awk '{used+=$7}; END {print used}'"));
}

TEST_F(MemCollectorTest, EachTableHasOneFileARunAndEachDocumentItsOwnTime) {
    const Captured captured = Run(R"(["system_mem"])", "[]", 2, 7);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_THAT(host.sleeps, ElementsAre(7U, 7U));
    const std::string counters =
        LogRow("pss pagetable slabInfo hugetlb kermod kernelStack sum used") +
        LogRow("1000 200 1234570 0 27168 9512 1272450 300") + Separator();
    EXPECT_EQ(Log("soc_gea_meminfo_info"), counters + counters);
    const std::string freeText = "total used\nMem: 1 2\n" + Separator();
    EXPECT_EQ(Log("soc_gea_memory_info"), freeText + freeText);
    // The clock moves on with each question: the start, then two tables a sample.
    EXPECT_EQ(Documents("soc_gea_memory_info"),
              SystemDocument("20230101120000002") + SystemDocument("20230101120000004"));
    EXPECT_THAT(tree.Read("env_info/time_cost.log"),
                MatchesRegex("\\[MemCollector\\] cost time: [0-9.]+s\n"));
    EXPECT_EQ(Log("soc_gea_sharepool_mem_info") + Log("soc_gea_process_info"), "");
}

TEST_F(MemCollectorTest, TheSumWrapsAt32Bits) {
    for (const char* command : {"grep Pss -s", "grep PageTables", "grep Hugetlb"}) {
        runner.On(command, "2147483647\n");
    }
    (void)RunSystem();
    // 3 * (2^31 - 1) + 1234570 + 27168 + 9512 - 2^32
    EXPECT_THAT(Documents("soc_gea_memory_info"), HasSubstr(R"("sum":"2148754895")"));
}

TEST_F(MemCollectorTest, SamplesAProcessByThesePipelines) {
    AddNode("11");
    AddProcess("11", "40", "node");
    EXPECT_EQ(RunProcesses().err, "");
    EXPECT_TRUE(result);
    EXPECT_THAT(
        runner.Commands(),
        ElementsAre(
            "pidof node", R"(grep 'Spa\|spa' -s /proc/sharepool/proc_stat)",
            "grep -A 1000 'PID' -s /proc/sharepool/proc_stat",
            "grep Name -s /proc/11/status | awk '{print $2}'",
            "grep AnonHugePages -s /proc/11/smaps | awk '{total+=$2}; END {print total}'",
            "grep Rss -s /proc/11/smaps | awk '{total+=$2}; END {print total}'",
            "grep Pss -s /proc/11/smaps | awk '{total+=$2}; END {print total}'",
            "grep  -e Private_Clean -e Private_Dirty -s /proc/11/smaps | awk '{total+=$2}; END "
            "{print total}'",
            "grep 11 -s /proc/11/sp_group |  awk '{print $3}'",
            "grep -e Name -e FDSize -e VmSize -e VmData -e VmStk -e VmExe -e VmLib -e VmPTE -e "
            "Threads -s /proc/11/status | awk '{print $2}'",
            "cat /proc/11/smaps 2>/dev/null"));
}

TEST_F(MemCollectorTest, WritesTheProcessTablesInTheirOrders) {
    AddNode("11 12");
    runner.On("grep 12 -s /proc/12/sp_group", "512\n8\n");
    AddProcess("11", "40", "node");
    AddProcess("12", "50", "other");
    const Captured captured = RunProcesses();
    EXPECT_EQ(captured.out + captured.err, "");
    const std::string node = Cells("11", "40", "node");
    const std::string other = Cells("12", "50", "other", "520K");
    EXPECT_EQ(Log("soc_gea_process_info"),
              LogRow(kColumns) + LogRow(node) + LogRow(other) + Separator());
    // The greatest PSS first; the order of the pids; the greatest first.
    const std::string time = "20230101120000001";
    EXPECT_EQ(Documents("soc_gea_process_static_info"),
              DocumentHead("soc_gea_process_static_info", time) + R"({"procFields":")" + kColumns +
                  R"("},{"procInfo":")" + other + R"("},{"procInfo":")" + node + "\"}]}\n");
    EXPECT_THAT(Documents("soc_gea_process_info"),
                HasSubstr(R"({"procInfo":"12 50K 50K 50K 50K 520K 100K 200K 300K 400K 500K 600K 7 )"
                          R"(other"},{"procInfo":"11 )"));
    EXPECT_THAT(Documents("soc_gea_process_mem_rawdata_info"),
                MatchesRegex(R"(.*"happenTime":"20230101120000001".*"process":..)"
                             R"("PID":"11",.*"COMMAND":"node".,.)"
                             R"("PID":"12",.*"COMMAND":"other".....)"
                             "\n"));
    EXPECT_EQ(Log("soc_gea_process_smaps_11"), "mappings of 11\n" + Separator());
    EXPECT_EQ(Log("soc_gea_process_smaps_12"), "mappings of 12\n" + Separator());
}

TEST_F(MemCollectorTest, LogsTheSharePoolWithTheNamesOfItsProcesses) {
    AddNode("11");
    (void)RunProcesses();
    EXPECT_EQ(Log("soc_gea_sharepool_mem_info"),
              "Spa_total_num 1.\n" +
                  LogRow("PID Group_ID SP_ALLOC SP_K SP_R VIRT RES Shm PROT COMMAND") +
                  LogRow("11 1 512 0 512 900 800 8 RW node") + "-- guard --\n" + Separator());
}

TEST_F(MemCollectorTest, WithoutASharePoolItsLogHoldsTheHead) {
    AddNode("11");
    runner.On("/proc/sharepool", "");
    EXPECT_EQ(RunProcesses().err, "");
    EXPECT_EQ(Log("soc_gea_sharepool_mem_info"),
              LogRow("PID Group_ID SP_ALLOC SP_K SP_R VIRT RES Shm PROT COMMAND") + Separator());
}

TEST_F(MemCollectorTest, AllProcessesAreWatchedWhereNoneIsNamed) {
    AddProcess("11", "40", "node");
    const Captured captured = Run(R"(["process_mem"])", "[]", 2);
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(CountOf(runner.Commands(),
                      R"(ps -ef | awk '$8 !~ /\[|\]|sshd|-bash|sleep|ps|awk|sh|bash/ {print $2}')"),
              1U);
    // The word "PID" ends at its first pipeline, and has no smaps.
    EXPECT_EQ(CountOf(runner.Commands(), "/proc/PID/"), 2U);
    const std::string table = LogRow(kColumns) + LogRow(Cells("11", "40", "node")) + Separator();
    EXPECT_EQ(Log("soc_gea_process_info"), table + table);
    EXPECT_EQ(Log("soc_gea_process_smaps_PID"), "");
}

TEST_F(MemCollectorTest, NamesThatDoNotRunAreToldAndAllAreWatchedIfNoneDoes) {
    runner.On("pidof gone", "");
    AddProcess("11", "40", "node");
    const Captured captured = Run(R"(["process_mem"])", R"(["gone","gone too"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[MemCollector]: Not exist process: \"gone\"\n"
              "[MemCollector]: Not exist process: \"gone too\"\n");
    EXPECT_THAT(Log("soc_gea_process_info"), HasSubstr(LogRow(Cells("11", "40", "node"))));
}

TEST_F(MemCollectorTest, NoNameIsLookedUpForTheSystemAlone) {
    (void)Run(R"(["system_mem"])", R"(["node"])");
    EXPECT_EQ(CountOf(runner.Commands(), "pidof"), 0U);
}

TEST_F(MemCollectorTest, ElevenProcessesLeaveTenInTheSortedTables) {
    for (const std::size_t size : {std::size_t{10}, std::size_t{11}}) {
        std::string pids;
        for (std::size_t i = 0; i < size; ++i) {
            const std::string pid = std::to_string(size * 100 + i);
            pids += pid + " ";
            AddProcess(pid, std::to_string(1000 - i), "node");
        }
        const std::string name = "n" + std::to_string(size);
        runner.On("pidof " + name, pids + "\n");
        tree.Remove("json");
        tree.MakeFolder("json");
        (void)Run(R"(["process_mem"])", "[\"" + name + "\"]");
        for (const char* table : {"soc_gea_process_info", "soc_gea_process_static_info"}) {
            const std::string text = Documents(table);
            EXPECT_EQ(CountOf({text}, "\"procInfo\":\"" + std::to_string(size * 100) + " "), 1U);
            std::size_t rows = 0;
            for (std::size_t at = 0; (at = text.find("procInfo", at)) != std::string::npos; ++at) {
                ++rows;
            }
            EXPECT_EQ(rows, 10U) << table;
        }
        EXPECT_THAT(Documents("soc_gea_process_mem_rawdata_info"),
                    HasSubstr("\"PID\":\"" + std::to_string(size * 100 + size - 1) + "\""));
    }
}

TEST_F(MemCollectorTest, AProcessOfWhichAPartIsMissingHasNoRow) {
    AddNode("11 21 22 23 24 25");
    AddProcess("11", "40", "node");
    runner.On("Private_Clean -e Private_Dirty -s /proc/21/", "\n");  // it ended in between
    runner.On("Threads -s /proc/22/status", "kthreadd\n64\n1\n");    // a kernel thread
    runner.On("Threads -s /proc/23/status", "");                     // ended before the last
    runner.On("grep Rss -s /proc/24/smaps", "2.14748e+09\n");        // 2 TB
    runner.On("grep 25 -s /proc/25/sp_group", "K\n");
    for (const char* pid : {"21", "22", "23", "24", "25"}) {
        AddProcess(pid, "50", "gone");
    }
    EXPECT_EQ(RunProcesses().err, "");
    EXPECT_EQ(Log("soc_gea_process_info"),
              LogRow(kColumns) + LogRow(Cells("11", "40", "node")) + Separator());
    EXPECT_EQ(CountOf({Documents("soc_gea_process_mem_rawdata_info")}, "\"PID\":\"2"), 0U);
}

TEST_F(MemCollectorTest, AVanishedProcessLeavesItsSeparatorInTheSmapsLog) {
    AddNode("21");
    (void)RunProcesses();
    EXPECT_EQ(Log("soc_gea_process_smaps_21"), Separator());
    EXPECT_EQ(Log("soc_gea_process_info"), LogRow(kColumns) + Separator());
    EXPECT_THAT(Documents("soc_gea_process_mem_rawdata_info"), HasSubstr("\"process\":[]"));
}

TEST_F(MemCollectorTest, WordsOfToolsDoNotBecomeShellSyntax) {
    AddNode("$(reboot) 1;2");
    (void)RunProcesses();
    EXPECT_EQ(CountOf(runner.Commands(), "/proc/\\$\\(reboot\\)/smaps"), 1U);
    EXPECT_EQ(CountOf(runner.Commands(), "/proc/1\\;2/smaps"), 1U);
    EXPECT_EQ(CountOf(runner.Commands(), "cat "), 0U);
}

TEST_F(MemCollectorTest, ACollectorOfBothJobsWritesAllTables) {
    AddNode("11");
    AddProcess("11", "40", "node");
    EXPECT_EQ(Run(R"(["process_mem","system_mem"])", R"(["node"])").err, "");
    EXPECT_EQ(Documents("soc_gea_memory_info"), SystemDocument("20230101120000002"));
    EXPECT_THAT(Documents("soc_gea_process_mem_rawdata_info"), HasSubstr("20230101120000003"));
}

TEST_F(MemCollectorTest, AStopBeforeTheStartTakesNoSample) {
    stopFlag = 1;
    const Captured captured = RunSystem(5);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_THAT(runner.Commands(), IsEmpty());
    EXPECT_THAT(host.sleeps, IsEmpty());
    EXPECT_THAT(tree.Read("env_info/time_cost.log"), HasSubstr("[MemCollector] cost time"));
}

TEST_F(MemCollectorTest, AStopInThePauseKeepsWhatWasSampled) {
    host.duringSleep = [this] { stopFlag = 1; };
    (void)RunSystem(5);
    EXPECT_TRUE(result);
    EXPECT_EQ(host.sleeps.size(), 1U);
    EXPECT_EQ(Documents("soc_gea_memory_info"), SystemDocument("20230101120000002"));
}

// The command at which the stop comes, and what is written then: it is tested between tables and
// between pids, and a table that is cut short is not written.
TEST_F(MemCollectorTest, AStopLeavesOutTheTableInHandAndAllBehindIt) {
    const std::pair<const char*, const char*> stops[] = {
        {"grep Hugetlb", ""},
        {"{used+=$5}", "soc_gea_meminfo_info"},
        {"grep Name -s /proc/11", "soc_gea_meminfo_info soc_gea_memory_info"},
        {"grep Rss -s /proc/12/",
         "soc_gea_meminfo_info soc_gea_memory_info soc_gea_sharepool_mem_info"},
        {"cat /proc/12/smaps",
         "soc_gea_meminfo_info soc_gea_memory_info soc_gea_sharepool_mem_info "
         "soc_gea_process_info soc_gea_process_smaps_11"},
    };
    AddNode("11 12 13");
    for (const char* pid : {"11", "12", "13"}) {
        AddProcess(pid, "40", "node");
    }
    std::string current;
    runner.Before("", [&](const std::string& command) {
        if (command.find(current) != std::string::npos) {
            stopFlag = 1;
        }
    });
    for (const auto& [command, written] : stops) {
        current = command;
        stopFlag = 0;
        tree.Remove("raw_data");
        const std::size_t before = CountOf(runner.Commands(), "/proc/13/");
        EXPECT_EQ(Run(R"(["system_mem","process_mem"])", R"(["node"])", 3).err, "") << command;
        EXPECT_TRUE(result) << command;
        std::string logs;
        for (const char* name :
             {"soc_gea_meminfo_info", "soc_gea_memory_info", "soc_gea_sharepool_mem_info",
              "soc_gea_process_info", "soc_gea_process_smaps_11", "soc_gea_process_smaps_12",
              "soc_gea_process_smaps_13"}) {
            if (!Log(name).empty()) {
                logs.append(logs.empty() ? "" : " ").append(name);
            }
        }
        EXPECT_EQ(logs, written) << command;
        const bool rowsWereRead = std::string(command) == "cat /proc/12/smaps";
        EXPECT_EQ(CountOf(runner.Commands(), "/proc/13/") - before, rowsWereRead ? 6U : 0U);
    }
}

}  // namespace
}  // namespace zarn::test
