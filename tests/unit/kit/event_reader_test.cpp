#include "kit/event_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "foundation/files.h"
#include "kit/internal/event_line.h"
#include "tests/support/amounts.h"
#include "tests/support/captured_streams.h"

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

// The members of an object as "name=text", "name=-" for one that is no text.
std::string Shown(const EventObject& object) {
    std::string shown;
    for (const EventMember& member : object) {
        shown.append(" ").append(member.name).append("=");
        shown.append(member.isText ? member.text : "-");
    }
    return shown;
}

Reading Read(const std::string& text) {
    Reading reading;
    LineCursor cursor(text);
    reading.err =
        test::Capture([&] {
            reading.good = ReadEventLines(
                LinesOf(cursor), kWords, {"time"}, [&](const auto& event, const auto& element) {
                    reading.told.push_back(std::string(event.Find("time")->text) + Shown(element));
                    return element.Find("stop") == nullptr;
                });
        }).err;
    return reading;
}

// Everything that is to be had from a line.
std::string Whole(EventLine& line, const std::string& text) {
    if (!line.Read(text)) {
        return "no JSON";
    }
    std::string whole = Shown(line.Document());
    whole += " kind " + std::to_string(static_cast<int>(line.ContentKind()));
    if (line.ContentKind() == EventLine::Content::Array) {
        EXPECT_TRUE(line.TellElements([&whole](const auto& /*event*/, const auto& element) {
            whole += " |" + Shown(element);
            return true;
        }));
    }
    return whole;
}

// The same of a line with a nest.
std::string WholeNest(EventLine& line, const std::string& text) {
    if (!line.Read(text)) {
        return "no JSON";
    }
    std::string whole = Shown(line.Document());
    whole += line.HasNest() ? " nest" : " none";
    if (line.HasNest()) {
        EXPECT_TRUE(line.TellElements([&whole](const auto& /*event*/, const auto& element) {
            whole += " |" + Shown(element);
            return true;
        }));
    }
    return whole;
}

TEST(EventLines, EveryElementOfEveryLineIsTold) {
    const Reading reading = Read(
        "{\"time\":\"a\",\"content\":[{\"x\":\"2\",\"y\":\"\"},{\"x\":\"3\"}]}\n"
        "{\"time\":\"b\",\"content\":[1,{\"x\":2,\"y\":\"\\u0041\"}]}\n"
        "{\"content\":[],\"time\":\"c\"}\r\n"
        "  {\"content\":[3],\"time\":\"d\",\"content\":[4,5]}");
    EXPECT_TRUE(reading.good);
    EXPECT_EQ(reading.err, "");
    EXPECT_THAT(reading.told, ElementsAre("a x=2 y=", "a x=3", "b", "b x=- y=A", "d"));
}

TEST(EventLines, NoLineIsGood) {
    EXPECT_TRUE(Read("").good);
}

TEST(EventLines, TheFirstLineThatCannotBeReadEndsTheReading) {
    struct Row {
        std::string line;
        const char* words;
    };
    const std::string good = "{\"time\":\"a\",\"content\":[{\"x\":\"1\"}]}\n";
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
        {"{\"time\":\"b\",\"content\":[{\"stop\":1}]}\n", ""},
    };
    for (const Row& row : rows) {
        std::string text = good;
        text.append(row.line).append(good);
        const Reading reading = Read(text);
        EXPECT_FALSE(reading.good) << row.line.substr(0, 80);
        EXPECT_EQ(reading.err, row.words) << row.line.substr(0, 80);
        EXPECT_EQ(reading.told.front(), "a x=1");
        EXPECT_EQ(reading.told.back() == "a x=1", row.words[0] != '\0');
    }
}

TEST(EventLines, ALineMayBeHugeOrDeep) {
    const std::string deep =
        std::string(test::Amount(1000000), '[') + std::string(test::Amount(1000000), ']');
    const std::string text(test::Amount(16U << 20U), 'x');
    EXPECT_TRUE(Read("{\"time\":\"a\",\"content\":" + deep + "}").good);
    EXPECT_TRUE(Read("{\"time\":\"" + text + "\",\"content\":[\"" + text + "\"]}\n").good);
}

