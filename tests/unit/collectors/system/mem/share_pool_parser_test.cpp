#include "collectors/system/mem/share_pool_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kHead = "PID Group_ID SP_ALLOC SP_K SP_R VIRT RES Shm PROT COMMAND\n";

std::vector<SharePoolRow> Parse(const std::string& table, SharePoolResult expected) {
    std::vector<SharePoolRow> rows(1);
    EXPECT_EQ(ParseSharePoolTable(table, rows), expected) << table;
    return rows;
}

TEST(SharePoolTableTest, ARowHasNineValuesAndATenthIsLeft) {
    const auto rows = Parse(std::string(kHead) +
                                "11  1 512 0  512 900 800 8 RW\t\n"
                                "12\t2 256 0 256 900 800 8 R node of more words\n"
                                "x 2 256 0 256 900 800 8 R",
                            SharePoolResult::Ok);
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_THAT(rows[0].values, ElementsAre("11", "1", "512", "0", "512", "900", "800", "8", "RW"));
    EXPECT_THAT(rows[1].values, ElementsAre("12", "2", "256", "0", "256", "900", "800", "8", "R"));
    EXPECT_EQ(rows[2].values.front(), "x");
    EXPECT_EQ(rows[0].guard + rows[1].guard + rows[2].guard, "");
}

TEST(SharePoolTableTest, AGuardLineStaysAsItIs) {
    const auto rows = Parse(std::string(kHead) + "  guard\t page of 11\n11 1 2 3 4 5 6 7 guarded\n",
                            SharePoolResult::Ok);
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0].guard, "  guard\t page of 11");
    EXPECT_EQ(rows[1].guard, "11 1 2 3 4 5 6 7 guarded");
    EXPECT_THAT(rows[0].values, IsEmpty());
    EXPECT_THAT(rows[1].values, IsEmpty());
}

TEST(SharePoolTableTest, OfNoTableThereAreNoRows) {
    EXPECT_THAT(Parse("", SharePoolResult::Ok), IsEmpty());
    EXPECT_THAT(Parse(kHead, SharePoolResult::Ok), IsEmpty());
    EXPECT_THAT(Parse("11 1 2 3 4 5 6 7 8\n", SharePoolResult::Ok), IsEmpty());
}

TEST(SharePoolTableTest, RefusesALineThatIsNoRow) {
    const std::string good = std::string(kHead) + "11 1 2 3 4 5 6 7 RW\n";
    EXPECT_EQ(Parse(good + "\n", SharePoolResult::EmptyValue).size(), 1U);
    EXPECT_EQ(Parse(good + " 12 1 2 3 4 5 6 7 RW\n", SharePoolResult::EmptyValue).size(), 1U);
    EXPECT_EQ(Parse(good + "\t\n", SharePoolResult::EmptyValue).size(), 1U);
    EXPECT_EQ(Parse(good + "12 1 2 3 4 5 6 7\n", SharePoolResult::MissingValue).size(), 1U);
    EXPECT_EQ(Parse(good + "--\n", SharePoolResult::MissingValue).size(), 1U);
}

TEST(SharePoolTableTest, ReadsLinesOfAnyLengthAndAnyNumber) {
    std::string table = kHead;
    for (int pid = 0; pid < 1001; ++pid) {
        table += std::to_string(pid) + " 1 2 3 4 5 6 7 RW\n";
    }
    const std::string long_(std::size_t{1} << 20, 'x');
    const auto rows =
        Parse(table + long_ + " 1 2 3 4 5 6 7 RW " + long_ + "\n", SharePoolResult::Ok);
    ASSERT_EQ(rows.size(), 1002U);
    EXPECT_EQ(rows[1000].values.front(), "1000");
    EXPECT_EQ(rows[1001].values.front(), long_);
    EXPECT_EQ(rows[1001].values.back(), "RW");
}

}  // namespace
}  // namespace zarn
