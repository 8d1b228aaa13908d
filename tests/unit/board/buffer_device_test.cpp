#include "board/device/buffer_device.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include "board/device/device_codes.h"
#include "board/server/board_files.h"
#include "board/setup/scenario_parser.h"

namespace zarn::board {
namespace {

constexpr const char* kScenario = R"({"programs": [{"name": "camera"}, {"name": "planner"}],
    "buffers": {"held": 1, "leak_every_ms": 1000, "block_size": 8192, "block_count": 64, "owners": [
        {"program": "planner", "from": "camera", "pool": "frames", "groups": ["default_dm", "cam"],
         "rate": 10, "hold_ms": 4, "stuck_one_of": 2}]}})";

struct Record {
    std::uint64_t takenUs = 0;
    std::uint64_t address = 0;
    std::uint32_t usePid = 0;
    std::uint32_t allocPid = 0;
    std::uint32_t useTime = 0;
    std::uint32_t blockSize = 0;
    std::uint32_t blockCount = 0;
    std::string pool;
};

class BufferDevice : public testing::Test {
protected:
    BufferDevice() {
        EXPECT_EQ(ParseScenario(kScenario, *state_), std::nullopt);
        state_->seed = 3;
        state_->serverPid = 50;
        state_->programPids = {51, 52};
    }

    void SwitchOn(std::uint64_t timeUs, std::uint32_t records = 8192) {
        const std::array<std::uint32_t, 4> setting{1, records, 10000, 5000};
        EXPECT_EQ(ConfigureBuffers(*state_, 0, setting.data(), 16, timeUs), kDeviceOk);
    }

    std::string Ask(std::uint64_t timeUs, std::uint32_t size = 8192 * kBufferRecordSize) {
        std::string answer(8192 * std::size_t{kBufferRecordSize}, '\xAA');
        EXPECT_EQ(ReadBuffers(*state_, 0, answer.data(), size, timeUs, 7), kDeviceOk);
        return answer.substr(0, size);
    }

    static std::vector<Record> RecordsOf(const std::string& answer) {
        std::vector<Record> records;
        for (std::size_t at = 0; at < answer.size(); at += kBufferRecordSize) {
            Record record;
            std::memcpy(&record.takenUs, answer.data() + at, 8);
            std::memcpy(&record.address, answer.data() + at + 8, 8);
            std::memcpy(&record.usePid, answer.data() + at + 16, 4);
            std::memcpy(&record.allocPid, answer.data() + at + 20, 4);
            std::memcpy(&record.useTime, answer.data() + at + 24, 4);
            std::memcpy(&record.blockSize, answer.data() + at + 48, 4);
            std::memcpy(&record.blockCount, answer.data() + at + 52, 4);
            record.pool = answer.data() + at + 64;
            records.push_back(record);
        }
        return records;
    }

    std::unique_ptr<BoardState> state_ = std::make_unique<BoardState>();
};

TEST_F(BufferDevice, WhatIsStuckIsInTheFirstAnswer) {
    SwitchOn(10000000);
    const std::vector<Record> records = RecordsOf(Ask(10000000));
    // One all along, one leaked in each of ten seconds, one of two of the planner's hundred: but
    // for those taken within the last ten milliseconds.
    EXPECT_NEAR(static_cast<double>(records.size()), 1 + 10 + 50, 2);
    for (const Record& record : records) {
        EXPECT_EQ(record.takenUs + record.useTime, 10000000U);
        EXPECT_EQ(record.blockSize, 8192U);
        EXPECT_EQ(record.blockCount, 64U);
        const bool isPlanners = record.usePid == 52;
        EXPECT_EQ(record.allocPid, isPlanners ? 51U : 50U);
        EXPECT_EQ(record.usePid, isPlanners ? 52U : 50U);
        EXPECT_EQ(record.pool, isPlanners ? "frames" : "vboard_pool");
    }
}

TEST_F(BufferDevice, AHeldBufferKeepsItsRecordUntilTheNextSwitching) {
    SwitchOn(2000000);
    const std::string first = Ask(2100000);
    const std::string second = Ask(7100000);
    ASSERT_GT(second.size(), first.size());
    EXPECT_EQ(second.substr(0, first.size()), first);
    for (const Record& record : RecordsOf(second.substr(first.size()))) {
        EXPECT_GE(record.useTime, 10000U);
        EXPECT_LT(record.useTime, 15000U);
    }
    EXPECT_EQ(state_->recording.askedUs, (std::array<std::uint64_t, 2>{2100000, 7100000}));
    SwitchOn(7100000);
    EXPECT_NE(Ask(7100000).substr(0, first.size()), first);
}

TEST_F(BufferDevice, TheFirstOnesFoundAreKept) {
    SwitchOn(10000000, 5);
    const std::string answer = Ask(10000000);
    EXPECT_EQ(answer.size(), 5 * kBufferRecordSize);
    EXPECT_EQ(Ask(20000000), answer);
    EXPECT_EQ(Ask(20000000, 3 * kBufferRecordSize + 100), answer.substr(0, 3 * kBufferRecordSize));
}

TEST_F(BufferDevice, WithoutAServerTheCallerHoldsThem) {
    state_->serverPid = 0;
    state_->programPids = {};
    SwitchOn(1000000);
    for (const Record& record : RecordsOf(Ask(1000000))) {
        EXPECT_EQ(record.usePid, 7U);
    }
}

TEST_F(BufferDevice, ItsTruthNamesTheHolders) {
    EXPECT_EQ(BufferRecordingText(*state_), "recording: off\n");
    SwitchOn(100000);
    const std::size_t records = RecordsOf(Ask(600000)).size();
    EXPECT_EQ(BufferRecordingText(*state_),
              "recording: since 100000 us, held for 10000 us, a look every 5000 us, asked at 0 "
              "600000 us\n");
    const std::string text = RecordedBuffersText(*state_, 600000);
    EXPECT_EQ(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')), records + 2);
    EXPECT_EQ(text.substr(0, text.find("\n0x")),
              "time: 600000 us\n"
              "mbuf               taken_us     found_us     pid      program         pool");
    EXPECT_NE(text.find(" 50       zarn-board-serv vboard_pool\n"), std::string::npos);
    EXPECT_NE(text.find(" 52       planner         frames\n"), std::string::npos);
}

TEST(BufferGroupsOf, AreThoseOfTheOwner) {
    const auto state = std::make_unique<BoardState>();
    ASSERT_EQ(ParseScenario(kScenario, *state), std::nullopt);
    const BufferPools& pools = state->scenario.buffers;
    EXPECT_EQ(BufferGroupsOf(pools, 1), (std::vector<std::string>{"default_dm", "cam"}));
    EXPECT_TRUE(BufferGroupsOf(pools, 0).empty());
}

}  // namespace
}  // namespace zarn::board
