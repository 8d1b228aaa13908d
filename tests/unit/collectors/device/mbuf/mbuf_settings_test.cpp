#include "collectors/device/mbuf/mbuf_settings.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"

namespace zarn {
namespace {

struct Refused {
    const char* text;
    const char* words;
};

class MbufSettingsRefused : public testing::TestWithParam<Refused> {};

// In the order of the tests: what stands behind a fault does not matter.
TEST_P(MbufSettingsRefused, PrintTheirLineAndStoreNothing) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson(GetParam().text, config));
    MbufSettings settings{7, 9};
    bool good = true;
    const test::Captured captured =
        test::Capture([&] { good = ReadMbufSettings(config, settings); });
    EXPECT_FALSE(good);
    EXPECT_EQ(captured.err, GetParam().words);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(settings.count, 7U);
    EXPECT_EQ(settings.interval, 9U);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, MbufSettingsRefused,
    testing::Values(Refused{R"({})", "[MbufCollector] Failed to find MbufCollector!\n"},
                    Refused{R"({"MbufCollector":{}})",
                            "[MbufCollector] Failed to find count parameter!\n"},
                    Refused{R"({"MbufCollector":{"interval":"1"}})",
                            "[MbufCollector] Failed to find count parameter!\n"},
                    Refused{R"({"MbufCollector":{"count":-1}})",
                            "[MbufCollector] Illegal count type! Should be integer type!\n"},
                    Refused{R"({"MbufCollector":{"count":1.0,"interval":1}})",
                            "[MbufCollector] Illegal count type! Should be integer type!\n"},
                    Refused{R"({"MbufCollector":{"count":4294967296,"interval":1}})",
                            "[MbufCollector] Illegal count type! Should be integer type!\n"},
                    Refused{R"({"MbufCollector":{"count":1}})",
                            "[MbufCollector] Failed to find interval parameter!\n"},
                    Refused{R"({"MbufCollector":{"count":1,"interval":"1"}})",
                            "[MbufCollector] Illegal interval type! Should be integer type!\n"},
                    Refused{R"({"MbufCollector":{"count":1,"interval":null}})",
                            "[MbufCollector] Illegal interval type! Should be integer type!\n"}));

TEST(MbufSettingsTest, ThereAreNoLimits) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson(R"({"MbufCollector":{"interval":0,"count":4294967295}})", config));
    MbufSettings settings;
    EXPECT_TRUE(ReadMbufSettings(config, settings));
    EXPECT_EQ(settings.count, 4294967295U);
    EXPECT_EQ(settings.interval, 0U);
}

TEST(MbufSettingsDeathTest, ASectionThatIsNoObjectEndsTheProcess) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson(R"({"MbufCollector":[1]})", config));
    MbufSettings settings;
    EXPECT_DEATH((void)ReadMbufSettings(config, settings), "JSON assertion");
}

TEST(MbufSettingsTest, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold("MbufCollector", MbufCollectorKeys(),
                         R"({"MbufCollector":{"count":3,"interval":2}})",
                         [](const JsonDocument& config) {
                             MbufSettings settings;
                             return ReadMbufSettings(config, settings);
                         });
}

}  // namespace
}  // namespace zarn
