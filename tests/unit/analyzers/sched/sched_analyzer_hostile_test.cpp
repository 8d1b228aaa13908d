#include <gmock/gmock.h>

#include "analyzers/sched/sched_analyzer.h"
#include "tests/unit/analyzers/sched/sched_analyzer_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kTimehistResult =
    "json/soc_schedAna_global_timehist_ana_1_20230101120000000.data";
constexpr const char* kFailed = "[SchedAnalyzer] Failed to analyze global latency raw data!\n";

// The row of a history; the columns behind the time as they stand.
std::string Row(const std::string& time, const std::string& columns) {
    return "  " + time + " " + columns + "\n";
}

class SchedAnalyzerHostileTest : public SchedAnalyzerTest {
protected:
    // Runs the job "global" on these raw files; what it printed on the error stream.
    std::string ErrorsOf(const Raw& raw, const std::string& threshold = "1000.0") {
        WriteRaw("sched_global", raw);
        return Run(R"("global")", threshold).err;
    }

    // The same for the history alone: without the lines about the report that is missing.
    std::string HistoryErrors(const std::string& rows, const std::string& threshold = "1000.0") {
        const std::string errors = ErrorsOf({"", "", Timehist(rows), ""}, threshold);
        const std::size_t behind = errors.find(kFailed);
        EXPECT_NE(behind, std::string::npos);
        return errors.substr(behind + std::string(kFailed).size());
    }
};

TEST_F(SchedAnalyzerHostileTest, ATaskThatPerfDoesNotKnowEndsTheStep) {
    const std::string errors = ErrorsOf({LatencyReport(LatencyLine("sh:9", "1.000", "4.5")),
                                         LatencyReport(LatencyLine("a:8", "1.000", "4.5")),
                                         Timehist(Row("1", "[0001] sh[9] 1 2 3")), ""});
    EXPECT_TRUE(result);
    EXPECT_EQ(
        errors,
        "[SchedAnalyzer] Failed to run perf sched latency --pids | grep processName command: "
        "perf sched latency -i " +
            RawPath("sched_global_record_1_20230101120000000.perf") + " --pids | grep sh:9 >> " +
            AnalysisPath("schedAna_global_latency_analyzer_sh:9_20230101120000000.log") +
            "\n[SchedAnalyzer] Failed to generate global latency analyzer raw data!\n" + kFailed);
    EXPECT_TRUE(tree.Has(kTimehistResult));
}

TEST_F(SchedAnalyzerHostileTest, AThreadWithoutAHistoryIsToldAndLeftOut) {
    const std::string gone = LatencyLine("sh:9", "1.000", "4.5");
    const std::string errors = ErrorsOf({LatencyReport(LatencyLine("sh:(2)", "1.000", "4.5")),
                                         LatencyReport(gone + LatencyLine("sh:8", "1.000", "5.5")),
                                         Timehist(Row("1", "[0001] sh[8] 1 2 3")), ""});
    EXPECT_EQ(
        errors,
        "[SchedAnalyzer] Cannot run cat timehist.log | grep processName | grep processTid: "
        "cat " +
            RawPath("sched_global_timehist_1_20230101120000000.log") + " | grep sh | grep 9 >> " +
            AnalysisPath("schedAna_global_timehist_process_tid_sh:9_20230101120000000.log") +
            "\n[SchedAnalyzer] Cannot generate processTid timehist rawData file in global "
            "with tempLine : " +
            gone + "[SchedAnalyzer] Failed to generate global processTid timehist raw data!\n" +
            kFailed);
    EXPECT_THAT(tree.NamesIn("json"),
                ElementsAre("soc_schedAna_global_latency_ana_1_20230101120000000.data",
                            "soc_schedAna_global_timehist_ana_1_20230101120000000.data",
                            "soc_schedAna_global_timehist_process_tid_sh:8_20230101120000000.log."
                            "data"));
}

// What a name of a task holds is a pattern at most, never a command.
TEST_F(SchedAnalyzerHostileTest, NamesNeverBecomeCommands) {
    for (const std::string& name : {std::string("$(touch pwned)"), std::string("-e x"),
                                    std::string("a'; touch pwned; '"), std::string("`touch p`")}) {
        const std::string report = LatencyReport(LatencyLine(name + ":7", "1.000", "4.5"));
        shell.commands.clear();
        const std::string errors =
            ErrorsOf({report, report, Timehist(Row("1", "[0001] " + name + "[7] 1 2 3")), ""});
        EXPECT_EQ(errors, "") << name;
        EXPECT_EQ(shell.commands.size(), 2U);
    }
    EXPECT_FALSE(tree.Has("pwned"));
    EXPECT_FALSE(tree.Has("p"));
}

