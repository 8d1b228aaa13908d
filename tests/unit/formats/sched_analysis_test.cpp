#include "formats/sched_analysis.h"

#include <gtest/gtest.h>

namespace zarn {
namespace {

const sched_files::AnalysisTarget kGlobal = {"global", "global", "20230101120000000"};
const sched_files::AnalysisTarget kCore = {"core", "core3", "20230101120000001"};
const sched_files::AnalysisTarget kProcess = {"process", "process_planner_42", "20230101120000002"};

TEST(SchedAnalysisFiles, DocumentsNameTheJobAndTheTarget) {
    using sched_files::AnalysisName;
    EXPECT_EQ(AnalysisName(kGlobal, sched_files::kLatencyAnalysis),
              "soc_schedAna_global_latency_ana_1_20230101120000000.data");
    EXPECT_EQ(AnalysisName(kCore, sched_files::kLatencyAnalysis),
              "soc_schedAna_core_latency_ana_core3_1_20230101120000001.data");
    EXPECT_EQ(AnalysisName(kGlobal, sched_files::kTimehistAnalysis),
              "soc_schedAna_global_timehist_ana_1_20230101120000000.data");
    EXPECT_EQ(AnalysisName(kCore, sched_files::kTimehistAnalysis),
              "soc_schedAna_core_timehist_ana_core3_1_20230101120000001.data");
    EXPECT_EQ(AnalysisName(kProcess, sched_files::kTimehistAnalysis),
              "soc_schedAna_process_timehist_ana_process_planner_42_1_20230101120000002.data");
    EXPECT_EQ(AnalysisName(kProcess, sched_files::kDelayInfo),
              "soc_schedAna_process_latency_info_process_planner_42_1_20230101120000002.data");
}

TEST(SchedAnalysisFiles, RawTextsNameTaskThreadOrEvent) {
    EXPECT_EQ(sched_files::TaskLogName(kCore, "a:1"),
              "schedAna_core3_latency_analyzer_a:1_20230101120000001.log");
    const std::string log = sched_files::ThreadLogName(kGlobal, "a:1");
    EXPECT_EQ(log, "schedAna_global_timehist_process_tid_a:1_20230101120000000.log");
    EXPECT_EQ(sched_files::ThreadRowsName(log), "soc_" + log + ".data");
    EXPECT_EQ(sched_files::ScriptLogName(kGlobal, "12.5", "001"),
              "soc_schedAna_global_timehist_script_grep_12.5_grep_001_1_20230101120000000.log");
    EXPECT_EQ(sched_files::ScriptLogName(kProcess, "12.5", "001"),
              "soc_schedAna_process_timehist_script_grep_12.5_grep_001_process_planner_42_1_"
              "20230101120000002.log");
}

TEST(SchedAnalysisFiles, HistoriesBearTheirJob) {
    EXPECT_EQ(SchedTimehistAnalysis("core"), "soc_sched_core_timehist_ana");
}

}  // namespace
}  // namespace zarn
