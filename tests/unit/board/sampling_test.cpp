#include "board/perf/sampling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "board/setup/scenario_parser.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kMapped = 0x55550000;
constexpr std::uint64_t kSize = 0x100;

// A program whose functions follow one another in their order, the caller behind them.
ProgramImage MadeImage(std::uint32_t pid) {
    ProgramImage image;
    image.process = {pid, "busy", "/opt/busy", kMapped, 0x10000, 0x1000};
    for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
        image.functions[kWorkFunctions[i].name] = {0x1000 + i * kSize, kSize};
    }
    image.functions["work_loop"] = {0x1000 + kWorkFunctionCount * kSize, kSize};
    return image;
}

class Sampling : public testing::Test {
protected:
    Sampling() {
        EXPECT_EQ(ParseScenario(R"({"programs": [
            {"name": "busy", "pipeline": {"load": 0.5, "cores": [1, 2]}}, {"name": "lazy"}]})",
                                *state_),
                  std::nullopt);
        state_->startNs = 5000000000;
    }

    [[nodiscard]] std::vector<CycleSample> Samples(const CpuTarget& target,
                                                   const ProgramImages& images,
                                                   const BoardSpan& span = {1000, 3000}) const {
        return SamplesOf(*state_, target, WorkOf(*state_, target, span), images);
    }

    std::unique_ptr<BoardState> state_ = std::make_unique<BoardState>();
    ProgramImages images_{{0, MadeImage(77)}};
};

TEST_F(Sampling, TakesOneOfSoManyCycles) {
    const auto samples = Samples({0, 1}, images_);
    // Two seconds of half of two cores.
    EXPECT_NEAR(static_cast<double>(samples.size()), 8000, 80);
    for (const CycleSample& sample : samples) {
        EXPECT_EQ(sample.pid, 77U);
        EXPECT_EQ(sample.cycles, 500000U);
        EXPECT_FALSE(sample.inKernel);
        EXPECT_GE(sample.timeNs, 6000000000U);
        EXPECT_LT(sample.timeNs, 8000000000U);
    }
    EXPECT_TRUE(std::is_sorted(
        samples.begin(), samples.end(),
        [](const CycleSample& a, const CycleSample& b) { return a.timeNs < b.timeNs; }));
}

TEST_F(Sampling, FindsTheFunctionAndItsCaller) {
    for (const CycleSample& sample : Samples({0, 1}, images_)) {
        ASSERT_EQ(sample.chain.size(), 2U);
        const std::uint64_t place = (sample.chain[0] - kMapped) / kSize;
        ASSERT_LT(place, kWorkFunctionCount);
        EXPECT_GT(ProfileOf(*state_, 0).functions[place], 0.0) << kWorkFunctions[place].name;
        EXPECT_EQ((sample.chain[1] - kMapped) / kSize, kWorkFunctionCount);
    }
}

TEST_F(Sampling, LooksAtTheCoresOfTheTarget) {
    const auto onTwo = Samples({4, 0}, images_);
    std::size_t system = 0;
    for (const CycleSample& sample : onTwo) {
        EXPECT_EQ(sample.core, 2U);
        system += sample.inKernel ? 1 : 0;
        EXPECT_EQ(sample.pid, sample.inKernel ? kSystemPid : 77U);
        EXPECT_EQ(sample.chain.size(), sample.inKernel ? 1U : 2U);
    }
    EXPECT_NEAR(static_cast<double>(system), 160, 16);
    EXPECT_NEAR(static_cast<double>(onTwo.size() - system), 4000, 40);
    const auto both = Samples({0, 1}, images_);
    const auto first = std::count_if(both.begin(), both.end(),
                                     [](const CycleSample& sample) { return sample.core == 1; });
    EXPECT_NEAR(static_cast<double>(first) / static_cast<double>(both.size()), 0.5, 0.02);
}

TEST_F(Sampling, HasNoSamplesOfWhoIsIdleOrHasNoSuchFunctions) {
    EXPECT_TRUE(Samples({0, 2}, {{1, MadeImage(78)}}).empty());
    EXPECT_TRUE(Samples({0, 1}, {}).empty());
    images_.at(0).functions.clear();
    EXPECT_TRUE(Samples({0, 1}, images_).empty());
    EXPECT_TRUE(Samples({0, 1}, images_, {1000, 1000}).empty());
}

TEST_F(Sampling, NamesTheSystemWhereItIsLookedAt) {
    EXPECT_EQ(ProcessesOf(images_, {0, 1}).size(), 1U);
    const auto all = ProcessesOf(images_, {15, 0});
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].name, "busy");
    EXPECT_EQ(all[1].name, "system");
    EXPECT_EQ(all[1].size, 0U);
}

TEST_F(Sampling, IsTheSameBytesForTheSameSeedAndTime) {
    const auto bytes = [this] {
        return PerfDataBytes(ProcessesOf(images_, {15, 0}), Samples({15, 0}, images_), true);
    };
    const std::string first = bytes();
    EXPECT_EQ(bytes(), first);
    state_->seed = 2;
    EXPECT_NE(bytes(), first);
}

TEST_F(Sampling, TakesOneOfSoManyMissesAndOfSoMuchTime) {
    const auto work = WorkOf(*state_, {0, 1}, {1000, 3000});
    const auto misses = SamplesOf(*state_, {0, 1}, work, images_, SampledEvent::CacheMisses);
    EXPECT_NEAR(static_cast<double>(misses.size()) * kMissesPerSample,
                StandardCountsOf(*state_, work)[StandardEvent::CacheMisses], kMissesPerSample);
    const PerFunction shares = LineShares(ProfileOf(*state_, 0));
    PerFunction found{};
    for (const CycleSample& sample : misses) {
        EXPECT_EQ(sample.event, SampledEvent::CacheMisses);
        EXPECT_EQ(sample.cycles, kMissesPerSample);
        found[(sample.chain[0] - kMapped) / kSize] += 1.0 / static_cast<double>(misses.size());
    }
    for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
        EXPECT_NEAR(found[i], shares[i], 0.01) << kWorkFunctions[i].name;
    }
    const auto clock = SamplesOf(*state_, {0, 1}, work, images_, SampledEvent::CpuClock);
    EXPECT_NEAR(static_cast<double>(clock.size()), 8000, 80);
    EXPECT_EQ(clock[0].cycles, 250000U);
}

TEST(PerfDataBytes, SaysWhereItsPartsAre) {
    const std::string bytes = PerfDataBytes({}, {}, true);
    const auto number = [&bytes](std::size_t place) {
        std::uint64_t value = 0;
        std::memcpy(&value, bytes.data() + place, sizeof(value));
        return value;
    };
    EXPECT_EQ(bytes.substr(0, 8), "PERFILE2");
    EXPECT_EQ(number(8), 104U);
    EXPECT_EQ(number(24), 104U);                       // the events stand behind the head
    EXPECT_EQ(number(16), number(32));                 // there is one
    EXPECT_EQ(number(40), 104 + number(32));           // the records follow
    EXPECT_EQ(number(40) + number(48), bytes.size());  // to the end
    EXPECT_EQ(number(16) - 16, number(104) >> 32U);    // the event's own size
}

}  // namespace
}  // namespace zarn::board
