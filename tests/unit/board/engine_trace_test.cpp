#include "board/server/engine_trace.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "board/device/device_codes.h"
#include "board/device/device_info.h"
#include "board/setup/scenario_parser.h"

namespace zarn::board {
namespace {

std::unique_ptr<BoardState> Board() {
    auto state = std::make_unique<BoardState>();
    EXPECT_FALSE(ParseScenario(R"({"masters": {
        "imgp_vdec": {"demand": 4000, "noise": 0.3}, "imgp_vpc": {"demand": 6000, "noise": 0.3},
        "imgp_venc": {"demand": 5000, "noise": 0.3}},
        "load": {"vdec": 30, "vpc": 55, "venc": 40}})",
                               *state));
    state->seed = 7;
    return state;
}

// What the device library answers at a moment.
std::uint32_t Rate(const BoardState& state, std::uint32_t engine, std::uint64_t timeMs) {
    std::array<unsigned char, 4> buffer{};
    std::uint32_t size = 4;
    EXPECT_EQ(GetInfo(state, {0, kImageBlock, engine}, buffer.data(), size, timeMs), kDeviceOk);
    return buffer[0];
}

constexpr std::uint32_t kDecoder = 1;
constexpr std::uint32_t kPreProcessing = 2;
constexpr std::uint32_t kEncoder = 3;

// A row's numbers; all that is no digit or point parts them.
std::vector<double> Numbers(std::string line) {
    for (char& c : line) {
        c = (c >= '0' && c <= '9') || c == '.' ? c : ' ';
    }
    std::istringstream words(line);
    std::vector<double> numbers;
    for (double number = 0; words >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}

std::vector<std::vector<double>> Rows(const std::string& slice) {
    std::istringstream lines(slice);
    std::string line;
    std::getline(lines, line);
    std::vector<std::vector<double>> rows;
    while (std::getline(lines, line)) {
        rows.push_back(Numbers(line));
    }
    return rows;
}

// The rates of a second, told by the device library: microseconds of each tick of 100 ms.
struct Busy {
    double greatest = 0;
    double least = 1e9;
    double mean = 0;
};

Busy BusyIn(const BoardState& state, std::uint32_t engine, std::uint64_t fromMs,
            std::uint64_t toMs) {
    Busy busy;
    int ticks = 0;
    for (std::uint64_t time = fromMs; time < toMs; time += 100, ++ticks) {
        const double us = Rate(state, engine, time) * 1000.0;
        busy.greatest = std::max(busy.greatest, us);
        busy.least = std::min(busy.least, us);
        busy.mean += us;
    }
    busy.mean = std::round(busy.mean / ticks);
    return busy;
}

TEST(EngineTrace, ItsSlicesAreWhatTheDeviceLibraryAnswers) {
    const auto state = Board();
    EngineTrace trace;
    for (std::uint64_t time = 12340; time < 14800; time += 50) {
        trace.TakeUntil(*state, time);
    }
    // From 12.3 s to 14.7 s: two seconds and five ticks.
    const auto data = Rows(trace.DataSlice());
    const auto vpc = Rows(trace.VpcSlice());
    ASSERT_EQ(data.size(), 6U);
    ASSERT_EQ(vpc.size(), 3U);
    for (std::size_t second = 0; second < 3; ++second) {
        const std::uint64_t from = 12300 + 1000 * second;
        const std::uint64_t to = std::min<std::uint64_t>(from + 1000, 14800);
        for (std::size_t channel = 0; channel < 2; ++channel) {
            const Busy busy = BusyIn(*state, channel == 0 ? kDecoder : kEncoder, from, to);
            const std::vector<double>& row = data[2 * second + channel];
            ASSERT_EQ(row.size(), 10U);
            EXPECT_EQ(row[0], channel);
            EXPECT_EQ(row[1], channel == 0 ? 1280 : 1920);
            EXPECT_EQ(row[5] * 1000 + row[6] / 1e6, from);
            EXPECT_EQ(row[7], busy.greatest);
            EXPECT_EQ(row[8], busy.least);
            EXPECT_EQ(row[9], busy.mean);
            EXPECT_LT(row[8], row[7]);
        }
        const Busy busy = BusyIn(*state, kPreProcessing, from, to);
        ASSERT_EQ(vpc[second].size(), 7U);
        EXPECT_EQ(vpc[second][1] * 1000 + vpc[second][2] / 1e6, from);
        EXPECT_NEAR(vpc[second][3] * 1000, busy.mean, 1.0);
        EXPECT_EQ(vpc[second][4], busy.mean);
        EXPECT_EQ(vpc[second][5], busy.least);
        EXPECT_EQ(vpc[second][6], busy.greatest);
    }
}

TEST(EngineTrace, TheLinesOfASliceHaveThisShape) {
    auto state = std::make_unique<BoardState>();
    ASSERT_FALSE(ParseScenario(R"({"masters": {"imgp_venc": {"demand": 10},
        "imgp_vpc": {"demand": 10}}, "load": {"venc": 40, "vpc": 55, "vdec": 30}})",
                               *state));
    EngineTrace trace;
    trace.TakeUntil(*state, 5099);
    EXPECT_EQ(trace.DataSlice(),
              "Channel,In W*H,Out W*H,TimeStamp,Cost(us,Max Min Ave)\n"
              "0,1280*720,1280*720,5 000000000,0 0 0\n"
              "1,1920*1080,1920*1080,5 000000000,40000 40000 40000\n");
    EXPECT_EQ(trace.VpcSlice(),
              "Core,TimeStamp,Utilization(%),Time(us,avg:min:max)\n"
              "0,5 000000000,55,55000:55000:55000\n");
}

// What is set while a trace goes on counts from then on.
TEST(EngineTrace, ABoundThatIsSetMeanwhileShows) {
    const auto state = Board();
    EngineTrace trace;
    std::uint64_t time = 0;
    for (; time < 1000; time += 100) {
        trace.TakeUntil(*state, time);
    }
    state->partitions[3] = {0, 1, 1};  // a sixth of what the pre-processing core asks for
    for (; time < 2000; time += 100) {
        trace.TakeUntil(*state, time);
    }
    const auto rows = Rows(trace.VpcSlice());
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_GT(rows[0][5], 35000);
    EXPECT_LT(rows[1][6], 15000);
}

TEST(EngineTrace, WithoutATickItIsItsHeads) {
    EXPECT_EQ(EngineTrace().DataSlice(), "Channel,In W*H,Out W*H,TimeStamp,Cost(us,Max Min Ave)\n");
    EXPECT_EQ(EngineTrace().VpcSlice(), "Core,TimeStamp,Utilization(%),Time(us,avg:min:max)\n");
}

}  // namespace
}  // namespace zarn::board
