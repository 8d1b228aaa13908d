#include "board/device/qos_device.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "board/device/device_codes.h"
#include "board/device/record.h"

namespace zarn::board {
namespace {

using Bytes = std::vector<unsigned char>;

// A record of `size` bytes with the words at their offsets.
Bytes Record(std::size_t size, const std::vector<std::pair<std::size_t, std::uint32_t>>& words) {
    Bytes bytes(size, 0);
    for (const auto& [offset, value] : words) {
        PutWord(bytes.data(), offset, value);
    }
    return bytes;
}

Bytes MasterRecord(std::uint32_t master, std::uint32_t mpamid, std::uint32_t priority) {
    constexpr std::uint32_t kAll = 0xFFFFFFFF;
    return Record(
        80,
        {{0, master}, {4, mpamid}, {8, priority}, {16, kAll}, {24, kAll}, {32, kAll}, {40, kAll}});
}

Bytes MonitorRecord(const std::vector<std::uint32_t>& ids) {
    Bytes bytes = Record(104, {{4, 10000}});
    bytes[0] = 1;
    bytes[1] = 2;
    bytes[2] = static_cast<unsigned char>(ids.size());
    for (std::size_t i = 0; i < ids.size(); ++i) {
        PutWord(bytes.data(), 8 + 4 * i, ids[i]);
    }
    return bytes;
}

class QosDevice : public testing::Test {
protected:
    QosDevice() { ResetSettings(*state_); }

    int Set(std::uint32_t operation, const Bytes& record) {
        return SetQos(*state_, operation, record.data(), static_cast<std::uint32_t>(record.size()));
    }

    int Get(std::uint32_t operation, std::uint32_t key, Bytes& record) {
        return GetQos(*state_, key << 8U | operation, record.data(),
                      static_cast<std::uint32_t>(record.size()));
    }

