#include "analyzers/correlation/correlation_sched.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <string>

#include "formats/sched.h"
#include "tests/support/ordinary_rights.h"
#include "tests/unit/analyzers/correlation/correlation_analyzer_fixture.h"

namespace zarn::test {
namespace {

using testing::HasSubstr;
using testing::Not;

const std::string kJson = "[CorrelationAnalyzer] Error occurs when parsing json:";
const std::string kNoBoot =
    "[CorrelationAnalyzer] Failed to get system start up Time, skip sched.\n";
const std::string kNoPeaks = "[CorrelationAnalyzer] Failed to get sched peak time.\n";
constexpr const char* kHeads =
    "happen_time,sched_global_cpu,sched_global_task_name,sched_global_wait_time,"
    "sched_global_sch_delay,sched_global_run_time,";

// The scheduler is the only source.
class CorrelationSchedTest : public CorrelationTest {
protected:
    // What is printed of it. `saved`: whether it has columns.
    std::string RunSched(bool saved = true, const std::string& job = "global") {
        const Captured captured = Run(job);
        EXPECT_TRUE(result);
        out = captured.out;
        const std::string before = kNoSamples + NoTable("cpu") + NoTable("ddr");
        const std::string behind = CannotSave("aicore") + CannotSave("cpu") + CannotSave("ddr") +
                                   (saved ? "" : CannotSave("sched"));
        const std::string& err = captured.err;
        EXPECT_EQ(err.substr(0, before.size()), before);
        EXPECT_EQ(err.substr(err.size() - std::min(err.size(), behind.size())), behind);
        return err.substr(before.size(), err.size() - before.size() - behind.size());
    }

    [[nodiscard]] std::string HistoryPath() const {
        return tree.PathOf(sched_files::kRawDir +
                           sched_files::TimehistName(sched_files::GlobalTarget(), 1, kTime));
    }

