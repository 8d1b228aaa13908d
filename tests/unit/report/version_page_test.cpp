#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "formats/cpu.h"
#include "formats/ddr.h"
#include "formats/hot_fun.h"
#include "formats/mem.h"
#include "tests/unit/report/shown.h"

namespace zarn::report {
namespace {

using test::RunTree;
using test::Shown;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kPage = "versions";

TEST(VersionPageTest, ShowsTablesWithDifferences) {
    const RunTree tree;
    tree.Write(std::string(cpu_files::kCsvDir) + cpu_files::kComparison,
               "version,old,new,\ncpu_us_avg,1.5,2,\ncpu_us_max,3,N/A,\nload_avg_1_min_avg,1,1,\n");
    tree.Write(std::string(ddr_files::kCsvFolder) + "/" + ddr_files::kComparison,
               "version_id,old,new,\ncpu_mean(%),17.5,7.25,\ncpu_bwHigh(GB/s),51,4,\n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows(kPage, "CPU"),
                ElementsAre("cpu_us_avg|1.5|2|0.5", "cpu_us_max|3|[not-in-file]|[not-in-file]",
                            "load_avg_1_min_avg|1|1|0"));
    EXPECT_THAT(shown.Rows(kPage, "CPU: means"), ElementsAre("cpu_us_avg|1.5|2"));
    EXPECT_THAT(shown.Rows(kPage, "DDR"),
                ElementsAre("cpu_mean(%)|17.5|7.25|-10.25", "cpu_bwHigh(GB/s)|51|4|-47"));
    EXPECT_THAT(shown.Rows(kPage, "DDR: means"), ElementsAre("cpu_mean(%)|17.5|7.25"));
    EXPECT_STREQ(shown.Block(kPage, "CPU")["columns"][3]["name"].GetString(), "new minus old");
}

TEST(VersionPageTest, TellsWhatDiffersMost) {
    const RunTree tree;
    tree.Write(std::string(cpu_files::kCsvDir) + cpu_files::kComparison,
               "version,old,new,\ncpu_id_avg,90,60,\ncpu_us_avg,1.5,2,\ncpu_us_max,0,100,\n");
    tree.Write(std::string(ddr_files::kCsvFolder) + "/" + ddr_files::kComparison,
               "version_id,old,new,same,\ncpu_mean(%),17.5,7.25,17.5,\ncpu_max(%),0,99,0,\n");
    tree.Write(std::string(mem_files::kCsvFolder) + "/" + mem_files::kProcessComparison,
               "process,old(a),,,new(a),,,\n,min,avg,max,min,avg,max,\n"
               "RSS,1,2,3,4,9,6,\nUSS,1,2,3,4,5,6,\n"
               "process,old(b),,,new(b),,,\n,min,avg,max,min,avg,max,\nUSS,9,9,9,1,1,1,\n");
    tree.Write(std::string(hot_fun_files::kCsvDir) + hot_fun_files::ComparisonName("global"),
               "old,new,Shared Object,Symbol\n\"64.15%\",\"+1.00%\",\"planner\",\"Plan\"\n"
               "\" \",\"-8.84%\",\"planner\",\"f\"\n");
    EXPECT_THAT(
        Shown(tree).Rows("summary", "What was found"),
        ElementsAre("run1|CPU, what differs most in new: cpu_id_avg|-30|%|[not-in-file]",
                    "run1|DDR, what differs most in new: cpu_mean(%)|-10.25|%|[not-in-file]",
                    "run1|Memory of processes, mean USS of new(a): more than of old(a)|3|KB|"
                    "[not-in-file]",
                    "run1|Functions, hotfun_global_info.csv, what differs most in new: f|-8.84|"
                    "points|[not-in-file]"));
}

TEST(VersionPageTest, WritesDifferencesWithoutTheNoiseOfBinaryFractions) {
    const RunTree tree;
    tree.Write(std::string(cpu_files::kCsvDir) + cpu_files::kComparison,
               "version,old,new,\na,6.682,6.658,\nb,82.904029,61.891084,\nc,0,0,\n"
               "d,8388608000000,8388608000001,\ne,0.000001,0.000003,\n");
    const Shown shown(tree);
    const JsonValue& rows = shown.Block(kPage, "CPU")["rows"];
    const std::vector<double> expected = {-0.024, -21.012945, 0.0, 1.0, 0.000002};
    ASSERT_EQ(rows.Size(), expected.size());
    for (rapidjson::SizeType i = 0; i < rows.Size(); ++i) {
        EXPECT_EQ(rows[i][3]["v"].GetDouble(), expected[i]) << i;
    }
}

TEST(VersionPageTest, ShowsMemoryBlockByBlock) {
    const RunTree tree;
    tree.Write(std::string(mem_files::kCsvFolder) + "/" + mem_files::kProcessComparison,
               "process,old(a),,,new(a),,,\n,min,avg,max,min,avg,max,\n"
               "USS,1.0,2.0,3.0,4.0,5.0,6.0,\n"
               "process,old(b),,,new(b),,,\n,min,avg,max,min,avg,max,\n"
               "USS,N/A,N/A,N/A,1,1,1,\n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Titles(kPage),
                ElementsAre("Memory of processes: means", "Memory of processes",
                            "Memory of processes: means", "Memory of processes"));
    EXPECT_THAT(shown.Rows(kPage, "Memory of processes"), ElementsAre("USS|1|2|3|4|5|6|3"));
    EXPECT_THAT(shown.Rows(kPage, "Memory of processes: means"), ElementsAre("USS|2|5"));
}

TEST(VersionPageTest, ShowsFunctions) {
    const RunTree tree;
    tree.Write(std::string(hot_fun_files::kCsvDir) + hot_fun_files::ComparisonName("global"),
               "old,new,Shared Object,Symbol\n\"64.15%\",\"-23.25%\",\"planner\",\"Plan\"\n"
               "\" \",\"+8.84%\",\"planner\",\"f(int, int)\"\n\"torn\"\n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows(kPage, "Functions, hotfun_global_info.csv"),
                ElementsAre("Plan|planner|64.15|-23.25", "f(int, int)|planner|[not-in-file]|8.84"));
    EXPECT_THAT(shown.Rows(kPage, "Functions, hotfun_global_info.csv: differences"),
                ElementsAre("Plan|-23.25", "f(int, int)|8.84"));
    EXPECT_THAT(shown.Troubles(), ElementsAre("csv/hotFun/hotfun_global_info.csv: line 4 is no row "
                                              "of the table"));
}

std::string Repeated(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

// A comparison of two versions: that of few samples, and that of enough.
class FewSamplesOfVersionsTest : public testing::Test {
protected:
    void SetUp() override {
        // Where a tree was made counts as little as its final slash.
        const auto nameOf = [](const RunTree& tree) {
            const std::string path = tree.Path().substr(0, tree.Path().size() - 1);
            return path.substr(path.rfind('/') + 1);
        };
        comparison.Write("env_info/zarn_config.json",
                         R"({"ManagerParam":{"compareMode":{"versionMap":{"enough":"/run/)" +
                             nameOf(enough) + R"(/","few":"/run/)" + nameOf(few) + R"("}}}})");
    }

    [[nodiscard]] Shown All() const {
        return Shown({comparison.Path(), few.Path(), enough.Path()});
    }

    RunTree comparison;
    RunTree few;
    RunTree enough;
};

