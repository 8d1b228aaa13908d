#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <memory>
#include <numeric>
#include <string>

#include "board/model/masters.h"
#include "board/setup/scenario_parser.h"
#include "board/state/observation.h"
#include "foundation/json.h"
#include "tests/support/temp_dir.h"

// The scenarios say in words what the memory model makes of them.
namespace zarn::board {
namespace {

using testing::HasSubstr;

// A scenario over ten minutes of three seeds, in percent of the memory's peak.
class Told {
public:
    explicit Told(const std::string& name) {
        const std::string text =
            test::ReadText(ZARN_SOURCE_DIR "/board/scenarios/" + name + ".json");
        JsonDocument document;
        EXPECT_TRUE(ParseJson(text, document));
        description = document["description"].GetString();
        const auto state = std::make_unique<BoardState>();
        EXPECT_FALSE(ParseScenario(text, *state));
        constexpr std::uint64_t kTicks = 6000;
        constexpr std::uint64_t kSeeds = 3;
        for (state->seed = 1; state->seed <= kSeeds; ++state->seed) {
            for (std::uint64_t tick = 0; tick < kTicks; ++tick) {
                const MemoryMoment moment = Observe(*state, tick * kTickMs);
                for (std::size_t i = 0; i < kMasterCount; ++i) {
                    demands_[i] += moment.demands[i] / (kTicks * kSeeds);
                    grants_[i] += moment.grants[i] / (kTicks * kSeeds);
                }
            }
        }
    }

    // The mean of what these masters ask for, and of what they get, as it is written.
    [[nodiscard]] std::string Asked(std::initializer_list<std::size_t> masters) const {
        return Percent(demands_, masters);
    }
    [[nodiscard]] std::string Given(std::initializer_list<std::size_t> masters) const {
        return Percent(grants_, masters);
    }

    std::string description;

private:
    static std::string Percent(const PerMaster<double>& means,
                               std::initializer_list<std::size_t> masters) {
        double sum = 0.0;
        for (const std::size_t master : masters) {
            sum += means[master];
        }
        return std::to_string(std::lround(sum / (kPeakGb * 1024.0) * 100.0));
    }

    PerMaster<double> demands_{};
    PerMaster<double> grants_{};
};

constexpr std::initializer_list<std::size_t> kAll{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
constexpr std::initializer_list<std::size_t> kImage{kImgpVenc, kImgpVdec, kImgpVpc};
constexpr std::initializer_list<std::size_t> kAi{kAicDat, kAicDat + 1};

TEST(ScenarioTexts, SayHowFullTheMemoryIs) {
    const Told camera("camera_pipeline");
    EXPECT_THAT(camera.description,
                HasSubstr("the memory used to " + camera.Asked(kAll) + " percent"));
    EXPECT_EQ(camera.Given(kAll), camera.Asked(kAll));
    const Told idle("idle");
    EXPECT_THAT(idle.description, HasSubstr("the memory used to " + idle.Asked(kAll) + " percent"));
    const Told burst("ai_burst");
    EXPECT_THAT(burst.description,
                HasSubstr("all masters ask for " + burst.Asked(kAll) +
                          " percent of the memory and get " + burst.Given(kAll)));
}

TEST(ScenarioTexts, SayWhoAsksForWhat) {
    const Told flood("image_flood");
    EXPECT_THAT(flood.description,
                HasSubstr("the image block asks for " + flood.Asked(kImage) +
                          " percent of the memory, the AI block for " + flood.Asked(kAi) +
                          ", all masters for " + flood.Asked(kAll)));
    const Told hungry("memory_hungry");
    EXPECT_THAT(hungry.description,
                HasSubstr("the AI block asks for " + hungry.Asked(kAi) +
                          " percent of the memory, the image block for " + hungry.Asked(kImage) +
                          ", all masters for " + hungry.Asked(kAll)));
}

TEST(ScenarioTexts, SayWhatTheCpuIsHeldAt) {
    const Told throttled("throttled_cpu");
    EXPECT_THAT(throttled.description, HasSubstr("the CPU held at 4 GB/s"));
    EXPECT_EQ(throttled.Given({0}), std::to_string(std::lround(4.0 / kPeakGb * 100.0)));
}

}  // namespace
}  // namespace zarn::board
