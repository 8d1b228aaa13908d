#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "formats/correlation.h"
#include "formats/sched.h"
#include "tests/unit/report/shown.h"

namespace zarn::report {
namespace {

using test::DocumentLine;
using test::kFrom;
using test::RunTree;
using test::Shown;
using testing::ElementsAre;

constexpr const char* kPage = "correlation";

// The scheduler's moment is ten seconds after the machine came up at 23:59:50.
TEST(CorrelationPageTest, ShowsAllSourcesOnOneAxis) {
    const RunTree tree;
    tree.Write(sched_files::GlobalLatencyPath("", 1, "20260101000000000"),
               DocumentLine("soc_sched_global_latency_info", "20260101000000000",
                            R"([{"Task":"planner:7","systemStartUpTime":"20251231235950"}])"));
    tree.Write(RunTree::NameOf(correlation_files::kTable),
               "happen_time,aicore_average,peak_aicore_average,cpu_total,sched_global_task_name,"
               "sched_global_run_time,\n"
               "'20260101000000000000,44.5,0,,,,\n"
               "'20251231235960000250,,1,,planner,3.5,\n"
               "'20260101000001000000,-1,1,61.3,,,\n"
               "'20260101000002000000,20,0,7,,,\n"
               "'2026010100000200000,1,1,1,,,\n"
               "'99999999999999000000,,,,planner,3.5,\n");
    const Shown shown(tree);
    EXPECT_THAT(
        shown.Lines(kPage, "All loads on one axis", kFrom),
        ElementsAre("aicore_average: 0=44.5 1000=none 2000=20", "cpu_total: 1000=61.3 2000=7"));
    EXPECT_THAT(shown.Lines(kPage, "Waits, delays and runs", kFrom),
                ElementsAre("sched_global_run_time: 0.25=3.5"));
    const JsonValue& bands = shown.Block(kPage, "All loads on one axis")["bands"];
    ASSERT_EQ(bands.Size(), 1U);
    EXPECT_EQ(bands[0]["from"].GetDouble() - kFrom, 0.25);
    EXPECT_EQ(bands[0]["to"].GetDouble() - kFrom, 1000.0);
    EXPECT_STREQ(bands[0]["label"].GetString(), "near a peak of aicore_average");
    EXPECT_THAT(shown.Troubles(),
                ElementsAre(RunTree::NameOf(correlation_files::kTable) + ": line 6 has no moment"));
}

}  // namespace
}  // namespace zarn::report