TEST_F(FewSamplesOfVersionsTest, OfTheCpu) {
    comparison.Write(
        std::string(cpu_files::kCsvDir) + cpu_files::kComparison,
        "version,enough,few,\ncpu_us_avg,1,2,\ncpu_us_max,3,4,\nplanner_cpu_avg,5,6,\n");
    few.Write(RunTree::NameOf(cpu_files::kGlobalLog), Repeated("%Cpu(s): 1 us\nrow\n", 29));
    enough.Write(RunTree::NameOf(cpu_files::kGlobalLog), Repeated("%Cpu(s): 1 us\nrow\n", 30));
    EXPECT_THAT(All().Greys(kPage, "CPU"), ElementsAre("cpu_us_avg 3", "cpu_us_avg 4"));
    EXPECT_EQ(All().Note(kPage, "CPU"), "Grey: of 29 samples, too few to trust.");
    EXPECT_THAT(All().Greys(kPage, "CPU: means"), ElementsAre("cpu_us_avg 2"));
    few.Write(RunTree::NameOf(cpu_files::kUsageLog), "%Cpu(s): 1 us\n");
    EXPECT_THAT(All().Greys(kPage, "CPU"), ElementsAre("cpu_us_avg 3", "cpu_us_avg 4",
                                                       "planner_cpu_avg 3", "planner_cpu_avg 4"));
    // What is not in the report is not looked at.
    EXPECT_THAT(Shown(comparison).Greys(kPage, "CPU"), IsEmpty());
}

