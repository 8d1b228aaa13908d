#include "analyzers/cpu/cpu_analyzer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/analyzers/cpu/cpu_analysis_fixture.h"

namespace zarn {
namespace {

using test::CpuRunTree;
using testing::ElementsAre;

constexpr const char* kAllJobs = R"("global","process_set","core")";
constexpr const char* kCoresLine = "[CpuAnalyzer] Get CPU Cores = 2\n";
constexpr const char* kFinished =
    "[CpuAnalyzer] Get CPU Cores = 2\n[CpuAnalyzer] CpuAnalyzer Finished!\n";

// A statistics block without an extreme.
std::string Flat(const std::string& value) {
    return R"({"meanUsage":")" + value + R"(","maxUsage":")" + value + R"(","minUsage":")" + value +
           R"(","peak":[],"trought":[]})";
}

std::string Usage(const std::string& mean, const std::string& maximum, const std::string& minimum) {
    return R"("meanUsage":")" + mean + R"(","maxUsage":")" + maximum + R"(","minUsage":")" +
           minimum + R"(")";
}

std::string Process(const std::string& pid, const std::string& command, const std::string& usage) {
    return R"({"procPID":")" + pid + R"(","procCommand":")" + command + R"(",)" + usage + "}";
}

std::string Document(const std::string& time, const std::string& objectId,
                     const std::string& content) {
    return R"({"eventId":"222210010","happenTime":")" + time + R"(","objectId":")" + objectId +
           R"(","content":{)" + content + "}}\n";
}

std::string GlobalDocument(const std::string& content) {
    return Document("20230101120000111", "soc_cpu_ana_global", content);
}

const std::string kWorker = Process("20", "worker", Usage("65.000000", "80.000000", "50.000000"));
const std::string kInit = Process("1", "init", Usage("13.333333", "20.000000", "10.000000"));
const std::string kHelper = Process("3", "helper", Usage("1.000000", "2.000000", "0.000000"));
const std::string kGlobalHead = R"("task":"11.000000","loadAverage":[3.0,2.0,2.0])";
const std::string kTotalStatistics = Usage("57.333333", "100.000000", "12.000000");
const std::string kTotalExtremes =
    R"("peak":[{"cpuValue":"100.000000","timeStamp":"20230101120005123"}],"trought":[])";
const std::string kFieldsMember = R"("fields":"us, sy, id, hi, si, st")";

TEST(CpuAnalyzerTest, WritesTheGlobalDocuments) {
    const CpuRunTree tree;
    tree.WriteCollection();
    const CpuRunTree::Result result = tree.Analyze(R"("global")");
    EXPECT_TRUE(result.succeeded);
    EXPECT_EQ(result.captured.out, kFinished);
    EXPECT_EQ(result.captured.err, "");
    EXPECT_EQ(
        tree.Files().Read("json/soc_cpu_ana_global_20230101120000111.data"),
        GlobalDocument(
            kGlobalHead + "," + kFieldsMember + R"(,"hi":)" + Flat("1.000000") + R"(,"id":{)" +
            Usage("73.333333", "80.000000", "60.000000") +
            R"(,"peak":[],"trought":[{"cpuValue":"60.000000","timeStamp":"20230101120005123"}]})" +
            R"(,"si":)" + Flat("2.000000") + R"(,"sy":)" + Flat("5.000000") + R"(,"us":{)" +
            Usage("16.666667", "30.000000", "10.000000") +
            R"(,"peak":[{"cpuValue":"30.000000","timeStamp":"20230101120005123"}],"trought":[]})") +
            GlobalDocument(R"("top10ProcInfo":{"Top_1":)" + kWorker + R"(,"Top_2":)" + kInit +
                           R"(,"Top_3":)" + kHelper + "}") +
            GlobalDocument(R"("cpuTotalInfo":{)" + kGlobalHead + "," + kTotalStatistics + "," +
                           kTotalExtremes + "}"));
}

