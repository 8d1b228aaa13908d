#include "comparators/cpu/cpu_comparator.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/support/process_state.h"
#include "tests/unit/comparators/cpu/comparison_fixture.h"

namespace zarn {
namespace {

using test::Captured;
using test::GlobalSample;
using test::kStopLine;
using test::UsageRow;
using test::UsageSample;

constexpr const char* kGlobalOnly = R"({"job": ["global"], "process": []})";
constexpr const char* kAppOnly = R"({"job": ["selected_process"], "process": ["app"]})";

class CpuComparatorTest : public test::ComparisonFixture {
protected:
    std::string RawDir(const std::string& version) { return versions_[version] + "raw_data/cpu/"; }
};

std::string Missing(const std::string& prefix, const std::string& version) {
    return "[CpuComparator] Missing valid " + prefix + "xxx files in " + version +
           ", will skip it.\n";
}

TEST_F(CpuComparatorTest, SetsCapturedRunsSideBySide) {
    versions_ = {{"captured", test::DataPath("top-4.0.2-run/")},
                 {"again", test::DataPath("top-4.0.2-run/")}};
    AddVersion("none");
    const Captured printed =
        Compare(R"({"job": ["global", "selected_process"], "process": ["load_probe", "ninja"]})");
    EXPECT_TRUE(passed_);
    EXPECT_EQ(Table(), test::ReadText(test::DataPath("top-4.0.2-run/comparison.csv")));
    const std::string twice =
        "[CpuComparator] Warning: The process ninja is not unique in this version, will skip it.\n";
    EXPECT_EQ(printed.out, twice + twice + Missing("cpu_global_1_", "none") +
                               Missing("soc_gea_cpu_usage_info_1_", "none"));
    const std::string cannotOpen = "Can not open " + RawDir("none") + "\n";
    EXPECT_EQ(printed.err, cannotOpen + cannotOpen);
    EXPECT_THAT(run_.Read("env_info/time_cost.log"),
                testing::MatchesRegex("\\[CpuComparator\\] cost time: [0-9.e-]+s\n"));
}

TEST_F(CpuComparatorTest, VersionWithoutGlobalLogsIsSkipped) {
    AddLog("v1", "cpu_global_1_20260102104244123.log", GlobalSample(5) + GlobalSample(7));
    AddLog("v2", "other.log", "");
    const Captured printed = Compare(kGlobalOnly);
    EXPECT_TRUE(passed_);
    EXPECT_EQ(printed.out, Missing("cpu_global_1_", "v2"));
    EXPECT_EQ(printed.err, "");
    EXPECT_EQ(Row("tasks_total_max"), "7,N/A,");
    EXPECT_EQ(Row("tasks_total_min"), "5,N/A,");
    EXPECT_EQ(Row("load_avg_1_min_avg"), "6.25,N/A,");
    EXPECT_EQ(Row("swap_avail_avg"), "70,N/A,");
}

TEST_F(CpuComparatorTest, ProcessThatRunsTwiceIsSkippedInThatVersionOnly) {
    AddLog("v1", "soc_gea_cpu_usage_info_1_1.log",
           UsageSample(UsageRow("app", 10)) + UsageSample(UsageRow("app", 20)));
    AddLog(
        "v2", "soc_gea_cpu_usage_info_1_1.log",
        UsageSample(UsageRow("app", 10)) + UsageSample(UsageRow("app", 20) + UsageRow("app", 30)));
    const Captured printed = Compare(kAppOnly);
    EXPECT_EQ(printed.out,
              Missing("cpu_global_1_", "v1") + Missing("cpu_global_1_", "v2") +
                  "[CpuComparator] Warning: The process app is not unique in this version, will "
                  "skip it.\n");
    EXPECT_EQ(printed.err, "");
    EXPECT_EQ(Table(),
              "version,v1,v2,\n"
              "app_cpu_avg,15,N/A,\napp_cpu_max,20,N/A,\napp_cpu_min,10,N/A,\n"
              "app_mem_avg,1.5,N/A,\napp_mem_max,1.5,N/A,\napp_mem_min,1.5,N/A,\n"
              "app_res_avg,50,N/A,\napp_res_max,50,N/A,\napp_res_min,50,N/A,\n"
              "app_shr_avg,25,N/A,\napp_shr_max,25,N/A,\napp_shr_min,25,N/A,\n"
              "app_time_avg,2500,N/A,\napp_time_max,2500,N/A,\napp_time_min,2500,N/A,\n"
              "app_virt_avg,100,N/A,\napp_virt_max,100,N/A,\napp_virt_min,100,N/A,\n");
}

TEST_F(CpuComparatorTest, ProcessThatNeverShowsHasNoValues) {
    AddLog("v1", "soc_gea_cpu_usage_info_1_1.log", UsageSample(UsageRow("application", 10)));
    AddLog("v1", "cpu_global_1_1.log", "");
    const Captured printed = Compare(kAppOnly);
    EXPECT_TRUE(passed_);
    EXPECT_EQ(printed.out + printed.err, "");
    EXPECT_EQ(Row("app_cpu_max"), "N/A,");
}

TEST_F(CpuComparatorTest, MeasuredMinusOneReadsNotAvailable) {
    AddLog("v1", "cpu_global_1_1.log",
           "time\ntop: -1, -1.5, -1.00000001\nTasks: 1 total\n%Cpu: 1.0 us\nMem: 1 total\n"
           "Swap: 1 total\n");
    (void)Compare(kGlobalOnly);
    EXPECT_EQ(Row("load_avg_1_min_max"), "N/A,");
    EXPECT_EQ(Row("load_avg_5_min_max"), "-1.5,");
    EXPECT_EQ(Row("load_avg_15_min_max"), "N/A,");
}

TEST_F(CpuComparatorTest, EmptyJobsGiveTheHeadLineOnly) {
    AddLog("v1", "cpu_global_1_1.log", GlobalSample(5));
    AddLog("v2", "cpu_global_1_1.log", GlobalSample(5));
    const Captured printed = Compare(R"({"job": [], "process": ["app"]})");
    EXPECT_TRUE(passed_);
    EXPECT_EQ(printed.out + printed.err, "");
    EXPECT_EQ(Table(), "version,v1,v2,\n");
    EXPECT_TRUE(HasCostLine());
}

TEST_F(CpuComparatorTest, GlobalLogsAreLookedForWhateverTheJobs) {
    AddVersion("v1");
    const Captured printed = Compare(R"({"job": ["unknown"], "process": []})");
    EXPECT_EQ(printed.out, Missing("cpu_global_1_", "v1"));
    EXPECT_EQ(Table(), "version,v1,\n");
}

TEST_F(CpuComparatorTest, ColumnsStandInByteOrderOfTheVersions) {
    for (const char* version : {"v10", "v2", "V3", "_"}) {
        AddLog(version, "cpu_global_1_1.log", GlobalSample(static_cast<int>(version[0])));
    }
    (void)Compare(kGlobalOnly);
    EXPECT_EQ(Table().substr(0, Table().find('\n')), "version,V3,_,v10,v2,");
    EXPECT_EQ(Row("tasks_total_max"), "86,95,118,118,");
}

TEST_F(CpuComparatorTest, WithoutVersionsRowsAreMissingToo) {
    (void)Compare(kGlobalOnly);
    EXPECT_TRUE(passed_);
    EXPECT_EQ(Table(), "version,\n");
}

TEST_F(CpuComparatorTest, AllFilesOfAVersionCount) {
    AddLog("v1", "cpu_global_1_1.log", GlobalSample(1) + GlobalSample(2));
    AddLog("v1", "cpu_global_1_2.log", GlobalSample(9));
    AddLog("v1", "cpu_global_1_.log", GlobalSample(99));
    AddLog("v1", "soc_gea_cpu_usage_info_1_1.log", UsageSample(UsageRow("app", 4)));
    AddLog("v1", "soc_gea_cpu_usage_info_1_2.log", UsageSample(UsageRow("app", 6)));
    (void)Compare(R"({"job": ["global", "selected_process"], "process": ["app"]})");
    EXPECT_EQ(Row("tasks_total_max"), "9,");
    EXPECT_EQ(Row("tasks_total_avg"), "4,");
    EXPECT_EQ(Row("app_cpu_avg"), "5,");
}

TEST_F(CpuComparatorTest, DirectoryWithoutItsFinalSlashIsUsedAsWritten) {
    AddLog("v1", "cpu_global_1_1.log", GlobalSample(5));
    versions_["v1"].pop_back();
    const Captured printed = Compare(kGlobalOnly);
    EXPECT_TRUE(passed_);
    EXPECT_EQ(printed.out, Missing("cpu_global_1_", "v1"));
    EXPECT_EQ(printed.err, "Can not open " + trees_.Path() + "v1raw_data/cpu/\n");
    EXPECT_EQ(Row("tasks_total_max"), "N/A,");
}

TEST_F(CpuComparatorTest, TableIsRewritten) {
    run_.Write("csv/cpu/cpu_comparator_result.csv", std::string(10000, 'x'));
    AddLog("v1", "cpu_global_1_1.log", GlobalSample(5));
    (void)Compare(R"({"job": [], "process": []})");
    EXPECT_EQ(Table(), "version,v1,\n");
}

TEST_F(CpuComparatorTest, DirectoryThatCannotBeMadeFailsIt) {
    run_.PutInTheWay("csv");
    const Captured printed = Compare(kGlobalOnly);
    EXPECT_FALSE(passed_);
    EXPECT_EQ(printed.out, "");
    EXPECT_THAT(printed.err, testing::StartsWith("[zarn_utils] Failed to create directory : "));
    EXPECT_THAT(printed.err, testing::EndsWith(
                                 "\n[CpuComparator] Failed to create the directory " + run_.Path() +
                                 "csv/cpu/\n"
                                 "[CpuComparator] Failed to process cpu comparator!\n"));
    EXPECT_FALSE(HasCostLine());
}

TEST_F(CpuComparatorTest, TableThatCannotBeOpenedFailsIt) {
    run_.MakeFolder("csv/cpu/cpu_comparator_result.csv");
    const Captured printed = Compare(kGlobalOnly);
    EXPECT_FALSE(passed_);
    EXPECT_EQ(printed.err,
              "[CpuComparator] Failed to open the output file.\n"
              "[CpuComparator] Failed to write cpu info!\n"
              "[CpuComparator] Failed to process cpu comparator!\n");
    EXPECT_FALSE(HasCostLine());
}

// The table of so many processes does not fit; what is printed meanwhile does.
TEST_F(CpuComparatorTest, TableThatDoesNotFitFailsIt) {
    std::string names;
    for (int i = 0; i < 1000; ++i) {
        names += (names.empty() ? "\"p" : ",\"p") + std::to_string(i) + "\"";
    }
    AddLog("v1", "cpu_global_1_1.log", GlobalSample(5));
    AddLog("v1", "soc_gea_cpu_usage_info_1_1.log", UsageSample(UsageRow("p1", 10)));
    const test::ScopedFileSizeLimit limit(8192);
    const Captured printed =
        Compare(R"({"job": ["selected_process"], "process": [)" + names + "]}");
    EXPECT_FALSE(passed_);
    EXPECT_EQ(printed.err,
              "[CpuComparator] Failed to write cpu info!\n"
              "[CpuComparator] Failed to process cpu comparator!\n");
    EXPECT_EQ(Table(), "");
    EXPECT_FALSE(HasCostLine());
}

TEST_F(CpuComparatorTest, StopBeforeTheFirstVersionLeavesTheHeadLine) {
    AddLog("v1", "cpu_global_1_1.log", GlobalSample(5));
    stopFlag_ = 1;
    const Captured printed = Compare(kGlobalOnly);
    EXPECT_TRUE(passed_);
    EXPECT_EQ(printed.out, kStopLine);
    EXPECT_EQ(printed.err, "");
    EXPECT_EQ(Table(), "version,v1,\n");
    EXPECT_TRUE(HasCostLine());
}

}  // namespace
}  // namespace zarn
