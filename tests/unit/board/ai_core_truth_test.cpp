#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "board/device/device_info.h"
#include "board/setup/scenario_parser.h"
#include "collectors/device/ai_core/ai_core_collector.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/temp_dir.h"

// What the AI cores' collector says of a board beside what the board's memory model says.
namespace zarn::board {
namespace {

constexpr std::uint64_t kSamples = 60;
constexpr double kLoad = 60.0;
constexpr double kBase = 9000.0;

// A device that is the board's simulation, at a time of its own.
class ModelDevice final : public DeviceLibrary {
public:
    explicit ModelDevice(const BoardState& state) : state_(state) {}

    std::uint64_t timeMs = 0;

    int GetCount(int* count) override {
        *count = static_cast<int>(state_.scenario.deviceCount);
        return 0;
    }
    int List(int* devices, int count) override { return ListDevices(state_, devices, count); }
    int GetInfo(std::uint32_t device, std::uint32_t mainCommand, std::uint32_t subCommand,
                void* buffer, std::uint32_t* size) override {
        return board::GetInfo(state_, {device, mainCommand, subCommand}, buffer, *size, timeMs);
    }
    int SetInfo(std::uint32_t /*device*/, std::uint32_t /*mainCommand*/,
                std::uint32_t /*subCommand*/, const void* /*buffer*/,
                std::uint32_t /*size*/) override {
        return 1;
    }

private:
    const BoardState& state_;
};

std::unique_ptr<BoardState> Board() {
    auto state = std::make_unique<BoardState>();
    EXPECT_FALSE(ParseScenario(R"({"masters": {
        "cpu": {"demand": 12000, "noise": 0.2},
        "aic_dat": {"demand": 9000, "noise": 0.3, "phases": [[2500, 1.0], [1500, 1.4]],
                    "burst": {"every_ms": 3000, "length_ms": 700, "add": 2000}}},
        "ai_block": {"cores": 8}, "load": {"aic": 60}})",
                               *state));
    state->seed = 3;
    return state;
}

// The mean of all cores of all samples, from the document that each sample left.
double CollectedMean(const BoardState& state) {
    const test::TempDir directory;
    for (const char* folder : {"json", "env_info"}) {
        std::filesystem::create_directories(directory.Path() + folder);
    }
    ModelDevice device(state);
    test::FakeHost host;
    host.otherDevice = &device;
    host.duringSleep = [&device] { device.timeMs += 1000; };
    JsonDocument config;
    EXPECT_TRUE(ParseJson(R"({"AiCoreCollector":{"job":["usage"],"interval":1,"count":)" +
                              std::to_string(kSamples) + "}}",
                          config));
    AiCoreCollector collector(AiCoreCollector::kName, host.Get());
    const StopFlag stopFlag{0};
    (void)test::Capture([&] {
        EXPECT_TRUE(collector.CheckOptions(config, "collector"));
        EXPECT_TRUE(collector.Start(config, directory.Path(), &stopFlag));
    });
    double sum = 0;
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory.Path() + "json")) {
        JsonDocument document;
        std::string line = test::ReadText(entry.path().string());
        line.pop_back();
        EXPECT_TRUE(ParseJson(line, document));
        sum += std::stod(document["content"][0]["aicore"].GetString());
        ++count;
    }
    EXPECT_EQ(count, kSamples);
    return sum / static_cast<double>(count);
}

// The same by the memory alone: what the block asks for and what its partition gets of it. Two
// masters ask for something, and no sum of theirs reaches the peak.
double ModelMean(const BoardState& state, double capMb) {
    double sum = 0;
    for (std::uint64_t sample = 0; sample < kSamples; ++sample) {
        const double asked =
            DemandAt(state.scenario.demands[kAicDat], state.seed, kAicDat, sample * 1000);
        sum += std::min(100.0, kLoad * std::min(asked, capMb) / kBase);
    }
    return sum / static_cast<double>(kSamples);
}

TEST(AiCoreTruth, TheMeanIsTheMemoryModelsAndFallsWithTheCap) {
    double before = 101.0;
    for (const std::uint32_t capGb : {51U, 8U, 6U, 4U, 2U}) {
        const auto state = Board();
        state->partitions[5] = {0, capGb, 1};
        const double mean = CollectedMean(*state);
        EXPECT_NEAR(mean, ModelMean(*state, capGb * kMbPerGb), 2.0) << capGb << " GB/s";
        EXPECT_LT(mean, before - 5.0) << capGb << " GB/s";
        before = mean;
    }
}

}  // namespace
}  // namespace zarn::board