// Changes a few bytes of a line that is no shorter than 40.
void Change(std::mt19937_64& random, std::string& line) {
    const std::string bytes = "\"\\{}[]:,x0 \t\x01\x7f\xc3";
    for (std::uint64_t changes = random() % 3; changes > 0; --changes) {
        const std::size_t at = random() % line.size();
        const char byte = bytes[random() % bytes.size()];
        switch (random() % 4) {
            case 0:
                line[at] = byte;
                break;
            case 1:
                line.insert(at, 1, byte);
                break;
            case 2:
                line.erase(at, 1 + random() % 3);
                break;
            default:
                line.insert(at, line.substr(random() % line.size(), random() % 40));
        }
    }
}

// Whatever a mission's line is turned into, the plain reading and the JSON library agree: a blank
// in front of a line sends it to the library.
TEST(EventLines, PlainLinesAreReadAsTheLibraryReadsThem) {
    const std::string line =
        R"({"objectId":"o","time":"20230101120000001","content":[{"cpu":"1.5","total":"2"},)"
        R"({"cpu":"3"}],"last":"\u00e9"})";
    std::mt19937_64 random(20240101);
    for (int i = 0; i < 20000; ++i) {
        std::string changed = random() % 2 == 0 ? line : line.substr(0, line.size() - 16) + "}";
        Change(random, changed);
        EventLine plain;
        EventLine library;
        ASSERT_EQ(Whole(plain, changed), Whole(library, " " + changed)) << changed;
    }
}

TEST(EventNests, PlainLinesAreReadAsTheLibraryReadsThem) {
    const std::string list =
        R"({"time":"20230101120000001","content":[{"in":[{"a":"1","b":"2K"},{"a":"3"}]}]})";
    const std::string single =
        R"({"content":[{"in":{"a":"1","b":"2","c":"x"}}],"time":"20230101120000001"})";
    std::mt19937_64 random(20240102);
    for (int i = 0; i < 20000; ++i) {
        const bool isArray = random() % 2 == 0;
        std::string changed = random() % 2 == 0 ? list : single;
        Change(random, changed);
        const EventNest nest = {"in", isArray};
        EventLine plain(nest);
        EventLine library(nest);
        ASSERT_EQ(WholeNest(plain, changed), WholeNest(library, " " + changed)) << changed;
    }
}

// What is told of the lines of a text, and the words of the one that cannot be read.
Reading ReadNests(const std::string& text, const EventNest& nest) {
    Reading reading;
    LineCursor cursor(text);
    const EventNestWords words = {"bad json", "lacks", "no nest"};
    const OnEventNest take = [&](const EventObject& event, const TellObjects& objects) {
        const auto time = RequireText(*event.Find("time"));
        return objects([&](const EventObject& object) {
            reading.told.push_back(std::string(time) + Shown(object));
            return object.Find("stop") == nullptr;
        });
    };
    reading.err = test::Capture([&] {
                      reading.good = ReadEventNests(LinesOf(cursor), nest, words, {"time"}, take);
                  }).err;
    return reading;
}

constexpr EventNest kListNest = {"in", true};
constexpr EventNest kObjectNest = {"in", false};

TEST(EventNests, EveryObjectOfEveryLineIsTold) {
    const Reading list = ReadNests(
        "{\"time\":\"a\",\"content\":[{\"in\":[{\"x\":\"1\"},{\"x\":\"2\"}]}]}\n"
        "{\"time\":\"b\",\"content\":[{\"in\":[]}]}\n"
        "{\"content\":[{\"y\":1,\"in\":[{},3,{\"x\":4}]},{\"in\":[{\"z\":\"5\"}]}],\"time\":\"c\"}",
        kListNest);
    EXPECT_TRUE(list.good);
    EXPECT_THAT(list.told, ElementsAre("a x=1", "a x=2", "c", "c", "c x=-"));
    const Reading single = ReadNests(
        "{\"time\":\"a\",\"content\":[{\"in\":{\"x\":\"1\",\"y\":\"\"}}]}\n"
        "{\"time\":\"b\",\"content\":[{\"in\":{}}]}\n",
        kObjectNest);
    EXPECT_TRUE(single.good);
    EXPECT_THAT(single.told, ElementsAre("a x=1 y=", "b"));
}

