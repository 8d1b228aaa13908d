#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "formats/mem.h"
#include "tests/unit/report/shown.h"

namespace zarn::report {
namespace {

using test::DocumentLine;
using test::kFrom;
using test::RunTree;
using test::Shown;
using testing::Contains;
using testing::ElementsAre;

constexpr const char* kPage = "memory";
constexpr const char* kConfiguration =
    R"({"MemAnalyzer":{"system_field":"used","process_field":"USS"}})";

std::string SystemSample(const std::string& time, const std::string& used) {
    return DocumentLine("soc_gea_memory_info", time,
                        R"([{"memInfo":{"total":"100","used":")" + used + R"("}}])");
}

std::string Process(const std::string& pid, const std::string& uss) {
    return R"({"PID":")" + pid + R"(","RSS":"9K","USS":")" + uss +
           R"(","SP_ALLOC":"0K","COMMAND":"planner"})";
}

std::string ProcessSample(const std::string& time, const std::string& rows) {
    return DocumentLine("soc_gea_process_mem_rawdata_info", time,
                        R"([{"process":[)" + rows + "]}]");
}

TEST(MemoryPageTest, ShowsTheSystemWithThePeaksOfItsField) {
    const RunTree tree;
    tree.Write("env_info/zarn_config.json", kConfiguration);
    tree.Write(RunTree::NameOf(mem_files::kSystemSamples),
               SystemSample("20260101000000000", "50") + SystemSample("20260101000001000", "x"));
    tree.Write(RunTree::NameOf(mem_files::kSystemAnalysis),
               DocumentLine("soc_gea_memory_ana", "20260101000000000",
                            R"([{"maxMemValue":"60","minMemValue":"50","meanMemValue":"55.000000",)"
                            R"("peak":[{"timeStamp":"20260101000001000","memValue":"60"}],)"
                            R"("trought":[]}])"));
    const Shown shown(tree);
    EXPECT_THAT(shown.Lines(kPage, "Memory of the system", kFrom),
                testing::IsSupersetOf({"used: 0=50 1000=none", "free: 0=none 1000=none"}));
    EXPECT_THAT(shown.Marks(kPage, "Memory of the system", kFrom),
                ElementsAre("peak peak 60 @1000: 1"));
    EXPECT_THAT(shown.Rows(kPage, "Memory of the system, as analysed"),
                ElementsAre("used|55|60|50|1|[not-found]"));
}

TEST(MemoryPageTest, DrawsTheProcesses) {
    const RunTree tree;
    tree.Write("env_info/zarn_config.json", kConfiguration);
    tree.Write(RunTree::NameOf(mem_files::kProcessSamples),
               ProcessSample("20260101000000000", Process("7", "10K") + "," + Process("8", "5K")) +
                   ProcessSample("20260101000001000", Process("7", "20K") + ",3,{}") +
                   ProcessSample("none", ""));
    const Shown shown(tree);
    // Nobody has anything of the share pool.
    EXPECT_THAT(shown.Titles(kPage), ElementsAre("RSS of the processes", "USS of the processes"));
    EXPECT_THAT(shown.Lines(kPage, "USS of the processes", kFrom),
                ElementsAre("planner (7): 0=10 1000=20", "planner (8): 0=5"));
    EXPECT_EQ(shown.Troubles().size(), 1U);
}

TEST(MemoryPageTest, TellsOfAProcessThatGrew) {
    const RunTree tree;
    tree.Write("env_info/zarn_config.json", kConfiguration);
    tree.Write(RunTree::NameOf(mem_files::kProcessAnalysis),
               DocumentLine("soc_gea_process_ana", "20260101000000000",
                            R"([{"PID":"7","command":"planner","maxMemValue":"20",)"
                            R"("minMemValue":"10","meanMemValue":"15.000000",)"
                            R"("peak":[{"timeStamp":"20260101000001000","memValue":"20"}],)"
                            R"("trought":[{"timeStamp":"20260101000000000","memValue":"10"}]}])"));
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows(kPage, "Memory of the processes, as analysed: USS"),
                ElementsAre("planner (7)|15|20|10|1|1"));
    EXPECT_THAT(
        shown.Rows("summary", "What was found"),
        ElementsAre("run1|Memory of planner (7) USS: greatest peak|20|KB|2026-01-01 00:00:01.000",
                    "run1|Memory of planner (7) USS: least trough|10|KB|2026-01-01 00:00:00.000"));
}

TEST(MemoryPageTest, DrawsThoseThatNeedMost) {
    const RunTree tree;
    std::string rows;
    for (int pid = 1; pid <= 40; ++pid) {
        rows += (rows.empty() ? "" : ",") + Process(std::to_string(pid), std::to_string(pid) + "K");
    }
    tree.Write(RunTree::NameOf(mem_files::kProcessSamples),
               ProcessSample("20260101000000000", rows));
    const Shown shown(tree);
    const auto lines = shown.Lines(kPage, "USS of the processes", kFrom);
    ASSERT_EQ(lines.size(), 30U);
    EXPECT_EQ(lines.front(), "planner (40): 0=40");
    EXPECT_STREQ(shown.Block(kPage, "USS of the processes")["note"].GetString(),
                 "Of 40 processes those of the 30 greatest values.");
}

}  // namespace
}  // namespace zarn::report
