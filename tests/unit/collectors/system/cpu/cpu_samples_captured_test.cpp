#include <gmock/gmock.h>

#include <algorithm>

#include "collectors/system/cpu/cpu_documents.h"
#include "collectors/system/cpu/cpu_samples_parser.h"
#include "foundation/json.h"
#include "foundation/text.h"
#include "tests/support/temp_dir.h"

// Cutting of what real tools printed; tests/data says where it comes from.
namespace zarn {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

const CpuSampleTimes kTimes("20240118120000000", 0.5);

std::string Captured(const std::string& name) {
    return test::ReadText(test::DataPath(name));
}

std::size_t CountLines(const std::string& text, const char* first) {
    std::vector<std::string> lines;
    SplitString(text, "\n", lines);
    return static_cast<std::size_t>(
        std::count_if(lines.begin(), lines.end(),
                      [first](const std::string& line) { return line.find(first) == 0; }));
}

// The document of a sample.
JsonDocument Document(const CpuDocumentSources& sources, std::size_t index) {
    EventWriter events;
    JsonDocument document;
    EXPECT_TRUE(BuildCpuJson(sources, kTimes, index, events));
    EXPECT_TRUE(ParseJson(events.Lines(), document));
    return document;
}

// The `cpuInfo` texts of a document, by `cpuId`.
std::map<int, std::string> CpuInfoById(const CpuLog& global, const CpuLog& cores,
                                       std::size_t index) {
    const std::vector<CpuRows> noRows;
    const CpuThreadRows noThreads;
    const JsonDocument document = Document({global, cores, noRows, noRows, noThreads}, index);
    std::map<int, std::string> info;
    for (const auto& entry : document["content"]["cpu"].GetArray()) {
        info[entry["cpuId"].GetInt()] = entry["cpuInfo"].GetString();
    }
    return info;
}

// The lines of a batch, its time first.
std::vector<std::string> LinesOf(const CpuLog& log, std::size_t index) {
    std::vector<std::string> lines;
    SplitString(log.Batch(index), "\n", lines);
    return lines;
}

CpuRows Rows(const std::string& name) {
    CpuRows rows;
    SplitString(Captured(name), "\n", rows);
    return rows;
}

// Feeds a captured output into a cutter.
template <typename Cutter>
void Cut(Cutter& cutter, const std::string& name) {
    cutter.Feed(Captured(name));
    cutter.Finish();
}

// The raw log is the captured text without its empty lines, the time before each head line and an
// empty line after each sample.
TEST(CapturedTop, TheRawLogKeepsEveryLineWithAToken) {
    for (const char* name : {"top-4.0.2/plain.txt", "top-4.0.2/many.txt"}) {
        const std::string text = Captured(name);
        std::string expected;
        std::size_t sample = 0;
        std::vector<std::string> lines;
        SplitString(text, "\n", lines);
        for (const std::string& line : lines) {
            if (line.find("top - ") == 0) {
                std::string time;
                ASSERT_TRUE(kTimes.At(sample, time));
                expected += (sample == 0 ? "" : "\n") + time + "\n";
                ++sample;
            }
            expected += line + "\n";
        }
        CpuUsageCutter cutter(kTimes, false, false, {});
        Cut(cutter, name);
        EXPECT_EQ(cutter.usage.Text(), expected + "\n") << name;
    }
}

TEST(CapturedTop, TheGlobalLogHoldsFiveSummaryLinesASample) {
    CpuUsageCutter cutter(kTimes, true, false, {});
    Cut(cutter, "top-4.0.2/many.txt");
    ASSERT_EQ(cutter.global.Size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_THAT(LinesOf(cutter.global, i),
                    ElementsAre(StartsWith("20240118"), StartsWith("top - "), StartsWith("Tasks: "),
                                StartsWith("%Cpu(s):"), StartsWith("MiB Mem : "),
                                StartsWith("MiB Swap: ")));
    }
}

TEST(CapturedTop, ANumberGluedToTheColonIsRead) {
    CpuUsageCutter cutter(kTimes, true, false, {});
    Cut(cutter, "top-4.0.2/plain.txt");
    EXPECT_EQ(CpuInfoById(cutter.global, {}, 0)[-1], "0.0 0.0 0.0 100.0 0.0 0.0 0.0 0.0");
    EXPECT_EQ(CpuInfoById(cutter.global, {}, 1)[-1], "97.1 2.9 0.0 0.0 0.0 0.0 0.0 0.0");
}

TEST(CapturedTop, TwoCoresOnALineAreTwoLines) {
    CpuCoreCutter cutter(kTimes);
    Cut(cutter, "top-4.0.2/two_cores.txt");
    ASSERT_EQ(cutter.cores.Size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_THAT(LinesOf(cutter.cores, i),
                    ElementsAre(StartsWith("20240118"), StartsWith("top - "), StartsWith("Tasks: "),
                                StartsWith("Cpu0  :"), StartsWith("Cpu1  :")));
        EXPECT_EQ(CpuInfoById({}, cutter.cores, i).size(), 2U);
    }
}

TEST(CapturedTop, TwelveCoresHaveTheirNumbersAndValues) {
    CpuCoreCutter cutter(kTimes);
    Cut(cutter, "top-4.0.2/twelve_cores.txt");
    ASSERT_EQ(cutter.cores.Size(), 3U);
    const std::map<int, std::string> info = CpuInfoById({}, cutter.cores, 1);
    ASSERT_EQ(info.size(), 12U);
    EXPECT_EQ(info.at(0), "0.0 0.0 0.0 100.0 0.0 0.0 0.0 0.0");
    EXPECT_EQ(info.at(3), "59.8 14.9 0.0 19.9 2.4 0.0 3.0 0.0");
    EXPECT_EQ(info.at(11), "23.3 5.8 0.0 69.8 0.0 0.0 1.2 0.0");
}

TEST(CapturedTop, TheThreadLogHoldsTheTenBusiest) {
    CpuThreadCutter cutter(kTimes);
    Cut(cutter, "top-4.0.2/threads.txt");
    ASSERT_EQ(cutter.threads.Size(), CountLines(Captured("top-4.0.2/threads.txt"), "top - "));
    for (std::size_t i = 0; i < cutter.threads.Size(); ++i) {
        EXPECT_EQ(LinesOf(cutter.threads, i).size(), 11U);
    }
    EXPECT_EQ(
        LinesOf(cutter.threads, 0)[4],
        "      8 root      20   0   14.0g   1508   1404 S  10.0   0.0   0:00.35 planner_node/1");
}

TEST(CapturedTop, ASelectedProcessIsItsLastToken) {
    CpuUsageCutter cutter(kTimes, false, true, {"logger", "front", "absent"});
    Cut(cutter, "top-4.0.2/plain.txt");
    ASSERT_EQ(cutter.selected.Size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(LinesOf(cutter.selected, i).size(), 5U);  // three of one name, and "lidar front"
    }
}

TEST(CapturedPs, RowsAndTheirThreadsReachTheDocument) {
    CpuPsCutter cutter({"planner_node"});
    cutter.TakePass(Captured("ps-4.0.2/processes.txt"));
    const CpuThreadRows threads = {{"6", Rows("ps-4.0.2/threads_of_6.txt")},
                                   {"14", Rows("ps-4.0.2/threads_of_14.txt")}};
    const CpuLog noLog;
    const JsonDocument document =
        Document({noLog, noLog, cutter.top10, cutter.selected, threads}, 0);
    const auto top10 = document["content"]["top10Procs"].GetArray();
    ASSERT_EQ(top10.Size(), 10U);
    EXPECT_STREQ(top10[0]["procInfo"].GetString(),
                 "daemon        14 20.6  0.0  92632  1624   0 daemon_node");
    EXPECT_EQ(top10[0]["top10Threads"].Size(), 10U);
    const auto selected = document["content"]["selectedProcs"].GetArray();
    ASSERT_EQ(selected.Size(), 1U);
    EXPECT_STREQ(selected[0]["procInfo"].GetString(),
                 "root           6 14.8  0.0 14690736 1508  1 planner_node");
    EXPECT_STREQ(selected[0]["top10Threads"][1]["threadInfo"].GetString(),
                 "root           8       6  6.6  0.0 14690736 1508  0 planner_node/1");
}

}  // namespace
}  // namespace zarn
