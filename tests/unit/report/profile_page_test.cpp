#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "formats/bench.h"
#include "formats/hot_fun.h"
#include "formats/lib.h"
#include "formats/sys_call.h"
#include "formats/topdown.h"
#include "formats/valgrind.h"
#include "tests/unit/report/shown.h"

namespace zarn::report {
namespace {

using test::DocumentLine;
using test::kTime;
using test::RunTree;
using test::Shown;
using testing::Contains;
using testing::ElementsAre;

// A node of a flame graph and all below it: "name value (child, ...)".
std::string FlameText(const JsonValue& node) {
    std::string text =
        std::string(node["name"].GetString()) + " " + std::to_string(node["value"].GetInt());
    if (node.HasMember("children")) {
        std::string children;
        for (const JsonValue& child : node["children"].GetArray()) {
            children += (children.empty() ? "" : ", ") + FlameText(child);
        }
        text += " (" + children + ")";
    }
    return text;
}

constexpr const char* kSamples =
    "frame worker 7 [000] 1.000001:     500000 cycles: \n"
    "\t    9d11 inner+0x31 (/usr/bin/frame_worker)\n"
    "\t    a0e6 outer(int, char) (/usr/bin/frame_worker)\n"
    "\n"
    "frame worker 7/9 [001] 1.000002:     500000 cycles:u: \n"
    "\t    9d12 inner+0x32 (/usr/bin/frame_worker)\n"
    "\t    a0e6 outer(int, char) (/usr/bin/frame_worker)\n"
    "\n"
    "other 8 1.000003:     500000 cycles: \n"
    "\t    1 [unknown] ([unknown])\n";

TEST(TopdownPageTest, ShowsTheTreeAndWhereItIsNarrow) {
    const RunTree tree;
    tree.Write(run_tree::kJsonDir +
                   topdown_files::DocumentName(topdown_files::kProcess, "frame_1_worker", kTime),
               DocumentLine("soc_topdown_process_info", kTime,
                            R"([{"<==":"A.B","A":"0.3207","A.B":"0.25","C":"nan"}])"));
    const Shown shown(tree);
    const JsonValue& roots = shown.Block("topdown", "Process frame_1_worker")["roots"];
    ASSERT_EQ(roots.Size(), 2U);
    EXPECT_STREQ(roots[0]["name"].GetString(), "A");
    EXPECT_EQ(roots[0]["cell"]["v"].GetDouble(), 32.07);
    EXPECT_STREQ(roots[0]["children"][0]["mark"].GetString(), "<==");
    EXPECT_EQ(test::Said(roots[1]["cell"]), "[not-a-number]");
    EXPECT_THAT(
        shown.Rows("summary", "What was found"),
        ElementsAre("run1|Topdown, Process frame_1_worker: bottleneck A.B|25|%|[not-in-file]"));
}

TEST(TopdownPageTest, DoesNotFollowNamesWithoutEnd) {
    const RunTree tree;
    std::string name = "a";
    for (int i = 0; i < 100000; ++i) {
        name += ".a";
    }
    tree.Write(run_tree::kJsonDir + topdown_files::DocumentName(topdown_files::kGlobal, "", kTime),
               DocumentLine("soc_topdown_global_info", kTime, "[{\"" + name + "\":\"1\"}]"));
    EXPECT_EQ(Shown(tree).Titles("topdown"), std::vector<std::string>{"The system"});
}

TEST(HotFunctionPageTest, ShowsRowsAndSets) {
    using namespace hot_fun_files;
    const RunTree tree;
    tree.Write(DocumentPath("", kProcess, "", kTime),
               DocumentLine(ObjectId(kProcess), kTime,
                            R"({"planner":[{"percentage":"64.15%","command":"planner",)"
                            R"("shared_object":"libc.so.6","symbol":"<b>"},{}]})"));
    tree.Write(DocumentPath("", kFunctionSet, "", kTime),
               DocumentLine(ObjectId(kFunctionSet), kTime,
                            R"({"driving":{"SET_TOTAL":"nan%","planner":"99.50%"},"odd":3})"));
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows("functions", "Functions of planner"),
                ElementsAre("64.15|planner|libc.so.6|<b>",
                            "[not-in-file]|[not-in-file]|[not-in-file]|[not-in-file]"));
    EXPECT_THAT(shown.Rows("functions", "Function set driving"),
                ElementsAre("SET_TOTAL|[not-a-number]", "planner|99.5"));
    EXPECT_THAT(shown.Rows("summary", "What was found"),
                ElementsAre("run1|Functions of planner: most in <b>|64.15|%|[not-in-file]"));
}

TEST(HotFunctionPageTest, DrawsTheStacks) {
    const RunTree tree;
    tree.Write(hot_fun_files::kRawDir +
                   hot_fun_files::RawName(hot_fun_files::ProcessTag("worker", "7"), kTime) +
                   hot_fun_files::kScriptSuffix,
               kSamples);
    const Shown shown(tree);
    EXPECT_EQ(FlameText(shown.Block("functions", "Stacks of process_worker")["root"]),
              "all 3 (frame worker 2 (outer(int, char) 2 (inner 2)), other 1 ([unknown] 1))");
}

TEST(LibraryPageTest, CountsSamplesOfTheClockByLibrary) {
    const RunTree tree;
    const std::string name = lib_files::RawName("worker", "7", kTime) + lib_files::kTextSuffix;
    tree.Write(lib_files::kRawDir + name,
               "w 7 1.0:  250000 cpu-clock:pppH: \n\t 1 f+0x1 (/lib/a.so)\n\t 2 g (/bin/w)\n\n"
               "w 7 1.1:  250000 cpu-clock:pppH: \n\t 1 f+0x1 (/lib/a.so)\n\n"
               "w 7 1.2:  250000 cpu-clock:pppH: \n\t 2 g (/bin/w)\n\n"
               "w 7 1.3:       9 cache-misses: \n\t 2 g (/bin/w)\n\n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows("libraries", "Libraries, " + name),
                ElementsAre("/lib/a.so|2", "/bin/w|1"));
    EXPECT_TRUE(
        shown.Block("libraries", "Libraries, " + name)["rows"][0]["cells"][0]["grey"].GetBool());
    EXPECT_EQ(FlameText(shown.Block("libraries", "Stacks of the clock, " + name)["root"]),
              "all 3 (g 2 (f 1), f 1)");
}

TEST(SystemCallPageTest, ShowsTheCallsOfEachProcess) {
    const RunTree tree;
    tree.Write(RunTree::NameOf(sys_call_files::kDocument),
               DocumentLine(sys_call_files::kObjectId, kTime,
                            R"x({"planner":[{"syscall-name":"read","time-percent(%)":"15.78",)x"
                            R"x("time-total(s)":"0.000235","avg-time(us)":"0",)x"
                            R"x("min-time(s)":"0.000000","max-time(s)":"0.000003",)x"
                            R"x("calls":"300","errors":"100","everyCall":[3]}],"idle":[]})x"));
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows("calls", "System calls of planner"),
                ElementsAre("read|15.78|0.000235|0|0|3e-06|300|100"));
    EXPECT_TRUE(shown.Rows("calls", "System calls of idle").empty());
    const JsonValue& columns = shown.Block("calls", "System calls of planner")["columns"];
    EXPECT_STREQ(columns[2]["name"].GetString(), "time-total");
    EXPECT_STREQ(columns[2]["unit"].GetString(), "s");
}

