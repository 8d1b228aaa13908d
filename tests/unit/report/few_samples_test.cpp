#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "formats/cpu_peak.h"
#include "formats/hot_fun.h"
#include "formats/lib.h"
#include "formats/sched.h"
#include "formats/sched_analysis.h"
#include "formats/sys_call.h"
#include "report/samples.h"
#include "tests/unit/report/shown.h"

namespace zarn::report {
namespace {

using test::DocumentLine;
using test::kTime;
using test::RunTree;
using test::Shown;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Repeated(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

Cell NumberOne() {
    Cell cell;
    cell.value = 1.0;
    return cell;
}

TEST(FewSamplesTest, GreysFiguresOfFewerSamplesThanTheBound) {
    FewSamples few;
    BlockHead head{"", "Told.", {}};
    Cell enough = NumberOne();
    few.Mark(30, enough);
    Cell unknown = NumberOne();
    few.Mark(std::nullopt, unknown);
    few.TellIn(head);
    EXPECT_FALSE(enough.grey || unknown.grey);
    EXPECT_EQ(head.note, "Told.");
    Cell few29 = NumberOne();
    few.Mark(29, few29);
    Cell one = NumberOne();
    few.Mark(1, one);
    few.TellIn(head);
    EXPECT_TRUE(few29.grey && one.grey);
    EXPECT_EQ(head.note, "Told. Grey: of 1 to 29 samples, too few to trust.");
}

TEST(FewSamplesTest, TakesNoFigureOfNoSampleForANumber) {
    FewSamples few;
    BlockHead head;
    Cell none = NumberOne();
    few.Mark(0, none);
    Cell empty = {Reason::NotANumber, {}, "", false};
    few.Mark(1, empty);
    few.TellIn(head);
    EXPECT_EQ(std::get<Reason>(none.value), Reason::TooFewSamples);
    EXPECT_EQ(std::get<Reason>(empty.value), Reason::NotANumber);
    EXPECT_FALSE(none.grey || empty.grey);
    EXPECT_EQ(head.note, "");
}

TEST(FewSamplesTest, OfTheScheduler) {
    const RunTree tree;
    const auto row = [](const std::string& task, const std::string& switches) {
        return "{\"" + task + R"(":"planner:7","runtime":"2 ms","switches":")" + switches +
               R"(","averageDelay":"0.1 ms","maximumDelay":"0.2 ms","maximumDelayAt":"3 s"})";
    };
    tree.Write(sched_files::GlobalLatencyPath("", 1, kTime),
               DocumentLine("soc_sched_global_latency_info", kTime,
                            "[" + row("Task", "29") + "," + row("Task", "30") + "]"));
    const sched_files::AnalysisTarget target{"global", "global", kTime};
    tree.Write(
        run_tree::kJsonDir + sched_files::AnalysisName(target, sched_files::kLatencyAnalysis),
        DocumentLine("soc_sched_ana", kTime,
                     R"([{"target":"topN_process","avgDelay":"1 ms","maxDelay":"2 ms",)"
                     R"("sortedList":[)" +
                         row("task", "3") + "]}]"));
    const Shown shown(tree);
    const std::string report = "Latency report, soc_sched_global_latency_info_1";
    EXPECT_THAT(shown.Greys("scheduler", report), ElementsAre("planner:7 4"));
    EXPECT_EQ(shown.Note("scheduler", report),
              "Moments count seconds from when the machine came up. Grey: of 29 samples, too few "
              "to trust.");
    EXPECT_THAT(shown.Greys("scheduler", "Worst rows of the latency report, global_latency_ana_1"),
                ElementsAre("planner:7 4"));
    EXPECT_THAT(shown.Greys("scheduler", "Delays by task, global_latency_ana_1"),
                ElementsAre("topN_process 2"));
}

// A sample of `perf script`.
constexpr const char* kSample = "w 7 [000] 1.0: 10 cpu-clock: \n\t 1 f+0x1 (/bin/w)\n\n";

std::string FunctionRow() {
    return R"({"percentage":"64.15%","command":"w","shared_object":"w","symbol":"f"})";
}

void WriteRecording(const RunTree& tree, const std::string& tag, int samples) {
    tree.Write(
        hot_fun_files::kRawDir + hot_fun_files::RawName(tag, kTime) + hot_fun_files::kScriptSuffix,
        Repeated(kSample, samples));
}

TEST(FewSamplesTest, OfHotFunctions) {
    using namespace hot_fun_files;
    const RunTree tree;
    tree.Write(DocumentPath("", kProcess, "", kTime),
               DocumentLine(ObjectId(kProcess), kTime,
                            R"({"few":[)" + FunctionRow() + R"(],"enough":[)" + FunctionRow() +
                                R"(],"unknown":[)" + FunctionRow() + "]}"));
    tree.Write(DocumentPath("", kCore, "_core1", kTime),
               DocumentLine(ObjectId(kCore), kTime, "[" + FunctionRow() + "]"));
    tree.Write(DocumentPath("", kFunctionSet, "", kTime),
               DocumentLine(ObjectId(kFunctionSet), kTime, R"({"set":{"SET_TOTAL":"0.50%"}})"));
    WriteRecording(tree, ProcessTag("few", "7"), 29);
    WriteRecording(tree, ProcessTag("enough", "8"), 30);
    WriteRecording(tree, CoreTag("1"), 3);
    WriteRecording(tree, kFunctionSet, 4);
    const Shown shown(tree);
    EXPECT_THAT(shown.Greys("functions", "Functions of few"), ElementsAre("64.15 1"));
    EXPECT_THAT(shown.Greys("functions", "Functions of enough"), IsEmpty());
    EXPECT_THAT(shown.Greys("functions", "Functions of unknown"), IsEmpty());
    EXPECT_THAT(shown.Greys("functions", "Functions, soc_hot_function_core_info_core1_1_" +
                                             std::string(kTime) + ".data"),
                ElementsAre("64.15 1"));
    EXPECT_THAT(shown.Greys("functions", "Function set set"), ElementsAre("SET_TOTAL 1"));
    EXPECT_EQ(shown.Note("functions", "Function set set"),
              "Percent of the cycles of all samples. Grey: of 4 samples, too few to trust.");
    // Which of two recordings the document is of nobody tells.
    WriteRecording(tree, ProcessTag("few", "9"), 29);
    EXPECT_THAT(Shown(tree).Greys("functions", "Functions of few"), IsEmpty());
}

TEST(FewSamplesTest, OfSystemCalls) {
    const RunTree tree;
    const auto call = [](const char* name, const char* calls) {
        return std::string(R"x({"syscall-name":")x") + name +
               R"x(","time-percent(%)":"50","time-total(s)":"1","avg-time(us)":"2",)x" +
               R"x("min-time(s)":"1","max-time(s)":"3","calls":")x" + calls +
               R"x(","errors":"0"})x";
    };
    tree.Write(
        RunTree::NameOf(sys_call_files::kDocument),
        DocumentLine(sys_call_files::kObjectId, kTime,
                     R"({"planner":[)" + call("read", "29") + "," + call("write", "1e300") + "]}"));
    const Shown shown(tree);
    EXPECT_THAT(shown.Greys("calls", "System calls of planner"), ElementsAre("read 4"));
}

