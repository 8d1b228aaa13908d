#include "report/moments.h"

#include <gtest/gtest.h>

namespace zarn::report {
namespace {

TEST(MomentsTest, ReadsDigitsAsIfTheyWereUtc) {
    EXPECT_EQ(MomentIn("19700101000000000"), 0.0);
    EXPECT_EQ(MomentIn("19700102000001005"), 86401005.0);
    EXPECT_EQ(MomentIn("20240229235959999"), 1709251199999.0);
    EXPECT_EQ(MomentIn("20240229235959"), 1709251199000.0);
}

TEST(MomentsTest, KnowsNoOtherTexts) {
    for (const char* text :
         {"", "1970010100000000", "197001010000000000", "1970010100000000a", "20230229000000000",
          "20231301000000000", "00000101000000000", "20230001000000000", "20230101250000000",
          "20230101006000000", "-9700101000000000", " 9700101000000000"}) {
        EXPECT_EQ(MomentIn(text), std::nullopt) << text;
    }
}

TEST(MomentsTest, KnowsMomentsThatDigitsCanStandFor) {
    const auto last = MomentIn("99991231235959999");
    ASSERT_TRUE(last);
    EXPECT_TRUE(IsOnTheClock(*last));
    EXPECT_FALSE(IsOnTheClock(*last + 1.0));
    const auto first = MomentIn("00010101000000000");
    ASSERT_TRUE(first);
    EXPECT_TRUE(IsOnTheClock(*first));
    EXPECT_FALSE(IsOnTheClock(*first - 1.0));
}

TEST(MomentsTest, TakesWholeNumbersOnly) {
    EXPECT_EQ(WholeNumberIn("12.500000"), 12.5);
    EXPECT_EQ(WholeNumberIn(" -3 "), -3.0);
    EXPECT_EQ(WholeNumberIn("+19.22"), 19.22);
    EXPECT_EQ(WholeNumberIn("1e3"), 1000.0);
    for (const char* text : {"", " ", "12a", "1 2", "nan", "inf", "-inf", "1e999", "0x10", "++1",
                             "+-1", "N/A", "12%"}) {
        EXPECT_EQ(WholeNumberIn(text), std::nullopt) << text;
    }
    EXPECT_EQ(WholeNumberIn(std::string(1000000, '1')), std::nullopt);
}

TEST(MomentsTest, NamesDates) {
    EXPECT_EQ(DateOf(1709251199999.0), "2024-02-29 23:59:59.999");
    EXPECT_EQ(DateOf(5.0), "1970-01-01 00:00:00.005");
    EXPECT_EQ(DateOf(-1.0), "1969-12-31 23:59:59.999");
}

}  // namespace
}  // namespace zarn::report
