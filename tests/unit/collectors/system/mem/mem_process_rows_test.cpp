#include "collectors/system/mem/mem_process_rows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "formats/mem.h"

namespace zarn {
namespace {

using testing::ElementsAre;

MemRow RowOf(const std::string& pid, const std::string& pss) {
    return {pid, "0K", "0K", pss};
}

std::string Pids(const std::vector<MemRow>& rows) {
    std::string pids;
    for (const MemRow& row : rows) {
        pids.append(pids.empty() ? "" : " ").append(row.front());
    }
    return pids;
}

TEST(MemProcessRowTest, HasItsCellsInTheOrderOfTheColumns) {
    const StatusWords words = {"node", "64", "100", "200", "300", "400", "500", "600", "7"};
    const MemRow row = MakeProcessRow("11", {"1", "2", "3", "4"}, "5", words);
    EXPECT_THAT(row, ElementsAre("11", "1K", "2K", "3K", "4K", "5K", "100K", "200K", "300K", "400K",
                                 "500K", "600K", "7", "64", "node"));
    EXPECT_EQ(row.size(), kMemProcessColumns.size());
}

TEST(GreatestPssTest, SortsOnTheNumberBeforeTheUnit) {
    std::vector<MemRow> rows = {RowOf("a", "9K"), RowOf("b", "100K"), RowOf("c", "9"),
                                RowOf("d", "18446744073709551615K"), RowOf("e", "0K")};
    EXPECT_EQ(KeepGreatestPss(rows), PssResult::Ok);
    EXPECT_EQ(Pids(rows), "d b a c e");
}

TEST(GreatestPssTest, ElevenRowsLeaveTenAndTenLeaveTen) {
    for (const std::size_t size : {0U, 1U, 10U, 11U}) {
        std::vector<MemRow> rows;
        for (std::size_t i = 0; i < size; ++i) {
            rows.push_back(RowOf(std::to_string(i), std::to_string(i) + "K"));
        }
        EXPECT_EQ(KeepGreatestPss(rows), PssResult::Ok);
        EXPECT_EQ(rows.size(), std::min<std::size_t>(size, 10));
        if (size == 11) {
            EXPECT_EQ(Pids(rows), "10 9 8 7 6 5 4 3 2 1");
        }
    }
}

TEST(GreatestPssTest, RefusesRowsWithoutANumberAndLeavesThem) {
    std::vector<MemRow> rows = {RowOf("a", "9K"), {"b", "0K", "0K"}, RowOf("c", "K")};
    EXPECT_EQ(KeepGreatestPss(rows), PssResult::ShortRow);
    EXPECT_EQ(Pids(rows), "a b c");
    for (const std::string& cell :
         {std::string(), std::string("K"), std::string("-1K"), std::string("1.5K"),
          std::string("1KK"), std::string(40, '7') + "K"}) {
        rows = {RowOf("a", "9K"), RowOf("b", cell)};
        EXPECT_EQ(KeepGreatestPss(rows), PssResult::NoNumber) << cell;
        EXPECT_EQ(Pids(rows), "a b");
    }
}

}  // namespace
}  // namespace zarn
