#include "comparators/cpu/cpu_comparison_settings.h"

#include <gtest/gtest.h>

#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"

namespace zarn {
namespace {

constexpr const char* kMissing =
    "[CpuComparator] Failed to parse config file, at least one of the field CpuComparator, job, or "
    "process does not exist.\n"
    "[CpuComparator] Error occurs: Invalid CpuComparator param type\n";
constexpr const char* kNoArray =
    "[CpuComparator] One of the following field is not valid: job or process is not an array.\n"
    "[CpuComparator] Error occurs: Invalid CpuComparator param type\n";
constexpr const char* kJobType = "[CpuComparator] Illegal job type, should be string.\n";
constexpr const char* kProcessType = "[CpuComparator] Illegal process type, should be string.\n";

// What reading a text gives: the settings, the verdict and what was printed.
struct Outcome {
    CpuComparisonSettings settings;
    bool passed = false;
    test::Captured printed;
};

Outcome ReadText(const std::string& text) {
    Outcome outcome;
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    outcome.settings.jobs = {"of an earlier call"};
    outcome.printed = test::Capture(
        [&] { outcome.passed = ReadCpuComparisonSettings(config, outcome.settings); });
    return outcome;
}

struct Refusal {
    const char* config;
    const char* words;
};

class RefusedComparison : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedComparison, PrintsItsWordsOnTheErrorStream) {
    const Outcome outcome = ReadText(GetParam().config);
    EXPECT_FALSE(outcome.passed);
    EXPECT_EQ(outcome.printed.err, GetParam().words);
    EXPECT_EQ(outcome.printed.out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RefusedComparison,
    testing::Values(Refusal{R"({})", kMissing}, Refusal{R"({"CpuComparator": {}})", kMissing},
                    Refusal{R"({"CpuComparator": {"job": []}})", kMissing},
                    Refusal{R"({"CpuComparator": {"process": []}})", kMissing},
                    Refusal{R"({"CpuComparator": {"job": 1}})", kMissing},
                    Refusal{R"({"CpuComparator": {"job": "global", "process": []}})", kNoArray},
                    Refusal{R"({"CpuComparator": {"job": [], "process": {}}})", kNoArray},
                    Refusal{R"({"CpuComparator": {"job": null, "process": null}})", kNoArray},
                    Refusal{R"({"CpuComparator": {"job": [1], "process": []}})", kJobType},
                    Refusal{R"({"CpuComparator": {"job": ["global", []], "process": [1]}})",
                            kJobType},
                    Refusal{R"({"CpuComparator": {"job": ["global"], "process": ["a", true]}})",
                            kProcessType}));

TEST(CpuComparisonSettings, HoldsJobsAsASetAndEachProcessOnce) {
    const Outcome outcome = ReadText(
        R"({"CpuComparator": {"job": ["selected_process", "global", "global", "more"],
                              "process": ["b", "a", "b", ""]}})");
    EXPECT_TRUE(outcome.passed);
    EXPECT_EQ(outcome.printed.err + outcome.printed.out, "");
    EXPECT_EQ(outcome.settings.jobs, (std::set<std::string>{"global", "more", "selected_process"}));
    EXPECT_EQ(outcome.settings.processes, (std::vector<std::string>{"b", "a", ""}));
    EXPECT_TRUE(outcome.settings.Has(CpuComparisonSettings::kGlobalJob));
    EXPECT_TRUE(outcome.settings.Has(CpuComparisonSettings::kSelectedProcessJob));
}

TEST(CpuComparisonSettings, MayBeEmpty) {
    const Outcome outcome = ReadText(R"({"CpuComparator": {"job": [], "process": []}})");
    EXPECT_TRUE(outcome.passed);
    EXPECT_TRUE(outcome.settings.jobs.empty());
    EXPECT_FALSE(outcome.settings.Has(CpuComparisonSettings::kGlobalJob));
}

TEST(CpuComparisonSettingsDeathTest, SectionThatIsNoObjectEndsTheProcess) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson(R"({"CpuComparator": []})", config));
    CpuComparisonSettings settings;
    EXPECT_EXIT((void)ReadCpuComparisonSettings(config, settings), testing::KilledBySignal(SIGABRT),
                "JSON assertion");
}

TEST(CpuComparisonSettings, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold("CpuComparator", CpuComparatorKeys(),
                         R"({"CpuComparator":{"job":["global"],"process":["a"]}})",
                         [](const JsonDocument& config) {
                             CpuComparisonSettings settings;
                             return ReadCpuComparisonSettings(config, settings);
                         });
}

}  // namespace
}  // namespace zarn
