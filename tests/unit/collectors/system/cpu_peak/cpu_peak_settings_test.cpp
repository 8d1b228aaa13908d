#include "collectors/system/cpu_peak/cpu_peak_settings.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>

#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"
#include "tests/support/section_config.h"

namespace zarn {
namespace {

const test::SectionKeys kKeys = {{"scanDuration", "5000"},
                                 {"scanPeriod", "100"},
                                 {"maxUsage", "80.0"},
                                 {"collectionDuration", "1.5"},
                                 {"collectionFrequency", "999"}};

// A whole section in which one key has another value, or is left out if the value is empty.
std::string Config(const std::string& changedKey = "", const std::string& value = "") {
    return test::ConfigOf("CpuPeakCollector", test::SectionText(kKeys, changedKey, value));
}

std::pair<bool, std::string> Check(const std::string& text) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    bool good = false;
    const test::Captured said = test::Capture([&] { good = CheckCpuPeakSettings(config); });
    EXPECT_EQ(said.out, "");
    return {good, said.err};
}

const std::pair<bool, std::string> kGood = {true, ""};

TEST(CpuPeakSettingsTest, AWholeSectionIsRead) {
    EXPECT_EQ(Check(Config()), kGood);
    JsonDocument config;
    ASSERT_TRUE(ParseJson(Config(), config));
    const CpuPeakSettings settings = ReadCpuPeakSettings(config);
    EXPECT_EQ(settings.scanDuration, 5000U);
    EXPECT_EQ(settings.scanPeriod, 100U);
    EXPECT_EQ(settings.maxUsage, 80.0);
    EXPECT_EQ(settings.collectionDuration, 1.5);
    EXPECT_EQ(settings.collectionFrequency, 999U);
}

// The lines in the order of the tests.
const std::pair<const char*, std::pair<const char*, const char*>> kWords[] = {
    {"scanDuration",
     {"[CpuPeakCollector] Scan duration setting for CpuPeakCollector does not exist!\n",
      "[CpuPeakCollector] Invalid CpuPeakCollector scan duration param type!\n"}},
    {"scanPeriod",
     {"[CpuPeakCollector] Scan period setting for CpuPeakCollector does not exist!\n",
      "[CpuPeakCollector] Invalid CpuPeakCollector scan period param type!\n"}},
    {"maxUsage",
     {"[CpuPeakCollector] maxUsage setting for CpuPeakCollector does not exist!\n",
      "[CpuPeakCollector] Invalid CpuPeakCollector maxUsage param type!\n"}},
    {"collectionDuration",
     {"[CpuPeakCollector] Collection duration setting for CpuPeakCollector does not exist!\n",
      "[CpuPeakCollector] Invalid CpuPeakCollector collection duration param type!\n"}},
    {"collectionFrequency",
     {"[CpuPeakCollector] Collection frequency setting for CpuPeakCollector does not exist!\n",
      "[CpuPeakCollector] Invalid CpuPeakCollector collection frequency param type!\n"}},
};
constexpr const char* kPeriodTooLong =
    "[CpuPeakCollector] Collection duration should be larger than collection period!\n";

TEST(CpuPeakSettingsTest, WithoutASectionThereIsOneLine) {
    EXPECT_EQ(Check("{}"),
              (std::pair(false, std::string("[CpuPeakCollector] CpuPeakCollector param does not "
                                            "exist!\n"))));
}

TEST(CpuPeakSettingsTest, AKeyThatIsMissingOrOfAWrongTypeIsTold) {
    for (const auto& [key, lines] : kWords) {
        EXPECT_EQ(Check(Config(key)), (std::pair(false, std::string(lines.first))));
        for (const char* value : {"\"1\"", "null", "-1", "[1]", "{}", "true"}) {
            EXPECT_EQ(Check(Config(key, value)), (std::pair(false, std::string(lines.second))))
                << key << value;
        }
    }
}

TEST(CpuPeakSettingsTest, NumbersAreOfTheirKind) {
    for (const auto& [key, value, good] : {std::tuple("scanDuration", "5000.0", false),
                                           {"scanDuration", "4294967296", false},
                                           {"scanDuration", "4294967295", true},
                                           {"scanPeriod", "1.0", false},
                                           {"maxUsage", "80", false},
                                           {"maxUsage", "8e1", true},
                                           {"maxUsage", "-0.5", true},
                                           {"maxUsage", "1000.0", true},
                                           {"collectionDuration", "1", false},
                                           {"collectionDuration", "0.0", true},
                                           {"collectionFrequency", "99.0", false},
                                           {"collectionFrequency", "0", true}}) {
        EXPECT_EQ(Check(Config(key, value)).first, good) << key << value;
    }
}

TEST(CpuPeakSettingsTest, ThePeriodIsAtMostTheDuration) {
    EXPECT_EQ(Check(Config("scanPeriod", "5001")), (std::pair(false, std::string(kPeriodTooLong))));
    EXPECT_EQ(Check(Config("scanPeriod", "5000")), kGood);
    EXPECT_EQ(Check(Config("scanPeriod", "0")), kGood);
    EXPECT_EQ(Check(Config("scanDuration", "0")), (std::pair(false, std::string(kPeriodTooLong))));
}

// A section that lacks more and more from its end: each test comes before the next.
TEST(CpuPeakSettingsTest, TheFirstFaultIsTold) {
    EXPECT_EQ(Check(R"({"CpuPeakCollector":{}})").second, kWords[0].second.first);
    EXPECT_EQ(Check(R"({"CpuPeakCollector":{"scanDuration":1.0}})").second,
              kWords[0].second.second);
    EXPECT_EQ(Check(R"({"CpuPeakCollector":{"scanDuration":1}})").second, kWords[1].second.first);
    EXPECT_EQ(Check(R"({"CpuPeakCollector":{"scanDuration":1,"scanPeriod":2.0}})").second,
              kWords[1].second.second);
    EXPECT_EQ(Check(R"({"CpuPeakCollector":{"scanDuration":1,"scanPeriod":2}})").second,
              kWords[2].second.first);
    EXPECT_EQ(
        Check(R"({"CpuPeakCollector":{"scanDuration":1,"scanPeriod":2,"maxUsage":80}})").second,
        kWords[2].second.second);
    EXPECT_EQ(
        Check(R"({"CpuPeakCollector":{"scanDuration":1,"scanPeriod":2,"maxUsage":80.0}})").second,
        kPeriodTooLong);
    EXPECT_EQ(
        Check(R"({"CpuPeakCollector":{"scanDuration":2,"scanPeriod":2,"maxUsage":80.0}})").second,
        kWords[3].second.first);
    EXPECT_EQ(Check(R"({"CpuPeakCollector":{"scanDuration":2,"scanPeriod":2,"maxUsage":80.0,
                  "collectionDuration":1}})")
                  .second,
              kWords[3].second.second);
    EXPECT_EQ(Check(R"({"CpuPeakCollector":{"scanDuration":2,"scanPeriod":2,"maxUsage":80.0,
                  "collectionDuration":1.0}})")
                  .second,
              kWords[4].second.first);
}

TEST(CpuPeakSettingsTest, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold("CpuPeakCollector", CpuPeakCollectorKeys(), Config(),
                         CheckCpuPeakSettings);
}

}  // namespace
}  // namespace zarn
