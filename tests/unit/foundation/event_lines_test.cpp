#include "foundation/event_lines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/support/captured_streams.h"

namespace zarn {
namespace {

using testing::ElementsAre;

constexpr EventLineWords kWords = {"bad json", "lacks", "wrong type"};
constexpr MemberWords kMembers = {"member lacks", "member wrong"};

struct Reading {
    std::vector<std::string> told;  // each event's time and its element
    bool good = false;
    std::string err;
};

std::string Compact(const JsonValue& value) {
    rapidjson::StringBuffer buffer;
    WriteJson(value, buffer);
    return {buffer.GetString(), buffer.GetSize()};
}

Reading Read(std::string_view text) {
    Reading reading;
    reading.err =
        test::Capture([&] {
            reading.good =
                ReadEventLines(text, kWords, {"time"}, [&](const auto& event, const auto& element) {
                    reading.told.push_back(std::string(TextOf(event["time"])) + Compact(element));
                    return !element.IsNull();
                });
        }).err;
    return reading;
}

TEST(EventLines, EveryElementOfEveryLineIsTold) {
    const Reading reading = Read(
        "{\"time\":\"a\",\"content\":[1,{\"x\":2}]}\n"
        "{\"content\":[],\"time\":\"b\"}\r\n"
        "  {\"content\":[3],\"time\":\"c\",\"content\":[4]}");
    EXPECT_TRUE(reading.good);
    EXPECT_EQ(reading.err, "");
    EXPECT_THAT(reading.told, ElementsAre("a1", "a{\"x\":2}", "c3"));
}

TEST(EventLines, NoLineIsGood) {
    EXPECT_TRUE(Read("").good);
}

TEST(EventLines, TheFirstLineThatCannotBeReadEndsTheReading) {
    struct Row {
        std::string line;
        const char* words;
    };
    const std::string good = "{\"time\":\"a\",\"content\":[1]}\n";
    const Row rows[] = {
        {"\n", "bad json\n"},
        {"{\"time\":\"b\",\"content\":[2]", "bad json\n"},
        {good.substr(0, good.size() - 1) + "x\n", "bad json\n"},
        {std::string("{\"time\":\"b\",\"content\":[2]}\0\n", 28), "bad json\n"},
        {std::string(1U << 20U, '['), "bad json\n"},
        {"[1]\n", "lacks\n"},
        {"7\n", "lacks\n"},
        {"{\"time\":\"b\"}\n", "lacks\n"},
        {"{\"content\":[]}\n", "lacks\n"},
        {"{\"time\":\"b\",\"content\":{}}\n", "wrong type\n"},
        {"{\"time\":5,\"content\":[]}\n", "wrong type\n"},
        {"{\"time\":\"b\",\"content\":[null]}\n", ""},
    };
    for (const Row& row : rows) {
        std::string text = good;
        text.append(row.line).append(good);
        const Reading reading = Read(text);
        EXPECT_FALSE(reading.good) << row.line.substr(0, 80);
        EXPECT_EQ(reading.err, row.words) << row.line.substr(0, 80);
        EXPECT_EQ(reading.told.front(), "a1");
        EXPECT_EQ(reading.told.back() == "a1", row.words[0] != '\0');
    }
}

TEST(EventLines, ALineMayBeHugeOrDeep) {
    const std::string deep = std::string(1000000, '[') + std::string(1000000, ']');
    const std::string text(16U << 20U, 'x');
    EXPECT_TRUE(Read("{\"time\":\"a\",\"content\":" + deep + "}").good);
    EXPECT_TRUE(Read("{\"time\":\"" + text + "\",\"content\":[\"" + text + "\"]}\n").good);
}

// The members a, b and c of an object, "-" for one that is missing.
std::string Found(MemberFinder& finder, const char* text) {
    JsonDocument object;
    EXPECT_TRUE(ParseJson(text, object)) << text;
    finder.Enter(object);
    std::string found;
    for (std::size_t i = 0; i < finder.Names().size(); ++i) {
        const JsonValue* member = finder.Find(i);
        found += member == nullptr ? "-" : Compact(*member);
    }
    return found;
}

TEST(MemberFinderTest, FindsTheFirstMemberOfANameWhateverTheShape) {
    MemberFinder finder({"a", "b", "c"});
    EXPECT_EQ(Found(finder, R"({"c":3,"a":1,"b":2})"), "123");
    EXPECT_EQ(Found(finder, R"({"c":6,"a":4,"b":5})"), "456");
    EXPECT_EQ(Found(finder, R"({"a":1,"b":2,"c":3})"), "123");
    EXPECT_EQ(Found(finder, R"({"a":1,"a":9,"c":3})"), "1-3");
    EXPECT_EQ(Found(finder, R"({"a":1,"a":8,"b":2,"c":3})"), "123");
    EXPECT_EQ(Found(finder, R"({})"), "---");
    EXPECT_EQ(Found(finder, R"([1,2])"), "---");
    EXPECT_EQ(Found(finder, R"("a")"), "---");
    EXPECT_EQ(Found(finder, R"({"x":0,"a":1})"), "1--");
    EXPECT_EQ(Found(finder, R"({"a\u0000":0,"b":1})"), "-1-");
}

TEST(MemberFinderTest, ANewFinderFindsNothing) {
    MemberFinder finder({"a"});
    EXPECT_EQ(Found(finder, "{}"), "-");
}

TEST(TakeTextsTest, PresenceIsTestedBeforeTypes) {
    MemberFinder finder({"a", "b"});
    std::vector<std::string_view> texts;
    JsonDocument object;
    const auto take = [&](const char* text) {
        EXPECT_TRUE(ParseJson(text, object));
        bool good = false;
        const std::string err =
            test::Capture([&] { good = TakeTexts(finder, object, kMembers, texts); }).err;
        return (good ? "good " : "bad ") + err;
    };
    EXPECT_EQ(take(R"({"a":"x","b":"y\u0000z"})"), "good ");
    EXPECT_THAT(texts, ElementsAre("x", std::string_view("y\0z", 3)));
    EXPECT_EQ(take(R"({"a":1})"), "bad member lacks\n");
    EXPECT_EQ(take(R"({"b":"y"})"), "bad member lacks\n");
    EXPECT_EQ(take(R"({"a":1,"b":"y"})"), "bad member wrong\n");
    EXPECT_EQ(take(R"({"a":"x","b":null})"), "bad member wrong\n");
    EXPECT_EQ(take("7"), "bad member lacks\n");
}

}  // namespace
}  // namespace zarn