TEST(FewSamplesTest, OfRecordingsOfTheClock) {
    const RunTree tree;
    const std::string library = lib_files::RawName("w", "7", kTime) + lib_files::kTextSuffix;
    const std::string peak =
        cpu_peak_files::kRawDir + cpu_peak_files::RawName("1", kTime) + cpu_peak_files::kTextSuffix;
    tree.Write(lib_files::kRawDir + library, Repeated(kSample, 29));
    tree.Write(peak, Repeated(kSample, 29));
    const Shown few(tree);
    EXPECT_THAT(few.Greys("libraries", "Libraries, " + library), ElementsAre("/bin/w 1"));
    EXPECT_EQ(few.Note("libraries", "Libraries, " + library),
              "Samples of the clock by where the innermost function is. Grey: of 29 samples, too "
              "few to trust.");
    EXPECT_THAT(few.Greys("peaks", "Peaks of load"), ElementsAre("2026-01-01 00:00:00.000 5"));
    tree.Write(lib_files::kRawDir + library, Repeated(kSample, 30));
    tree.Write(peak, Repeated(kSample, 30));
    const Shown enough(tree);
    EXPECT_THAT(enough.Greys("libraries", "Libraries, " + library), IsEmpty());
    EXPECT_THAT(enough.Greys("peaks", "Peaks of load"), IsEmpty());
}

}  // namespace
}  // namespace zarn::report
