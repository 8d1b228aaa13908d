#include "board/server/board_files.h"

#include <gtest/gtest.h>

#include <memory>

#include "board/setup/scenario_parser.h"

namespace zarn::board {
namespace {

std::unique_ptr<BoardState> Board() {
    auto state = std::make_unique<BoardState>();
    EXPECT_FALSE(ParseScenario(R"({"masters": {
        "cpu": {"demand": 9000.7, "qos": {"bw_low": 1, "bw_high": 4}},
        "isp_vipe": {"demand": 3600, "qos": {"hardlimit": 0}}}})",
                               *state));
    return state;
}

constexpr const char* kHead = "mpamid|bandwidth(MB/s)|bw_low(GB/s)|bw_high(GB/s)|hardlimit\n";

TEST(BandwidthTable, HasNoRowWhileTheMonitorIsOff) {
    EXPECT_EQ(BandwidthTable(*Board(), 0), kHead);
}

TEST(BandwidthTable, HasARowPerMonitoredPartitionInTheMonitorsOrder) {
    const auto state = Board();
    state->monitor = {1, 10000, 3, {10, 0, 5}};
    EXPECT_EQ(BandwidthTable(*state, 0),
              std::string(kHead) +
                  "    10|           3600|           0|           51|        0\n"
                  "     0|           4096|           1|            4|        1\n"
                  "     5|              0|           0|           51|        1\n");
}

TEST(BufferGroupsText, CountsItsGroups) {
    EXPECT_EQ(BufferGroupsText(77, {"default_dm", "vboard"}),
              "task pid 77 group cnt: 2\n"
              "0:default_dm( pool_id 1 )\n"
              "1:vboard( pool_id 2 )\n");
}

TEST(StatusText, ShowsWhatTheDeviceHolds) {
    const auto state = Board();
    state->calls = 12;
    const std::string text = StatusText(*state);
    EXPECT_EQ(text.substr(0, text.find("imgp_vdec")),
              "name        mpamid bw_low bw_high hardlimit priority\n"
              "cpu              0      1       4         1        5\n"
              "imgp_venc        1      0      51         1        5\n");
    EXPECT_EQ(text.substr(text.find("monitor")), "monitor: off, library calls: 12\n");
}

}  // namespace
}  // namespace zarn::board
