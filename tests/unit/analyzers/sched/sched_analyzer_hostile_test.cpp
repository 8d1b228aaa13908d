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
    const std::string touch = "touch " + tree.PathOf("pwned");
    for (const std::string& name :
         {"$(" + touch + ")", std::string("-e x"), "a'; " + touch + "; '", "`" + touch + "`",
          "\"q\" & " + touch + " &", "x > " + tree.PathOf("pwned"), std::string("-- a  b")}) {
        const std::string report = LatencyReport(LatencyLine(name + ":7", "1.000", "4.5"));
        shell.commands.clear();
        const std::string errors =
            ErrorsOf({report, report, Timehist(Row("1", "[0001] " + name + "[7] 1 2 3")), ""});
        EXPECT_EQ(errors, "") << name;
        EXPECT_EQ(shell.commands.size(), 2U);
    }
    for (const std::string& name : tree.Names()) {
        EXPECT_EQ(name.rfind("pwned", 0), std::string::npos) << name;
    }
}

// A name with the sign that parts columns is cut there, and what is left of the row is torn.
TEST_F(SchedAnalyzerHostileTest, ANameWithTheColumnsSignIsATornRow) {
    const std::string report = LatencyReport(LatencyLine("a|touch p:7", "1.000", "4.5") +
                                             LatencyLine("sh:9", "1.000", "4.5"));
    EXPECT_EQ(ErrorsOf({report, report, Timehist(Row("1", "[0001] sh[9] 1 2 3")), ""}),
              "[SchedAnalyzer] Error occurs in ConvertLineToTokens: the line has too few fields\n");
    EXPECT_THAT(shell.commands, testing::SizeIs(2));
}

// The system knows no file names of more than 255 bytes.
TEST_F(SchedAnalyzerHostileTest, ANameThatIsTooLongForAFileIsToldByItsCommand) {
    const std::string name(300, 'n');
    const std::string report = LatencyReport(LatencyLine(name + ":7", "1.000", "4.5"));
    const std::string errors =
        ErrorsOf({report, report, Timehist(Row("1", "[0001] " + name + "[7] 1 2 3")), ""});
    EXPECT_TRUE(result);
    // The shell's own words stand before it.
    EXPECT_THAT(errors, HasSubstr("File name too long\n[SchedAnalyzer] Failed to run perf sched "
                                  "latency --pids | grep processName command: perf sched latency "
                                  "-i "));
    EXPECT_THAT(errors,
                HasSubstr("\n[SchedAnalyzer] Failed to generate global latency analyzer raw "
                          "data!\n" +
                          std::string(kFailed)));
    EXPECT_THAT(tree.Read(kTimehistResult), HasSubstr(name + "[7]"));
}

// perf prints nothing of a torn recording, and is content with that.
TEST_F(SchedAnalyzerHostileTest, OfATornRecordingThereIsOnlyTheLineThatItHasNoRows) {
    tree.Write(
        std::string(sched_files::kRawDir) + "sched_global_latency_max_1_20230101120000000.log", "");
    tree.Write(std::string(sched_files::kRawDir) + "sched_global_timehist_1_20230101120000000.log",
               "");
    EXPECT_EQ(ErrorsOf({}),
              "[SchedAnalyzer] SchedAnalyzer get tokens AvgDelay and MaxDelay value failed, tokens "
              "length should not be equal to 0.\n"
              "[SchedAnalyzer] Failed to get avgDelay and maxDelay value!\n"
              "[SchedAnalyzer] Failed to add topN_process object to content!\n"
              "[SchedAnalyzer] Failed to create global latency analyzer output json!\n" +
                  std::string(kFailed));
    EXPECT_THAT(tree.Read(kTimehistResult), HasSubstr(R"("content":[]})"));
    EXPECT_THAT(shell.commands, IsEmpty());
}

TEST_F(SchedAnalyzerHostileTest, ReportsThatAreCutShortAreReadToTheirEnd) {
    const std::string report = "\n -\n Task\n -\n" + LatencyLine("sh:9", "1.000", "4.5");
    EXPECT_EQ(ErrorsOf({report + "  a:8 |  1.0", report,
                        Timehist(Row("1", "[0001] sh[9] 1 2 3") + "  2 [0001] a[8"), ""}),
              "[SchedAnalyzer] Error occurs in ConvertLineToTokens: the line has too few fields\n"
              "[SchedAnalyzer] Error occurs when translate string to double for runTime in "
              "comparison rule: the line has too few columns\n");
    EXPECT_THAT(tree.Read("json/soc_schedAna_global_latency_ana_1_20230101120000000.data"),
                HasSubstr(R"("target":"sh:9")"));
    EXPECT_THAT(tree.Read(kTimehistResult), HasSubstr(R"("task":"sh[9]")"));
}

