#include "collectors/system/ddr/qos_access.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include "collectors/system/ddr/qos_config.h"
#include "formats/ddr.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_device.h"

namespace zarn {
namespace {

using test::Capture;
using test::Captured;
using test::FakeDevice;
using testing::ElementsAre;

TEST(QosConfigTables, TheDefaultsAreTheTenMastersInTheirOrder) {
    std::vector<std::string> rows;
    for (const QosConfig& row : defaultQosConfigs) {
        std::string text = row.mpam_name;
        for (const auto value :
             {row.mpamid, row.bw_low, row.bw_high, row.hardlimit, row.master, row.priority}) {
            text += " " + std::to_string(value);
        }
        rows.push_back(text);
    }
    EXPECT_THAT(
        rows, ElementsAre("cpu 0 0 51 1 4294967295 5", "imgp_venc 1 0 51 1 0 5",
                          "imgp_vdec 2 0 51 1 1 5", "imgp_vpc 3 0 51 1 2 5", "aic_dat 5 0 51 1 9 5",
                          "aic_ins 6 0 51 1 10 5", "sdma 7 0 51 1 13 5", "isp_vicap 8 0 51 1 15 5",
                          "isp_viproc 9 0 51 1 16 5", "isp_vipe 10 0 51 1 17 5"));
}

TEST(QosConfigTables, EveryMasterHasItsNameInTheMapAndItsIdInTheMonitor) {
    EXPECT_EQ(mpamNameMap.size(), defaultQosConfigs.size() + 1);
    std::vector<std::uint32_t> ids;
    for (const QosConfig& row : defaultQosConfigs) {
        EXPECT_EQ(mpamNameMap.at(std::to_string(row.mpamid)), row.mpam_name);
        ids.push_back(row.mpamid);
    }
    EXPECT_EQ(mbwuMpamIds, ids);
    EXPECT_EQ(mpamNameMap.count("4"), 0U);
}

TEST(QosAccess, ReadsBoundsByTheKeyInTheSubCommand) {
    FakeDevice device;
    device.bounds[10] = {40, 7, 1};
    QosConfig config{"isp_vipe", 10, 0, 0, 0, 17, 5};
    const Captured captured = Capture([&] { EXPECT_TRUE(GetMataConfig(config, device)); });
    EXPECT_EQ(config.bw_high, 40U);
    EXPECT_EQ(config.bw_low, 7U);
    EXPECT_EQ(config.hardlimit, 1U);
    EXPECT_EQ(config.mpamid, 10U);
    EXPECT_EQ(config.priority, 5U);
    EXPECT_THAT(device.CallLines(), ElementsAre("get 13:a00 48 0a"));
    EXPECT_EQ(captured.out + captured.err, "");
}

TEST(QosAccess, ReadsMastersByTheKeyInTheSubCommand) {
    FakeDevice device;
    device.masters[17] = {10, 3};
    QosConfig config{"isp_vipe", 0, 1, 2, 3, 17, 0};
    EXPECT_TRUE(CheckMasterConfig(config, device));
    EXPECT_EQ(config.mpamid, 10U);
    EXPECT_EQ(config.priority, 3U);
    EXPECT_EQ(config.bw_high, 2U);
    EXPECT_THAT(device.CallLines(), ElementsAre("get 13:1101 80 11"));
}

TEST(QosAccess, KeysLoseTheBitsThatDoNotFit) {
    FakeDevice device;
    QosConfig config{"far", 0x01000005, 0, 0, 0, 0xFFFFFFFF, 0};
    EXPECT_TRUE(GetMataConfig(config, device));
    EXPECT_TRUE(CheckMasterConfig(config, device));
    EXPECT_THAT(device.CallLines(),
                ElementsAre("get 13:500 48 05000001", "get 13:ffffff01 80 ffffffff"));
}

TEST(QosAccess, WritesTheRecordsByteForByte) {
    FakeDevice device;
    EXPECT_TRUE(SetMataConfig(5, 0x12345678, 3, 1, device));
    EXPECT_TRUE(SetMasterConfig(9, 5, 7, device));
    EXPECT_TRUE(SetQosGlobalConfig(device));
    EXPECT_THAT(device.CallLines(), ElementsAre("set 13:0 48 05000000785634120300000001",
                                                "set 13:1 80 090000000500000007000000"
                                                "00000000ffffffff00000000ffffffff00000000"
                                                "ffffffff00000000ffffffff",
                                                "set 13:3 48 01"));
    EXPECT_EQ(device.Calls().front().device, 0U);
}

// Each operation that can be refused by one call, with its words.
struct Refusal {
    const char* name;
    std::function<bool(DeviceLibrary&)> operation;
    const char* out;
    const char* err;
};

const std::vector<Refusal>& Refusals() {
    static const std::vector<Refusal> rows = {
        {"GetMataConfig",
         [](DeviceLibrary& device) {
             QosConfig config{"sdma", 7, 1, 2, 3, 13, 4};
             const bool done = GetMataConfig(config, device);
             EXPECT_EQ(config.bw_low + config.bw_high + config.hardlimit, 6U);
             return done;
         },
         "", "Failed to get sdma qos config, ret = -22\n"},
        {"SetMataConfig", [](DeviceLibrary& device) { return SetMataConfig(7, 1, 2, 3, device); },
         "Set mata qos config failed, ret = -22\n", ""},
        {"SetMasterConfig", [](DeviceLibrary& device) { return SetMasterConfig(13, 7, 5, device); },
         "Set master qos config failed, ret = -22\n", ""},
        {"CheckMasterConfig",
         [](DeviceLibrary& device) {
             QosConfig config{"sdma", 7, 1, 2, 3, 13, 4};
             const bool done = CheckMasterConfig(config, device);
             EXPECT_EQ(config.mpamid + config.priority, 11U);
             return done;
         },
         "", "Check master config failed! Ret: -22\n"},
        {"SetQosGlobalConfig", [](DeviceLibrary& device) { return SetQosGlobalConfig(device); },
         "[DdrCollector] set qos gbl cfg failed ,ret: -22\n", ""},
        {"GetDdrType",
         [](DeviceLibrary& device) {
             std::uint32_t type = 77;
             const bool done = GetDdrType(&type, device);
             EXPECT_EQ(type, 77U);
             return done;
         },
         "", ""},
    };
    return rows;
}

TEST(QosAccess, ARefusedCallFailsWithItsLine) {
    for (const Refusal& row : Refusals()) {
        FakeDevice device;
        device.FailCall(0, -22);
        const Captured captured = Capture([&] { EXPECT_FALSE(row.operation(device)) << row.name; });
        EXPECT_EQ(captured.out, row.out) << row.name;
        EXPECT_EQ(captured.err, row.err) << row.name;
        EXPECT_EQ(device.Calls().size(), 1U) << row.name;
    }
}

TEST(QosAccess, AnAnswerOfAnotherSizeFailsWithTheGoodCode) {
    QosConfig config{"sdma", 7, 1, 2, 3, 13, 4};
    FakeDevice first;
    first.ShrinkCall(0);
    Captured captured = Capture([&] { EXPECT_FALSE(GetMataConfig(config, first)); });
    EXPECT_EQ(captured.err, "Failed to get sdma qos config, ret = 0\n");
    FakeDevice second;
    second.ShrinkCall(0);
    captured = Capture([&] { EXPECT_FALSE(CheckMasterConfig(config, second)); });
    EXPECT_EQ(captured.err, "Check master config failed! Ret: 0\n");
    EXPECT_EQ(config.bw_high, 2U);
    EXPECT_EQ(config.priority, 4U);
}

TEST(QosAccess, TheDdrTypeCountsWhateverItsSize) {
    FakeDevice device;
    device.ShrinkCall(0);
    std::uint32_t type = 0;
    EXPECT_TRUE(GetDdrType(&type, device));
    EXPECT_EQ(type, 4U);
    EXPECT_THAT(device.CallLines(), ElementsAre("get 9:0 4 "));
}

TEST(SetMbwuTest, StopsThenStartsTheMonitor) {
    FakeDevice device;
    device.monitoring = true;
    const Captured captured = Capture([&] { EXPECT_TRUE(SetMbwu(mbwuMpamIds, 10000, device)); });
    EXPECT_EQ(captured.out,
              "[DdrCollector] Stop mbwu success.\n[DdrCollector] Set mbwu success.\n");
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(device.CallLines(), ElementsAre("set 13:2 104 ",
                                                "set 13:2 104 01020a0010270000"
                                                "0000000001000000020000000300000005000000"
                                                "060000000700000008000000090000000a"));
}

TEST(SetMbwuTest, AMonitorThatDoesNotRunIsNoFault) {
    FakeDevice device;
    const Captured captured = Capture([&] { EXPECT_TRUE(SetMbwu({5}, 10000, device)); });
    EXPECT_EQ(captured.out,
              "[DdrCollector] The mbwu is not set and does not need to be stopped. Ret: 6\n"
              "[DdrCollector] Set mbwu success.\n");
    EXPECT_TRUE(device.monitoring);
}

TEST(SetMbwuTest, ARefusedStartFails) {
    FakeDevice device;
    device.FailCall(1, 9);
    const Captured captured = Capture([&] { EXPECT_FALSE(SetMbwu({5}, 10000, device)); });
    EXPECT_EQ(captured.err, "[DdrCollector] Set mbwu failed. Ret: 9\n");
}

TEST(SetMbwuTest, TheCountIsOneByteAndTheRecordHolds24Ids) {
    struct Row {
        std::size_t ids;
        const char* countByte;
        std::size_t sent;
    };
    for (const Row& row : {Row{0, "00", 0}, Row{24, "18", 24}, Row{30, "1e", 24}, Row{256, "00", 0},
                           Row{258, "02", 2}, Row{255, "ff", 24}}) {
        std::vector<std::uint32_t> ids(row.ids);
        std::iota(ids.begin(), ids.end(), 1U);
        FakeDevice device;
        EXPECT_EQ(Capture([&] { EXPECT_TRUE(SetMbwu(ids, 0x04030201, device)); }).err, "");
        std::string expected = std::string("0102") + row.countByte + "0001020304";
        for (std::size_t i = 0; i < row.sent; ++i) {
            const char* digits = "0123456789abcdef";
            expected += {digits[(i + 1) / 16], digits[(i + 1) % 16]};
            expected += "000000";
        }
        expected.erase(expected.find_last_not_of('0') + 1);
        expected += expected.size() % 2 == 1 ? "0" : "";
        EXPECT_EQ(device.Calls().at(1).bytes, expected) << row.ids;
        EXPECT_EQ(device.Calls().at(1).size, 104U);
    }
}

TEST(ApplyQosConfigsTest, TellsWhatTheDeviceHoldsAfterwards) {
    FakeDevice device;
    const std::vector<QosConfig> configs = {{"cpu", 0, 3, 20, 1, 0, 5},
                                            {"sdma", 7, 0, 9, 0, 13, 5}};
    const Captured captured = Capture([&] { EXPECT_TRUE(ApplyQosConfigs(configs, device)); });
    EXPECT_EQ(captured.out,
              "Successfully set: mpamid: 0 cpu , bw_low: 3, bw_high: 20, hardlimit: 1\n"
              "Successfully set: mpamid: 7 sdma , bw_low: 0, bw_high: 9, hardlimit: 0\n");
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(device.CallLines(),
                ElementsAre("set 13:0 48 00000000140000000300000001", "get 13:0 48 ",
                            "set 13:0 48 0700000009", "get 13:700 48 07"));
}

TEST(ApplyQosConfigsTest, StopsAtTheFirstRefusedEntry) {
    FakeDevice device;
    device.FailCall(2, 5);
    const std::vector<QosConfig> configs = {
        {"cpu", 0, 3, 20, 1, 0, 5}, {"sdma", 7, 0, 9, 0, 13, 5}, {"aic_dat", 5, 0, 9, 0, 9, 5}};
    const Captured captured = Capture([&] { EXPECT_FALSE(ApplyQosConfigs(configs, device)); });
    EXPECT_EQ(captured.err, "[dev:0] set sdma qos config failed, ret = 5\n");
    EXPECT_EQ(device.bounds[0].high, 20U);
    EXPECT_EQ(device.Calls().size(), 3U);
}

TEST(ApplyQosConfigsTest, AFailedReadBackIsToldAndPassedOver) {
    FakeDevice device;
    device.FailCall(1, 5);
    const Captured captured = Capture([&] {
        EXPECT_TRUE(ApplyQosConfigs({{"cpu", 0, 3, 20, 1, 0, 5}}, device));
    });
    EXPECT_EQ(captured.err, "Failed to get cpu qos config, ret = 5\n");
    EXPECT_EQ(captured.out,
              "Successfully set: mpamid: 0 cpu , bw_low: 3, bw_high: 20, hardlimit: 1\n");
}

TEST(ApplyQosConfigsTest, AnEmptyListIsDone) {
    FakeDevice device;
    EXPECT_TRUE(ApplyQosConfigs({}, device));
    EXPECT_TRUE(device.Calls().empty());
}

}  // namespace
}  // namespace zarn