    std::string out;
};

TEST_F(CorrelationSchedTest, RowsAndPeaksBecomeColumns) {
    WriteGlobalHistory(HistoryRow("1.500000", "a[1]") + HistoryRow("2.000000", "<idle>"),
                       SchedDocument({"2.000500"}));
    EXPECT_EQ(RunSched(), "");
    EXPECT_EQ(Table(), Lines({std::string(kHeads) + "peak_sched_global,",
                              "'20230101120001500000,[0002],a[1],0.100,0.200,0.300,0,",
                              "'20230101120002000000,[0002],<idle>,0.100,0.200,0.300,1,"}));
    EXPECT_THAT(out, HasSubstr("\nSystemStarUpTime:20230101120000\n"));
    EXPECT_THAT(out, HasSubstr("[CorrelationAnalyzer] Save sched data successfully\n"));
}

// A scheduler collected twice in a run is analysed once.
TEST_F(CorrelationSchedTest, TheHistoryThatIsAnalysedCounts) {
    WriteGlobalHistory(HistoryRow("1.500000"), SchedDocument({"2.000500"}));
    tree.Write(sched_files::kRawDir +
                   sched_files::TimehistName(sched_files::GlobalTarget(), 1, "20230101115800000"),
               "\n\n\n" + HistoryRow("9.000000"));
    EXPECT_EQ(RunSched(), "");
    EXPECT_THAT(Table(), HasSubstr("\n'20230101120001500000,"));
    EXPECT_THAT(Table(), Not(HasSubstr("20230101120009")));
}

// Moments are digit sums: those behind the minute of booting are no moments of a clock.
TEST_F(CorrelationSchedTest, MomentsAreSumsOfDigits) {
    WriteGlobalHistory(
        HistoryRow("59.000000") + HistoryRow("61.000000") + HistoryRow("12345.678901"),
        SchedDocument({"61.000000"}));
    EXPECT_EQ(RunSched(), "");
    const std::string cells = ",[0002],a[1],0.100,0.200,0.300,";
    EXPECT_EQ(
        Table(),
        Lines({std::string(kHeads) + "peak_sched_global,", "'20230101120059000000" + cells + "0,",
               "'20230101120061000000" + cells + "1,", "'20230101132345678901" + cells + "0,"}));
}

TEST_F(CorrelationSchedTest, ARowHasExactlyFiveCells) {
    WriteGlobalHistory(HistoryRow("1.000000", "two words[7/5]") + HistoryRow("2.000000", "a,b[3]") +
                           "  3.000000 [0001] c[4]  0.100 0.200 0.300  main <- start, x\n",
                       SchedDocument({"9.000000"}));
    EXPECT_EQ(RunSched(), "");
    EXPECT_EQ(Table(), Lines({std::string(kHeads) + "peak_sched_global,",
                              "'20230101120001000000,[0002],two words[7/5],0.100,0.200,0.300,0,",
                              "'20230101120002000000,[0002],a b[3],0.100,0.200,0.300,0,",
                              "'20230101120003000000,[0001],c[4],0.100,0.200,0.300,0,"}));
}

TEST_F(CorrelationSchedTest, OfRowsOfOneMomentTheFirstFillsTheRow) {
    WriteGlobalHistory(HistoryRow("1.000000", "a[1]") + HistoryRow("2.000000", "b[1]") +
                           HistoryRow("2.000000", "c[1]") + HistoryRow("1.500000", "late[1]") +
                           HistoryRow("3.000000", "d[1]"),
                       SchedDocument({"9.000000"}));
    EXPECT_EQ(RunSched(), "");
    const std::string figures = ",0.100,0.200,0.300,0,";
    EXPECT_EQ(Table(),
              Lines({std::string(kHeads) + "peak_sched_global,",
                     "'20230101120001000000,[0002],a[1]" + figures, "'20230101120001500000,,,,,,0,",
                     "'20230101120002000000,[0002],b[1]" + figures,
                     "'20230101120003000000,[0002],d[1]" + figures}));
}

TEST_F(CorrelationSchedTest, ATornLineCostsItselfOnly) {
    WriteGlobalHistory(
        HistoryRow("1.000000") + "  1.5000\n\n  x [0001] c[4] 1 2 3\n" + HistoryRow("2.000000"),
        SchedDocument({"9.000000"}));
    EXPECT_EQ(RunSched(), "");
    const std::string cells = ",[0002],a[1],0.100,0.200,0.300,0,";
    EXPECT_EQ(Table(), Lines({std::string(kHeads) + "peak_sched_global,",
                              "'20230101120001000000" + cells, "'20230101120002000000" + cells}));
}

TEST_F(CorrelationSchedTest, LogsOfCoresStandSideBySideInTheOrderOfNumbers) {
    WriteHistory("sched_core_10", HistoryRow("1.000000", "a[1]") + HistoryRow("2.000000", "b[1]"));
    WriteHistory("sched_core_2", HistoryRow("2.000000", "c[1]"));
    WriteAnalysis("core", "core10", SchedDocument({"1.000000"}));
    WriteAnalysis("core", "core2", SchedDocument({"2.000000"}));
    EXPECT_EQ(RunSched(true, "core"), "");
    EXPECT_EQ(Table(),
              Lines({"happen_time,sched_core2_cpu,sched_core2_task_name,sched_core2_wait_time,"
                     "sched_core2_sch_delay,sched_core2_run_time,peak_sched_core2,"
                     "sched_core10_cpu,sched_core10_task_name,sched_core10_wait_time,"
                     "sched_core10_sch_delay,sched_core10_run_time,peak_sched_core10,",
                     "'20230101120001000000,,,,,,0,[0002],a[1],0.100,0.200,0.300,1,",
                     "'20230101120002000000,[0002],c[1],0.100,0.200,0.300,1,"
                     "[0002],b[1],0.100,0.200,0.300,0,"}));
}

TEST_F(CorrelationSchedTest, LogsOfProcessesAreLabelledByNameAndPid) {
    WriteHistory("sched_process_frame_worker_42", HistoryRow("1.000000"));
    WriteAnalysis("process", "process_frame_worker_42", SchedDocument({"1.000000"}));
    EXPECT_EQ(RunSched(true, "process"), "");
    EXPECT_THAT(Table(), HasSubstr("happen_time,sched_process_frame_worker_42_cpu,"));
    EXPECT_THAT(Table(), HasSubstr(",peak_sched_process_frame_worker_42,\n"));
}

TEST_F(CorrelationSchedTest, LogsOfOtherJobsArePassedOver) {
    WriteGlobalHistory(HistoryRow("1.000000"), SchedDocument({"1.000000"}));
    const std::string folder = tree.PathOf("raw_data/sched/");
    EXPECT_EQ(RunSched(false, "core"),
              "[CorrelationAnalyzer] sched raw data not exist in dir:" + folder +
                  "\n[CorrelationAnalyzer] Failed to get sched raw data, skip sched.\n");
    EXPECT_EQ(Table(), "happen_time,\n");
}

TEST_F(CorrelationSchedTest, WithoutTheDocumentOfALogTheSourceIsSkipped) {
    WriteHistory("sched_core_1", HistoryRow("1.000000"));
    WriteHistory("sched_core_2", HistoryRow("2.000000"));
    WriteAnalysis("core", "core1", SchedDocument({"1.000000"}));
    EXPECT_EQ(RunSched(false, "core"),
              "[CorrelationAnalyzer] Failed to get sched analyzer data, skip sched.\n");
    EXPECT_EQ(Table(), "happen_time,\n");
}

TEST_F(CorrelationSchedTest, WithoutTheMomentOfBootingTheSourceIsSkipped) {
    const auto words = [this](const std::string& document) {
        WriteGlobalHistory(HistoryRow("1.000000"), document);
        std::string err = RunSched(false);
        EXPECT_THAT(out, Not(HasSubstr("SystemStarUpTime")));
        EXPECT_EQ(Table(), "happen_time,\n");
        return err;
    };
    EXPECT_EQ(words(""), kJson + "Parse error.\n" + kNoBoot);
    EXPECT_EQ(words("{}"), kJson + "Json file lacks of required field [content].\n" + kNoBoot);
    for (const char* content :
         {"[]", "{}", "7", "[7]", "[{}]", R"([{"systemStartUpTime":20230101120000}])",
          R"([{"systemStartUpTime":"YYYYMMDDHHMMSS"}])", R"([{"systemStartUpTime":""}])"}) {
        EXPECT_EQ(words(std::string(R"({"content":)") + content + "}"),
                  kJson + "Sched json file lacks of required field.\n" + kNoBoot)
            << content;
    }
}

TEST_F(CorrelationSchedTest, ADocumentThatCannotBeOpened) {
    WriteGlobalHistory(HistoryRow("1.000000"), SchedDocument({"1.000000"}));
    const std::string document =
        tree.PathOf("json/soc_schedAna_global_timehist_ana_1_" + std::string(kTime) + ".data");
    ASSERT_EQ(::chmod(document.c_str(), 0), 0);
    const OrdinaryRights rights;
    EXPECT_EQ(RunSched(false), "[CorrelationAnalyzer] Sched json file not exist. \n" + kNoBoot);
}

TEST_F(CorrelationSchedTest, ARowWithoutATimeCostsThePeaks) {
    const std::string boot = R"({"systemStartUpTime":"20230101120000","time":"1.000000 s"})";
    for (const char* row : {"{}", "7", R"({"time":7})", R"({"Time":"1.0 s"})"}) {
        WriteGlobalHistory(HistoryRow("1.000000"), R"({"content":[)" + boot + "," + row + "]}");
        EXPECT_EQ(RunSched(), kJson + "Sched json lacks of time.\n" + kNoPeaks) << row;
        EXPECT_EQ(Table(), Lines({kHeads, "'20230101120001000000,[0002],a[1],0.100,0.200,0.300,"}));
    }
}

// The log of one core has peaks, that of the other none.
TEST_F(CorrelationSchedTest, EachLogHasPeaksOfItsOwn) {
    WriteHistory("sched_core_1", HistoryRow("1.000000"));
    WriteHistory("sched_core_2", HistoryRow("2.000000"));
    WriteAnalysis("core", "core1", SchedDocument({"1.000000"}));
    WriteAnalysis("core", "core2", "torn");
    EXPECT_EQ(RunSched(true, "core"), kJson + "Parse error.\n" + kNoPeaks);
    EXPECT_THAT(Table(), HasSubstr(",sched_core1_run_time,peak_sched_core1,sched_core2_cpu,"));
    EXPECT_THAT(Table(), HasSubstr(",sched_core2_run_time,\n"));
    WriteAnalysis("core", "core2", R"({"content":[]})");
    EXPECT_EQ(RunSched(true, "core"), "");
    EXPECT_THAT(Table(), HasSubstr(",sched_core2_run_time,\n"));
    WriteAnalysis("core", "core2", R"({"content":{}})");
    EXPECT_EQ(RunSched(true, "core"), kJson + "Sched json lacks of time.\n" + kNoPeaks);
}

TEST_F(CorrelationSchedTest, APeakWhoseTimeIsNoneIsPassedOver) {
    WriteGlobalHistory(HistoryRow("1.000000"), SchedDocument({"", " ", "x", "1.0.0"}));
    EXPECT_EQ(RunSched(), "");
    EXPECT_EQ(Table(), Lines({kHeads, "'20230101120001000000,[0002],a[1],0.100,0.200,0.300,"}));
}

// The times of the log that was read are taken back.
TEST_F(CorrelationSchedTest, ALogThatCannotBeOpenedSkipsTheSource) {
    WriteHistory("sched_core_1", HistoryRow("1.000000"));
    WriteHistory("sched_core_2", HistoryRow("2.000000"));
    WriteAnalysis("core", "core1", SchedDocument({"1.000000"}));
    WriteAnalysis("core", "core2", SchedDocument({"1.000000"}));
    const std::string path = tree.PathOf(std::string(sched_files::kRawDir) +
                                         "sched_core_2_timehist_1_" + kTime + ".log");
    ASSERT_EQ(::chmod(path.c_str(), 0), 0);
    const OrdinaryRights rights;
    EXPECT_EQ(RunSched(false, "core"),
              "[CorrelationAnalyzer] Failed to open sched raw data: " + path +
                  "\n[CorrelationAnalyzer] Failed to get sched time stamp, skip sched.\n");
    EXPECT_EQ(Table(), "happen_time,\n");
}

// No configuration leads here.
TEST_F(CorrelationSchedTest, AnUnknownJobIsRefused) {
    TimeSet times;
    CorrelationSched source({tree.Path(), runner});
    bool good = true;
    const Captured captured = Capture([&] { good = source.Collect({7, "lite"}, times); });
    EXPECT_FALSE(good);
    EXPECT_EQ(captured.err, "[CorrelationAnalyzer] Invalid sched job, skip sched.\n");
}

// A source on its own, so that its log can change between the steps.
class ChangingLogTest : public CorrelationSchedTest {
protected:
    void SetUp() override {
        WriteGlobalHistory(HistoryRow("1.000000") + HistoryRow("2.000000"),
                           SchedDocument({"1.000000"}));
        tree.Write("table.csv", "happen_time,\n'20230101120001000000,\n");
        TimeSet times;
        EXPECT_TRUE(source_.Collect({7, "global"}, times));
    }

