#include "analyzers/cpu/cpu_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/host.h"
#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"

namespace zarn {
namespace {

using test::Captured;

struct Parsed {
    bool succeeded = false;
    CpuAnalyzerSettings settings;
    Captured captured;
};

Parsed Parse(const std::string& text, long processors = 4) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    Parsed parsed;
    parsed.captured = test::Capture([&] {
        parsed.succeeded = ParseCpuAnalyzerSettings(
            config, [=] { return processors; }, parsed.settings);
    });
    return parsed;
}

std::string Section(const std::string& job, const std::string& threshold, const std::string& sets) {
    return R"({"CpuAnalyzer":{"job":)" + job + R"(,"peak_trought_threshold":)" + threshold +
           R"(,"process_set":)" + sets + "}}";
}

constexpr const char* kMissing =
    "[CpuAnalyzer] Error occurs: [CpuAnalyzer] CpuAnalyzer param is missing!\n";
constexpr const char* kType =
    "[CpuAnalyzer] Error occurs: [CpuAnalyzer] Invalid CpuAnalyzer param type\n";
constexpr const char* kRange =
    "[CpuAnalyzer] The value range of peakTroughtThreshold is [0, 1). Please check config.\n";
constexpr const char* kJobs = R"(["global"])";

TEST(CpuAnalyzerSettingsTest, TakesALegalSection) {
    const Parsed parsed = Parse(Section(R"(["core","global","core"])", "0.25",
                                        R"({"b":["x","y","x"],"a":[" "],"":["z"]})"));
    EXPECT_TRUE(parsed.succeeded);
    EXPECT_EQ(parsed.captured.out, "[CpuAnalyzer] Get CPU Cores = 4\n");
    EXPECT_EQ(parsed.captured.err, "");
    const CpuAnalyzerSettings& settings = parsed.settings;
    EXPECT_THAT(settings.jobs, testing::ElementsAre("core", "global"));
    EXPECT_EQ(settings.peakRatio, 1.25);
    EXPECT_EQ(settings.troughRatio, 0.75);
    EXPECT_EQ(settings.processors, 4);
    ASSERT_EQ(settings.processSets.size(), 3U);
    EXPECT_EQ(settings.processSets[0].name, "b");
    EXPECT_THAT(settings.processSets[0].commands, testing::ElementsAre("x", "y"));
    EXPECT_EQ(settings.processSets[2].name, "");
}

TEST(CpuAnalyzerSettingsTest, TheSetsMayBeEmptyAndTheThresholdNearItsBounds) {
    for (const char* threshold : {"0.999", "1e-9", "5e-1"}) {
        EXPECT_TRUE(Parse(Section(R"(["process_set"])", threshold, "{}")).succeeded) << threshold;
    }
}

struct RefusedCase {
    std::string text;
    std::string line;
    bool countsProcessors;
};

class CpuAnalyzerSettingsRefused : public testing::TestWithParam<RefusedCase> {};

TEST_P(CpuAnalyzerSettingsRefused, SaysWhy) {
    const Parsed parsed = Parse(GetParam().text);
    EXPECT_FALSE(parsed.succeeded);
    EXPECT_EQ(parsed.captured.err, GetParam().line);
    EXPECT_EQ(parsed.captured.out,
              GetParam().countsProcessors ? "[CpuAnalyzer] Get CPU Cores = 4\n" : "");
}

INSTANTIATE_TEST_SUITE_P(
    Shape, CpuAnalyzerSettingsRefused,
    testing::Values(
        RefusedCase{"{}", kMissing, false}, RefusedCase{R"({"CpuAnalyzer":{}})", kMissing, false},
        RefusedCase{R"({"CpuAnalyzer":{"job":[],"process_set":{}}})", kMissing, false},
        RefusedCase{R"({"CpuAnalyzer":{"peak_trought_threshold":0.1,"process_set":{}}})", kMissing,
                    false},
        RefusedCase{R"({"CpuAnalyzer":{"job":["core"],"peak_trought_threshold":0.1}})", kMissing,
                    false},
        RefusedCase{Section(R"("global")", "0.1", "{}"), kType, false},
        RefusedCase{Section(kJobs, "0", "{}"), kType, false},
        RefusedCase{Section(kJobs, "1", "{}"), kType, false},
        RefusedCase{Section(kJobs, R"("0.1")", "{}"), kType, false},
        RefusedCase{Section(kJobs, "0.1", "[]"), kType, false},
        RefusedCase{Section("[]", "0.1", "{}"), "[CpuAnalyzer] The job cannot be empty!\n", false},
        RefusedCase{Section(R"(["global",1])", "0.1", "{}"), "[CpuAnalyzer] Illegal job type!\n",
                    false},
        RefusedCase{Section(R"(["global","Global"])", "0.1", "{}"),
                    "[CpuAnalyzer] Illegal job name: Global\n", false}));

INSTANTIATE_TEST_SUITE_P(
    Values, CpuAnalyzerSettingsRefused,
    testing::Values(
        RefusedCase{Section(kJobs, "0.0", "{}"), kRange, true},
        RefusedCase{Section(kJobs, "1.0", "{}"), kRange, true},
        RefusedCase{Section(kJobs, "-0.5", "{}"), kRange, true},
        RefusedCase{Section(kJobs, "1e300", "{}"), kRange, true},
        RefusedCase{Section(kJobs, "0.1", R"({"a":["x"],"a":["y"]})"),
                    "[CpuAnalyzer] Duplicate process set name! Should be unique!\n", true},
        RefusedCase{Section(kJobs, "0.1", R"({"a":"x"})"),
                    "[CpuAnalyzer] Illegal process set value! Should be array type!\n", true},
        RefusedCase{Section(kJobs, "0.1", R"({"b":["x"],"a b":[]})"),
                    "[CpuAnalyzer] The processSet a b cannot be empty!\n", true},
        RefusedCase{Section(kJobs, "0.1", R"({"a":["x",""]})"),
                    "[CpuAnalyzer] Illegal process! Should be non-space string!\n", true},
        RefusedCase{Section(kJobs, "0.1", R"({"a":[["x"]]})"),
                    "[CpuAnalyzer] Illegal process! Should be non-space string!\n", true}));

TEST(CpuAnalyzerSettingsTest, NeedsTheNumberOfProcessors) {
    for (const long processors : {-1L, 0L}) {
        const Parsed parsed = Parse(Section(kJobs, "0.1", "{}"), processors);
        EXPECT_FALSE(parsed.succeeded);
        EXPECT_EQ(parsed.captured.out, "");
        EXPECT_EQ(parsed.captured.err, "[CpuAnalyzer] Get CPU Cores failed!\n");
    }
    const Parsed one = Parse(Section(kJobs, "0.1", "{}"), 1);
    EXPECT_TRUE(one.succeeded);
    EXPECT_EQ(one.captured.out, "[CpuAnalyzer] Get CPU Cores = 1\n");
    EXPECT_GE(Host::ConfiguredProcessors(), 1);
}

TEST(CpuAnalyzerSettingsTest, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold(
        "CpuAnalyzer", CpuAnalyzerKeys(),
        R"({"CpuAnalyzer":{"job":["core"],"peak_trought_threshold":0.5,"process_set":{"a":["b"]}}})",
        [](const JsonDocument& config) {
            CpuAnalyzerSettings settings;
            return ParseCpuAnalyzerSettings(
                config, [] { return 4L; }, settings);
        });
}

}  // namespace
}  // namespace zarn
