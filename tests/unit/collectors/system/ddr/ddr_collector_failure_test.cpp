#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "collectors/system/ddr/ddr_collector.h"
#include "tests/unit/collectors/system/ddr/ddr_collector_fixture.h"

namespace zarn::test {
namespace {

using testing::HasSubstr;

constexpr const char* kProcessFailed = "[DdrCollector] Failed to process ddr info!\n";
constexpr const char* kNoLog =
    "[DdrCollector] Cannot find ddr rawData file, check your config.\n"
    "[DdrCollector] Failed to output ddr info!\n";
constexpr const char* kNotWritten = "[zarn_utils] Cannot open outfile, check your filePath.\n";

class DdrCollectorFailure : public DdrCollectorTest {
protected:
    // A fresh device that refuses the call `index` with code 3 in a run of one sample.
    Captured RunRefusing(std::size_t index, bool configured) {
        tree.Remove("raw_data");
        tree.Remove("json");
        tree.MakeFolder("json");
        ddrTimeStampQueue = {};
        host.ticks = 0;
        refusing.emplace();
        refusing->bounds = device.bounds;
        refusing->masters = device.masters;
        if (!configured) {
            refusing->bounds.clear();
            refusing->masters.clear();
        }
        refusing->FailCall(index, 3);
        DdrCollector collector = MakeCollector(runner, *refusing);
        const JsonDocument config = Options(1, 1);
        EXPECT_TRUE(collector.CheckOptions(config, "collector"));
        return Capture([&] { result = collector.Start(config, tree.Path(), &stopFlag); });
    }

    std::optional<FakeDevice> refusing;
};

// The name of the master whose settings the call `index` of a run on a configured device reads.
std::string MasterOfRead(std::size_t index) {
    return defaultQosConfigs.at((index + 1) / 2).mpam_name;
}

TEST_F(DdrCollectorFailure, AConfiguredDeviceMayRefuseAnyReadOfSettings) {
    for (std::size_t index = 0; index < 19; ++index) {
        const Captured captured = RunRefusing(index, true);
        EXPECT_TRUE(result) << index;
        const bool readsBounds = index == 0 || index % 2 == 1;
        EXPECT_EQ(captured.err,
                  readsBounds ? "Failed to get " + MasterOfRead(index) + " qos config, ret = 3\n"
                              : "Check master config failed! Ret: 3\n")
            << index;
        EXPECT_EQ(refusing->Calls().size(), 22U) << index;
        // The defaults stand for what could not be read.
        EXPECT_NE(tree.Read(QosName()).find("\"bw_high\":\"51\""), std::string::npos) << index;
    }
}

TEST_F(DdrCollectorFailure, TheMonitorsStopMayBeRefusedButNotItsStart) {
    Captured captured = RunRefusing(19, true);
    EXPECT_TRUE(result);
    EXPECT_THAT(captured.out, HasSubstr("does not need to be stopped. Ret: 3\n"));
    EXPECT_EQ(captured.err, "");
    captured = RunRefusing(20, true);
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[DdrCollector] Set mbwu failed. Ret: 3\n"
              "[DdrCollector] Failed to enable bandwidth monitoring.\n"
              "[DdrCollector] Failed to init qos config!\n");
    EXPECT_TRUE(runner.Commands().size() == 2);  // those of the first run
    EXPECT_TRUE(tree.Has(QosName()));
}

TEST_F(DdrCollectorFailure, WithoutTheDdrTypeTheRunSucceedsWithoutAResult) {
    const Captured captured = RunRefusing(21, true);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "[DdrCollector] Cannot get ddr type.\n");
    EXPECT_FALSE(tree.Has(DataName()));
    EXPECT_TRUE(tree.Has("env_info") && !RawLog().empty());
}

// What a refused call does while a never-configured master gets its defaults. The five calls of a
// master: read bounds, set master, read master, set bounds, read bounds; cpu lacks the second and
// third.
TEST_F(DdrCollectorFailure, AFreshDeviceMayRefuseAnyCall) {
    constexpr const char* kEnd = "[DdrCollector] Failed to init qos config!\n";
    constexpr const char* kMasterEnd =
        "[DdrCollector] Failed to set qos MasterConfig with default settings!\n";
    constexpr const char* kMataEnd =
        "[DdrCollector] Failed to set qos MataConfig with default settings!\n";
    for (std::size_t index = 0; index < 48; ++index) {
        const std::size_t row = index < 3 ? 0 : 1 + (index - 3) / 5;
        const std::size_t step = index == 0 ? 0 : index < 3 ? index + 2 : (index - 3) % 5;
        const std::string readFailed =
            "Failed to get " + defaultQosConfigs[row].mpam_name + " qos config, ret = 3\n";
        const std::string words[] = {
            readFailed, kMasterEnd,
            std::string("Check master config failed! Ret: 3\n") + kMasterEnd, kMataEnd,
            readFailed + kMataEnd};
        const Captured captured = RunRefusing(index, false);
        EXPECT_EQ(result, step == 0) << index;
        EXPECT_EQ(captured.err, step == 0 ? words[0] : words[step] + kEnd) << index;
        EXPECT_EQ(captured.out.find("Set master qos config failed, ret = 3\n") != std::string::npos,
                  step == 1);
        EXPECT_EQ(captured.out.find("Set mata qos config failed, ret = 3\n") != std::string::npos,
                  step == 3);
        EXPECT_EQ(tree.Has(QosName()), step == 0) << index;
        EXPECT_EQ(tree.Has(DataName()), step == 0) << index;
    }
}