    std::unique_ptr<BoardState> state_ = std::make_unique<BoardState>();
};

TEST_F(QosDevice, WhatIsSetForAPartitionIsReadBackByteForByte) {
    EXPECT_EQ(Set(0, Record(48, {{0, 5}, {4, 40}, {8, 12}, {12, 0}})), kDeviceOk);
    Bytes answer = Record(48, {{0, 5}});
    EXPECT_EQ(Get(0, 5, answer), kDeviceOk);
    EXPECT_EQ(answer, Record(48, {{0, 5}, {4, 40}, {8, 12}, {12, 0}}));
    Bytes other = Record(48, {{0, 6}});
    EXPECT_EQ(Get(0, 6, other), kDeviceOk);
    EXPECT_EQ(other, Record(48, {{0, 6}, {4, 51}, {8, 0}, {12, 1}}));
}

TEST_F(QosDevice, WhatIsSetForAMasterIsReadBackByteForByte) {
    EXPECT_EQ(Set(1, MasterRecord(17, 9, 7)), kDeviceOk);
    Bytes answer = Record(80, {{0, 17}});
    EXPECT_EQ(Get(1, 17, answer), kDeviceOk);
    EXPECT_EQ(answer, Record(80, {{0, 17}, {4, 9}, {8, 7}}));
}

TEST_F(QosDevice, ALowBoundAboveTheHighOneIsTaken) {
    EXPECT_EQ(Set(0, Record(48, {{0, 0}, {4, 4}, {8, 20}, {12, 0}})), kDeviceOk);
}

TEST_F(QosDevice, TheMonitorIsStoppedBeforeItIsStartedAgain) {
    const Bytes stop(104, 0);
    const Bytes start = MonitorRecord({0, 1, 2, 3, 5, 6, 7, 8, 9, 10});
    EXPECT_EQ(Set(2, stop), kNotStarted);
    EXPECT_EQ(Set(2, start), kDeviceOk);
    EXPECT_EQ(state_->monitor.idCount, 10U);
    EXPECT_EQ(state_->monitor.ids[4], 5U);
    EXPECT_EQ(state_->monitor.sampling, 10000U);
    EXPECT_EQ(Set(2, start), kBusy);
    EXPECT_EQ(Set(2, stop), kDeviceOk);
    EXPECT_EQ(Set(2, start), kDeviceOk);
}

TEST_F(QosDevice, TheGlobalSwitchIsSet) {
    EXPECT_EQ(Set(3, Record(48, {{0, 1}})), kDeviceOk);
    EXPECT_EQ(state_->qosEnabled, 1U);
}

TEST_F(QosDevice, EachChangeIsAnnounced) {
    const std::uint32_t before = state_->generation;
    EXPECT_EQ(Set(0, Record(48, {{0, 5}, {4, 40}})), kDeviceOk);
    EXPECT_EQ(Set(1, MasterRecord(9, 5, 1)), kDeviceOk);
    EXPECT_EQ(Set(2, MonitorRecord({0})), kDeviceOk);
    EXPECT_EQ(state_->generation, before + 3);
}

struct RefusedSet {
    const char* what;
    std::uint32_t subCommand;
    Bytes record;
    int code;
};

class QosDeviceRefuses : public QosDevice, public testing::WithParamInterface<RefusedSet> {};

TEST_P(QosDeviceRefuses, AndChangesNothing) {
    EXPECT_EQ(Set(GetParam().subCommand, GetParam().record), GetParam().code) << GetParam().what;
    EXPECT_EQ(state_->generation, 0U);
    EXPECT_EQ(state_->qosEnabled, 0U);
}

// A record with one byte changed.
Bytes With(Bytes record, std::size_t offset, unsigned char value) {
    record[offset] = value;
    return record;
}

INSTANTIATE_TEST_SUITE_P(
    Sets, QosDeviceRefuses,
    testing::Values(
        RefusedSet{"unknown operation", 4, Bytes(48, 0), kUnknownCommand},
        RefusedSet{"a key in a set", 0x500, Record(48, {{0, 5}, {4, 9}}), kUnknownCommand},
        RefusedSet{"short partition", 0, Bytes(47, 0), kWrongSize},
        RefusedSet{"long partition", 0, Bytes(49, 0), kWrongSize},
        RefusedSet{"empty partition", 0, Bytes(), kWrongSize},
        RefusedSet{"short master", 1, Bytes(79, 0), kWrongSize},
        RefusedSet{"short monitor", 2, Bytes(103, 0), kWrongSize},
        RefusedSet{"long global", 3, Bytes(80, 0), kWrongSize},
        RefusedSet{"no partition 4", 0, Record(48, {{0, 4}, {4, 9}}), kBadValue},
        RefusedSet{"high beyond the peak", 0, Record(48, {{0, 5}, {4, 52}}), kBadValue},
        RefusedSet{"low beyond the peak", 0, Record(48, {{0, 5}, {8, 52}}), kBadValue},
        RefusedSet{"hard limit 2", 0, Record(48, {{0, 5}, {12, 2}}), kBadValue},
        RefusedSet{"rest of a partition", 0, Record(48, {{0, 5}, {16, 1}}), kBadRecord},
        RefusedSet{"last byte of one", 0, With(Bytes(48, 0), 47, 1), kBadRecord},
        RefusedSet{"no master 3", 1, MasterRecord(3, 5, 5), kBadValue},
        RefusedSet{"the CPU's number", 1, MasterRecord(0xFFFFFFFF, 0, 5), kBadValue},
        RefusedSet{"master to partition 4", 1, MasterRecord(9, 4, 5), kBadValue},
        RefusedSet{"priority 8", 1, MasterRecord(9, 5, 8), kBadValue},
        RefusedSet{"word 12 of a master", 1, With(MasterRecord(9, 5, 5), 12, 1), kBadRecord},
        RefusedSet{"last pair of a master", 1, With(MasterRecord(9, 5, 5), 43, 0), kBadRecord},
        RefusedSet{"second word of a pair", 1, With(MasterRecord(9, 5, 5), 20, 1), kBadRecord},
        RefusedSet{"end of a master", 1, With(MasterRecord(9, 5, 5), 79, 1), kBadRecord},
        RefusedSet{"byte 0 of a monitor", 2, With(MonitorRecord({0}), 0, 2), kBadRecord},
        RefusedSet{"byte 1 of a monitor", 2, With(MonitorRecord({0}), 1, 1), kBadRecord},
        RefusedSet{"byte 3 of a monitor", 2, With(MonitorRecord({0}), 3, 1), kBadRecord},
        RefusedSet{"ids beyond the count", 2, With(MonitorRecord({0, 1}), 2, 1), kBadRecord},
        RefusedSet{"more ids than fit", 2, With(MonitorRecord({0}), 2, 25), kBadValue},
        RefusedSet{"a monitored partition 4", 2, MonitorRecord({0, 4}), kBadValue},
        RefusedSet{"no sampling", 2, With(With(MonitorRecord({0}), 4, 0), 5, 0), kBadValue},
        RefusedSet{"global 0", 3, Bytes(48, 0), kBadRecord},
        RefusedSet{"rest of global", 3, Record(48, {{0, 1}, {4, 1}}), kBadRecord}));

struct RefusedGet {
    const char* what;
    std::uint32_t subCommand;
    Bytes record;
    int code;
};

class QosDeviceRefusesToTell : public QosDevice, public testing::WithParamInterface<RefusedGet> {};

TEST_P(QosDeviceRefusesToTell, AndLeavesTheBuffer) {
    Bytes record = GetParam().record;
    EXPECT_EQ(GetQos(*state_, GetParam().subCommand, record.data(),
                     static_cast<std::uint32_t>(record.size())),
              GetParam().code)
        << GetParam().what;
    EXPECT_EQ(record, GetParam().record);
}

INSTANTIATE_TEST_SUITE_P(
    Gets, QosDeviceRefusesToTell,
    testing::Values(RefusedGet{"the monitor", 2, Bytes(104, 0), kUnknownCommand},
                    RefusedGet{"the global switch", 3, Bytes(48, 0), kUnknownCommand},
                    RefusedGet{"short partition", 0, Bytes(44, 0), kWrongSize},
                    RefusedGet{"partition of a master's size", 0, Bytes(80, 0), kWrongSize},
                    RefusedGet{"short master", 1, Bytes(48, 0), kWrongSize},
                    RefusedGet{"another partition", 5U << 8U, Record(48, {{0, 6}}), kBadRecord},
                    RefusedGet{"rest of it", 5U << 8U, Record(48, {{0, 5}, {8, 1}}), kBadRecord},
                    RefusedGet{"partition 4", 4U << 8U, Record(48, {{0, 4}}), kBadValue},
                    RefusedGet{"partition 16", 16U << 8U, Record(48, {{0, 16}}), kBadValue},
                    RefusedGet{"master 3", 3U << 8U | 1U, Record(80, {{0, 3}}), kBadValue}));

}  // namespace
}  // namespace zarn::board
