#include "collectors/profiling/lib/lib_settings.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "kit/section.h"
#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"
#include "tests/support/section_config.h"

namespace zarn {
namespace {

// A whole section in which one key has another value, or is left out if the value is empty.
std::string Config(const std::string& changedKey = "", const std::string& value = "") {
    const test::SectionKeys keys = {{"process", R"(["planner","camera"])"}, {"duration", "3"}};
    return test::ConfigOf("LibCollector", test::SectionText(keys, changedKey, value));
}

struct Outcome {
    bool good = false;
    std::string err;
    std::uint32_t duration = 77;
};

Outcome Read(const std::string& text) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    Outcome outcome;
    const test::Captured said =
        test::Capture([&] { outcome.good = ReadLibSettings(config, outcome.duration); });
    EXPECT_EQ(said.out, "");
    outcome.err = said.err;
    return outcome;
}

TEST(LibSettingsTest, AWholeSectionIsRead) {
    const Outcome read = Read(Config());
    EXPECT_TRUE(read.good);
    EXPECT_EQ(read.err, "");
    EXPECT_EQ(read.duration, 3U);
    JsonDocument config;
    ASSERT_TRUE(ParseJson(Config(), config));
    ASSERT_EQ(LibProcesses(config).Size(), 2U);
    EXPECT_STREQ(LibProcesses(config)[1].GetString(), "camera");
}

TEST(LibSettingsTest, TheLimitsOfTheDurationAreThoseOfItsType) {
    EXPECT_EQ(Read(Config("duration", "0")).duration, 0U);
    EXPECT_EQ(Read(Config("duration", "4294967295")).duration, 4294967295U);
}

TEST(LibSettingsTest, BadSectionsAreRefused) {
    const std::string missing =
        "[LibCollector] LibCollector process or duration param missing! Both of process and "
        "duration param should be set in config!\n";
    const std::string notArray =
        "[LibCollector] Invalid LibCollector process param type! Should be array type!\n";
    const std::string uint =
        "[LibCollector] Invalid LibCollector param type (duration)! Should be uint type!\n";
    const std::pair<std::string, std::string> rows[] = {
        {"{}", missing},
        {Config("process"), missing},
        {Config("duration"), missing},
        {Config("process", "\"planner\""), notArray},
        {Config("process", "{}"), notArray},
        {Config("process", "null"), notArray},
        {Config("process", "[]"), "[LibCollector] LibCollector process array is empty!\n"},
        {Config("duration", "-1"), uint},
        {Config("duration", "4294967296"), uint},
        {Config("duration", "1.0"), uint},
        {Config("duration", "\"3\""), uint},
    };
    for (const auto& [text, line] : rows) {
        const Outcome read = Read(text);
        EXPECT_FALSE(read.good) << text;
        EXPECT_EQ(read.err, line) << text;
        EXPECT_EQ(read.duration, 77U) << text;
    }
}

// The processes are looked at before the duration, their elements only when they are read.
TEST(LibSettingsTest, TheFirstFaultIsTold) {
    EXPECT_EQ(Read(R"({"LibCollector":{"process":[],"duration":-1}})").err,
              "[LibCollector] LibCollector process array is empty!\n");
    EXPECT_TRUE(Read(Config("process", "[1]")).good);
}

TEST(LibSettingsTest, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold(
        "LibCollector", LibCollectorKeys(), Config(), [](const JsonDocument& config) {
            std::uint32_t duration = 0;
            return ReadLibSettings(config, duration) && TextOf(LibProcesses(config)[0]) != "";
        });
}

}  // namespace
}  // namespace zarn