TEST_F(SchedAnalyzerHostileTest, LinesMayEndAsOnAnotherSystem) {
    const std::string report =
        "\r\n -\r\n Task\r\n -\r\n  sh:9 | 1.0 ms | 2 | avg: 0.1 ms | max: "
        "2.0 ms | max at: 4.5 s\r\n -------------\r\n";
    EXPECT_EQ(ErrorsOf({report, report,
                        "a\r\nb\r\n--\r\n 1 [0001] sh[9] 1 2 3 \r\n 2 [0001] sh[9] 1 2 4\r\n", ""}),
              "");
    const std::string document = tree.Read(kTimehistResult);
    EXPECT_THAT(document, HasSubstr(R"("runTime":"3 ms")"));
    EXPECT_LT(document.find(R"("time":"2 s")"), document.find(R"("time":"1 s")"));
}

// A million idle rows take no place, and a report may have as many idle lines.
TEST_F(SchedAnalyzerHostileTest, IdleLinesTakeNoPlaceHoweverMany) {
    std::string idle;
    std::string rows;
    for (int i = 0; i < 1000000; ++i) {
        idle += "<idle>|\n";
        rows += "1 [0001] <idle> 1 2 9\n";
    }
    const std::string line = LatencyLine("sh:9", "1.000", "4.5");
    topN = "1";
    EXPECT_EQ(ErrorsOf({LatencyReport(idle + line + line), LatencyReport(line),
                        Timehist(rows + Row("1", "[0001] sh[9] 1 2 3")), ""}),
              "");
    EXPECT_THAT(tree.Read(kTimehistResult), HasSubstr(R"("content":[{"task":"sh[9]")"));
}

TEST_F(SchedAnalyzerHostileTest, LinesOfMegabytesAreLinesLikeAnyOther) {
    const std::string many(16 << 20, 'n');
    const std::string line = LatencyLine("sh:9", "1.000", "4.5");
    topN = "3";
    EXPECT_EQ(ErrorsOf({LatencyReport(many + "\n" + line), line,
                        Timehist(many + "\n" + Row("1", "[0001] " + many + "[1] 1 2 9") +
                                 Row("1", "[0001] sh[9] 1 2 3")),
                        ""}),
              "[SchedAnalyzer] Error occurs in ConvertLineToTokens: the line has too few fields\n"
              "[SchedAnalyzer] Error occurs when translate string to double for runTime in "
              "comparison rule: the line has too few columns\n");
    EXPECT_THAT(tree.Read(kTimehistResult), HasSubstr("n[1]\",\"time\":\"1 s\""));
}

// The documents are said to be full, none is left torn, and what fits is whole.
TEST_F(SchedAnalyzerHostileTest, DocumentsThatCannotBeWrittenAreToldOneByOne) {
    const std::string report = LatencyReport(LatencyLine("sh:9", "1.000", "4.5"));
    tree.MakeFull("json/soc_schedAna_global_latency_ana_1_20230101120000000.data");
    tree.MakeFull("json/soc_schedAna_global_timehist_process_tid_sh:9_20230101120000000.log.data");
    const std::string full = "[zarn_utils] Cannot open outfile, check your filePath.\n";
    EXPECT_EQ(ErrorsOf({report, report, Timehist(Row("1", "[0001] sh[9] 1 2 3")), ""}),
              full + full);
    EXPECT_TRUE(result);
    EXPECT_THAT(tree.Read(kTimehistResult), HasSubstr(R"("task":"sh[9]")"));
}

// An interrupt in any step lets the job go on to its end; the next one is not begun.
class SchedAnalyzerInterruptTest : public SchedAnalyzerTest,
                                   public testing::WithParamInterface<const char*> {};

TEST_P(SchedAnalyzerInterruptTest, FinishesTheJob) {
    const std::string report = LatencyReport(LatencyLine("sh:9", "1.000", "4.5"));
    WriteRaw("sched_global",
             {report, report, Timehist(Row("1", "[0001] sh[9] 1 2 3")), "sh [001] 1\n"});
    shell.before = [this](const std::string& command) {
        if (command.find(GetParam()) != std::string::npos) {
            stopFlag = 1;
        }
    };
    const Captured captured = Run(R"("global","core")");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[SchedAnalyzer] Failed to process [core] sched analyzer because of stopFlag!\n"
              "[SchedAnalyzer] Failed to process sched analyzer!\n");
    EXPECT_EQ(captured.out, "");
    EXPECT_THAT(tree.NamesIn("json"), testing::SizeIs(3));
    EXPECT_THAT(tree.NamesIn("raw_data/schedAna"), testing::SizeIs(3));
}

INSTANTIATE_TEST_SUITE_P(Steps, SchedAnalyzerInterruptTest,
                         testing::Values("perf sched latency", "cat ", "perf sched script"));

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

// Idle rows are ordered before they are left out.
TEST_F(SchedAnalyzerHostileTest, AnIdleRowWithoutARunTimeIsTold) {
    EXPECT_EQ(HistoryErrors(Row("1", "[0001] <idle> 1 2 x") + Row("2", "[0001] a[1] 1 2 3")),
              "[SchedAnalyzer] Error occurs when translate string to double for runTime in "
              "comparison rule: stod\n");
    EXPECT_THAT(tree.Read(kTimehistResult), HasSubstr(R"("content":[{"task":"a[1]")"));
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
