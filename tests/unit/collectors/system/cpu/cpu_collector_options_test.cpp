#include <gmock/gmock.h>

#include <csignal>

#include "collectors/system/cpu/cpu_collector.h"
#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"
#include "tests/support/section_config.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A whole section in which one key has another value, or is left out if the value is empty.
std::string Config(const std::string& changedKey = "", const std::string& value = "") {
    static const test::SectionKeys keys = {
        {"job", R"(["global","core"])"}, {"interval", "2.5"},
        {"process", R"(["node"])"},      {"count", "3"},
        {"thread_collector", "true"},    {"json_output", "false"}};
    return test::ConfigOf("CpuCollector", test::SectionText(keys, changedKey, value));
}

struct Checked {
    bool result = false;
    CpuSettings settings;
    test::Captured captured;
};

Checked Check(const std::string& text) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    Checked checked;
    CpuCollector collector(CpuCollector::kName);
    checked.captured = test::Capture(
        [&] { checked.result = collector.CheckOptions(config, "parallelCollector"); });
    checked.settings = collector.Settings();
    return checked;
}

TEST(CpuCollectorOptions, AnUnconfiguredCollectorHasItsDefaults) {
    const CpuCollector collector(CpuCollector::kName);
    EXPECT_EQ(collector.Name(), "CpuCollector");
    EXPECT_EQ(collector.Settings().count, 1U);
    EXPECT_EQ(collector.Settings().interval, 5.0);
}

TEST(CpuCollectorOptions, AWholeSectionIsRead) {
    const Checked checked = Check(Config());
    EXPECT_TRUE(checked.result);
    EXPECT_EQ(checked.captured.out + checked.captured.err, "");
    EXPECT_THAT(checked.settings.job, ElementsAre("global", "core"));
    EXPECT_EQ(checked.settings.interval, 2.5);
    EXPECT_THAT(checked.settings.process, ElementsAre("node"));
    EXPECT_EQ(checked.settings.count, 3U);
    EXPECT_TRUE(checked.settings.threadCollector);
    EXPECT_FALSE(checked.settings.jsonOutput);
}

TEST(CpuCollectorOptions, TheFirstMissingKeyIsNamed) {
    const auto expectNamed = [](const std::string& text, const std::string& key) {
        const Checked checked = Check(text);
        EXPECT_FALSE(checked.result);
        EXPECT_EQ(checked.captured.out, "");
        EXPECT_EQ(checked.captured.err,
                  "[CpuCollector] Failed to parse '" + key + "' field in config file.\n" +
                      "[CpuCollector] Error occurs: Invalid CpuCollector param type\n");
    };
    for (const char* key :
         {"job", "interval", "process", "count", "thread_collector", "json_output"}) {
        expectNamed(Config(key), key);
    }
    expectNamed("{}", "CpuCollector");
    expectNamed(R"({"CpuCollector":{}})", "job");
    expectNamed(R"({"CpuCollector":{"json_output":1,"job":1,"count":1}})", "interval");
}

TEST(CpuCollectorOptions, NamesMustBeStrings) {
    for (const char* key : {"job", "process"}) {
        const Checked checked = Check(Config(key, R"(["global",7])"));
        EXPECT_FALSE(checked.result) << key;
        EXPECT_EQ(checked.captured.err, "[CpuCollector] Illegal job type, should be string.\n");
        EXPECT_EQ(checked.captured.out, "");
    }
}

TEST(CpuCollectorOptions, ListsMayBeEmptyAndAnIntegerIsAnInterval) {
    EXPECT_THAT(Check(Config("job", "[]")).settings.job, IsEmpty());
    EXPECT_THAT(Check(Config("process", "[]")).settings.process, IsEmpty());
    EXPECT_EQ(Check(Config("interval", "7")).settings.interval, 7.0);
    EXPECT_EQ(Check(Config("interval", "-1e2")).settings.interval, -100.0);
}

TEST(CpuCollectorOptions, CountIsCutToSixHundred) {
    for (const char* count : {"601", "4294967295"}) {
        const Checked checked = Check(Config("count", count));
        EXPECT_TRUE(checked.result);
        EXPECT_EQ(checked.settings.count, 600U);
        EXPECT_EQ(checked.captured.out,
                  "[CpuCollector] over the CPU collect counts limit, resize it to 600\n");
        EXPECT_EQ(checked.captured.err, "");
    }
    for (const unsigned count : {0U, 1U, 600U}) {
        const Checked checked = Check(Config("count", std::to_string(count)));
        EXPECT_TRUE(checked.result);
        EXPECT_EQ(checked.settings.count, count);
        EXPECT_EQ(checked.captured.out, "");
    }
}

struct WrongType {
    const char* key;
    const char* value;
};

class CpuCollectorOptionsDeathTest : public testing::TestWithParam<WrongType> {};

TEST_P(CpuCollectorOptionsDeathTest, AWrongTypeTripsTheJsonLibrarysAssertion) {
    const std::string text = Config(GetParam().key, GetParam().value);
    JsonDocument config;
    ASSERT_TRUE(ParseJson(text, config));
    CpuCollector collector(CpuCollector::kName);
    EXPECT_EXIT(static_cast<void>(collector.CheckOptions(config, "collector")),
                testing::KilledBySignal(SIGABRT), "JSON assertion");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, CpuCollectorOptionsDeathTest,
    testing::Values(WrongType{"interval", R"("5")"}, WrongType{"interval", "null"},
                    WrongType{"count", "-1"}, WrongType{"count", "1.0"},
                    WrongType{"count", "4294967296"}, WrongType{"thread_collector", "1"},
                    WrongType{"json_output", R"("true")"}, WrongType{"job", R"("global")"},
                    WrongType{"process", "{}"}));

TEST(CpuCollectorOptions, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold(
        "CpuCollector", CpuCollector::Keys(),
        R"({"CpuCollector":{"job":["global"],"interval":0.5,"process":["a"],)"
        R"("count":3,"thread_collector":true,"json_output":false}})",
        [](const JsonDocument& config) {
            return CpuCollector(CpuCollector::kName).CheckOptions(config, "collector");
        });
}

}  // namespace
}  // namespace zarn