TEST(EventNests, TheFirstLineThatCannotBeReadEndsTheReading) {
    struct Row {
        const char* line;
        const char* words;
    };
    const Row rows[] = {
        {"", "bad json\n"},
        {R"({"time":"b","content":[{"in":[]}])", "bad json\n"},
        {"[1]", "lacks\n"},
        {R"({"time":"b"})", "lacks\n"},
        {R"({"content":[{"in":[]}]})", "lacks\n"},
        {R"({"time":"b","content":{"in":[]}})", "no nest\n"},
        {R"({"time":"b","content":[]})", "no nest\n"},
        {R"({"time":"b","content":[[]]})", "no nest\n"},
        {R"({"time":"b","content":[{},{"in":[]}]})", "no nest\n"},
        {R"({"time":"b","content":[{"in":{"x":"1"}}]})", "no nest\n"},
        {R"({"time":"b","content":[{"in":[{"stop":"1"}]}]})", ""},
    };
    const std::string good = R"({"time":"a","content":[{"in":[{"x":"1"}]}]})"
                             "\n";
    for (const Row& row : rows) {
        const Reading reading = ReadNests(good + row.line + "\n" + good, kListNest);
        EXPECT_FALSE(reading.good) << row.line;
        EXPECT_EQ(reading.err, row.words) << row.line;
        EXPECT_EQ(reading.told.size(), row.words[0] == '\0' ? 2U : 1U) << row.line;
    }
    EXPECT_EQ(ReadNests(good, kObjectNest).err, "no nest\n");
}

TEST(EventNests, ALineMayBeLong) {
    std::string text = R"({"time":"a","content":[{"in":[{"x":"0"})";
    for (int i = 1; i < 200000; ++i) {
        text += R"(,{"x":"0"})";
    }
    const Reading reading = ReadNests(text + "]}]}\n", kListNest);
    EXPECT_TRUE(reading.good);
    EXPECT_EQ(reading.told.size(), 200000U);
}

TEST(RequireTextDeathTest, AMemberThatIsNoTextEndsTheProcess) {
    EXPECT_EQ(RequireText({"x", "text", true}), "text");
    EXPECT_DEATH((void)RequireText({"x", "", false}), "JSON assertion `member.isText' failed");
}

// The members a, b and c of an object, "-" for one that is missing, "?" for one that is no text.
std::string Found(MemberFinder& finder, const std::string& object) {
    EventLine line;
    EXPECT_TRUE(line.Read(object)) << object;
    finder.Enter(line.Document());
    std::string found;
    for (std::size_t i = 0; i < finder.Names().size(); ++i) {
        const EventMember* member = finder.Find(i);
        found += member == nullptr ? "-" : member->isText ? std::string(member->text) : "?";
    }
    return found;
}

TEST(MemberFinderTest, FindsTheFirstMemberOfANameWhateverTheShape) {
    MemberFinder finder({"a", "b", "c"});
    EXPECT_EQ(Found(finder, R"({"c":"3","a":"1","b":"2"})"), "123");
    EXPECT_EQ(Found(finder, R"({"c":"6","a":"4","b":"5"})"), "456");
    EXPECT_EQ(Found(finder, R"({"a":"1","b":2,"c":"3"})"), "1?3");
    EXPECT_EQ(Found(finder, R"({"a":"1","a":"9","c":"3"})"), "1-3");
    EXPECT_EQ(Found(finder, R"({"a":"1","a":"8","b":"2","c":"3"})"), "123");
    EXPECT_EQ(Found(finder, R"({})"), "---");
    EXPECT_EQ(Found(finder, R"([1,2])"), "---");
    EXPECT_EQ(Found(finder, R"("a")"), "---");
    EXPECT_EQ(Found(finder, R"({"x":"0","a":"1"})"), "1--");
    EXPECT_EQ(Found(finder, R"({"a\u0000":"0","b":"1"})"), "-1-");
}

TEST(MemberFinderTest, ANewFinderFindsNothing) {
    MemberFinder finder({"a"});
    EXPECT_EQ(Found(finder, "{}"), "-");
}

