#include "comparators/mem/mem_version_reader.h"

#include <gmock/gmock.h>

#include <string>

#include "foundation/files.h"
#include "tests/support/captured_streams.h"
#include "tests/support/mem_lines.h"

namespace zarn::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

struct SystemReading {
    MemSystemValues values;
    bool good = false;
    std::string err;
};

SystemReading ReadSystem(const std::string& text) {
    SystemReading reading;
    LineCursor cursor(text);
    reading.err =
        Capture([&] { reading.good = ReadVersionSystem(LinesOf(cursor), reading.values); }).err;
    return reading;
}

TEST(VersionSystem, EveryFieldOfEveryLineIsTaken) {
    const SystemReading reading =
        ReadSystem(MemSystemLine("a", {{"total", "10"}, {"sum", "123K"}}) +
                   MemSystemLine("b", {{"total", " 2.5e1"}, {"cache", "7"}, {"avail", "0x10"}}));
    EXPECT_TRUE(reading.good);
    EXPECT_EQ(reading.err, "");
    EXPECT_THAT(reading.values[0], ElementsAre(10, 25));
    EXPECT_THAT(reading.values[4], ElementsAre(1, 7));
    EXPECT_THAT(reading.values[5], ElementsAre(1, 16));
    EXPECT_THAT(reading.values[12], ElementsAre(123, 1));
}

// The comparator's own keys go before the collector's, document by document.
TEST(VersionSystem, OwnKeysGoFirst) {
    const std::string plain = MemSystemLine("a");
    const std::string own = With(With(plain, R"("cache":"1")", R"("buff/cache":"5")"),
                                 R"("avail":"1")", R"("available":"6")");
    const std::string both = With(plain, R"("cache":"1")", R"("cache":"1","buff/cache":"8")");
    const SystemReading reading = ReadSystem(plain + own + both);
    EXPECT_TRUE(reading.good);
    EXPECT_THAT(reading.values[4], ElementsAre(1, 5, 8));
    EXPECT_THAT(reading.values[5], ElementsAre(1, 6, 1));
}

TEST(VersionSystem, TheFirstFaultEndsTheReading) {
    const std::string good = MemSystemLine("a");
    const std::string format = "[MemComparator] Invalid format in [content].\n";
    const std::string content = "[MemComparator] Json lack of required field [content].\n";
    const std::string json = "[MemComparator] Exception occurs while parsing json file.\n";
    const auto lacks = [](const std::string& key) {
        return "[MemComparator] Data in json file lack of [" + key + "].\n";
    };
    struct Row {
        std::string line;
        std::string words;
    };
    const Row rows[] = {
        {"\n", json},
        {good.substr(0, 90) + "\n", json},
        {"[1]\n", content},
        {With(good, "content", "contents"), content},
        {"{\"content\":{}}\n", format},
        {"{\"content\":[]}\n", format},
        {"{\"content\":[1]}\n", format},
        {"{\"content\":[{\"memInfo\":[]}]}\n", format},
        {With(good, "memInfo", "meminfo"), format},
        {With(good, "\"used\"", "\"Used\""), lacks("used")},
        {With(good, "\"cache\"", "\"Cache\""), lacks("buff/cache")},
        {With(good, "\"avail\"", "\"Avail\""), lacks("available")},
        {With(good, "\"sum\"", "\"Sum\""), lacks("sum")},
        {MemSystemLine("a", {{"pss", ""}}), "[Utils] Invalid argument\n"},
        {MemSystemLine("a", {{"pss", "K"}}), "[Utils] Invalid argument\n"},
        {MemSystemLine("a", {{"pss", "1e999"}}), "[Utils] Out of range\n"},
    };
    for (const Row& row : rows) {
        const SystemReading reading = ReadSystem(good + row.line + good);
        EXPECT_FALSE(reading.good) << row.line;
        EXPECT_EQ(reading.err, row.words) << row.line;
        EXPECT_THAT(reading.values[12], ElementsAre(1));
    }
}

TEST(VersionSystemDeathTest, AValueThatIsNoTextEndsTheProcess) {
    const std::string line = With(MemSystemLine("a"), R"("used":"1")", R"("used":1)");
    LineCursor cursor(line);
    MemSystemValues values;
    EXPECT_DEATH((void)ReadVersionSystem(LinesOf(cursor), values), "JSON assertion");
}

