#include "kit/csv_table.h"

#include <gtest/gtest.h>

#include <limits>

namespace zarn {
namespace {

struct Cell {
    double value;
    const char* text;
};

class CellTextTest : public testing::TestWithParam<Cell> {};

TEST_P(CellTextTest, IsTheStreamsDefaultFormatOrNotAvailable) {
    EXPECT_EQ(CellText(GetParam().value), GetParam().text);
}

constexpr double kEpsilon = 1.1920928955078125e-7;

INSTANTIATE_TEST_SUITE_P(Cases, CellTextTest,
                         testing::Values(Cell{0, "0"}, Cell{12.5, "12.5"}, Cell{0.1, "0.1"},
                                         Cell{100.0 / 3, "33.3333"}, Cell{24105.6, "24105.6"},
                                         Cell{1234567, "1.23457e+06"}, Cell{-2, "-2"},
                                         Cell{0.00001, "1e-05"}, Cell{-1, "N/A"},
                                         Cell{-1 + kEpsilon, "N/A"}, Cell{-1 - kEpsilon, "N/A"},
                                         Cell{-1 + kEpsilon / 2, "N/A"}, Cell{-1 + 1.2e-7, "-1"},
                                         Cell{-1 - 1.2e-7, "-1"}, Cell{1, "1"},
                                         Cell{std::numeric_limits<double>::quiet_NaN(), "nan"},
                                         Cell{std::numeric_limits<double>::infinity(), "inf"}));

bool Never() {
    return false;
}

TEST(ComparisonTable, HasAColumnForEachVersionAndRowsInByteOrder) {
    const ComparisonRows rows = {{"b_max", {1, 2.5}}, {"a_max", {-1, 3}}, {"B_max", {4, -1}}};
    EXPECT_EQ(ComparisonTable({"v1", "v2"}, rows, Never),
              "version,v1,v2,\n"
              "B_max,4,N/A,\n"
              "a_max,N/A,3,\n"
              "b_max,1,2.5,\n");
}

TEST(ComparisonTable, WithoutRowsIsTheHeadLine) {
    EXPECT_EQ(ComparisonTable({"v1"}, {}, Never), "version,v1,\n");
    EXPECT_EQ(ComparisonTable({}, {}, Never), "version,\n");
}

TEST(ComparisonTable, FillsRowsOfVersionsThatWereNotReached) {
    EXPECT_EQ(ComparisonTable({"v1", "v2", "v3"}, {{"a", {7}}}, Never),
              "version,v1,v2,v3,\na,7,N/A,N/A,\n");
}

TEST(ComparisonTable, EndsWhereItIsStopped) {
    int asked = 0;
    const auto stopAtThird = [&asked] { return ++asked == 3; };
    EXPECT_EQ(ComparisonTable({"v"}, {{"a", {1}}, {"b", {2}}, {"c", {3}}, {"d", {4}}}, stopAtThird),
              "version,v,\na,1,\nb,2,\n");
    EXPECT_EQ(asked, 3);
}

}  // namespace
}  // namespace zarn