TEST(BenchPageTest, ShowsAllValues) {
    const RunTree tree;
    tree.Write(bench_files::kMemory.Path("", kTime),
               DocumentLine("soc_mem_throughput_info", kTime,
                            R"x({"memory set speed(GB/sec)":"26.39\n34.87"})x"));
    tree.Write(bench_files::kStatistics.Path("", kTime),
               DocumentLine("soc_cpu_stat_info", kTime,
                            R"({"global":{"contextSwitches":"1874","cycles":"<not","x":""}})"));
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows("bench", "Throughput of the memory"),
                ElementsAre("memory set speed(GB/sec)|26.39", "memory set speed(GB/sec)|34.87"));
    EXPECT_THAT(shown.Rows("bench", "Counters"),
                ElementsAre("global: contextSwitches|1874", "global: cycles|<not",
                            "global: x|[not-in-file]"));
}

TEST(HeapPageTest, ShowsTheSnapshotsInTheirOrder) {
    const RunTree tree;
    const std::string name =
        valgrind_files::ReportName(valgrind_files::kMassif, "planned_heap", kTime);
    tree.Write(valgrind_files::kMassif.rawDir + name,
               "desc: none\n#-----------\nsnapshot=0\n#-----------\ntime=0\nmem_heap_B=0\n"
               "mem_heap_extra_B=0\nmem_stacks_B=0\nheap_tree=empty\nsnapshot=1\ntime=258503\n"
               "mem_heap_B=67108864\nmem_heap_extra_B=x\nheap_tree=peak\nn1: 5 malloc\n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows("heap", "Heap over time, " + name),
                ElementsAre("snapshot 0 at 0|0|0",
                            "snapshot 1 at 258503 (peak)|6.71089e+07|[not-in-file]"));
    EXPECT_THAT(shown.Rows("summary", "What was found"),
                Contains("run1|Heap, " + name + ": peak|6.71089e+07|bytes|[not-in-file]"));
}

}  // namespace
}  // namespace zarn::report
