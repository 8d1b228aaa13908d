#include "analyzers/sched/raw_stamps.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zarn::test {
namespace {

// The moments of the three jobs, after the names have been taken.
std::string StampsOf(const std::vector<std::string>& names) {
    RawStamps stamps;
    for (const std::string& name : names) {
        stamps.Offer(name);
    }
    return stamps.Global() + " " + stamps.Core() + " " + stamps.Process();
}

constexpr const char* kNone = "YYYYMMDDHHMMSSMS YYYYMMDDHHMMSSMS YYYYMMDDHHMMSSMS";

TEST(RawStampsTest, EachJobHasItsMoment) {
    RawStamps stamps;
    stamps.Offer("sched_core_0_record_1_20230101120000001.perf");
    stamps.Offer("sched_global_record_1_20230101120000000.perf");
    EXPECT_FALSE(stamps.AreAllKnown());
    stamps.Offer("sched_process_planner_42_record_1_20230101120000002.perf");
    EXPECT_TRUE(stamps.AreAllKnown());
    EXPECT_EQ(stamps.Global(), "20230101120000000");
    EXPECT_EQ(stamps.Core(), "20230101120000001");
    EXPECT_EQ(stamps.Process(), "20230101120000002");
}

TEST(RawStampsTest, OnlyRecordingsOfTheFirstPassCount) {
    EXPECT_EQ(StampsOf({"sched_global_record_2_1.perf", "sched_global_latency_max_1_1.log",
                        "sched_global_timehist_1_1.log", "", "other"}),
              kNone);
}

TEST(RawStampsTest, TheFirstNameOfAJobWins) {
    EXPECT_EQ(StampsOf({"sched_core_0_record_1_1.perf", "sched_core_1_record_1_2.perf",
                        "sched_global_record_1_3.perf", "sched_global_record_1_4.perf",
                        "sched_process_a_7_record_1_5.perf", "sched_process_b_8_record_1_6.perf"}),
              "3 1 5");
}

// The words are looked for anywhere, in the name of a process too.
TEST(RawStampsTest, AProcessMayBearTheWordOfAnotherJob) {
    EXPECT_EQ(StampsOf({"sched_process_core_global_7_record_1_5.perf"}), "5 5 5");
    EXPECT_EQ(StampsOf({"sched_process_affinity_7_record_1_5.perf",
                        "sched_process_priority_8_record_1_6.perf"}),
              kNone);
}

}  // namespace
}  // namespace zarn::test