TEST_F(FewSamplesOfVersionsTest, OfTheDdr) {
    comparison.Write(std::string(ddr_files::kCsvFolder) + "/" + ddr_files::kComparison,
                     "version_id,enough,few,\ncpu_mean(%),1,2,\ncpu_max(%),1,2,\ncpu_over(%),1,2,\n"
                     "cpu_bwHigh(GB/s),1,2,\n");
    few.Write(RunTree::NameOf(ddr_files::kBandwidth), Repeated("{}\n", 29));
    enough.Write(RunTree::NameOf(ddr_files::kBandwidth), Repeated("{}\n", 30));
    EXPECT_THAT(All().Greys(kPage, "DDR"),
                ElementsAre("cpu_mean(%) 3", "cpu_mean(%) 4", "cpu_over(%) 3", "cpu_over(%) 4"));
}

TEST_F(FewSamplesOfVersionsTest, OfTheMemory) {
    comparison.Write(std::string(mem_files::kCsvFolder) + "/" + mem_files::kSystemComparison,
                     "project,enough,,,few,,,\n,min,avg,max,min,avg,max,\nused,1,2,3,1,2,3,\n");
    comparison.Write(
        std::string(mem_files::kCsvFolder) + "/" + mem_files::kProcessComparison,
        "process,enough(a),,,few(a),,,\n,min,avg,max,min,avg,max,\nUSS,1,2,3,1,2,3,\n");
    const std::string rows = R"({"content":[{"process":[{"COMMAND":"a"},{"COMMAND":"b"}]}]})";
    few.Write(RunTree::NameOf(mem_files::kSystemSamples), Repeated("{}\n", 29));
    few.Write(RunTree::NameOf(mem_files::kProcessSamples), Repeated(rows + "\n", 29));
    enough.Write(RunTree::NameOf(mem_files::kSystemSamples), Repeated("{}\n", 30));
    enough.Write(RunTree::NameOf(mem_files::kRawProcessSamples), Repeated(rows + "\n", 30));
    EXPECT_THAT(All().Greys(kPage, "Memory of the system"), ElementsAre("used 6", "used 8"));
    EXPECT_THAT(All().Greys(kPage, "Memory of the system: means"), ElementsAre("used 2"));
    EXPECT_THAT(All().Greys(kPage, "Memory of processes"), ElementsAre("USS 6", "USS 8"));
}

TEST_F(FewSamplesOfVersionsTest, OfFunctions) {
    using namespace hot_fun_files;
    comparison.Write(std::string(kCsvDir) + ComparisonName(ProcessTag("a")),
                     "enough,few,Shared Object,Symbol\n\"60%\",\"+1%\",\"a\",\"f\"\n");
    const std::string sample = "a 7 1.0: 10 cycles: \n\t 1 f (/bin/a)\n\n";
    const auto record = [&sample](const RunTree& tree, const std::string& name, int samples) {
        tree.Write(kRawDir + RawName(ProcessTag(name, "7"), "20260101000000000") + kScriptSuffix,
                   Repeated(sample, samples));
    };
    record(few, "a", 29);
    record(few, "a_b", 1);
    record(enough, "a", 30);
    const std::string title = "Functions, " + ComparisonName(ProcessTag("a"));
    EXPECT_THAT(All().Greys(kPage, title), ElementsAre("f 4"));
    EXPECT_THAT(All().Greys(kPage, title + ": differences"), ElementsAre("f 1"));
    record(enough, "a", 5);
    EXPECT_THAT(All().Greys(kPage, title), ElementsAre("f 3", "f 4"));
    EXPECT_EQ(All().Note(kPage, title),
              "Differences of the shares of the samples, in points. Grey: of 5 to 29 samples, too "
              "few to trust.");
}

