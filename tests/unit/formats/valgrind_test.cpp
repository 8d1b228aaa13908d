#include "formats/valgrind.h"

#include <gtest/gtest.h>

namespace zarn {
namespace {

using valgrind_files::kCacheGrind;
using valgrind_files::kMassif;

TEST(ValgrindFiles, AReportIsNamedAfterItsToolAndProgram) {
    EXPECT_EQ(valgrind_files::ReportName(kCacheGrind, "planner", "20230101120000000"),
              "cachegrind_planner_20230101120000000.log");
    EXPECT_EQ(valgrind_files::ReportName(kMassif, "planner", "1"), "massif_planner_1.log");
    EXPECT_EQ(valgrind_files::ReportPattern(kCacheGrind, "planner"),
              R"(cachegrind_planner_[0-9]+\.log)");
    EXPECT_EQ(valgrind_files::ReportPattern(kMassif, "a.b"), R"(massif_a.b_[0-9]+\.log)");
}

TEST(ValgrindFiles, ARecordingHasThePidToo) {
    EXPECT_EQ(valgrind_files::RecordingStem("planner", "417", "1"), "callgrind_planner_417_1");
}

}  // namespace
}  // namespace zarn