TEST_F(SchedAnalyzerHostileTest, RowsThatAreNoneAreToldOnce) {
    const std::string words =
        "[SchedAnalyzer] Error occurs when translate string to double for runTime in comparison "
        "rule: ";
    EXPECT_EQ(HistoryErrors("\n" + Row("1", "[0001] a[1] 1 2") + Row("2", "[0001] b[2] 1 2 nan") +
                            Row("3", "[0001] c[3] 1 2 x") + Row("4", "[0001] d[4] 1 2 0.5")),
              words + "the line has too few columns\n" + words +
                  "stod\n"
                  // Without a number they cannot be held to the threshold either.
                  "[SchedAnalyzer] Error occurs in IsGenerateAnalyzerLog: stod\n"
                  "[SchedAnalyzer] Failed to generate timehist analyzer log based on b[2] at 2 !\n"
                  "[SchedAnalyzer] Error occurs in IsGenerateAnalyzerLog: stod\n"
                  "[SchedAnalyzer] Failed to generate timehist analyzer log based on c[3] at 3 "
                  "!\n");
    const std::string document = tree.Read(kTimehistResult);
    EXPECT_LT(document.find("d[4]"), document.find("b[2]"));
    EXPECT_LT(document.find("b[2]"), document.find("c[3]"));
    EXPECT_THAT(document, Not(HasSubstr("a[1]")));
}

TEST_F(SchedAnalyzerHostileTest, AShortCpuColumnIsAnyCoreOrTold) {
    EXPECT_THAT(HistoryErrors(Row("1", "[0 a[1] 1 2 9"), "1.0"),
                HasSubstr("[SchedAnalyzer] Failed to run perf sched script command: perf"));
    EXPECT_THAT(shell.commands.back(), HasSubstr(" | grep 1 -B 200 | grep '' >> "));
    EXPECT_THAT(HistoryErrors(Row("1", "[ a[1] 1 2 9"), "1.0"),
                HasSubstr("[SchedAnalyzer] Error occurs in IsGenerateAnalyzerLog: basic_string"));
}

TEST_F(SchedAnalyzerHostileTest, ATimeIsNoPath) {
    WriteRaw("sched_global",
             {"", "", Timehist(Row("../../1", "[../] a[1] 1 2 9")), "1 ../../1 ../\n"});
    (void)Run(R"("global")", "1.0");
    EXPECT_THAT(tree.NamesIn("raw_data/schedAna"),
                ElementsAre("soc_schedAna_global_timehist_script_grep_.._.._1_grep_._]_1_"
                            "20230101120000000.log"));
}

TEST_F(SchedAnalyzerHostileTest, AnyBytesAreReadToTheEnd) {
    std::string idle;
    for (int i = 0; i < 100000; ++i) {
        idle += Row(std::to_string(i), "[0001] <idle> 1 2 9");
    }
    EXPECT_EQ(HistoryErrors(idle), "");
    EXPECT_THAT(tree.Read(kTimehistResult), HasSubstr(R"("content":[]})"));
    const std::string binary("\0\1\xff\r\n [0001]\t\0 x", 15);
    (void)HistoryErrors(
        binary + "\n" + std::string(1 << 20, ' ') + "\n" +
        Row("1", "[0001] " + std::string(1 << 20, 'n') + "[1] 1 2 " + std::string(400, '9')));
    EXPECT_TRUE(result);
    EXPECT_THAT(ErrorsOf({std::string(1, '\0'), "", "", ""}),
                HasSubstr("tokens length should not be equal to 0.\n"));
}

TEST_F(SchedAnalyzerHostileTest, WhatIsAnalysedAgainDoubles) {
    const std::string report = LatencyReport(LatencyLine("sh:9", "1.000", "4.5"));
    const Raw raw = {report, report, Timehist(Row("1", "[0001] sh[9] 1 2 3")), ""};
    EXPECT_EQ(ErrorsOf(raw), "");
    const std::string once = tree.Read(kTimehistResult);
    EXPECT_EQ(ErrorsOf(raw), "");
    EXPECT_EQ(tree.Read(kTimehistResult), once + once);
    EXPECT_EQ(tree.Read("raw_data/schedAna/schedAna_global_timehist_process_tid_sh:9_"
                        "20230101120000000.log"),
              Row("1", "[0001] sh[9] 1 2 3") + Row("1", "[0001] sh[9] 1 2 3") +
                  // The threads that are found double too.
                  Row("1", "[0001] sh[9] 1 2 3"));
}

TEST_F(SchedAnalyzerHostileTest, AProcessRowWithoutATidHasNoThreadLog) {
    WriteRaw("sched_process_planner_42",
             {"", "", Timehist(Row("x", "[0001] <idle> 1 2 3") + Row("2", "[0001] a b 1 y")), ""});
    const Captured captured = Run(R"("process")", "1000.0");
    EXPECT_THAT(
        captured.err,
        HasSubstr("[SchedAnalyzer] Error occurs when translate string to double for runTime "
                  "in comparison rule: stod\n"
                  "[SchedAnalyzer] Error occurs in CreateProcessTimehistSchedDelayJson: "
                  "stod\n"));
    EXPECT_THAT(shell.commands, IsEmpty());
    EXPECT_EQ(tree.NamesIn("json").size(), 2U);
}

}  // namespace
}  // namespace zarn::test
