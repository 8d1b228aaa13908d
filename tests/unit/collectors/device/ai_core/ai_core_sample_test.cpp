#include "collectors/device/ai_core/ai_core_sample.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace zarn {
namespace {

using testing::MatchesRegex;

AiCoreSample Sample(const std::vector<std::uint8_t>& usage) {
    AiCoreSample sample;
    std::copy(usage.begin(), usage.end(), sample.usage.begin());
    sample.coreCount = static_cast<std::uint32_t>(usage.size());
    sample.time = "20230101120000123";
    return sample;
}

std::string Log(const std::vector<std::uint8_t>& usage) {
    std::string log = "before\n";
    AppendAiCoreLog(Sample(usage), log);
    EXPECT_EQ(log.rfind("before\n", 0), 0U);
    return log.substr(7);
}

std::string Document(const std::vector<std::uint8_t>& usage) {
    EventWriter events;
    WriteAiCoreDocument(Sample(usage), events);
    return std::string(events.Lines());
}

std::string DocumentOf(const std::string& cores) {
    return R"({"eventId":"222210200","happenTime":"20230101120000123",)"
           R"("objectId":"soc_ai_usage_info","content":[{"aicore":")" +
           cores + "\"}]}\n";
}

TEST(AiCoreSampleTest, ASampleHasALineForEachCoreBetweenHeadAndAverage) {
    EXPECT_EQ(Log({0, 7, 100, 20}),
              "@zarn-new:\n"
              "Device id: 0\tCore num: 4\n"
              "Aicore 0 usage: 0%\n"
              "Aicore 1 usage: 7%\n"
              "Aicore 2 usage: 100%\n"
              "Aicore 3 usage: 20%\n"
              "Aicore average usage: 31.75%\n");
    EXPECT_EQ(Document({0, 7, 100, 20}),
              DocumentOf("31.750000 0.000000 7.000000 100.000000 20.000000 "));
}

TEST(AiCoreSampleTest, CodesHaveWordsAndDoNotCount) {
    EXPECT_EQ(Log({239, 50, 238, 51}),
              "@zarn-new:\n"
              "Device id: 0\tCore num: 4\n"
              "Aicore 0 usage: NAN%\n"
              "Aicore 1 usage: 50%\n"
              "Aicore 2 usage: NULL%\n"
              "Aicore 3 usage: 51%\n"
              "Aicore average usage: 50.5%\n");
    EXPECT_EQ(Document({239, 50, 238, 51}), DocumentOf("50.500000 -1 50.000000 -2 51.000000 "));
}

// The averages of the log have six significant digits, those of the documents six decimals.
TEST(AiCoreSampleTest, AnAverageIsRounded) {
    EXPECT_THAT(Log({1, 0, 0}), testing::EndsWith("Aicore average usage: 0.333333%\n"));
    EXPECT_THAT(Log({100, 100, 99}), testing::EndsWith("Aicore average usage: 99.6667%\n"));
    EXPECT_EQ(Document({100, 100, 99}), DocumentOf("99.666667 100.000000 100.000000 99.000000 "));
}

// The sign of what is no number is the processor's.
TEST(AiCoreSampleTest, WithoutAFigureTheAverageIsWhatTheDivisionGives) {
    for (const std::vector<std::uint8_t>& usage :
         {std::vector<std::uint8_t>{239, 238}, std::vector<std::uint8_t>{}}) {
        EXPECT_TRUE(std::isnan(AiCoreAverage(Sample(usage))));
        EXPECT_THAT(Log(usage), MatchesRegex("(.|\n)*Aicore average usage: -?nan%\n"));
    }
    EXPECT_THAT(Document({239, 238}), MatchesRegex(".*\"aicore\":\"-?nan -1 -2 \".*\n"));
    EXPECT_THAT(Document({}), MatchesRegex(".*\"aicore\":\"-?nan \".*\n"));
}

TEST(AiCoreSampleTest, ThirtyTwoCoresFit) {
    const std::vector<std::uint8_t> usage(kMaxAiCores, 3);
    EXPECT_THAT(Log(usage), testing::HasSubstr("Aicore 31 usage: 3%\nAicore average usage: 3%\n"));
}

}  // namespace
}  // namespace zarn
