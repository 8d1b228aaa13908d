#include "analyzers/correlation/correlation_settings.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"

namespace zarn::test {
namespace {

// What is wrong with a configuration; "taken" if nothing is.
std::string Fault(const std::string& text) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    CorrelationSettings settings;
    bool good = false;
    const Captured captured =
        Capture([&] { good = ReadCorrelationSettings(config, "S", settings); });
    EXPECT_EQ(captured.out, "");
    const std::string words = "[CorrelationAnalyzer] Error occurs when parsing config: ";
    EXPECT_EQ(captured.err.substr(0, words.size()), good ? "" : words);
    return good ? "taken" : captured.err.substr(words.size());
}

// Of a section with these values.
std::string FaultOf(const std::string& interval, const std::string& sched) {
    return Fault(R"({"S":{"peak_interval_us":)" + interval + R"(,"sched":)" + sched + "}}");
}

TEST(CorrelationSettings, AGoodSectionIsTaken) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson(R"({"S":{"peak_interval_us":7,"sched":"core"}})", config));
    CorrelationSettings settings;
    ASSERT_TRUE(ReadCorrelationSettings(config, "S", settings));
    EXPECT_EQ(settings.peakIntervalUs, 7U);
    EXPECT_EQ(settings.sched, "core");
}

TEST(CorrelationSettings, FaultsAreToldInTheirOrder) {
    const std::string type = "[CorrelationAnalyzer] Invalid analyzer param type.\n";
    EXPECT_EQ(Fault("{}"), "[CorrelationAnalyzer] CorrelationAnalyzer is missing.\n");
    EXPECT_EQ(Fault(R"({"S":7})"), type);
    EXPECT_EQ(Fault(R"({"S":{}})"),
              "[CorrelationAnalyzer] The analyzer param peak_interval_us is missing.\n");
    EXPECT_EQ(Fault(R"({"S":{"peak_interval_us":"x"}})"),
              "[CorrelationAnalyzer] The analyzer param sched is missing.\n");
    EXPECT_EQ(FaultOf("10000001", "7"), type);
    EXPECT_EQ(FaultOf("10000001", R"("x")"),
              "[CorrelationAnalyzer] Param peak_interval_us if out of range.\n");
    EXPECT_EQ(FaultOf("7", R"("lite")"), "[CorrelationAnalyzer] Invalid sched job.\n");
    EXPECT_EQ(FaultOf("7", R"("Global")"), "[CorrelationAnalyzer] Invalid sched job.\n");
}

TEST(CorrelationSettings, TheIntervalIsAtMostTenSeconds) {
    for (const char* value : {"0", "1", "10000000"}) {
        EXPECT_EQ(FaultOf(value, R"("global")"), "taken") << value;
    }
    for (const char* value : {"10000001", "4294967295"}) {
        EXPECT_EQ(FaultOf(value, R"("global")"),
                  "[CorrelationAnalyzer] Param peak_interval_us if out of range.\n");
    }
    for (const char* value : {"-1", "1.5", "\"7\"", "4294967296", "null", "[]"}) {
        EXPECT_EQ(FaultOf(value, R"("global")"),
                  "[CorrelationAnalyzer] Invalid analyzer param type.\n");
    }
}

TEST(CorrelationSettings, TheCheckHoldsToTheDeclaredKeys) {
    ExpectKeysHold("S", CorrelationKeys(), R"({"S":{"peak_interval_us":7,"sched":"core"}})",
                   [](const JsonDocument& config) {
                       CorrelationSettings settings;
                       return ReadCorrelationSettings(config, "S", settings);
                   });
}

}  // namespace
}  // namespace zarn::test