TEST(CpuAnalyzerTest, AddsAllProcessesToTheDocumentsOfTheCollector) {
    const CpuRunTree tree;
    tree.WriteCollection();
    EXPECT_TRUE(tree.Analyze(R"("global")").succeeded);
    EXPECT_EQ(
        tree.Files().Read("json/soc_cpu_ana_all_procs_usage_info_20230101120000111.data"),
        R"({"eventId":"962201576","happenTime":"20230101120000123","content":{"cpu":[],)"
        R"("allProcsInfo":[)"
        R"({"procInfo":"app 20 20 0 13107200.0 2048 1024 R 50.0 1.0 0:10.00 worker"},)"
        R"({"procInfo":"root 1 20 0 51944 20256 6520 S 10.0 0.1 0:02.70 init"},)"
        R"({"procInfo":"root 3 20 0 0 0 0 I 0.0 0.0 0:00.00 helper"}]}})"
        "\n"
        R"({"eventId":"962201576","happenTime":"20230101120005123","content":{"allProcsInfo":[)"
        R"({"procInfo":"app 20 20 0 13107200.0 2048 1024 R 80.0 1.0 0:14.00 worker"},)"
        R"({"procInfo":"root 1 20 0 51944 20256 6520 S 20.0 0.1 0:03.70 init"}]}})"
        "\n"
        R"({"eventId":"962201576","happenTime":"20230101120010123","content":)"
        R"({"procs":[{"a":"b"}],"allProcsInfo":[)"
        R"({"procInfo":"root 1 20 0 51944 20256 6520 S 10.0 0.1 0:04.20 init"},)"
        R"({"procInfo":"root 3 20 0 0 0 0 I 2.0 0.0 0:00.10 helper"}]}})"
        "\n");
}

TEST(CpuAnalyzerTest, WritesTheProcessSets) {
    const CpuRunTree tree;
    tree.WriteCollection();
    EXPECT_TRUE(tree.Analyze(R"("process_set")").succeeded);
    EXPECT_EQ(tree.Files().Read("json/soc_cpu_ana_selected_process_20230101120000111.data"),
              GlobalDocument(
                  R"("procSetInfo":{"all":{"procInfo":[)" + kWorker + "," + kInit + "," + kHelper +
                  "]," + kTotalStatistics + R"(,"usagePercent":"28.666667",)" + kTotalExtremes +
                  R"(},"small":{"procInfo":[)" + kHelper + "]," +
                  Usage("1.000000", "2.000000", "0.000000") +
                  R"(,"usagePercent":"0.500000","peak":[],"trought":[]},"none":{"procInfo":[],)" +
                  Usage("0.000000", "0.000000", "0.000000") +
                  R"(,"usagePercent":"0.000000","peak":[],"trought":[]}})"));
    const std::string table =
        "Times,all_total,small_total,none_total,\n"
        "'20230101120000123,60,0,,\n'20230101120005123,100,,,\n'20230101120010123,12,2,,\n";
    const char* const tableName =
        "raw_data/cpu/soc_cpu_ana_selected_process_rawdata_20230101120000111.csv";
    EXPECT_EQ(tree.Files().Read(tableName), table);
    EXPECT_TRUE(tree.Analyze(R"("process_set")").succeeded);
    EXPECT_EQ(tree.Files().Read(tableName), table + table);
}

TEST(CpuAnalyzerTest, WritesTheCores) {
    const CpuRunTree tree;
    tree.WriteCollection();
    EXPECT_TRUE(tree.Analyze(R"("core")").succeeded);
    EXPECT_EQ(
        tree.Files().Read("json/soc_cpu_ana_core_20230101120000222.data"),
        Document("20230101120000222", "soc_cpu_ana_core",
                 R"("task":"11.000000","loadAverage":[3.0,1.5,2.0],)" + kFieldsMember +
                     R"(,"coresUsageSorted":[{"coreID":"Cpu1","meanUsage":"50.000000"},)"
                     R"({"coreID":"Cpu0","meanUsage":"20.000000"}],"cpuUsage":[{"coreID":"Cpu0",)"
                     R"("hi":)" +
                     Flat("1.000000") + R"(,"id":{)" +
                     Usage("80.000000", "90.000000", "70.000000") +
                     R"(,"peak":[],"trought":[]},"si":)" + Flat("3.000000") + R"(,"sy":)" +
                     Flat("2.000000") + R"(,"us":{)" + Usage("14.000000", "24.000000", "4.000000") +
                     R"(,"peak":[],"trought":[]}},{"coreID":"Cpu1","hi":)" + Flat("1.000000") +
                     R"(,"id":)" + Flat("50.000000") + R"(,"si":)" + Flat("3.000000") +
                     R"(,"sy":)" + Flat("6.000000") + R"(,"us":)" + Flat("40.000000") + "}]"));
    EXPECT_EQ(tree.Files().Read("raw_data/cpu/soc_cpu_ana_core_rawdata_20230101120000222.csv"),
              "CoreID,Field,'20230101120000456,'20230101120005456,\n"
              "Cpu0,hi,1,1,\nCpu0,id,90,70,\nCpu0,si,3,3,\nCpu0,sy,2,2,\nCpu0,us,4,24,\n"
              "Cpu1,hi,1,1,\nCpu1,id,50,50,\nCpu1,si,3,3,\nCpu1,sy,6,6,\nCpu1,us,40,40,\n");
    // The total comes from the usage log, which these jobs do not read.
    EXPECT_EQ(tree.Files().Read("raw_data/cpu/soc_cpu_ana_loading_rawdata_20230101120000222.csv"),
              "happen_time,total,Cpu0,Cpu1,\n");
}

