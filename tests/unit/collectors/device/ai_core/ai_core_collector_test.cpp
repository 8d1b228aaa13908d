#include "collectors/device/ai_core/ai_core_collector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr const char* kCost = "\\[AiCoreCollector\\] cost time: [0-9.e-]+s\n";
constexpr const char* kNoSamples = "[AiCoreCollector] Failed to process aicore info!\n";

// The calls of a collection: the two about devices, then one a sample.
constexpr std::size_t kCountCall = 0;
constexpr std::size_t kListCall = 1;
constexpr std::size_t kFirstSample = 2;

// A sample's lines in the log.
std::string Sample(const std::string& cores, const std::string& average) {
    std::istringstream words(cores);
    std::string lines;
    int count = 0;
    for (std::string core; words >> core; ++count) {
        lines += "Aicore " + std::to_string(count) + " usage: " + core + "%\n";
    }
    return "@zarn-new:\nDevice id: 0\tCore num: " + std::to_string(count) + "\n" + lines +
           "Aicore average usage: " + average + "%\n";
}

class AiCoreCollectorTest : public testing::Test {
protected:
    AiCoreCollectorTest() {
        fs::create_directories(dir.Path() + "json");
        fs::create_directories(dir.Path() + "env_info");
    }

    Captured Run(unsigned count = 1, unsigned interval = 3,
                 const std::string& jobs = R"(["usage"])") {
        JsonDocument config;
        EXPECT_TRUE(ParseJson(R"({"AiCoreCollector":{"job":)" + jobs + R"(,"count":)" +
                                  std::to_string(count) + R"(,"interval":)" +
                                  std::to_string(interval) + "}}",
                              config));
        AiCoreCollector collector(AiCoreCollector::kName, host.Get());
        return Capture([&] {
            EXPECT_TRUE(collector.CheckOptions(config, "collector"));
            result = collector.Start(config, dir.Path(), &stopFlag);
        });
    }

    // A collection that fails in its sampling, and leaves nothing.
    void ExpectNoSamples(const std::string& lines) {
        const Captured captured = Run();
        EXPECT_FALSE(result);
        EXPECT_EQ(captured.err, lines + kNoSamples);
        EXPECT_EQ(captured.out, "");
        EXPECT_THAT(Names("raw_data/aiCore"), IsEmpty());
        EXPECT_THAT(Names("json"), IsEmpty());
        EXPECT_FALSE(fs::exists(dir.Path() + "env_info/time_cost.log"));
    }

    [[nodiscard]] std::vector<std::string> Names(const std::string& folder) const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(dir.Path() + folder)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    [[nodiscard]] std::string Log() const {
        return dir.Read("raw_data/aiCore/aiCore_usage_20230101120000000.log");
    }

    TempDir dir;
    FakeHost host;
    StopFlag stopFlag{0};
    bool result = false;
};

TEST_F(AiCoreCollectorTest, EachSampleHasItsSectionAndADocumentOfItsOwnTime) {
    host.duringSleep = [this] { host.device.aiCores = {10, 239}; };
    const Captured captured = Run(2);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(captured.out, MatchesRegex(kCost));
    EXPECT_EQ(dir.Read("env_info/time_cost.log"), captured.out);
    EXPECT_THAT(host.sleeps, ElementsAre(3U, 3U));
    EXPECT_THAT(host.sleepFlags, Each(&stopFlag));
    EXPECT_EQ(Log(), Sample("50 51 52 53", "51.5") + Sample("10 NAN", "10"));
    EXPECT_THAT(Names("json"), ElementsAre("soc_ai_resource_usage_info_1_20230101120000001.data",
                                           "soc_ai_resource_usage_info_1_20230101120000002.data"));
    EXPECT_EQ(dir.Read("json/soc_ai_resource_usage_info_1_20230101120000002.data"),
              R"({"eventId":"222210200","happenTime":"20230101120000002",)"
              R"("objectId":"soc_ai_usage_info","content":[{"aicore":"10.000000 10.000000 -1 "}]})"
              "\n");
}

