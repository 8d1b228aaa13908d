#include "analyzers/mem/mem_sample_reader.h"

#include <gmock/gmock.h>

#include "foundation/files.h"
#include "tests/support/captured_streams.h"
#include "tests/support/mem_lines.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;

std::vector<std::string> ValuesOf(const MemFrames& frames,
                                  const std::vector<std::string>& moments) {
    std::vector<std::string> values;
    for (std::size_t i = 0; i < frames.Size(); ++i) {
        values.push_back(moments.at(frames.Moment(i)) + "=" + std::string(frames.Value(i)));
    }
    return values;
}

// What was read of the system and what was printed.
struct SystemReading {
    MemSystemSamples samples;
    bool good = false;
    std::string err;
};

SystemReading ReadSystem(const std::string& text, const std::string& field = "used") {
    SystemReading reading;
    LineCursor cursor(text);
    reading.err = Capture([&] {
                      reading.good =
                          ReadMemSystemSamples(LinesOf(cursor), "FILE", field, reading.samples);
                  }).err;
    return reading;
}

TEST(MemSystemSamplesTest, TheFigureOfEachLineIsTaken) {
    const std::string text = MemSystemLines("used", {"1", "22"});
    const SystemReading reading = ReadSystem(text);
    EXPECT_TRUE(reading.good);
    EXPECT_THAT(ValuesOf(reading.samples.frames, reading.samples.moments),
                ElementsAre(MemMoment(0) + "=1", MemMoment(1) + "=22"));
    EXPECT_EQ(reading.err, "");
}

// A document with white space, escapes, members of other types and more elements.
TEST(MemSystemSamplesTest, AnyJsonIsRead) {
    const std::string text =
        R"( {"content": [{"memInfo": {"x": 1, "used": "\u0037", "used": "8"}}, 5],)"
        R"( "happenTime": "a"})"
        "\r\n" +
        MemSystemLine("b", {{"used", "9"}});
    const SystemReading reading = ReadSystem(text);
    EXPECT_THAT(ValuesOf(reading.samples.frames, reading.samples.moments),
                ElementsAre("a=7", "b=9"));
}

TEST(MemSystemSamplesTest, ALineThatLacksSomethingEndsTheReading) {
    const std::string good = MemSystemLine("a");
    const std::string lacks =
        "[MemAnalyzer]: Error occurs system json: Invalid MemAnalyzer josn file\n";
    for (const std::string& line :
         {std::string("[]"), std::string("5"), std::string("{}"), With(good, "content", "contents"),
          With(good, "happenTime", "happentime"), With(good, "memInfo", "meminfo"),
          With(good, "\"used\"", "\"Used\""), std::string(R"({"happenTime":"a","content":[]})"),
          std::string(R"({"happenTime":"a","content":{"memInfo":{"used":"1"}}})"),
          std::string(R"({"happenTime":"a","content":[{"memInfo":["used"]}]})")}) {
        const SystemReading reading = ReadSystem(good + line + "\n" + good);
        EXPECT_FALSE(reading.good);
        EXPECT_EQ(reading.err, lacks) << line;
        EXPECT_EQ(reading.samples.frames.Size(), 1U);
    }
}

TEST(MemSystemSamplesTest, ALineThatIsNoJsonNamesTheFile) {
    for (const std::string& line : {std::string(), std::string("{"), std::string("x"),
                                    MemSystemLine("a").substr(0, 90), std::string(9, '\0')}) {
        EXPECT_EQ(ReadSystem(line + "\n").err, "[MemAnalyzer]: Illegal json file: \"FILE\"\n");
    }
}

TEST(MemSystemSamplesDeathTest, AValueOrMomentThatIsNoTextEndsTheProcess) {
    const std::string good = MemSystemLine("a", {{"used", "7"}});
    for (const std::string& line :
         {With(good, "\"used\":\"7\"", "\"used\":7"), With(good, "\"a\"", "null")}) {
        LineCursor cursor(line);
        MemSystemSamples samples;
        EXPECT_DEATH((void)ReadMemSystemSamples(LinesOf(cursor), "FILE", "used", samples),
                     "JSON assertion");
    }
}

