#include "collectors/system/mem/mem_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"
#include "tests/support/section_config.h"

namespace zarn {
namespace {

using testing::ElementsAre;

constexpr const char* kMissing =
    "[MemCollector]: Error occurs: [MemCollector] MemCollector param is missing!\n";
constexpr const char* kWrongType =
    "[MemCollector]: Error occurs: Invalid MemCollector param type\n";
constexpr const char* kCount =
    "[MemCollector] mem collect count cannot be 0 or larger than 2000!\n";
constexpr const char* kInterval =
    "[MemCollector] mem collect interval cannot be 0s or larger than 60s!\n";
constexpr const char* kProcess = "[MemCollector]: Illegal process!\n";
constexpr const char* kChoose =
    "[MemCollector]: Please correct choice job: [\"system_mem\", \"process_mem\"]\n";
constexpr const char* kJobType = "[MemCollector]: Illegal job type!\n";

// A whole section in which one key has another value, or is left out if the value is empty.
std::string Config(const std::string& changedKey = "", const std::string& value = "") {
    static const test::SectionKeys keys = {{"job", R"(["system_mem"])"},
                                           {"count", "3"},
                                           {"interval", "2"},
                                           {"process", R"(["node"])"}};
    return test::ConfigOf("MemCollector", test::SectionText(keys, changedKey, value));
}

test::Captured Read(const std::string& text, MemSettings& settings, bool& good) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    return test::Capture([&] { good = ReadMemSettings(config, settings); });
}

TEST(MemSettingsTest, RefusedSettingsPrintTheirLinesAndStoreNothing) {
    const std::pair<std::string, std::string> rows[] = {
        {"{}", kMissing},
        {Config("job"), kMissing},
        {Config("count"), kMissing},
        {Config("interval"), kMissing},
        {Config("process"), kMissing},
        {Config("job", "\"system_mem\""), kWrongType},
        {Config("process", "\"node\""), kWrongType},
        {Config("count", "-1"), kWrongType},
        {Config("count", "1.0"), kWrongType},
        {Config("count", "4294967296"), kWrongType},
        {Config("interval", "\"1\""), kWrongType},
        {Config("count", "0"), kCount},
        {Config("count", "2001"), kCount},
        {Config("interval", "0"), kInterval},
        {Config("interval", "61"), kInterval},
        {Config("process", R"(["node",1])"), kProcess},
        {Config("job", "[]"), kChoose},
        {Config("job", R"(["system_mem",null])"), kJobType},
        {Config("job", R"(["process_mem","cpu","x"])"),
         std::string("[MemCollector]: Illegal job name: \"cpu\"\n") + kChoose},
        {Config("job", R"([""])"),
         std::string("[MemCollector]: Illegal job name: \"\"\n") + kChoose},
    };
    for (const auto& [text, words] : rows) {
        MemSettings settings;
        settings.count = 7;
        bool good = true;
        const test::Captured captured = Read(text, settings, good);
        EXPECT_FALSE(good) << text;
        EXPECT_EQ(captured.err, words) << text;
        EXPECT_EQ(captured.out, "") << text;
        EXPECT_EQ(settings.count, 7U) << text;
        EXPECT_FALSE(settings.systemMemJob || settings.processMemJob) << text;
    }
}

// What is wrong twice is told by the first line in this order.
TEST(MemSettingsTest, ThePartsFailInTheirOrder) {
    const std::pair<const char*, const char*> rows[] = {
        {R"({"MemCollector":{"job":1,"count":0,"interval":0}})", kMissing},
        {R"({"MemCollector":{"job":[],"count":0,"interval":"","process":[1]}})", kWrongType},
        {R"({"MemCollector":{"job":[],"count":0,"interval":0,"process":[1]}})", kCount},
        {R"({"MemCollector":{"job":[],"count":1,"interval":0,"process":[1]}})", kInterval},
        {R"({"MemCollector":{"job":[],"count":1,"interval":1,"process":[1]}})", kProcess},
        {R"({"MemCollector":{"job":[],"count":1,"interval":1,"process":[]}})", kChoose},
    };
    for (const auto& [text, words] : rows) {
        MemSettings settings;
        bool good = true;
        EXPECT_EQ(Read(text, settings, good).err, words) << text;
        EXPECT_FALSE(good) << text;
    }
}

TEST(MemSettingsTest, TheCaseOfJobsDoesNotCount) {
    MemSettings settings;
    bool good = false;
    const test::Captured captured =
        Read(Config("job", R"(["SYSTEM_mem","Process_Mem","system_mem"])"), settings, good);
    EXPECT_TRUE(good);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_TRUE(settings.systemMemJob && settings.processMemJob);
    EXPECT_EQ(settings.count, 3U);
    EXPECT_EQ(settings.interval, 2U);
    EXPECT_THAT(settings.processNames, ElementsAre("node"));
}

TEST(MemSettingsTest, TheLimitsThemselvesAreAccepted) {
    for (const auto& [key, value] : {std::pair<const char*, const char*>{"count", "1"},
                                     {"count", "2000"},
                                     {"interval", "1"},
                                     {"interval", "60"},
                                     {"process", "[]"}}) {
        MemSettings settings;
        bool good = false;
        EXPECT_EQ(Read(Config(key, value), settings, good).err, "");
        EXPECT_TRUE(good) << key << " " << value;
    }
}

TEST(MemSettingsDeathTest, ASectionThatIsNoObjectEndsTheProcess) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson(R"({"MemCollector":[1]})", config));
    MemSettings settings;
    EXPECT_DEATH((void)ReadMemSettings(config, settings), "JSON assertion");
}

TEST(MemSettingsTest, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold("MemCollector", MemCollectorKeys(), Config(),
                         [](const JsonDocument& config) {
                             MemSettings settings;
                             return ReadMemSettings(config, settings);
                         });
}

}  // namespace
}  // namespace zarn
