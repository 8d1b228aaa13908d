#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "formats/ai_core.h"
#include "formats/aicpu.h"
#include "formats/imgp.h"
#include "formats/mbuf.h"
#include "tests/unit/report/shown.h"

namespace zarn::report {
namespace {

using test::DocumentLine;
using test::kFrom;
using test::kTime;
using test::RunTree;
using test::Shown;
using testing::ElementsAre;

// Of each point of a line: file and number of the line that it comes from, and the beginning of the
// figure in that line's text.
std::vector<std::string> SourcesOf(const Shown& shown, const JsonValue& line) {
    std::vector<std::string> sources;
    for (const JsonValue& source : line["srcs"].GetArray()) {
        const rapidjson::SizeType file = source[0].GetUint();
        const std::string number = std::to_string(source[1].GetUint());
        const std::string key = std::to_string(file) + ":" + number;
        const JsonValue& lines = shown.Data()["lines"];
        const std::string text = lines.HasMember(key) ? lines[key].GetString() : "";
        const std::size_t figure = std::min(text.find("aicore\":\"") + 9, text.size());
        sources.push_back(std::string(shown.Data()["files"][file]["path"].GetString()) + ":" +
                          number + " " + text.substr(figure, 4));
    }
    return sources;
}

TEST(AiCorePageTest, MakesOneChartOfAllFiles) {
    const RunTree tree;
    // The later sample's file comes first by name.
    tree.Write(RunTree::NameOf(ai_core_files::kUsageDocuments, "1"),
               DocumentLine(kAiCoreObjectId, "20260101000001000",
                            R"([{"aicore":"20.000000 -1 -2 40.000000 "}])"));
    tree.Write(RunTree::NameOf(ai_core_files::kUsageDocuments, "2"),
               DocumentLine(kAiCoreObjectId, kTime, R"([{"aicore":"30.500000 1 2 3 "}])"));
    const Shown shown(tree);
    EXPECT_THAT(shown.Lines("aicore", "How busy the AI cores are", kFrom),
                ElementsAre("average: 0=30.5 1000=20", "core 0: 0=1 1000=none",
                            "core 1: 0=2 1000=none", "core 2: 0=3 1000=40"));
    const JsonValue& line = shown.Block("aicore", "How busy the AI cores are")["series"][0];
    EXPECT_FALSE(line.HasMember("src"));
    EXPECT_THAT(SourcesOf(shown, line),
                ElementsAre("json/soc_ai_resource_usage_info_1_2.data:1 30.5",
                            "json/soc_ai_resource_usage_info_1_1.data:1 20.0"));
}

TEST(AiCorePageTest, TakesTheOneSampleOfAFile) {
    const RunTree tree;
    const std::string sample =
        DocumentLine(kAiCoreObjectId, kTime, R"([{"aicore":"1 2"}])") +
        DocumentLine(kAiCoreObjectId, "20260101000001000", R"([{"aicore":"3 4"}])");
    tree.Write(RunTree::NameOf(ai_core_files::kUsageDocuments, "1"), sample);
    const Shown shown(tree);
    EXPECT_THAT(shown.Lines("aicore", "How busy the AI cores are", kFrom),
                ElementsAre("average: 0=1", "core 0: 0=2"));
    EXPECT_THAT(shown.Troubles(), ElementsAre("json/soc_ai_resource_usage_info_1_1.data: it holds "
                                              "more than one sample"));
}

TEST(AicpuPageTest, ShowsTheComplexAndItsProcesses) {
    const RunTree tree;
    tree.Write(RunTree::NameOf(aicpu_files::kSocAnalysis),
               DocumentLine("soc_aicpu_ana", kTime,
                            R"({"collect_time":["20260101000000000","20260101000001000"],)"
                            R"("soc_max_use":"9","soc_publish_events":["5","7"],)"
                            R"("soc_wakeup_ave_time":["30","x"],)"
                            R"("soc_aicpu":[{"cpu":"1","max_use":"4"},{"cpu":"2"}],)"
                            R"("topN_abnormal_thread_proc":[{"pid:thread_name":"7:planner_0",)"
                            R"("times":57}]})"));
    tree.Write(RunTree::NameOf(aicpu_files::kRecord),
               DocumentLine("soc_aicpu_info", kTime,
                            R"({"process_info":[{"name":"planner",)"
                            R"("collect_time":["20260101000002000"]}]})"));
    tree.Write(aicpu_files::ProcessAnalysisPath("", "planner", kTime),
               DocumentLine("soc_aicpu_ana", kTime,
                            R"({"name":"planner","priority":"5","publish_events":["3"],)"
                            R"("soc_proc_info":{"thread_proc":{"num":57,"start_time":["1"]},)"
                            R"("wakeup_proc":{"num":0,"start_time":[]}},)"
                            R"("thread_proc_threshold":"3000"})"));
    const Shown shown(tree);
    EXPECT_THAT(shown.Lines("aicpu", "The complex: events since the driver was loaded", kFrom),
                ElementsAre("soc_publish_events: 0=5 1000=7"));
    EXPECT_THAT(shown.Lines("aicpu", "The complex: times of events", kFrom),
                ElementsAre("soc_wakeup_ave_time: 0=30 1000=none"));
    EXPECT_THAT(shown.Rows("aicpu", "The complex: soc_aicpu"),
                ElementsAre("1|4", "2|[not-in-file]"));
    EXPECT_THAT(shown.Rows("aicpu", "The complex: values"), ElementsAre("soc_max_use|9"));
    EXPECT_THAT(shown.Lines("aicpu", "Process planner: events since the driver was loaded", kFrom),
                ElementsAre("publish_events: 2000=3"));
    EXPECT_THAT(shown.Rows("aicpu", "Process planner: events over their thresholds"),
                ElementsAre("thread_proc|57|3000", "wakeup_proc|0|[not-in-file]"));
    EXPECT_THAT(shown.Rows("summary", "What was found"),
                ElementsAre("run1|AI CPUs, Process planner: events over the threshold of "
                            "thread_proc|57|events|[not-in-file]",
                            "run1|AI CPUs, most abnormal events (thread_proc): 7:planner_0|57|"
                            "events|[not-in-file]"));
}

TEST(ImagePageTest, ShowsRatesAndSlices) {
    const RunTree tree;
    tree.Write(RunTree::NameOf(imgp_files::kUtilization),
               DocumentLine(kImgpObjectId, kTime, R"({"deviceId":0,"vpcRate":53,"vencRate":-1})"));
    tree.Write(RunTree::NameOf(imgp_files::kGlobalTable),
               "Channel,InWidth,\n0,1280,\n1,,\nCore,Utilization(%),\n0,54.3,\n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows("image", "How busy the engines are"),
                ElementsAre("device 0|53|[not-a-number]|[not-in-file]"));
    EXPECT_THAT(shown.Rows("image", "Profile of the device, slice 1"),
                ElementsAre("0|1280", "1|[not-in-file]"));
    EXPECT_THAT(shown.Rows("image", "Profile of the device, slice 2"), ElementsAre("0|54.3"));
}

TEST(HeldBufferPageTest, ShowsWhoHeldThem) {
    const RunTree tree;
    const std::string buffer =
        R"({"id":"0x1 7","allocName":"camera","useName":"planner","useTime":10381,)"
        R"("group":"dm,","pool":"p","blockSize":16384,"blockNum":512})";
    tree.Write(RunTree::NameOf(mbuf_files::kTimeouts),
               DocumentLine("mbuf_timeout_info", kTime, "[" + buffer + "," + buffer + "]"));
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows("buffers", "Buffers held too long, by who held them"),
                ElementsAre("planner|2"));
    EXPECT_THAT(shown.Rows("buffers", "Buffers that were held too long"),
                testing::Contains("2026-01-01 00:00:00.000|0x1 7|camera|planner|10381|dm,|p|16384|"
                                  "512"));
}

// An empty text is as little of a value as none.
TEST(HeldBufferPageTest, SaysWhyACellIsEmpty) {
    const RunTree tree;
    tree.Write(RunTree::NameOf(mbuf_files::kTimeouts),
               DocumentLine("mbuf_timeout_info", kTime, R"([{"id":"","useName":"planner"}])"));
    EXPECT_THAT(Shown(tree).Rows("buffers", "Buffers that were held too long"),
                ElementsAre("2026-01-01 00:00:00.000|[not-in-file]|[not-in-file]|planner|"
                            "[not-in-file]|[not-in-file]|[not-in-file]|[not-in-file]|"
                            "[not-in-file]"));
}

TEST(HeldBufferPageTest, SaysThatNoneWasFound) {
    const RunTree tree;
    tree.Write(RunTree::NameOf(mbuf_files::kTimeouts),
               DocumentLine("mbuf_timeout_info", kTime, "[]"));
    const Shown shown(tree);
    EXPECT_THAT(shown.Titles("buffers"), ElementsAre("Buffers that were held too long"));
    EXPECT_EQ(
        std::string(shown.Block("buffers", "Buffers that were held too long")["note"].GetString())
            .rfind("None was found. ", 0),
        0U);
}

}  // namespace
}  // namespace zarn::report