struct ProcessReading {
    std::map<std::string, MemProcessValues, std::less<>> values;
    bool good = false;
    std::string err;
};

ProcessReading ReadProcesses(const std::string& text) {
    ProcessReading reading;
    reading.values["app"];
    reading.values["gone"];
    LineCursor cursor(text);
    reading.err =
        Capture([&] { reading.good = ReadVersionProcesses(LinesOf(cursor), reading.values); }).err;
    return reading;
}

TEST(VersionProcesses, RowsOfACommandArePooled) {
    const MemCells second = {
        {"VSS", "9K"}, {"RSS", "20K"}, {"PSS", "30"}, {"USS", "40K"}, {"SP_ALLOC", "0K"}};
    const ProcessReading reading = ReadProcesses(
        MemProcessLine("a", {{"1", "app", {}}, {"2", "app", second}}) + MemProcessLine("b", {}) +
        MemProcessLine("c",
                       {{"3", "other", {{"PSS", "no number"}}}, {"1", "app", {{"PSS", "1K"}}}}));
    EXPECT_TRUE(reading.good);
    EXPECT_EQ(reading.err, "");
    const MemProcessValues& app = reading.values.at("app");
    EXPECT_THAT(app[0], ElementsAre(8, 9, 8));
    EXPECT_THAT(app[1], ElementsAre(8, 20, 8));
    EXPECT_THAT(app[2], ElementsAre(8, 30, 1));
    EXPECT_THAT(app[3], ElementsAre(8, 40, 8));
    EXPECT_THAT(app[4], ElementsAre(8, 0, 8));
    EXPECT_THAT(reading.values.at("gone"), Each(IsEmpty()));
    EXPECT_EQ(reading.values.count("other"), 0U);
}

TEST(VersionProcesses, TheFirstFaultEndsTheReading) {
    const std::string good = MemProcessLine("a", {{"1", "app", {}}});
    const std::string required =
        "[MemComparator] Data in json file required [COMMAND] and [PID].\n";
    const std::string strings =
        "[MemComparator] [COMMAND] and [PID] in json file should be String.\n";
    const std::string list =
        "[MemComparator] Json file lack of [process], or [process] is not array.\n";
    const auto lacks = [](const std::string& field) {
        return "[MemComparator] Data in json file lack of [" + field + "], or [" + field +
               "] is not String.\n";
    };
    struct Row {
        std::string line;
        std::string words;
    };
    const Row rows[] = {
        {"{\n", "[MemComparator] Exception occurs while parsing json file.\n"},
        {With(good, "content", "contents"),
         "[MemComparator] Json lack of required field [content].\n"},
        {With(good, "process\"", "processes\""),
         "[MemComparator] Json file lack of [process], or [process] is not array.\n"},
        {"{\"content\":[{\"process\":{}}]}\n", list},
        {"{\"content\":7}\n", list},
        {"{\"content\":[{\"process\":[7]}]}\n", required},
        {With(good, "PID", "Pid"), required},
        {With(good, "COMMAND", "Command"), required},
        {With(good, R"("PID":"1")", R"("PID":1)"), strings},
        {With(good, R"("COMMAND":"app")", R"("COMMAND":null)"), strings},
        {With(good, "VSS", "Vss"), lacks("VSS")},
        {With(good, R"("SP_ALLOC":"8K")", R"("SP_ALLOC":8)"), lacks("SP_ALLOC")},
        {With(good, R"("RSS":"8K")", R"("RSS":"K")"), "[Utils] Invalid argument\n"},
    };
    for (const Row& row : rows) {
        const ProcessReading reading = ReadProcesses(good + row.line + good);
        EXPECT_FALSE(reading.good) << row.line;
        EXPECT_EQ(reading.err, row.words) << row.line;
        EXPECT_EQ(reading.values.at("app")[4].size(), 1U);
    }
}

TEST(VersionProcesses, FieldsOfOtherProcessesDoNotCount) {
    const std::string line =
        With(MemProcessLine("a", {{"1", "other", {}}}), R"("VSS":"8K")", R"("VSS":8)");
    EXPECT_TRUE(ReadProcesses(line).good);
}

}  // namespace
}  // namespace zarn::test
