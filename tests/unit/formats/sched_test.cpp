#include "formats/sched.h"

#include <gtest/gtest.h>

namespace zarn {
namespace {

using namespace sched_files;  // NOLINT(google-build-using-namespace)

TEST(SchedFiles, ATargetHasARecordingAndItsReports) {
    EXPECT_EQ(RecordName(GlobalTarget(), 1, "9"), "sched_global_record_1_9.perf");
    EXPECT_EQ(LatencyName(GlobalTarget(), "max", 2, "9"), "sched_global_latency_max_2_9.log");
    EXPECT_EQ(TimehistName(GlobalTarget(), 1, "9"), "sched_global_timehist_1_9.log");
    EXPECT_EQ(RecordName(CoreTarget(11), 1, "9"), "sched_core_11_record_1_9.perf");
    EXPECT_EQ(LatencyName(ProcessTarget("planner", 42), "avg", 1, "9"),
              "sched_process_planner_42_latency_avg_1_9.log");
}

TEST(SchedFiles, LatencyDocuments) {
    EXPECT_EQ(GlobalLatencyPath("/d/", 1, "9"), "/d/json/soc_sched_global_latency_info_1_9.data");
    EXPECT_EQ(CoreLatencyPath("/d/", 3, 1, "9"),
              "/d/json/soc_sched_core_latency_info_core3_1_9.data");
}

TEST(SchedFiles, WhatTheLightRecorderHeld) {
    EXPECT_EQ(LiteName(kLiteLog, 1, "9"), "sched_lite_log_1_9.log");
    EXPECT_EQ(LiteName(kLiteTable, 2, "9"), "sched_lite_table_2_9.log");
    EXPECT_EQ(LiteName(kLiteStacks, 3, "9"), "sched_lite_stacks_3_9.log");
}

TEST(SchedFiles, HowProcessesAndThreadsAreSetUp) {
    const std::string raw = "/d/raw_data/sched/sched_";
    const std::string json = "/d/json/soc_sched_";
    EXPECT_EQ(kPriorityLog.Path("/d/", "9"), raw + "process_priority_9.log");
    EXPECT_EQ(kAffinityLog.Path("/d/", "9"), raw + "process_affinity_9.log");
    EXPECT_EQ(kNamedPriorityLog.Path("/d/", "9"), raw + "thread_specified_priority_9.log");
    EXPECT_EQ(kNamedAffinityLog.Path("/d/", "9"), raw + "thread_specified_affinity_9.log");
    EXPECT_EQ(kNamedPolicyLog.Path("/d/", "9"), raw + "thread_specified_schedPolicy_9.log");
    const ThreadLogs logs = ThreadPriorityLogs("/d/", "p", "9");
    EXPECT_EQ(logs.list, raw + "thread_priority_process_p_all_thread_9.log");
    EXPECT_EQ(logs.priority, raw + "thread_priority_process_p_all_thread_priority_9.log");
    EXPECT_EQ(logs.policy, raw + "thread_priority_process_p_all_thread_schedPolicy_9.log");
    const AffinityLogs affinity = ThreadAffinityLogs("/d/", "p", "9");
    EXPECT_EQ(affinity.list, raw + "thread_affinity_process_p_all_thread_9.log");
    EXPECT_EQ(affinity.affinity, raw + "thread_affinity_process_p_all_thread_affinity_9.log");
    EXPECT_EQ(kPriorityInfo.Path("/d/", "9"), json + "priority_info_1_9.data");
    EXPECT_EQ(kAffinityInfo.Path("/d/", "9"), json + "affinity_info_1_9.data");
    EXPECT_EQ(ThreadPriorityInfoPath("/d/", "p", "9"),
              json + "thread_priority_process_p_all_thread_priority_info_1_9.data");
    EXPECT_EQ(ThreadAffinityInfoPath("/d/", "p", "9"),
              json + "thread_affinity_process_p_all_thread_affinity__info_1_9.data");
    EXPECT_EQ(kNamedThreadInfo.Path("/d/", "9"), json + "thread_specified_thread_info_1_9.data");
}

}  // namespace
}  // namespace zarn
