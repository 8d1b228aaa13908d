#include <gmock/gmock.h>

#include <algorithm>

#include "collectors/system/cpu_documents.h"
#include "collectors/system/cpu_samples_parser.h"
#include "foundation/zarn_utils.h"
#include "tests/unit/support/temp_dir.h"

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

// The strings of a document are views, so their end is known by their length alone.
std::string String(const JsonValue& value) {
    return {value.GetString(), value.GetStringLength()};
}

// The `cpuInfo` texts of a document, by `cpuId`.
std::map<int, std::string> CpuInfoById(const CpuSampleLists& lists, std::size_t index) {
    const JsonDocument document = BuildCpuJson(lists, kTimes, index);
    std::map<int, std::string> info;
    for (const auto& entry : document["content"]["cpu"].GetArray()) {
        info[entry["cpuId"].GetInt()] = String(entry["cpuInfo"]);
    }
    return info;
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
        EXPECT_EQ(FormatRawFile(CutUsageSamples(text, kTimes)), expected + "\n") << name;
    }
}

TEST(CapturedTop, TheGlobalLogHoldsFiveSummaryLinesASample) {
    const std::string text = Captured("top-4.0.2/many.txt");
    const CpuSamples samples = CutGlobalSamples(CutUsageSamples(text, kTimes), kTimes);
    ASSERT_EQ(samples.size(), 2U);
    for (const CpuBatch& batch : samples) {
        EXPECT_THAT(batch.lines,
                    ElementsAre(StartsWith("top - "), StartsWith("Tasks: "), StartsWith("%Cpu(s):"),
                                StartsWith("MiB Mem : "), StartsWith("MiB Swap: ")));
    }
}

TEST(CapturedTop, ANumberGluedToTheColonIsRead) {
    const std::string text = Captured("top-4.0.2/plain.txt");
    CpuSampleLists lists;
    lists.global = CutGlobalSamples(CutUsageSamples(text, kTimes), kTimes);
    EXPECT_EQ(CpuInfoById(lists, 0)[-1], "0.0 0.0 0.0 100.0 0.0 0.0 0.0 0.0");
    EXPECT_EQ(CpuInfoById(lists, 1)[-1], "97.1 2.9 0.0 0.0 0.0 0.0 0.0 0.0");
}

TEST(CapturedTop, TwoCoresOnALineAreTwoLines) {
    const std::string text = Captured("top-4.0.2/two_cores.txt");
    CpuSampleLists lists;
    lists.cores = CutCoreSamples(text, kTimes);
    ASSERT_EQ(lists.cores.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_THAT(lists.cores[i].lines,
                    ElementsAre(StartsWith("top - "), StartsWith("Tasks: "), StartsWith("Cpu0  :"),
                                StartsWith("Cpu1  :")));
        EXPECT_EQ(CpuInfoById(lists, i).size(), 2U);
    }
}

TEST(CapturedTop, TwelveCoresHaveTheirNumbersAndValues) {
    const std::string text = Captured("top-4.0.2/twelve_cores.txt");
    CpuSampleLists lists;
    lists.cores = CutCoreSamples(text, kTimes);
    ASSERT_EQ(lists.cores.size(), 3U);
    const std::map<int, std::string> info = CpuInfoById(lists, 1);
    ASSERT_EQ(info.size(), 12U);
    EXPECT_EQ(info.at(0), "0.0 0.0 0.0 100.0 0.0 0.0 0.0 0.0");
    EXPECT_EQ(info.at(3), "59.8 14.9 0.0 19.9 2.4 0.0 3.0 0.0");
    EXPECT_EQ(info.at(11), "23.3 5.8 0.0 69.8 0.0 0.0 1.2 0.0");
}

TEST(CapturedTop, TheThreadLogHoldsTheTenBusiest) {
    const std::string text = Captured("top-4.0.2/threads.txt");
    const CpuSamples samples = CutThreadSamples(text, kTimes);
    ASSERT_EQ(samples.size(), CountLines(text, "top - "));
    for (const CpuBatch& batch : samples) {
        EXPECT_EQ(batch.lines.size(), 10U);
    }
    EXPECT_EQ(
        samples[0].lines[3],
        "      8 root      20   0   14.0g   1508   1404 S  10.0   0.0   0:00.35 planner_node/1");
}

TEST(CapturedTop, ASelectedProcessIsItsLastToken) {
    const std::string text = Captured("top-4.0.2/plain.txt");
    const CpuSamples samples =
        SelectSamples(CutUsageSamples(text, kTimes), {"logger", "front", "absent"});
    ASSERT_EQ(samples.size(), 3U);
    for (const CpuBatch& batch : samples) {
        EXPECT_EQ(batch.lines.size(), 4U);  // three of one name, and "lidar front"
    }
}

TEST(CapturedPs, RowsAndTheirThreadsReachTheDocument) {
    const std::deque<std::string> passes = {Captured("ps-4.0.2/processes.txt")};
    CpuSampleLists lists;
    lists.top10 = CutTop10Samples(passes);
    lists.selectedPs = SelectPsSamples(passes, {"planner_node"});
    const std::map<std::string, std::string> threads = {
        {"6", Captured("ps-4.0.2/threads_of_6.txt")},
        {"14", Captured("ps-4.0.2/threads_of_14.txt")}};
    lists.threadInfoByPid = CutThreadInfo(threads);
    const JsonDocument document = BuildCpuJson(lists, kTimes, 0);
    const auto top10 = document["content"]["top10Procs"].GetArray();
    ASSERT_EQ(top10.Size(), 10U);
    EXPECT_EQ(String(top10[0]["procInfo"]),
              "daemon        14 20.6  0.0  92632  1624   0 daemon_node");
    EXPECT_EQ(top10[0]["top10Threads"].Size(), 10U);
    const auto selected = document["content"]["selectedProcs"].GetArray();
    ASSERT_EQ(selected.Size(), 1U);
    EXPECT_EQ(String(selected[0]["procInfo"]),
              "root           6 14.8  0.0 14690736 1508  1 planner_node");
    EXPECT_EQ(String(selected[0]["top10Threads"][1]["threadInfo"]),
              "root           8       6  6.6  0.0 14690736 1508  0 planner_node/1");
}

}  // namespace
}  // namespace zarn