struct ProcessReading {
    MemProcessSamples samples;
    bool good = false;
    std::string err;
};

ProcessReading ReadProcesses(const std::string& text, const MemProcessQuery& query) {
    ProcessReading reading;
    LineCursor cursor(text);
    reading.err = Capture([&] {
                      reading.good =
                          ReadMemProcessSamples(LinesOf(cursor), "FILE", query, reading.samples);
                  }).err;
    return reading;
}

// Pid and command together name a process: a pid may come back as another program.
TEST(MemProcessSamplesTest, FramesAreGatheredByPidAndCommand) {
    const ProcessReading reading = ReadProcesses(
        MemProcessLine("a", {{"9", "x", {{"RSS", "1K"}}}, {"10", "y", {{"RSS", "2"}}}}) +
            MemProcessLine("b", {}) +
            MemProcessLine("c", {{"9", "z", {{"RSS", "K"}}}, {"9", "x", {{"RSS", "3KK"}}}}),
        {"RSS", {}});
    EXPECT_TRUE(reading.good);
    std::vector<std::string> told;
    for (const auto& [process, frames] : reading.samples.processes) {
        std::string line = process.pid + " " + process.command;
        for (const std::string& value : ValuesOf(frames, reading.samples.moments)) {
            line += " " + value;
        }
        told.push_back(line);
    }
    EXPECT_THAT(told, ElementsAre("10 y a=2", "9 x a=1 c=3K", "9 z c="));
}

TEST(MemProcessSamplesTest, NamesMayHoldAnyBytes) {
    const std::string name = "a \\\"b\\\\c\\n\xff";
    const ProcessReading reading = ReadProcesses(
        MemProcessLine("a", {{"9", name, {}}, {"8", "other", {}}}), {"RSS", {"a \"b\\c\n\xff"}});
    EXPECT_TRUE(reading.good);
    EXPECT_EQ(reading.samples.processes.size(), 1U);
    EXPECT_EQ(reading.samples.processes.begin()->first.pid, "9");
}

TEST(MemProcessSamplesTest, ARowThatLacksSomethingEndsTheReading) {
    const std::string good = MemProcessLine("a", {{"9", "x", {}}});
    const std::string lacks = "[MemAnalyzer]: Error occurs: Invalid MemAnalyzer josn file\n";
    for (const std::string& line :
         {With(good, "PID", "Pid"), With(good, "COMMAND", "Command"), With(good, "RSS", "Rss"),
          With(good, "\"process\"", "\"processes\""), With(good, "content", "contents"),
          With(good, "happenTime", "time"),
          std::string(R"({"happenTime":"a","content":[{"process":{}}]})"
                      "\n"),
          std::string(R"({"happenTime":"a","content":[{"process":[7]}]})"
                      "\n")}) {
        const ProcessReading reading = ReadProcesses(good + line, {"RSS", {}});
        EXPECT_FALSE(reading.good);
        EXPECT_EQ(reading.err, lacks) << line;
        EXPECT_EQ(reading.samples.processes.begin()->second.Size(), 1U);
        // What is not wanted must be whole, too.
        EXPECT_EQ(ReadProcesses(line, {"RSS", {"other"}}).err, lacks) << line;
    }
    EXPECT_EQ(ReadProcesses(good + "{", {"RSS", {}}).err,
              "[MemAnalyzer]: Illegal json file: \"FILE\"\n");
}

TEST(MemProcessSamplesDeathTest, ACellThatIsNoTextEndsTheProcess) {
    const std::string good = MemProcessLine("a", {{"9", "x", {}}});
    for (const std::string& line : {With(good, "\"9\"", "9"), With(good, "\"x\"", "null"),
                                    With(good, "\"RSS\":\"8K\"", "\"RSS\":8")}) {
        LineCursor cursor(line);
        MemProcessSamples samples;
        EXPECT_DEATH((void)ReadMemProcessSamples(LinesOf(cursor), "FILE", {"RSS", {}}, samples),
                     "JSON assertion")
            << line;
    }
}

}  // namespace
}  // namespace zarn::test
