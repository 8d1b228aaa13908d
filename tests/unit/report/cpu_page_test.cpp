#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "formats/cpu.h"
#include "tests/unit/report/shown.h"

namespace zarn::report {
namespace {

using test::DocumentLine;
using test::kFrom;
using test::kTime;
using test::RunTree;
using test::Shown;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kPage = "cpu";

std::string Figures(const std::string& peaks, const std::string& troughs) {
    return R"({"meanUsage":"1.500000","maxUsage":"3.000000","minUsage":"0.500000","peak":[)" +
           peaks + R"(],"trought":[)" + troughs + "]}";
}

std::string Found(const std::string& value, const std::string& time) {
    return R"({"cpuValue":")" + value + R"(","timeStamp":")" + time + R"("})";
}

std::string Analysis() {
    const std::string none = Figures("", "");
    return DocumentLine("soc_cpu_ana_global", kTime,
                        R"({"task":"8","us":)" +
                            Figures(Found("3.000000", "20260101000002000"),
                                    Found("0.500000", "20260101000001000")) +
                            R"(,"sy":)" + none + R"(,"id":)" + none + R"(,"hi":)" + none +
                            R"(,"si":)" + none + "}") +
           DocumentLine(
               "soc_cpu_ana_global", kTime,
               R"({"top10ProcInfo":{"Top_1":{"procPID":"7","procCommand":"planner",)"
               R"("meanUsage":"9.000000","maxUsage":"10.000000","minUsage":"8.000000"}}})") +
           DocumentLine("soc_cpu_ana_global", kTime, R"({"cpuTotalInfo":)" + Figures("", "") + "}");
}

class CpuPageTest : public testing::Test {
protected:
    void WriteAnalysis(const std::string& text) {
        tree.Write(RunTree::NameOf(cpu_files::kGlobalAnalysis), text);
    }
    RunTree tree;
};

TEST_F(CpuPageTest, ShowsTheLoadOverTime) {
    tree.Write(
        RunTree::NameOf(cpu_files::kLoadingTable),
        "happen_time,total,Cpu0,\n'20260101000000000,61.3,100,\n'20260101000001000,40.5,,\n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Titles(kPage), ElementsAre("Load of the system and of each core"));
    EXPECT_THAT(shown.Lines(kPage, "Load of the system and of each core", kFrom),
                ElementsAre("total: 0=61.3 1000=40.5", "Cpu0: 0=100 1000=none"));
    const JsonValue& total = shown.Block(kPage, "Load of the system and of each core")["series"][0];
    EXPECT_EQ(total["src"]["lines"][1].GetInt(), 3);
    EXPECT_TRUE(
        shown.Data()["lines"].HasMember(std::to_string(total["src"]["file"].GetInt()) + ":3"));
    EXPECT_THAT(shown.Troubles(), IsEmpty());
}

TEST_F(CpuPageTest, TakesTheLastAnalysisOfATableThatHoldsTwo) {
    const std::string head = "happen_time,total,\n";
    tree.Write(RunTree::NameOf(cpu_files::kLoadingTable),
               head + "'20260101000001000,1,\n" + head + "'20260101000000000,2,\n");
    EXPECT_THAT(Shown(tree).Lines(kPage, "Load of the system and of each core", kFrom),
                ElementsAre("total: 0=2"));
}

TEST_F(CpuPageTest, ShowsTheSharesWithTheAnalyzersPeaks) {
    WriteAnalysis(Analysis() + Analysis());
    tree.Write(RunTree::NameOf(cpu_files::kGlobalLog),
               "20260101000001000\ntop - 00:00:01 up\nTasks:   8 total\n"
               "%Cpu(s):  0.5 us,  1.0 sy,  0.0 ni, 98.0 id,  0.0 wa,  0.5 hi,  0.0 si,  0.0 st\n\n"
               "20260101000002000\ntop -\n%Cpu(s): torn\n");
    const Shown shown(tree);
    const std::string title = "Shares of CPU time, whole system";
    EXPECT_THAT(
        shown.Rows(kPage, title),
        ElementsAre("us|1.5|3|0.5|1|1", "sy|1.5|3|0.5|[not-found]|[not-found]",
                    "id|1.5|3|0.5|[not-found]|[not-found]", "hi|1.5|3|0.5|[not-found]|[not-found]",
                    "si|1.5|3|0.5|[not-found]|[not-found]",
                    "sum over all processes|1.5|3|0.5|[not-found]|[not-found]"));
    EXPECT_THAT(shown.Rows(kPage, "Busiest processes"), ElementsAre("planner|7|9|10|8"));
    EXPECT_THAT(shown.Titles(kPage), ElementsAre(title, "Busiest processes",
                                                 "Shares of CPU time over time, whole system"));
    EXPECT_THAT(
        shown.Lines(kPage, "Shares of CPU time over time, whole system", kFrom),
        ElementsAre("us: 1000=0.5 2000=none", "sy: 1000=1 2000=none", "id: 1000=98 2000=none",
                    "hi: 1000=0.5 2000=none", "si: 1000=0 2000=none"));
    EXPECT_THAT(shown.Marks(kPage, "Shares of CPU time over time, whole system", kFrom),
                ElementsAre("peak peak 3.000000 @2000: 0", "trough trough 0.500000 @1000: 0"));
    EXPECT_THAT(shown.Rows("summary", "What was found"),
                ElementsAre("run1|CPU share us: greatest peak|3|%|2026-01-01 00:00:02.000",
                            "run1|CPU share us: least trough|0.5|%|2026-01-01 00:00:01.000",
                            "run1|CPU, busiest process: planner|9|%|[not-in-file]"));
}

TEST_F(CpuPageTest, ShowsTheCores) {
    const std::string shares = R"("us":)" + Figures("", "") + R"(,"sy":{"meanUsage":"x"})";
    tree.Write(RunTree::NameOf(cpu_files::kCoreAnalysis),
               DocumentLine("soc_cpu_ana_core", kTime,
                            R"({"coresUsageSorted":[{"coreID":"Cpu1","meanUsage":"39.880000"}],)"
                            R"("cpuUsage":[{"coreID":"Cpu1",)" +
                                shares + "}]}"));
    tree.Write("raw_data/cpu/soc_cpu_ana_core_rawdata_20230101120000000.csv",
               "CoreID,Field,'20260101000000000,'20260101000001000,\nCpu1,us,4,,\n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows(kPage, "Load of the cores"), ElementsAre("Cpu1|39.88"));
    EXPECT_THAT(shown.Rows(kPage, "Shares of CPU time, each core"),
                Contains("Cpu1 sy|[not-a-number]|[not-in-file]|[not-in-file]|[not-in-file]|"
                         "[not-in-file]"));
    EXPECT_THAT(shown.Lines(kPage, "Shares of CPU time over time, each core", kFrom),
                ElementsAre("Cpu1 us: 0=4 1000=none"));
}

TEST_F(CpuPageTest, ShowsTheSets) {
    tree.Write(RunTree::NameOf(cpu_files::kSelectedAnalysis),
               DocumentLine("soc_cpu_ana_global", kTime,
                            R"({"procSetInfo":{"shells":{"procInfo":[{"procPID":"3",)"
                            R"("procCommand":"sh","meanUsage":"1","maxUsage":"2","minUsage":"0"}],)"
                            R"("meanUsage":"1","maxUsage":"2","minUsage":"0","usagePercent":"0.5",)"
                            R"("peak":[{"cpuValue":"2","timeStamp":"20260101000000000"}],)"
                            R"("trought":[]}}})"));
    tree.Write(RunTree::NameOf(cpu_files::kSelectedTable),
               "Times,shells_total,\n'20260101000000000,2,\n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows(kPage, "Sets of processes"),
                ElementsAre("shells|1|2|0|1|[not-found]|0.5"));
    EXPECT_THAT(shown.Rows(kPage, "Processes of the sets"), ElementsAre("shells|sh|3|1|2|0"));
    EXPECT_THAT(shown.Marks(kPage, "Sums of the sets of processes", kFrom),
                ElementsAre("peak peak 2 @0: 0"));
}

TEST_F(CpuPageTest, MarksNoLineThatTheTableLacks) {
    const std::string set =
        R"({"peak":[{"cpuValue":"2","timeStamp":"20260101000000000"}],"trought":[]})";
    tree.Write(RunTree::NameOf(cpu_files::kSelectedAnalysis),
               DocumentLine("soc_cpu_ana_global", kTime,
                            R"({"procSetInfo":{"a":)" + set + R"(,"b":)" + set + "}}"));
    tree.Write(RunTree::NameOf(cpu_files::kSelectedTable),
               "Times,a_total,\n'20260101000000000,2,\n");
    EXPECT_THAT(Shown(tree).Marks(kPage, "Sums of the sets of processes", kFrom),
                ElementsAre("peak peak 2 @0: 0", "peak peak 2 @0"));
}

TEST_F(CpuPageTest, SaysWhatItCannotRead) {
    WriteAnalysis("{\"content\":1}\nno JSON\n");
    tree.Write(RunTree::NameOf(cpu_files::kLoadingTable), "");
    tree.Write(RunTree::NameOf(cpu_files::kGlobalLog), std::string("\0\xff\n", 3));
    const Shown shown(tree);
    EXPECT_THAT(shown.Titles(kPage), IsEmpty());
    EXPECT_THAT(
        shown.Troubles(),
        ElementsAre("raw_data/cpu/soc_cpu_ana_loading_rawdata_20230101120000000.csv: it is "
                    "empty",
                    "json/soc_cpu_ana_global_20230101120000000.data: line 1 is none of the "
                    "analyzer's",
                    "raw_data/cpu/cpu_global_1_20230101120000000.log: it holds no summary of "
                    "top"));
    EXPECT_THAT(shown.Rows("summary", "Files that could not be read as a whole"),
                Contains("run1|raw_data/cpu/soc_cpu_ana_loading_rawdata_20230101120000000.csv|0|it "
                         "is empty"));
}

}  // namespace
}  // namespace zarn::report
