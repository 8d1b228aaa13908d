#include <unistd.h>

#include <array>
#include <cstring>
#include <vector>

#include "ara/rm/tepa_resource.h"
#include "board/device/device_codes.h"
#include "kes_buffer.h"
#include "tests/unit/board/board_fixture.h"
#include "tovi_device.h"

namespace zarn::board {
namespace {

using Library = OnBoard;

TEST_F(Library, ListsTheDevicesOfTheScenario) {
    initial_->scenario.deviceCount = 3;
    initial_->scenario.devices = {4, 0, 2};
    Start();
    int count = 0;
    std::array<int, 4> devices{-1, -1, -1, -1};
    EXPECT_EQ(tovi_get_device_count(&count), 0);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(tovi_list_device(devices.data(), 2), 0);
    EXPECT_EQ(devices, (std::array<int, 4>{4, 0, -1, -1}));
    EXPECT_EQ(tovi_list_device(devices.data(), 0), 0);
    EXPECT_EQ(tovi_list_device(devices.data(), 4), kBadValue);
    EXPECT_EQ(tovi_list_device(devices.data(), -1), kBadValue);
    EXPECT_EQ(tovi_list_device(nullptr, 1), kBadRecord);
    EXPECT_EQ(tovi_get_device_count(nullptr), kBadRecord);
}

TEST_F(Library, TellsTheDdrType) {
    initial_->scenario.ddrType = 7;
    Start();
    unsigned type = 0;
    unsigned size = 4;
    EXPECT_EQ(tovi_get_device_info(0, 9, 0, &type, &size), 0);
    EXPECT_EQ(type, 7U);
    size = 8;
    EXPECT_EQ(tovi_get_device_info(0, 9, 0, &type, &size), kWrongSize);
    size = 4;
    EXPECT_EQ(tovi_get_device_info(0, 9, 1, &type, &size), kUnknownCommand);
    EXPECT_EQ(tovi_get_device_info(0, 10, 0, &type, &size), kUnknownCommand);
    EXPECT_EQ(tovi_get_device_info(1, 9, 0, &type, &size), kNoDevice);
    EXPECT_EQ(tovi_get_device_info(0, 9, 0, nullptr, &size), kBadRecord);
    EXPECT_EQ(tovi_get_device_info(0, 9, 0, &type, nullptr), kBadRecord);
}

TEST_F(Library, QosLivesOnDeviceZeroOnly) {
    initial_->scenario.deviceCount = 2;
    initial_->scenario.devices = {0, 1};
    Start();
    std::array<unsigned char, 48> record{};
    unsigned size = 48;
    EXPECT_EQ(tovi_get_device_info(0, 13, 0, record.data(), &size), 0);
    EXPECT_EQ(size, 48U);
    EXPECT_EQ(record[4], 51);
    EXPECT_EQ(tovi_get_device_info(1, 13, 0, record.data(), &size), kNoDevice);
    EXPECT_EQ(tovi_set_device_info(1, 13, 0, record.data(), size), kNoDevice);
    EXPECT_EQ(tovi_set_device_info(0, 9, 0, record.data(), size), kUnknownCommand);
    EXPECT_EQ(tovi_set_device_info(0, 13, 0, nullptr, size), kBadRecord);
}

TEST_F(Library, AiCoresReportPercentOrTheirCode) {
    initial_->scenario.aiCoreCount = 3;
    initial_->scenario.aiCoreCodes[1] = 239;
    initial_->scenario.demands[kAicDat].base = 20000.0;
    initial_->scenario.load.aic = 60.0;
    Start();
    std::array<unsigned char, 32> usage{};
    unsigned size = 32;
    EXPECT_EQ(tovi_get_device_info(0, 11, 0, usage.data(), &size), 0);
    EXPECT_EQ(size, 3U);
    EXPECT_NEAR(usage[0], 60, 7);
    EXPECT_EQ(usage[1], 239);
    EXPECT_NEAR(usage[2], 60, 7);
    size = 2;
    EXPECT_EQ(tovi_get_device_info(0, 11, 0, usage.data(), &size), kWrongSize);
    EXPECT_EQ(tovi_get_device_info(0, 11, 1, usage.data(), &size), kUnknownCommand);
}

TEST_F(Library, ImageEnginesAreSlowedByTheirBandwidth) {
    initial_->scenario.demands[kImgpVpc].base = 8192.0;
    initial_->scenario.load = {0.0, 10.0, 80.0, 30.0};
    Start();
    const auto ask = [](unsigned selector) {
        unsigned value = 999;
        unsigned size = 4;
        EXPECT_EQ(tovi_get_device_info(0, 0, selector, &value, &size), 0);
        return value;
    };
    EXPECT_EQ(ask(1), 0U);  // the decoder asks for no memory in this scenario
    EXPECT_EQ(ask(2), 80U);
    state_->partitions[3] = {0, 4, 1};
    EXPECT_EQ(ask(2), 40U);
    unsigned value = 0;
    unsigned size = 4;
    EXPECT_EQ(tovi_get_device_info(0, 0, 4, &value, &size), kUnknownCommand);
    EXPECT_EQ(tovi_get_device_info(0, 0, 0, &value, &size), kUnknownCommand);
    size = 1;
    EXPECT_EQ(tovi_get_device_info(0, 0, 1, &value, &size), kWrongSize);
}

TEST_F(Library, FollowsTheFaultPlan) {
    FaultRule refuse;
    refuse.call = Call::kSetDeviceInfo;
    refuse.key = 5;
    refuse.code = -42;
    FaultRule tamper;
    tamper.call = Call::kGetDeviceInfo;
    tamper.mainCommand = 13;
    tamper.subCommand = 1;
    tamper.answerSize = 40;
    initial_->faults.count = 2;
    initial_->faults.rules[0] = refuse;
    initial_->faults.rules[1] = tamper;
    Start();
    std::array<unsigned char, 48> partition{6, 0, 0, 0, 20};
    EXPECT_EQ(tovi_set_device_info(0, 13, 0, partition.data(), 48), 0);
    partition[0] = 5;
    EXPECT_EQ(tovi_set_device_info(0, 13, 0, partition.data(), 48), -42);
    EXPECT_EQ(state_->partitions[5].high, 51U);
    std::array<unsigned char, 80> master{9};
    unsigned size = 80;
    EXPECT_EQ(tovi_get_device_info(0, 13, 9U << 8U | 1U, master.data(), &size), 0);
    EXPECT_EQ(size, 40U);
    EXPECT_EQ(master[4], 5);
    EXPECT_EQ(state_->calls, 3U);
}

TEST_F(Library, AProcessRegistersAndUnregisters) {
    Start();
    EXPECT_FALSE(ara::rm::UnRegisterTepaResource());
    EXPECT_TRUE(ara::rm::RegisterTepaResource());
    EXPECT_TRUE(ara::rm::RegisterTepaResource());
    EXPECT_EQ(state_->registered[0], ::getpid());
    EXPECT_EQ(state_->registered[1], 0);
    EXPECT_TRUE(ara::rm::UnRegisterTepaResource());
    EXPECT_FALSE(ara::rm::UnRegisterTepaResource());
    FaultRule refuse;
    refuse.call = Call::kRegister;
    refuse.code = 5;
    state_->faults.count = 1;
    state_->faults.rules[0] = refuse;
    EXPECT_FALSE(ara::rm::RegisterTepaResource());
}

TEST_F(Library, BuffersAreRecordedOnceTheRecordingIsOn) {
    BufferPools& pools = initial_->scenario.buffers;
    pools.blockSize = 8192;
    pools.blockCount = 64;
    pools.ownerCount = 1;
    pools.owners[0].everyUs = 1;
    pools.owners[0].stuckOneOf = 1;
    pools.owners[0].most = 2;
    pools.owners[0].pool = {'v', 'b', 'o', 'a', 'r', 'd', '_', 'p', 'o', 'o', 'l'};
    Start();
    std::array<unsigned, 4> setting{0, 8192, 0, 5000};
    std::vector<unsigned char> records(3 * 224, 0xAA);
    unsigned size = 3 * 224;
    EXPECT_EQ(kesBuffGetInfo(0, nullptr, 0, records.data(), &size), kNotStarted);
    EXPECT_EQ(kesBuffCfg(0, setting.data(), 16), 0);
    EXPECT_EQ(kesBuffGetInfo(0, nullptr, 0, records.data(), &size), kNotStarted);
    setting[0] = 1;
    EXPECT_EQ(kesBuffCfg(0, setting.data(), 16), 0);
    EXPECT_EQ(kesBuffGetInfo(0, nullptr, 0, records.data(), &size), 0);
    ASSERT_EQ(size, 2U * 224U);
    unsigned usePid = 0;
    unsigned blkSize = 0;
    unsigned blkNum = 0;
    std::memcpy(&usePid, records.data() + 16, 4);
    std::memcpy(&blkSize, records.data() + 48, 4);
    std::memcpy(&blkNum, records.data() + 52, 4);
    EXPECT_EQ(usePid, static_cast<unsigned>(::getpid()));
    EXPECT_EQ(blkSize, 8192U);
    EXPECT_EQ(blkNum, 64U);
    EXPECT_STREQ(reinterpret_cast<const char*>(records.data() + 64), "vboard_pool");
    EXPECT_EQ(records[2 * 224], 0xAA);
}

TEST_F(Library, RefusesBufferCallsItDoesNotKnow) {
    Start();
    std::array<unsigned, 4> setting{1, 8192, 10000, 5000};
    EXPECT_EQ(kesBuffCfg(1, setting.data(), 16), kUnknownCommand);
    EXPECT_EQ(kesBuffCfg(0, nullptr, 16), kBadRecord);
    EXPECT_EQ(kesBuffCfg(0, setting.data(), 12), kWrongSize);
    EXPECT_EQ(kesBuffCfg(0, setting.data(), 16), 0);
    setting[1] = 8193;
    EXPECT_EQ(kesBuffCfg(0, setting.data(), 16), kBadValue);
    setting = {2, 8192, 10000, 5000};
    EXPECT_EQ(kesBuffCfg(0, setting.data(), 16), kBadValue);
    setting = {1, 8192, 10000, 0};
    EXPECT_EQ(kesBuffCfg(0, setting.data(), 16), kBadValue);
    unsigned char byte = 0;
    unsigned size = 1;
    EXPECT_EQ(kesBuffGetInfo(1, nullptr, 0, &byte, &size), kUnknownCommand);
    EXPECT_EQ(kesBuffGetInfo(0, &byte, 1, &byte, &size), kBadRecord);
    EXPECT_EQ(kesBuffGetInfo(0, nullptr, 0, nullptr, &size), kBadRecord);
    EXPECT_EQ(kesBuffGetInfo(0, nullptr, 0, &byte, nullptr), kBadRecord);
}

}  // namespace
}  // namespace zarn::board