TEST_F(DdrCollectorFailure, NoMasterConfigurationCallIsForCpu) {
    (void)RunRefusing(1000, false);
    for (const FakeDevice::Call& call : refusing->Calls()) {
        const bool master = call.mainCommand == 13 && (call.subCommand & 0xFFU) == 1;
        EXPECT_FALSE(master && call.bytes.rfind("ffffffff", 0) == 0) << call.bytes;
        EXPECT_NE(call.subCommand, 0xFFFFFF01U);
    }
}

TEST_F(DdrCollectorFailure, ARawDirectoryThatCannotBeMadeEndsTheFirstStep) {
    tree.PutInTheWay("raw_data");
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err, HasSubstr("[zarn_utils] Failed to create directory : " + tree.Path() +
                                        "raw_data/ddr"));
    EXPECT_THAT(captured.err, testing::EndsWith("[DdrCollector] Failed to init output file!\n"));
    EXPECT_TRUE(device.Calls().empty());
}

TEST_F(DdrCollectorFailure, AClockThatFailsEndsItsStep) {
    host.failingTick = 0;
    Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[DdrCollector] Failed to get curr timeStamp!\n"
              "[DdrCollector] Failed to init output file!\n");
    host.ticks = 0;
    host.failingTick = 2;
    captured = Run(3);
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              std::string("[DdrCollector] Failed to get curr timeStamp!\n") + kProcessFailed);
    EXPECT_EQ(RawLog(), "20230101120000001\n" + table);
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

TEST_F(DdrCollectorFailure, ACommandThatFailsEndsTheSampling) {
    for (const char* text : {"echo 20230101120000001", "cat "}) {
        FakeRunner failing;
        failing.On(text, "", 256);
        ddrReadCommand.clear();
        host.ticks = 0;
        DdrCollector collector = MakeCollector(failing, device);
        const JsonDocument config = Options(2, 1);
        EXPECT_TRUE(collector.CheckOptions(config, "collector"));
        const Captured captured =
            Capture([&] { EXPECT_FALSE(collector.Start(config, tree.Path(), &stopFlag)); });
        EXPECT_EQ(captured.err,
                  std::string("[DdrCollector] Fail to CollectDdrInfo!\n") + kProcessFailed);
        EXPECT_EQ(failing.Commands().size(), text[0] == 'e' ? 1U : 2U);
    }
}

TEST_F(DdrCollectorFailure, AStopBeforeTheSamplingLeavesNoLog) {
    stopFlag = 1;
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err, kNoLog);
    EXPECT_TRUE(runner.Commands().empty());
    EXPECT_TRUE(host.sleeps.empty());
    EXPECT_TRUE(tree.Has(QosName()));
}

TEST_F(DdrCollectorFailure, AStopKeepsTheSamplesTaken) {
    const auto stop = [this] { stopFlag = 1; };
    const std::function<void()> places[] = {
        [&] { host.duringSleep = stop; },
        [&] { runner.Before("echo ", [stop](const std::string&) { stop(); }); },
        [&] { runner.Before("cat ", [stop](const std::string&) { stop(); }); },
    };
    for (const auto& place : places) {
        tree.Remove("raw_data");
        tree.Remove(DataName());
        stopFlag = 0;
        host.ticks = 0;
        place();
        const Captured captured = Run(2000, 60);
        EXPECT_TRUE(result);
        EXPECT_EQ(captured.err, "");
        EXPECT_EQ(RawLog(), "20230101120000001\n" + table);
        EXPECT_THAT(tree.Read(DataName()), HasSubstr("\"happenTime\":\"20230101120000001\""));
    }
}

TEST_F(DdrCollectorFailure, ACollectorThatWasNeverCheckedTakesNoSample) {
    DdrCollector collector = MakeCollector(runner, device);
    const JsonDocument config = Options(1, 1);
    const Captured captured =
        Capture([&] { EXPECT_FALSE(collector.Start(config, tree.Path(), &stopFlag)); });
    EXPECT_EQ(captured.err, kNoLog);
}

TEST_F(DdrCollectorFailure, AFullDiskUnderTheDocumentsIsToldLineByLine) {
    tree.MakeFull(DataName());
    tree.MakeFull(QosName());
    const Captured captured = Run(2);
    EXPECT_TRUE(result);
    std::string lines;
    for (int i = 0; i < 12; ++i) {
        lines += kNotWritten;  // ten masters, two samples
    }
    EXPECT_EQ(captured.err, lines);
}

TEST_F(DdrCollectorFailure, AFullDiskUnderTheRawLogEndsTheSampling) {
    tree.MakeFolder("raw_data/ddr");
    tree.MakeFull(RunTree::NameOf(ddr_files::kBandwidthLog));
    DdrCollector collector = MakeCollector(SystemCommandRunner(), device);
    const JsonDocument config = Options(2, 1);
    EXPECT_TRUE(collector.CheckOptions(config, "collector"));
    const Captured captured =
        Capture([&] { EXPECT_FALSE(collector.Start(config, tree.Path(), &stopFlag)); });
    EXPECT_THAT(captured.err, testing::EndsWith(std::string("[DdrCollector] Fail to "
                                                            "CollectDdrInfo!\n") +
                                                kProcessFailed));
}

}  // namespace
}  // namespace zarn::test
