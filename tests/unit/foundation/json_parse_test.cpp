#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <string_view>

#include "foundation/json.h"
#include "kit/section.h"

namespace zarn {
namespace {

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
// A sanitizer's shadow would multiply the memory.
constexpr std::size_t kLevels = 1'000'000;
constexpr std::size_t kHugeSize = 20'000'000;
#else
constexpr std::size_t kLevels = 10'000'000;
constexpr std::size_t kHugeSize = 200'000'000;
#endif

bool Parses(std::string_view text) {
    JsonDocument document;
    return ParseJson(text, document);
}

TEST(ParseJson, TakesOneValueAndWhiteSpace) {
    for (const std::string_view text :
         {"null", "0", "-0.5e-3", "\"a\"", "[]", "{}", " {} ", "\r\n\t[1]\r\n\t ",
          R"({"a":[1,{"b":"c"}]})", R"("\u00e4\ud834\udd1e")", "18446744073709551616"}) {
        EXPECT_TRUE(Parses(text)) << text;
    }
}

TEST(ParseJson, RefusesWhatIsNoneOrTorn) {
    for (const std::string_view text :
         {"",          " ",           "\n",         "{",
          "[",         "\"",          "\"a",        "[1",
          "[1,",       "[1,]",        "{\"a\"",     "{\"a\":",
          "{\"a\":1",  "{\"a\":1,",   "{\"a\":1,}", "{a:1}",
          "{'a':1}",   "{1:2}",       "[1 2]",      "nul",
          "nulL",      "True",        "01",         "+1",
          "1.",        ".5",          "1e",         "0x1",
          "NaN",       "Infinity",    "1e999",      "\"\\x\"",
          "\"\\u12\"", "\"\\ud834\"", "\"a\nb\"",   "// comment\n1",
          "]",         "}",           ",",          "\xef\xbb\xbf!"}) {
        EXPECT_FALSE(Parses(text)) << text;
    }
}

TEST(ParseJson, EveryPrefixOfADocumentIsTorn) {
    const std::string text = R"({"a":[1,-2.5e3,true,null],"b":{"c":"d\u0041\n"}})";
    for (std::size_t size = 0; size < text.size(); ++size) {
        EXPECT_FALSE(Parses(std::string_view(text).substr(0, size))) << size;
    }
    EXPECT_TRUE(Parses(text));
}

TEST(ParseJson, RefusesWhatFollowsTheValue) {
    for (const std::string_view text :
         {"{}x", "{}{}", "[] []", "1 2", "{},", "null\n}", "\"a\"\""}) {
        EXPECT_FALSE(Parses(text)) << text;
    }
}

TEST(ParseJson, RefusesNulBytesAnywhereOutsideOfEscapes) {
    using namespace std::string_view_literals;
    for (const std::string_view text : {"\0"sv, "\0{}"sv, "{}\0"sv, "{}\0x"sv, "{\0}"sv, "[1\0]"sv,
                                        "\"a\0b\""sv, "1\0002"sv, "{} \0 "sv}) {
        EXPECT_FALSE(Parses(text));
    }
    JsonDocument document;
    ASSERT_TRUE(ParseJson(R"("a\u0000b")", document));
    EXPECT_EQ(document.GetStringLength(), 3U);
}

TEST(ParseJson, ReplacesWhatTheDocumentHeld) {
    JsonDocument document;
    ASSERT_TRUE(ParseJson(R"({"a":1})", document));
    EXPECT_FALSE(ParseJson("{", document));
    ASSERT_TRUE(ParseJson("[2]", document));
    EXPECT_TRUE(document.IsArray());
    EXPECT_FALSE(document.HasParseError());
}

std::string Repeat(std::string_view text, std::size_t count) {
    std::string repeated;
    repeated.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        repeated += text;
    }
    return repeated;
}

TEST(ParseJson, NestingCostsNoStack) {
    JsonDocument document;
    const std::string arrays = Repeat("[", kLevels) + Repeat("]", kLevels);
    ASSERT_TRUE(ParseJson(arrays, document));
    rapidjson::StringBuffer buffer;
    WriteJson(document, buffer);
    EXPECT_TRUE(std::string_view(buffer.GetString(), buffer.GetSize()) == arrays);
}

TEST(ParseJson, NestingOfObjectsCostsNoStack) {
    JsonDocument document;
    const std::string objects = Repeat("{\"\":", kLevels) + "1" + Repeat("}", kLevels);
    ASSERT_TRUE(ParseJson(objects, document));
    rapidjson::StringBuffer buffer;
    WriteJson(document, buffer);
    EXPECT_TRUE(std::string_view(buffer.GetString(), buffer.GetSize()) == objects);
}

TEST(ParseJson, TornNestingIsRefused) {
    EXPECT_FALSE(Parses(Repeat("[", kLevels)));
    constexpr std::size_t kFewer = kLevels / 10;
    EXPECT_FALSE(Parses(Repeat("{\"a\":", kFewer)));
    EXPECT_FALSE(Parses(Repeat("[{\"a\":[0,", kFewer)));
    EXPECT_FALSE(Parses(Repeat("[", kFewer) + Repeat("]", kFewer - 1)));
    EXPECT_FALSE(Parses(Repeat("[", kFewer) + Repeat("]", kFewer + 1)));
}

TEST(ParseJson, TakesHugeTexts) {
    JsonDocument document;
    std::string text(kHugeSize, 'a');
    text.front() = '"';
    text.back() = '"';
    ASSERT_TRUE(ParseJson(text, document));
    EXPECT_EQ(document.GetStringLength(), kHugeSize - 2);
    EXPECT_FALSE(ParseJson(std::string(kHugeSize, ' '), document));
    EXPECT_TRUE(ParseJson(std::string(kHugeSize, '\n') + "[]", document));
    EXPECT_FALSE(ParseJson(std::string(kHugeSize, '9'), document)) << "beyond any number";
    EXPECT_FALSE(ParseJson(std::string(kHugeSize, '\0'), document));
}

TEST(ParseJson, TakesManyMembers) {
    JsonDocument document;
    const std::string text = "[" + Repeat("{\"a\":\"bcdefgh\"},", kHugeSize / 100) + "0]";
    ASSERT_TRUE(ParseJson(text, document));
    EXPECT_EQ(document.Size(), kHugeSize / 100 + 1);
}

class AssertionDeathTest : public testing::TestWithParam<void (*)(const JsonDocument&)> {};

// In every build type: the library's own checks stay on.
TEST_P(AssertionDeathTest, EndsTheProcess) {
    JsonDocument document;
    ASSERT_TRUE(ParseJson(R"({"int":1,"text":"a","array":[1]})", document));
    EXPECT_EXIT(GetParam()(document), testing::KilledBySignal(SIGABRT),
                "zarn: .*rapidjson/document.h:[0-9]+: JSON assertion `.*' failed\\.\n");
}

INSTANTIATE_TEST_SUITE_P(
    Readings, AssertionDeathTest,
    testing::Values([](const JsonDocument& document) { (void)document["int"].GetBool(); },
                    [](const JsonDocument& document) { (void)document["int"].GetString(); },
                    [](const JsonDocument& document) { (void)document["text"].GetUint(); },
                    [](const JsonDocument& document) { (void)document["text"].GetArray(); },
                    [](const JsonDocument& document) { (void)document["text"].GetDouble(); },
                    [](const JsonDocument& document) { (void)document["array"].GetObject(); },
                    [](const JsonDocument& document) { (void)document["array"][1]; },
                    [](const JsonDocument& document) { (void)document["missing"].IsNull(); },
                    [](const JsonDocument& document) { (void)document["int"]["member"]; },
                    [](const JsonDocument& document) {
                        (void)FindMember(document["int"], "member");
                    }));

}  // namespace
}  // namespace zarn