TEST(OptimizerPageTest, ShowsEachEvaluationAndTheBestSoFar) {
    const RunTree tree;
    const std::string tag = "[DdrOptimizer] ";
    tree.Write(RunTree::NameOf(ddr_files::kOptimizerLog),
               tag + "======= start to init pso =======\n" + tag +
                   "t-value  cpu : 15.25 aic : 9.5 imgp : 16 isp : 29.75\n" + tag +
                   "======= pso num: 1 =======, cpu t-value: 15.25\n" + tag +
                   "t-value  cpu : -0.5 aic : nan imgp : 16 isp : 29\n" + tag +
                   "t-value  cpu : 16 aic : 9 imgp : 15 isp : 29\n" + tag +
                   "======= update pso num: 1 =======,cpu t-value: 16\n" + tag +
                   "======= iter num: 1 ======= \n" + tag +
                   "  best bwLow setting: 0 : 10,  3 : 10,  \n" + tag +
                   "  best bwHigh setting: 0 : 20,  \n" + tag + "  best cpu perf: 16.000000\n" +
                   tag + "benchmark : aic : 69.5,  cpu : 42,  imgp : 144,  isp : 30,  \n" + tag +
                   "optimized : aic : 70.5,  cpu : 35,  imgp : 140,  isp : 29,  \n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows("optimizer", "Evaluations of the search"),
                ElementsAre("1|15.25|9.5|16|29.75|taken as candidate 1",
                            "2|-0.5|[not-a-number]|16|29|not taken",
                            "3|16|9|15|29|taken as the next place of candidate 1"));
    EXPECT_THAT(shown.Rows("optimizer", "Best so far"),
                ElementsAre("1|0 : 10,  3 : 10,|0 : 20,|16"));
    EXPECT_THAT(shown.Rows("summary", "What was found"),
                ElementsAre("run1|DDR optimizer, t-value of the CPU's rate with the best upper "
                            "bounds: 0 : 20,|16|t|[not-in-file]"));
    EXPECT_THAT(shown.Rows("optimizer", "Mean frame rates"),
                ElementsAre("cpu|35|42", "aic|70.5|69.5", "imgp|140|144", "isp|29|30"));
}

TEST(OptimizerPageTest, TakesNoRatesOfNoBetterCandidateForNumbers) {
    const RunTree tree;
    const std::string tag = "[DdrOptimizer] ";
    tree.Write(RunTree::NameOf(ddr_files::kOptimizerLog),
               tag + "======= iter num: 1 ======= \n" + tag + "  best bwLow setting: \n" + tag +
                   "  best bwHigh setting: \n" + tag + "  best cpu perf: 0.000000\n" + tag +
                   "benchmark : aic : 0.000000,  cpu : 0.000000,  imgp : 0.000000,  isp : "
                   "0.000000,  \n" +
                   tag + "optimized : aic : 70.5,  cpu : 0,  imgp : 140,  isp : 29,  \n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows("optimizer", "Best so far"),
                ElementsAre("1|[not-found]|[not-found]|[not-found]"));
    EXPECT_THAT(shown.Titles("summary"), Not(Contains("What was found")));
    EXPECT_THAT(shown.Rows("optimizer", "Mean frame rates"),
                ElementsAre("cpu|0|[not-found]", "aic|70.5|[not-found]", "imgp|140|[not-found]",
                            "isp|29|[not-found]"));
}

TEST(OptimizerPageTest, TakesNoLaterIterationForTheLastThatIsKept) {
    const RunTree tree;
    std::string log;
    for (int i = 1; i <= 402; ++i) {
        const std::string number = std::to_string(i);
        log += "======= iter num: " + number + " ======= \n  best bwHigh setting: 0 : " + number +
               ",\n  best cpu perf: " + number + "\n";
    }
    tree.Write(RunTree::NameOf(ddr_files::kOptimizerLog), log);
    const Shown shown(tree);
    EXPECT_EQ(shown.Rows("optimizer", "Best so far").back(), "400|[not-in-file]|0 : 400,|400");
    EXPECT_THAT(shown.Rows("summary", "What was found"),
                ElementsAre("run1|DDR optimizer, t-value of the CPU's rate with the best upper "
                            "bounds: 0 : 402,|402|t|[not-in-file]"));
}

}  // namespace
}  // namespace zarn::report
