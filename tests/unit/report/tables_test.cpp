#include "report/tables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace zarn::report {
namespace {

using testing::ElementsAre;

TEST(ReportTablesTest, CutsLinesIntoCells) {
    EXPECT_THAT(CellsOf(""), ElementsAre());
    EXPECT_THAT(CellsOf("a,b,"), ElementsAre("a", "b"));
    EXPECT_THAT(CellsOf("a,b"), ElementsAre("a", "b"));
    EXPECT_THAT(CellsOf("a,,b,"), ElementsAre("a", "", "b"));
    EXPECT_THAT(CellsOf(",,"), ElementsAre("", ""));
    const std::string quoted = "\"9.99%\",\" \",\"a, b\",\"f<\"q\">(int)\"";
    EXPECT_THAT(CellsOf(quoted), ElementsAre("9.99%", " ", "a, b", "f<\"q\">(int)"));
    EXPECT_THAT(CellsOf("x,\"0,1\","), ElementsAre("x", "0,1"));
    EXPECT_THAT(CellsOf("\"torn, and"), ElementsAre("\"torn, and"));
}

TEST(ReportTablesTest, TakesNoMoreColumnsThanARowMayHave) {
    EXPECT_EQ(CellsOf(std::string(100000, ',')).size(), kMostColumns);
    EXPECT_EQ(CellsOf(std::string(100000, '"')).size(), 1U);
}

TEST(ReportTablesTest, ReadsMomentsBehindTheirApostrophe) {
    EXPECT_EQ(MomentOfCell("'19700101000000005"), 5.0);
    EXPECT_EQ(MomentOfCell("19700101000000005"), 5.0);
    EXPECT_EQ(MomentOfCell("''19700101000000005"), std::nullopt);
    EXPECT_EQ(MomentOfCell(""), std::nullopt);
}

}  // namespace
}  // namespace zarn::report
