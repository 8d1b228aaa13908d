#include "analyzers/correlation/sched_logs.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// "label|label in documents|stamp" of each log. Those of the stamp 9 alone are analysed.
std::vector<std::string> Select(const std::vector<std::string>& names, const std::string& job) {
    std::vector<std::string> texts;
    const auto isAnalysed = [](const SchedLog& log) { return log.target.stamp == "9"; };
    for (const SchedLog& log : SelectSchedLogs(names, job, isAnalysed)) {
        EXPECT_EQ(log.target.job, job);
        texts.push_back(log.label + "|" + log.target.label + "|" + log.target.stamp);
    }
    return texts;
}

TEST(SchedLogs, OfTheWholeSystem) {
    EXPECT_THAT(Select({"sched_global_latency_max_1_7.log", "sched_global_record_1_7.perf",
                        "sched_global_timehist_2_8.log", "sched_global_timehist_1_7.log"},
                       "global"),
                ElementsAre("sched_global|global|7"));
}

TEST(SchedLogs, TheFirstOfOneLabelCounts) {
    EXPECT_THAT(
        Select({"sched_global_timehist_1_8.log", "sched_global_timehist_1_7.log"}, "global"),
        ElementsAre("sched_global|global|7"));
    EXPECT_THAT(Select({"sched_core_0_timehist_1_9.log", "sched_core_0_timehist_1_95.log"}, "core"),
                ElementsAre("sched_core0|core0|9"));
}

TEST(SchedLogs, OneThatIsAnalysedCountsBeforeOthersOfItsLabel) {
    EXPECT_THAT(Select({"sched_core_0_timehist_1_7.log", "sched_core_0_timehist_1_9.log",
                        "sched_core_0_timehist_1_95.log", "sched_core_1_timehist_1_8.log"},
                       "core"),
                ElementsAre("sched_core0|core0|9", "sched_core1|core1|8"));
}

TEST(SchedLogs, OfCoresInTheOrderOfTheirNumbers) {
    EXPECT_THAT(Select({"sched_core_10_timehist_1_7.log", "sched_core_2_timehist_1_7.log",
                        "sched_core_0_timehist_1_7.log", "sched_core_0_timehist_2_7.log"},
                       "core"),
                ElementsAre("sched_core0|core0|7", "sched_core2|core2|7", "sched_core10|core10|7"));
}

TEST(SchedLogs, OfProcessesByTheirNames) {
    EXPECT_THAT(Select({"sched_process_b_5_timehist_1_7.log", "sched_process_a_10_timehist_1_7.log",
                        "sched_process_a_9_timehist_1_7.log",
                        "sched_process_a_timehist_1_3_11_timehist_1_7.log",
                        "sched_process_frame_worker_42_timehist_1_7.log"},
                       "process"),
                ElementsAre("sched_process_a_9|process_a_9|7", "sched_process_a_10|process_a_10|7",
                            "sched_process_a_timehist_1_3_11|process_a_timehist_1_3_11|7",
                            "sched_process_b_5|process_b_5|7",
                            "sched_process_frame_worker_42|process_frame_worker_42|7"));
}

TEST(SchedLogs, OtherNamesAreNone) {
    const std::vector<std::string> names = {"",
                                            "_",
                                            "____",
                                            "timehist_1_7.log",
                                            "sched_core_timehist_1_7.log",
                                            "sched_core_x_timehist_1_7.log",
                                            "sched_core_0_timehist_12_7.log",
                                            "sched_core_0_1_timehist_1_7.log",
                                            "sched_cores_0_timehist_1_7.log",
                                            "sched_process_5_timehist_1_7.log",
                                            "sched_process__5_timehist_1_7.log",
                                            "sched_process_a_timehist_1_7.log",
                                            "sched_process_a_x_timehist_1_7.log",
                                            "sched_processes_a_5_timehist_1_7.log",
                                            "sched_core_0_latency_1_7.log",
                                            "xsched_global_timehist_1_7.log"};
    for (const char* job : {"global", "core", "process"}) {
        EXPECT_THAT(Select(names, job), IsEmpty()) << job;
    }
}

}  // namespace
}  // namespace zarn::test