    // What saving prints.
    std::string Save() {
        bool good = false;
        const Captured captured = Capture([&] { good = source_.Save(tree.PathOf("table.csv")); });
        EXPECT_FALSE(good);
        EXPECT_EQ(tree.Read("table.csv"), "happen_time,\n'20230101120001000000,\n");
        EXPECT_FALSE(tree.Has("table.csv.tmp"));
        return captured.err;
    }

private:
    CorrelationSched source_{CorrelationContext{tree.Path(), runner}};
};

TEST_F(ChangingLogTest, OneThatGrewOrShrankCostsTheColumns) {
    const std::string words = "[CorrelationAnalyzer] Peak size not equal to raw data file size.\n";
    WriteHistory("sched_global", HistoryRow("1.000000"));
    EXPECT_EQ(Save(), words);
    WriteHistory("sched_global",
                 HistoryRow("1.000000") + HistoryRow("2.000000") + HistoryRow("3.000000"));
    EXPECT_EQ(Save(), words);
    WriteHistory("sched_global", "");
    EXPECT_EQ(Save(), words);
}

TEST_F(ChangingLogTest, OneThatVanishedCannotBeOpened) {
    tree.Remove(std::string(sched_files::kRawDir) + "sched_global_timehist_1_" + kTime + ".log");
    EXPECT_EQ(Save(), CannotSave("sched"));
}

}  // namespace
}  // namespace zarn::test
