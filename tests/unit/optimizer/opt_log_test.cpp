#include "optimizer/opt_log.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/captured_streams.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

using test::Capture;
using test::Captured;
using test::TempDir;

TEST(OptLogTest, AppendsToTheFileAndPrints) {
    const TempDir dir;
    const OptLog log(dir.Path() + "opt.log");
    const Captured captured = Capture([&] {
        log.WriteOptLog("one");
        log.WriteOptLog("two ");
    });
    EXPECT_EQ(captured.out, "one\ntwo \n");
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(dir.Read("opt.log"), "one\ntwo \n");
}

TEST(OptLogTest, GoesOnWithoutAFile) {
    const TempDir dir;
    const OptLog log(dir.Path() + "missing/opt.log");
    const Captured captured = Capture([&] {
        log.WriteOptLog("one");
        log.WriteOptLog("two");
    });
    EXPECT_EQ(captured.out, "one\ntwo\n");
    EXPECT_EQ(captured.err,
              "[DdrOptimizer] Failed to open log file.\n[DdrOptimizer] Failed to open log file.\n");
}

TEST(OptLogTest, WritesMapsInKeyOrder) {
    EXPECT_EQ(BoundsText({{5, 12}, {0, 3}, {3, -2}}), "0 : 3,  3 : -2,  5 : 12,  ");
    EXPECT_EQ(BoundsText({}), "");
    EXPECT_EQ(PerfText({{"isp", {}}, {"cpu", {1.0, 2.0}}, {"aic", {0.3333333}}}),
              "aic : 0.333333,  cpu : 1.500000,  isp : 0.000000,  ");
    EXPECT_EQ(PerfText({}), "");
}

TEST(OptLogTest, WritesTValues) {
    EXPECT_EQ(TValueText(1.7291234), "1.729123");
    EXPECT_EQ(TValueText(-0.5), "-0.500000");
    EXPECT_EQ(TValueText(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(TValueText(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(TValueText(-std::numeric_limits<double>::quiet_NaN()), "nan");
}

}  // namespace
}  // namespace zarn