TEST(CpuAnalyzerTest, AllJobsTogetherWriteTheseFiles) {
    const CpuRunTree tree;
    tree.WriteCollection();
    const CpuRunTree::Result result = tree.Analyze(kAllJobs);
    EXPECT_TRUE(result.succeeded);
    EXPECT_EQ(result.captured.out, kFinished);
    EXPECT_EQ(result.captured.err, "");
    EXPECT_THAT(
        tree.Files().Names(),
        ElementsAre(
            "env_info/time_cost.log",
            "json/soc_cpu_ana_all_procs_usage_info_20230101120000111.data",
            "json/soc_cpu_ana_core_20230101120000222.data",
            "json/soc_cpu_ana_global_20230101120000111.data",
            "json/soc_cpu_ana_selected_process_20230101120000111.data", test::kDocumentsName,
            "raw_data/cpu/cpu_ana_global_rawdata_20230101120000111.csv", test::kCoresLogName,
            "raw_data/cpu/soc_cpu_ana_core_rawdata_20230101120000222.csv",
            "raw_data/cpu/soc_cpu_ana_loading_rawdata_20230101120000222.csv",
            "raw_data/cpu/soc_cpu_ana_selected_process_rawdata_20230101120000111.csv",
            test::kUsageLogName));
    EXPECT_EQ(tree.Files().Read("raw_data/cpu/soc_cpu_ana_loading_rawdata_20230101120000222.csv"),
              "happen_time,total,Cpu0,Cpu1,\n"
              "'20230101120000456,20,10,50,\n'20230101120005456,40,30,50,\n");
    EXPECT_THAT(tree.Files().Read("env_info/time_cost.log"),
                testing::MatchesRegex("\\[CpuAnalyzer\\] cost time: [0-9.]+s\n"));
}

TEST(CpuAnalyzerTest, TheGlobalTablesAreWrittenAnewAndAppended) {
    const CpuRunTree tree;
    tree.WriteCollection();
    const std::string loading =
        "happen_time,total,\n'20230101120000123,20,\n'20230101120005123,40,\n"
        "'20230101120010123,20,\n";
    for (int run = 1; run <= 2; ++run) {
        EXPECT_TRUE(tree.Analyze(R"("global")").succeeded);
        EXPECT_EQ(tree.Files().Read("raw_data/cpu/cpu_ana_global_rawdata_20230101120000111.csv"),
                  "Times,oneCollecTotal,worker,init,helper,\n'20230101120000123,60,50,10,0,\n"
                  "'20230101120005123,100,80,20,,\n'20230101120010123,12,,10,2,\n");
        EXPECT_EQ(
            tree.Files().Read("raw_data/cpu/soc_cpu_ana_loading_rawdata_20230101120000111.csv"),
            run == 1 ? loading : loading + loading);
    }
}

TEST(CpuAnalyzerTest, ASetStopFlagEndsTheAnalysisBeforeAFileIsRead) {
    const CpuRunTree tree;
    const CpuRunTree::Result result = tree.Analyze(kAllJobs, true);
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(result.captured.out, kCoresLine);
    EXPECT_EQ(result.captured.err,
              "[CpuAnalyzer] Failed to process cpu analyzer because of stopFlag!\n"
              "[CpuAnalyzer] Failed to process cpu info!\n");
    EXPECT_THAT(tree.Files().Names(), ElementsAre());
    EXPECT_FALSE(tree.Files().Has("env_info/time_cost.log"));
}

TEST(CpuAnalyzerTest, AFaultySectionEndsItBeforeTheStopFlagIsLookedAt) {
    const CpuRunTree tree;
    const CpuRunTree::Result result = tree.Analyze(R"("bogus")", true);
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(result.captured.err,
              "[CpuAnalyzer] Illegal job name: bogus\n[CpuAnalyzer] Failed to parse cpu config!\n");
}

}  // namespace
}  // namespace zarn
