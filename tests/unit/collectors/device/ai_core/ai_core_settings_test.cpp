#include "collectors/device/ai_core/ai_core_settings.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"
#include "tests/support/section_config.h"

namespace zarn {
namespace {

constexpr const char* kMissing = "[AiCoreCollector] Error occurs: Lack of required fields.\n";
constexpr const char* kWrongType =
    "[AiCoreCollector] Error occurs: Invalid AiCoreCollector param type\n";
constexpr const char* kJob = "[AiCoreCollector] Illegal job type!\n";
constexpr const char* kCount = "[AiCoreCollector] Aicpu collect count should in (0, 2000]!\n";
constexpr const char* kInterval =
    "[AiCoreCollector] Aicore collect interval should be in (0, 60]!\n";

// A whole section in which one key has another value, or is left out if the value is empty.
std::string Config(const std::string& changedKey = "", const std::string& value = "") {
    const test::SectionKeys keys = {{"job", R"(["usage"])"}, {"count", "3"}, {"interval", "2"}};
    return test::ConfigOf("AiCoreCollector", test::SectionText(keys, changedKey, value));
}

test::Captured Read(const std::string& text, AiCoreSettings& settings, bool& good) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    return test::Capture([&] { good = ReadAiCoreSettings(config, settings); });
}

TEST(AiCoreSettingsTest, RefusedSettingsPrintTheirLineAndStoreNothing) {
    const std::pair<std::string, std::string> rows[] = {
        {"{}", kMissing},
        {Config("job"), kMissing},
        {Config("count"), kMissing},
        {Config("interval"), kMissing},
        {Config("job", "\"usage\""), kWrongType},
        {Config("count", "-1"), kWrongType},
        {Config("count", "1.0"), kWrongType},
        {Config("count", "4294967296"), kWrongType},
        {Config("interval", "\"1\""), kWrongType},
        {Config("job", R"(["usage","Usage"])"), kJob},
        {Config("job", R"(["usage",1])"), kJob},
        {Config("job", R"([""])"), kJob},
        {Config("count", "0"), kCount},
        {Config("count", "2001"), kCount},
        {Config("interval", "0"), kInterval},
        {Config("interval", "61"), kInterval},
        // What is wrong twice is told by the first line in this order.
        {R"({"AiCoreCollector":{"job":1,"count":0}})", kMissing},
        {R"({"AiCoreCollector":{"job":["x"],"count":0,"interval":""}})", kWrongType},
        {R"({"AiCoreCollector":{"job":["x"],"count":0,"interval":0}})", kJob},
        {R"({"AiCoreCollector":{"job":[],"count":0,"interval":0}})", kCount},
    };
    for (const auto& [text, words] : rows) {
        AiCoreSettings settings;
        settings.count = 7;
        bool good = true;
        const test::Captured captured = Read(text, settings, good);
        EXPECT_FALSE(good) << text;
        EXPECT_EQ(captured.err, words) << text;
        EXPECT_EQ(captured.out, "") << text;
        EXPECT_EQ(settings.count, 7U) << text;
        EXPECT_FALSE(settings.usageJob) << text;
    }
}

TEST(AiCoreSettingsTest, TheLimitsThemselvesAreAccepted) {
    for (const auto& [count, interval] : {std::pair<unsigned, unsigned>{1, 1}, {2000, 60}}) {
        AiCoreSettings settings;
        bool good = false;
        const test::Captured captured =
            Read(R"({"AiCoreCollector":{"job":["usage","usage"],"count":)" + std::to_string(count) +
                     R"(,"interval":)" + std::to_string(interval) + "}}",
                 settings, good);
        EXPECT_TRUE(good);
        EXPECT_EQ(captured.out + captured.err, "");
        EXPECT_TRUE(settings.usageJob);
        EXPECT_EQ(settings.count, count);
        EXPECT_EQ(settings.interval, interval);
    }
}

TEST(AiCoreSettingsTest, ThereMayBeNoJob) {
    AiCoreSettings settings;
    settings.usageJob = true;
    bool good = false;
    EXPECT_EQ(Read(Config("job", "[]"), settings, good).err, "");
    EXPECT_TRUE(good);
    EXPECT_FALSE(settings.usageJob);
}

TEST(AiCoreSettingsDeathTest, ASectionThatIsNoObjectEndsTheProcess) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson(R"({"AiCoreCollector":[1]})", config));
    AiCoreSettings settings;
    EXPECT_DEATH((void)ReadAiCoreSettings(config, settings), "JSON assertion");
}

TEST(AiCoreSettingsTest, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold("AiCoreCollector", AiCoreCollectorKeys(), Config(),
                         [](const JsonDocument& config) {
                             AiCoreSettings settings;
                             return ReadAiCoreSettings(config, settings);
                         });
}

}  // namespace
}  // namespace zarn