TEST_F(AiCoreCollectorTest, AsksDevice0ForTheAiBlockWithABufferOf32Bytes) {
    (void)Run();
    ASSERT_EQ(host.device.Calls().size(), 3U);
    EXPECT_EQ(host.device.Calls()[kFirstSample].device, 0U);
    EXPECT_EQ(host.device.CallLines()[kFirstSample], "get 11:0 32 ");
}

TEST_F(AiCoreCollectorTest, WithoutAJobNothingIsSampled) {
    const Captured captured = Run(1, 1, "[]");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(captured.out, MatchesRegex(kCost));
    EXPECT_THAT(host.device.Calls(), IsEmpty());
    EXPECT_THAT(Names("raw_data/aiCore"), IsEmpty());
}

TEST_F(AiCoreCollectorTest, TheGreatestNumbersOfSamplesAreTaken) {
    (void)Run(2000, 60);
    EXPECT_TRUE(result);
    EXPECT_EQ(host.sleeps.size(), 2000U);
    EXPECT_THAT(host.sleeps, Each(60U));
    EXPECT_EQ(Names("json").size(), 2000U);
}

TEST_F(AiCoreCollectorTest, ALogThatIsThereIsAppendedTo) {
    dir.Write("raw_data/aiCore/aiCore_usage_20230101120000000.log", "before\n");
    (void)Run();
    EXPECT_EQ(Log(), "before\n" + Sample("50 51 52 53", "51.5"));
}

// ---- Devices

TEST_F(AiCoreCollectorTest, TheDeviceMayStandAnywhereInTheList) {
    host.device.devices = {5, 3, 0};
    EXPECT_EQ(Run().err, "");
    host.device.devices.assign(16, 7);
    host.device.devices.back() = 0;
    EXPECT_EQ(Run().err, "");
    EXPECT_TRUE(result);
}

TEST_F(AiCoreCollectorTest, AListWithoutTheDeviceFailsBeforeAnySample) {
    const std::string lines =
        "[AiCoreCollector] Find device id in list failed.\n"
        "[AiCoreCollector] Get device info failed.\n";
    host.device.devices = {1, 2};
    ExpectNoSamples(lines);
    EXPECT_EQ(host.device.Calls().size(), 2U);
    host.device.devices.clear();  // the list is asked without devices, too
    ExpectNoSamples(lines);
    EXPECT_EQ(host.device.Calls().size(), 4U);
}

TEST_F(AiCoreCollectorTest, CountsOfMoreThan16OrBelow0AreRefused) {
    for (const int count : {17, 2147483647, -1, -2147483647 - 1}) {
        host.device.saidCount = count;
        ExpectNoSamples("[AiCoreCollector] Get device count failed, code: 0\n");
    }
    EXPECT_EQ(host.device.Calls().size(), 4U);
}

TEST_F(AiCoreCollectorTest, AFailingCallTellsItsCode) {
    host.device.FailCall(kCountCall, -3);
    ExpectNoSamples("[AiCoreCollector] Get device count failed, code: -3\n");
    host.device.FailCall(1 + kListCall, 4);
    ExpectNoSamples("[AiCoreCollector] Get device list failed, code: 4\n");
    host.device.FailCall(3 + kFirstSample, 2147483647);
    ExpectNoSamples("[AiCoreCollector] Get aicore usage rate failed, code: 2147483647\n");
}

// A later one, too: nothing is saved of what was taken.
TEST_F(AiCoreCollectorTest, AFailingSampleLosesTheOthers) {
    host.device.FailCall(kFirstSample + 2, 9);
    const Captured captured = Run(5);
    EXPECT_FALSE(result);
    EXPECT_EQ(
        captured.err,
        std::string("[AiCoreCollector] Get aicore usage rate failed, code: 9\n") + kNoSamples);
    EXPECT_EQ(host.sleeps.size(), 2U);
    EXPECT_THAT(Names("raw_data/aiCore"), IsEmpty());
    EXPECT_THAT(Names("json"), IsEmpty());
}

