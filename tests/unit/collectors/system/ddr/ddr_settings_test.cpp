#include "collectors/system/ddr/ddr_settings.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"

namespace zarn {
namespace {

constexpr const char* kMissing =
    "[DdrCollector] Error occurs: [DdrCollector] DdrCollector param is missing! Correct: "
    "[job, count, interval]\n";
constexpr const char* kWrongType =
    "[DdrCollector] Error occurs: [DdrCollector] Invalid DdrCollector param type\n";
constexpr const char* kCount =
    "[DdrCollector] Ddr collect count cannot be 0 or larger than 2000!\n";
constexpr const char* kInterval =
    "[DdrCollector] Ddr collect interval cannot be 0s or larger than 60s!\n";

// Reads the settings of a whole document; the captured streams, and what was read.
test::Captured Read(const std::string& text, DdrSettings& settings, bool& good) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    return test::Capture([&] { good = ReadDdrSettings(config, settings); });
}

struct Refused {
    const char* text;
    const char* words;
};

const Refused kRefused[] = {
    {R"({})", kMissing},
    {R"({"DdrCollector":{}})", kMissing},
    {R"({"DdrCollector":{"count":1,"interval":1}})", kMissing},
    {R"({"DdrCollector":{"job":["global"],"interval":1}})", kMissing},
    {R"({"DdrCollector":{"job":["global"],"count":1}})", kMissing},
    {R"({"DdrCollector":{"job":"global","count":1,"interval":1}})", kWrongType},
    {R"({"DdrCollector":{"job":["global"],"count":-1,"interval":1}})", kWrongType},
    {R"({"DdrCollector":{"job":["global"],"count":1.0,"interval":1}})", kWrongType},
    {R"({"DdrCollector":{"job":["global"],"count":"1","interval":1}})", kWrongType},
    {R"({"DdrCollector":{"job":["global"],"count":1,"interval":4294967296}})", kWrongType},
    {R"({"DdrCollector":{"job":["global"],"count":1,"interval":null}})", kWrongType},
    {R"({"DdrCollector":{"job":[],"count":0,"interval":0}})",
     "[DdrCollector] The job cannot be empty!\n"},
    {R"({"DdrCollector":{"job":["global",1],"count":0,"interval":0}})",
     "[DdrCollector] Illegal job type!\n"},
    {R"({"DdrCollector":{"job":["global","Global"],"count":0,"interval":0}})",
     "[DdrCollector] Illegal job name: Global\n"},
    {R"({"DdrCollector":{"job":["global"],"count":0,"interval":1}})", kCount},
    {R"({"DdrCollector":{"job":["global"],"count":2001,"interval":61}})", kCount},
    {R"({"DdrCollector":{"job":["global"],"count":1,"interval":0}})", kInterval},
    {R"({"DdrCollector":{"job":["global"],"count":2000,"interval":61}})", kInterval},
};

TEST(DdrSettingsTest, RefusedSettingsPrintTheirLineAndStoreNothing) {
    for (const Refused& row : kRefused) {
        DdrSettings settings{false, 7, 9};
        bool good = true;
        const test::Captured captured = Read(row.text, settings, good);
        EXPECT_FALSE(good) << row.text;
        EXPECT_EQ(captured.err, row.words) << row.text;
        EXPECT_EQ(captured.out, "") << row.text;
        EXPECT_FALSE(settings.globalJob) << row.text;
        EXPECT_EQ(settings.count + settings.interval, 16U) << row.text;
    }
}

TEST(DdrSettingsTest, TheLimitsThemselvesAreAccepted) {
    for (const auto& [count, interval] :
         {std::pair<unsigned, unsigned>{1, 1}, std::pair<unsigned, unsigned>{2000, 60}}) {
        DdrSettings settings;
        bool good = false;
        const test::Captured captured =
            Read(R"({"DdrCollector":{"job":["global","global"],"count":)" + std::to_string(count) +
                     R"(,"interval":)" + std::to_string(interval) + "}}",
                 settings, good);
        EXPECT_TRUE(good);
        EXPECT_EQ(captured.out + captured.err, "");
        EXPECT_TRUE(settings.globalJob);
        EXPECT_EQ(settings.count, count);
        EXPECT_EQ(settings.interval, interval);
    }
}

TEST(DdrSettingsTest, ANulInAJobNameIsPartOfTheName) {
    DdrSettings settings;
    bool good = true;
    const test::Captured captured =
        Read(R"({"DdrCollector":{"job":["global\u0000"],"count":1,"interval":1}})", settings, good);
    EXPECT_FALSE(good);
    EXPECT_EQ(captured.err, std::string("[DdrCollector] Illegal job name: global\0\n", 41));
}

TEST(DdrSettingsDeathTest, ASectionThatIsNoObjectEndsTheProcess) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson(R"({"DdrCollector":[1]})", config));
    DdrSettings settings;
    EXPECT_DEATH((void)ReadDdrSettings(config, settings), "JSON assertion");
}

TEST(DdrSettingsTest, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold("DdrCollector", DdrCollectorKeys(),
                         R"({"DdrCollector":{"job":["global"],"count":3,"interval":2}})",
                         [](const JsonDocument& config) {
                             DdrSettings settings;
                             return ReadDdrSettings(config, settings);
                         });
}

}  // namespace
}  // namespace zarn
