#include "kit/csv_table.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace zarn {
namespace {

using Pieces = std::vector<std::size_t>;

TEST(CsvTableTest, EveryCellEndsInAComma) {
    CsvTable table;
    table.Cell("name");
    table.Cell("");
    table.EndLine();
    table.TimeCell("20230101120000000");
    table.MissingCell();
    table.EndLine();
    EXPECT_EQ(table.TakeText(), "name,,\n'20230101120000000,N/A,\n");
}

TEST(CsvTableTest, HasTwoFormatsOfNumbers) {
    CsvTable table;
    const double value = 1e6;
    const double* none = nullptr;
    table.Cell(100.0 / 3);
    table.Cell(&value);
    table.Cell(none);
    table.FixedCell(100.0 / 3);
    table.FixedCell(-0.0);
    EXPECT_EQ(table.TakeText(), "33.3333,1e+06,,33.333333,-0.000000,");
}

TEST(CsvTableTest, IsHandedOnInPiecesOfWholeLines) {
    std::string whole;
    Pieces pieces;
    CsvTable table([&](std::string_view piece) {
        EXPECT_EQ(piece.back(), '\n');
        whole += piece;
        pieces.push_back(piece.size());
        return true;
    });
    const std::string text(1000, 'x');
    for (int line = 0; line < 2000; ++line) {
        table.Cell(text);
        table.EndLine();
    }
    table.Finish();
    EXPECT_EQ(whole.size(), 2000U * 1002U);
    EXPECT_EQ(pieces.size(), 2U);
    EXPECT_EQ(table.TakeText(), "");
}

TEST(CsvTableTest, APieceThatIsNotTakenEndsTheHandingOn) {
    int calls = 0;
    CsvTable table([&calls](std::string_view) {
        ++calls;
        return false;
    });
    for (int line = 0; line < 3; ++line) {
        table.Cell(std::string(1U << 20U, 'x'));
        table.EndLine();
    }
    table.Finish();
    EXPECT_EQ(calls, 1);
}

TEST(CsvTableTest, AnEmptyTableIsHandedOnToo) {
    Pieces pieces;
    CsvTable table([&pieces](std::string_view piece) {
        pieces.push_back(piece.size());
        return true;
    });
    table.Finish();
    EXPECT_EQ(pieces, Pieces{0});
}

struct Cell {
    double value;
    const char* text;
};

class ComparisonCellTest : public testing::TestWithParam<Cell> {};

TEST_P(ComparisonCellTest, IsTheStreamsDefaultFormatOrNotAvailable) {
    const std::string row = std::string("a,") + GetParam().text + ",\n";
    EXPECT_EQ(ComparisonTable({"v"}, {{"a", {GetParam().value}}}, [] { return false; }),
              "version,v,\n" + row);
}

constexpr double kEpsilon = 1.1920928955078125e-7;

INSTANTIATE_TEST_SUITE_P(Cases, ComparisonCellTest,
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
