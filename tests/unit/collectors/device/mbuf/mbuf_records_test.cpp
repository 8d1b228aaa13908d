#include "collectors/device/mbuf/mbuf_records.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>

#include "collectors/device/mbuf/mbuf_log.h"
#include "tests/unit/collectors/device/mbuf/mbuf_collector_fixture.h"

namespace zarn {
namespace {

using test::MbufBytes;
using test::MbufOf;

TEST(ParseMbufRecordsTest, TakesTheFieldsOfWholeRecords) {
    const MbufRecord greatest = {std::numeric_limits<std::uint64_t>::max(),
                                 std::numeric_limits<std::uint64_t>::max(),
                                 0xFFFFFFFF,
                                 0xFFFFFFFE,
                                 0xFFFFFFFD,
                                 0xFFFFFFFC,
                                 0xFFFFFFFB,
                                 "a b\n\"\xFF"};
    const std::string bytes = MbufBytes(MbufOf(3)) + MbufBytes(greatest);
    const auto records = ParseMbufRecords(bytes + "torn");
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].timeStamp, 1003U);
    EXPECT_EQ(records[0].mbuf, 0xFFFF0003U);
    EXPECT_EQ(records[0].usePid, 11U);
    EXPECT_EQ(records[0].allocPid, 10U);
    EXPECT_EQ(records[0].useTime, 10003U);
    EXPECT_EQ(records[0].blkSize, 4096U);
    EXPECT_EQ(records[0].totalBlkNum, 64U);
    EXPECT_EQ(records[0].poolName, "pool");
    EXPECT_EQ(MbufBytes(records[1]), MbufBytes(greatest));
    EXPECT_TRUE(ParseMbufRecords(bytes.substr(0, 223)).empty());
    EXPECT_TRUE(ParseMbufRecords("").empty());
}

TEST(MbufKeyTest, HasTheAddressAsAPointerAndTheRestInDecimal) {
    MbufRecord record = MbufOf(10);
    EXPECT_EQ(MbufKey(record).Text(), "0xffff000a_1010_10010");
    record.mbuf = 0;
    record.timeStamp = std::numeric_limits<std::uint64_t>::max();
    record.useTime = 0;
    EXPECT_EQ(MbufKey(record).Text(), "0_18446744073709551615_0");
    record.mbuf = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(MbufKey(record).Text(), "0xffffffffffffffff_18446744073709551615_0");
}

TEST(MbufCycleTest, KeepsWhatComesLaterThanTheFirstQuery) {
    MbufRecord moved = MbufOf(1);
    ++moved.useTime;  // another key
    const std::vector<MbufRecord> first = {MbufOf(1), MbufOf(1)};
    const std::vector<MbufRecord> second = {MbufOf(10), MbufOf(1), MbufOf(2), MbufOf(2), moved};
    MbufCycle cycle;
    EXPECT_TRUE(cycle.NewRecords().empty());
    cycle.Add(first);
    EXPECT_TRUE(cycle.NewRecords().empty());
    cycle.Add(second);
    EXPECT_THAT(cycle.NewRecords(), testing::ElementsAre(&second[4], &second[2], &second[0]));
}

TEST(WriteMbufLogTest, HandsOnWholeRecordsInPieces) {
    std::vector<MbufRecord> records;
    for (unsigned i = 0; i < 1000; ++i) {
        records.push_back(MbufOf(i));
    }
    std::size_t pieces = 0;
    std::size_t lines = 0;
    WriteMbufLog(records, [&](std::string_view piece) {
        ++pieces;
        EXPECT_EQ(piece.substr(0, 5), "=====");
        lines += static_cast<std::size_t>(std::count(piece.begin(), piece.end(), '\n'));
    });
    EXPECT_GT(pieces, 3U);
    EXPECT_EQ(lines, 10000U);
}

}  // namespace
}  // namespace zarn
