#include "collectors/device/aicpu/aicpu_settings.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "collectors/device/aicpu/aicpu_common.h"
#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"
#include "tests/support/section_config.h"

namespace zarn {
namespace {

constexpr const char* kMissing = "[AicpuCollector] Error occurs: Lack of required fields.\n";
constexpr const char* kWrongType =
    "[AicpuCollector] Error occurs: Invalid AicpuCollector param type\n";
constexpr const char* kJobType = "[AicpuCollector] Illegal aicpu_job type!\n";
constexpr const char* kLists =
    "[AicpuCollector] Fail to parse aicpu_process and aicpu_cid in config!\n";

// A whole section in which one key has another value, or is left out if the value is empty.
std::string Config(const std::string& changedKey = "", const std::string& value = "") {
    const test::SectionKeys keys = {{"aicpu_job", R"(["core"])"},
                                    {"aicpu_process", R"(["a","b"])"},
                                    {"aicpu_cid", "[1,3]"},
                                    {"interval", "2"},
                                    {"count", "3"}};
    return test::ConfigOf("AicpuCollector", test::SectionText(keys, changedKey, value));
}

test::Captured Read(const std::string& text, AicpuSettings& settings, bool& good) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    return test::Capture([&] { good = ReadAicpuSettings(config, settings); });
}

TEST(AicpuSettingsTest, RefusedSettingsPrintTheirLineAndStoreNothing) {
    const std::pair<std::string, std::string> rows[] = {
        {"{}", kMissing},
        {Config("aicpu_job"), kMissing},
        {Config("aicpu_process"), kMissing},
        {Config("aicpu_cid"), kMissing},
        {Config("interval"), kMissing},
        {Config("count"), kMissing},
        {Config("aicpu_job", "\"core\""), kWrongType},
        {Config("aicpu_process", "{}"), kWrongType},
        {Config("aicpu_cid", "1"), kWrongType},
        {Config("interval", "-1"), kWrongType},
        {Config("interval", "1.0"), kWrongType},
        {Config("count", "\"3\""), kWrongType},
        {Config("count", "4294967296"), kWrongType},
        {Config("aicpu_job", R"(["core",1])"), kJobType},
        {Config("aicpu_job", "[null]"), kJobType},
        {Config("aicpu_process", R"(["a"])"), kLists},
        {Config("aicpu_process", "[]"), kLists},
        {Config("aicpu_process", R"(["a",1])"), kLists},
        {Config("aicpu_cid", "[1]"), kLists},
        {Config("aicpu_cid", "[1,-1]"), kLists},
        {Config("aicpu_cid", R"([1,"3"])"), kLists},
        {Config("aicpu_cid", "[1,1.5]"), kLists},
    };
    for (const auto& [text, words] : rows) {
        AicpuSettings settings;
        settings.count = 7;
        bool good = true;
        const test::Captured captured = Read(text, settings, good);
        EXPECT_FALSE(good) << text;
        EXPECT_EQ(captured.err, words) << text;
        EXPECT_EQ(captured.out, "") << text;
        EXPECT_EQ(settings.count, 7U) << text;
        EXPECT_TRUE(settings.processes.empty()) << text;
    }
}

TEST(AicpuSettingsTest, PairsProcessesAndCoresByPlace) {
    AicpuSettings settings;
    bool good = false;
    EXPECT_EQ(Read(Config(), settings, good).err, "");
    ASSERT_TRUE(good);
    EXPECT_EQ(settings.interval, 2U);
    EXPECT_EQ(settings.count, 3U);
    ASSERT_EQ(settings.processes.size(), 2U);
    EXPECT_EQ(settings.processes[1].name, "b");
    EXPECT_EQ(settings.processes[1].core, 3U);
    EXPECT_TRUE(settings.processes[1].valid);
    EXPECT_EQ(settings.processes[1].pid, 0U);
}

// They need the state of the device.
TEST(AicpuSettingsTest, LimitsAreNotTestedHere) {
    for (const std::string& text :
         {Config("interval", "0"), Config("interval", "61"), Config("count", "0"),
          Config("count", "2001"), Config("aicpu_cid", "[4294967295,0]")}) {
        AicpuSettings settings;
        bool good = false;
        EXPECT_EQ(Read(text, settings, good).err, "") << text;
        EXPECT_TRUE(good) << text;
    }
}

TEST(AicpuSettingsTest, AnUnknownJobIsOnlyWarnedOf) {
    AicpuSettings settings;
    bool good = false;
    const test::Captured captured =
        Read(Config("aicpu_job", R"(["Core","event","","abnormal"])"), settings, good);
    EXPECT_TRUE(good);
    EXPECT_EQ(captured.err,
              "[AicpuCommon] Illegal job name: Core\n[AicpuCommon] Illegal job name: \n");
    EXPECT_EQ(captured.out, "");
    EXPECT_FALSE(settings.jobs.core);
    EXPECT_TRUE(settings.jobs.event);
    EXPECT_TRUE(settings.jobs.abnormal);
}

TEST(AicpuSettingsTest, TheOptionCheckHoldsTheDeclaredKeys) {
    test::ExpectKeysHold("AicpuCollector", AicpuCollectorKeys(), Config(),
                         [](const JsonDocument& config) {
                             AicpuSettings settings;
                             return ReadAicpuSettings(config, settings);
                         });
}

}  // namespace
}  // namespace zarn
