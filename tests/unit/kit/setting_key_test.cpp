#include "kit/setting_key.h"

#include <gtest/gtest.h>

#include "tests/support/captured_streams.h"

namespace zarn {
namespace {

using Outside = SettingKey::Outside;

const SettingKeys& Keys() {
    static const SettingKeys keys = {
        SettingKey::Required("list", JsonType::Array)
            .Of(JsonType::String)
            .Words({"a", "b"}, Outside::Refused),
        SettingKey::Required("count", JsonType::Unsigned).Within(1, 20, Outside::Adjusted),
        SettingKey::Optional("extra", JsonType::Bool, "false"),
        SettingKey::Required("extra.deep", JsonType::Bool),
    };
    return keys;
}

TEST(SettingKeyTest, TellsWhatThePageSays) {
    EXPECT_EQ(Keys()[0].TypeText(), "array of strings");
    EXPECT_EQ(Keys()[0].LimitsText(), "\"a\", \"b\"; may be empty");
    EXPECT_EQ(Keys()[0].Fallback(), "required");
    EXPECT_EQ(Keys()[1].TypeText(), "unsigned integer");
    EXPECT_EQ(Keys()[1].LimitsText(), "1 to 20");
    EXPECT_EQ(Keys()[2].Fallback(), "false");
    EXPECT_EQ(Keys()[2].LimitsText(), "");
    const SettingKey key = SettingKey::Required("x", JsonType::Array)
                               .Of(JsonType::Floating)
                               .NotEmpty()
                               .Limits("odd ones")
                               .Unit("ms")
                               .Means("what it means");
    EXPECT_EQ(key.TypeText(), "array of numbers with a point or an exponent");
    EXPECT_EQ(key.LimitsText(), "odd ones");
    EXPECT_EQ(key.UnitText(), "ms");
    EXPECT_EQ(key.Meaning(), "what it means");
    EXPECT_EQ(SettingKey::Required("x", JsonType::Array).NotEmpty().LimitsText(), "not empty");
}

// What opening the section "s" of `text` prints; "opened" if it can be.
std::string Open(std::string_view text, const char* behind = nullptr) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config));
    const JsonValue* section = nullptr;
    const test::Captured captured = test::Capture([&] {
        section = OpenSection(config, "s", Keys(), {"missing", "type", behind});
    });
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(section != nullptr, captured.err.empty());
    return section != nullptr ? "opened" : captured.err;
}

TEST(OpenSectionTest, WantsAllKeysBeforeTheirTypes) {
    EXPECT_EQ(Open(R"({"s":{"list":[],"count":1}})"), "opened");
    EXPECT_EQ(Open(R"({"s":{"list":[],"count":1,"extra":"of any type"}})"), "opened");
    EXPECT_EQ(Open(R"({})"), "missing\n");
    EXPECT_EQ(Open(R"({"s":{"count":1}})"), "missing\n");
    EXPECT_EQ(Open(R"({"s":{"list":1}})"), "missing\n");
    EXPECT_EQ(Open(R"({"s":{"list":1,"count":1}})"), "type\n");
    EXPECT_EQ(Open(R"({"s":{"list":[],"count":-1}})", "behind"), "type\nbehind\n");
    EXPECT_EQ(Open(R"({"s":{}})", "behind"), "missing\nbehind\n");
}

TEST(OpenSectionDeathTest, ASectionThatIsNoObjectEndsTheProcess) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson(R"({"s":[]})", config));
    EXPECT_DEATH((void)OpenSection(config, "s", Keys(), {"missing", "type"}), "JSON assertion");
}

}  // namespace
}  // namespace zarn