TEST(TakeTextsTest, PresenceIsTestedBeforeTypes) {
    MemberFinder finder({"a", "b"});
    std::vector<std::string_view> texts;
    EventLine line;
    const auto take = [&](const char* text) {
        EXPECT_TRUE(line.Read(text));
        bool good = false;
        const std::string err =
            test::Capture([&] { good = TakeTexts(finder, line.Document(), kMembers, texts); }).err;
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

TEST(EventDocumentTest, TakesLinesOfAnyShapeOneAfterTheOther) {
    EventDocument document;
    ASSERT_TRUE(document.Read(R"({"content":{"a":[1,{"b":"\u0041"}]}})"));
    EXPECT_STREQ(document.Get()["content"]["a"][1]["b"].GetString(), "A");
    EXPECT_FALSE(document.Read(R"({"content":)"));
    EXPECT_FALSE(document.Read(""));
    const std::string huge(1U << 20U, 'x');
    ASSERT_TRUE(document.Read("[\"" + huge + "\"]"));
    EXPECT_EQ(document.Get()[0].GetString(), huge);
    ASSERT_TRUE(document.Read("7 "));
    EXPECT_EQ(document.Get().GetInt(), 7);
}

TEST(ReadEventTextsTest, TellsTheTextsOfEachElementUpToTheFirstFault) {
    std::vector<std::string> told;
    const auto read = [&told](const std::string& text) {
        told.clear();
        LineCursor lines(text);
        bool good = false;
        const auto take = [&told](const std::vector<std::string_view>& texts) {
            told.push_back(std::string(texts[0]) + "," + std::string(texts[1]));
            return texts[0] != "stop";
        };
        const std::string err =
            test::Capture([&] {
                good = ReadEventTexts(LinesOf(lines), {kWords, kMembers}, {"b", "a"}, take);
            }).err;
        return (good ? "good " : "bad ") + err;
    };
    EXPECT_EQ(read("{\"content\":[{\"a\":\"1\",\"b\":\"2\"}]}\n"
                   "{\"content\":[{\"b\":\"3\",\"x\":0,\"a\":\"4\"}]}"),
              "good ");
    EXPECT_THAT(told, ElementsAre("2,1", "3,4"));
    EXPECT_EQ(read(R"({"content":[{"a":"1","b":"2"},{"a":"1"}]})"), "bad member lacks\n");
    EXPECT_THAT(told, ElementsAre("2,1"));
    EXPECT_EQ(read(R"({"content":[{"a":1,"b":"2"}]})"), "bad member wrong\n");
    EXPECT_EQ(read("{}"), "bad lacks\n");
    EXPECT_EQ(read(R"({"content":[{"a":"1","b":"stop"},{"a":"5","b":"6"}]})"), "bad ");
    EXPECT_THAT(told, ElementsAre("stop,1"));
}

TEST(ReadEventNumbersTest, TellsTheNumbersBeforeTheFirstFault) {
    constexpr EventNumberWords kNumberWords = {
        kWords, [](const std::string& name) { return "lacks " + name; },
        [](const std::string& name) { return "wrong " + name; },
        [](const std::string& name) { return "bad " + name; }};
    std::string told;
    const auto read = [&](const std::string& text) {
        told.clear();
        LineCursor lines(text);
        bool good = false;
        const auto take = [&told](std::string_view time, const std::vector<double>& numbers) {
            told.append(time).append(":");
            for (const double number : numbers) {
                told.append(" ").append(std::to_string(static_cast<int>(number)));
            }
            told.append(";");
        };
        const std::string err =
            test::Capture([&] {
                good = ReadEventNumbers(LinesOf(lines), kNumberWords, {}, {"a", "b"}, take);
            }).err;
        return (good ? "good " : "bad ") + err;
    };
    EXPECT_EQ(read("{\"happenTime\":\"t\",\"content\":[{\"b\":\"2\",\"a\":\"1\"}]}\n"
                   "{\"content\":[{\"a\":\"3\",\"b\":\"4\"}],\"happenTime\":5}"),
              "good ");
    EXPECT_EQ(told, "t: 1 2;: 3 4;");
    EXPECT_EQ(read(R"({"content":[{"a":"1"}]})"), "bad lacks b\n");
    EXPECT_EQ(told, ": 1;");
    EXPECT_EQ(read(R"({"content":[{"a":1,"b":"2"}]})"), "bad wrong a\n");
    EXPECT_EQ(read(R"({"content":[{"a":"1","b":"x"}]})"), "bad [Utils] Invalid argument\nbad b\n");
    EXPECT_EQ(read("{}"), "bad lacks\n");
}

}  // namespace
}  // namespace zarn
