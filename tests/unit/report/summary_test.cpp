#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/unit/report/shown.h"

namespace zarn::report {
namespace {

using test::RunTree;
using test::Shown;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kSummary = "summary";

TEST(ReportSummaryTest, TellsWhatWasRun) {
    const RunTree tree;
    tree.Write("env_info/zarn_config.json",
               R"({"ManagerParam":{"parallelCollectMode":["CpuCollector"],"collectMode":[],)"
               R"("analyzeMode":["CpuAnalyzer",3],"optimizeMode":[],"compareMode":{)"
               R"("comparatorName":["CpuComparator"],"versionMap":{"a":"/x/"}}},)"
               R"("CpuCollector":{"interval":1,"job":["global"]}})");
    tree.Write("env_info/time_cost.log",
               "[CpuCollector] cost time: 3.021s\n[Odd] cost time: xs\n"
               "[CpuPeakCollector] Cost time: 9.5s\n");
    tree.Write("env_info/qvt_version", "qvt_version=1\nsecond\n");
    tree.Write(
        "json/zarn_collector_start_end_timestamp.data",
        R"({"startCollectorTime":"20260101000000000","endCollectorTime":"20260101000005250"})"
        "\n");
    const Shown shown(tree);
    EXPECT_THAT(
        shown.Rows(kSummary, "The run"),
        ElementsAre("run1|" + tree.Path() + "|2026-01-01 00:00:00.000|2026-01-01 00:00:05.250"));
    EXPECT_THAT(shown.Rows(kSummary, "Missions"),
                ElementsAre("run1|parallelCollectMode|CpuCollector|3.021",
                            "run1|[not-in-file]|Odd|[not-a-number]",
                            "run1|[not-in-file]|CpuPeakCollector|9.5",
                            "run1|analyzeMode|CpuAnalyzer|[not-in-file]",
                            "run1|compareMode|CpuComparator|[not-in-file]"));
    EXPECT_THAT(shown.Rows(kSummary, "Configuration"), Contains("CpuCollector|job|[\"global\"]"));
    EXPECT_THAT(shown.Rows(kSummary, "Versions"),
                ElementsAre("qvt_version|qvt_version=1", "qvt_version|second"));
    const JsonValue& run = shown.Data()["runs"][0];
    EXPECT_EQ(run["to"].GetDouble() - run["from"].GetDouble(), 5250.0);
}

TEST(ReportSummaryTest, TellsWhatIsMissingAndWhy) {
    const RunTree tree;
    tree.Write("env_info/time_cost.log", "[CpuCollector] cost time: 3s\n");
    const Shown shown(tree);
    const auto missing = shown.Rows(kSummary, "What is missing, and why");
    EXPECT_THAT(missing, Contains("run1|CPU|the mission was run, and its file is not there"));
    EXPECT_THAT(missing, Contains(testing::MatchesRegex(
                             "run1\\|.*DDR, Memory, .*, Optimizer\\|the mission was not run")));
}

TEST(ReportSummaryTest, ShowsEmptyTextsAsTheyStandThere) {
    const RunTree tree;
    tree.Write("env_info/zarn_config.json", R"({"MemAnalyzer":{"system_field":""},"":3})");
    tree.Write("env_info/qvt_version", "\nsecond\n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows(kSummary, "Configuration"),
                ElementsAre("MemAnalyzer|system_field|\"\"", "[not-in-file]|[not-in-file]|3"));
    EXPECT_THAT(shown.Rows(kSummary, "Versions"), ElementsAre("qvt_version|second"));
}

TEST(ReportSummaryTest, StandsConfigurationsOfAnyKind) {
    for (const char* text : {"", "[]", "{", "{\"ManagerParam\":[]}",
                             "{\"ManagerParam\":{\"collect"
                             "Mode\":{\"a\":1},\"compareMode\":3}}"}) {
        const RunTree tree;
        tree.Write("env_info/zarn_config.json", text);
        EXPECT_FALSE(Shown(tree).Titles(kSummary).empty()) << text;
    }
    const RunTree deep;
    deep.Write("env_info/zarn_config.json",
               "{\"a\":" + std::string(500000, '[') + std::string(500000, ']') + "}");
    EXPECT_EQ(Shown(deep).Rows(kSummary, "Configuration").size(), 1U);
    const RunTree large;
    large.Write("env_info/zarn_config.json", std::string(5000000, ' '));
    EXPECT_THAT(Shown(large).Troubles(),
                ElementsAre("env_info/zarn_config.json: it is too large to be read"));
}

TEST(ReportSummaryTest, TellsRunsApart) {
    const RunTree first;
    const RunTree second;
    first.Write("env_info/time_cost.log", "[CpuCollector] cost time: 1s\n");
    second.Write("env_info/time_cost.log", "[CpuCollector] cost time: 2s\n");
    const Shown shown(std::vector{first.Path(), second.Path()});
    EXPECT_THAT(shown.Rows(kSummary, "Missions"), ElementsAre("run1|[not-in-file]|CpuCollector|1",
                                                              "run2|[not-in-file]|CpuCollector|2"));
    EXPECT_EQ(shown.Data()["files"][1]["run"].GetInt(), 1);
}

TEST(ReportSummaryTest, NamesEveryReason) {
    const RunTree tree;
    EXPECT_EQ(Shown(tree).Data()["reasons"].MemberCount(), 8U);
    EXPECT_THAT(Shown(tree).Troubles(), IsEmpty());
}

}  // namespace
}  // namespace zarn::report