TEST_F(AiCoreCollectorTest, SizesBeyondTheBufferCountAs32) {
    std::string cores = "50 51 52 53";
    for (int core = 4; core < 32; ++core) {
        cores += " 0";
    }
    std::string expected;
    std::size_t call = kFirstSample;
    for (const std::uint32_t size : {33U, 2147483647U, 4294967295U}) {
        host.device.LieAboutSize(call, size);
        call += 3;
        host.ticks = 0;
        EXPECT_EQ(Run().err, "");
        EXPECT_TRUE(result);
        expected += Sample(cores, "6.4375");
    }
    EXPECT_EQ(Log(), expected);
}

TEST_F(AiCoreCollectorTest, ASizeOf0IsASampleWithoutCores) {
    host.device.LieAboutSize(kFirstSample, 0);
    EXPECT_EQ(Run().err, "");
    EXPECT_THAT(Log(), MatchesRegex("@zarn-new:\nDevice id: 0\tCore num: 0\n"
                                    "Aicore average usage: -?nan%\n"));
}

// ---- Time and the stop flag

TEST_F(AiCoreCollectorTest, WithoutATimeTheSamplingFails) {
    host.failingTick = 0;
    ExpectNoSamples("[AiCoreCollector] Get collect time failed.\n");
    EXPECT_THAT(host.device.Calls(), IsEmpty());
    host.failingTick = 2;
    ExpectNoSamples("[AiCoreCollector] Get collect time failed.\n");
    EXPECT_EQ(host.device.Calls().size(), 3U);
}

TEST_F(AiCoreCollectorTest, AStopKeepsWhatWasTaken) {
    host.duringSleep = [this] { stopFlag = host.sleeps.size() == 2 ? 1 : 0; };
    const Captured captured = Run(5);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(captured.out, MatchesRegex(kCost));
    EXPECT_EQ(Log(), Sample("50 51 52 53", "51.5") + Sample("50 51 52 53", "51.5"));
    EXPECT_EQ(Names("json").size(), 2U);
}

TEST_F(AiCoreCollectorTest, AStopBeforeTheStartLeavesAnEmptyLog) {
    stopFlag = 1;
    EXPECT_EQ(Run(5).err, "");
    EXPECT_TRUE(result);
    EXPECT_EQ(Log(), "");
    EXPECT_THAT(Names("json"), IsEmpty());
    EXPECT_THAT(host.sleeps, IsEmpty());
}

// ---- Files

TEST_F(AiCoreCollectorTest, WithoutItsFolderItFails) {
    dir.Write("raw_data", "in the way");
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err,
                EndsWith("\n[AiCoreCollector] Cannot create aicore collect directory!\n"));
    EXPECT_THAT(host.device.Calls(), IsEmpty());
}

TEST_F(AiCoreCollectorTest, ALogThatCannotBeOpenedFailsTheSaving) {
    fs::create_directories(dir.Path() + "raw_data/aiCore/aiCore_usage_20230101120000000.log");
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(captured.err,
              "[AiCoreCollector] Failed to open the file.\n"
              "[AiCoreCollector] Failed to save aicore json!\n");
    EXPECT_THAT(Names("json"), IsEmpty());
}

TEST_F(AiCoreCollectorTest, ADocumentThatCannotBeWrittenIsTold) {
    fs::remove(dir.Path() + "json");
    const Captured captured = Run(2);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[zarn_utils] Cannot open outfile, check your filePath.\n"
              "[zarn_utils] Cannot open outfile, check your filePath.\n");
    EXPECT_EQ(Log(), Sample("50 51 52 53", "51.5") + Sample("50 51 52 53", "51.5"));
}

}  // namespace
}  // namespace zarn::test
