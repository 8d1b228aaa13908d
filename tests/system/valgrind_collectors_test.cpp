#include <gmock/gmock.h>

#include <string>

#include "tests/support/manager_texts.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// Profiles of single programs by the built program, with a fake valgrind and a recorded perf, or
// worse ones.
namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;

std::string Config(const std::string& collector, const std::string& programs,
                   const std::string& settings = "", const std::string& duration = "0") {
    ConfigText config;
    config.serial = "[\"" + collector + "\"]";
    return config.Text({{collector, "{\"process\":" + programs + ",\"duration\":" + duration + "}"},
                        {"ProcessRunSetting", "{" + settings + "}"}});
}

std::string Entry(const std::string& name, const std::string& command,
                  const std::string& variables = "") {
    return "\"" + name + R"(":{"bin_path":")" + command + R"(","env_variables":{)" + variables +
           "}}";
}

// The two collectors under valgrind, by what they call their tool.
class ValgrindRunTest : public testing::TestWithParam<const char*> {
protected:
    ValgrindRunTest() { AddFakeValgrind(sandbox_); }

    [[nodiscard]] static std::string Tool() { return GetParam(); }
    [[nodiscard]] static std::string Name() {
        return Tool() == "massif" ? "MassifCollector" : "CacheGrindCollector";
    }
    [[nodiscard]] static std::string Head() { return "[" + Name() + "] "; }

    // A run that succeeds, whatever became of the programs.
    RunResult Run(const std::string& programs, const std::string& settings,
                  const std::string& duration = "0") {
        RunResult run = sandbox_.Run(Config(Name(), programs, settings, duration));
        EXPECT_TRUE(run.Succeeded()) << run.err;
        EXPECT_THAT(run.err, Not(HasSubstr("[ZarnManager] Some Collector missions failed")));
        return run;
    }
    [[nodiscard]] std::vector<std::string> Reports() const {
        return sandbox_.Files("raw_data/" + Tool());
    }
    [[nodiscard]] static std::string ReportPattern(const std::string& program) {
        return Tool() + "_" + program + "_[0-9]{17}\\.log";
    }
    // The last line about a program without a report.
    [[nodiscard]] static std::string NoReport(const std::string& program) {
        return Head() + "Failed to generate raw_data file for process: " + program +
               ", please check the process setting!\n";
    }

    Sandbox sandbox_;
};

INSTANTIATE_TEST_SUITE_P(Tools, ValgrindRunTest, testing::Values("cachegrind", "massif"),
                         [](const auto& tool) { return std::string(tool.param); });

TEST_P(ValgrindRunTest, LeavesAReportOfEachProgram) {
    sandbox_.Tool("planner", "echo \"planner $* A=$A B=$B\"\n");
    sandbox_.Tool("rungate", "echo \"launched for ${*##* }\"\nshift\n");
    const RunResult run =
        Run(R"(["planner","gated"])",
            Entry("planner", "planner -v 'one word'", R"x("A":"'it is'","B":"$A")x") +
                R"(,"gated":{"bin_path":"planner","env_variables":{},"rungate":false,)"
                R"("rungate_alloc_group":"fast"})");
    EXPECT_EQ(ErrorsOfMissions(run),
              Head() + "Target file: " + Tool() +
                  "_gated_[0-9]+\\.log does not exist under path: " + sandbox_.RunDirInside() +
                  "raw_data/" + Tool() + "/!\n" + NoReport("gated"));
    EXPECT_THAT(run.out, HasSubstr("launched for --allocGroup=fast\n"
                                   "planner -v one word A=it is B=it is\n"));
    EXPECT_THAT(Reports(), ElementsAre(MatchesRegex(ReportPattern("planner"))));
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"), HasSubstr(Head() + "cost time: "));
}

TEST_P(ValgrindRunTest, WithoutValgrindEachProgramIsTold) {
    sandbox_.RemoveTool("valgrind");
    sandbox_.OnlyTools({"cp", "mkdir", "cat"});
    const RunResult run = Run(R"(["b","a"])", Entry("a", "true") + "," + Entry("b", "true"));
    const std::string err = ErrorsOfMissions(run);
    const std::size_t second = err.find("sh: 1: valgrind: not found\n", 1);
    EXPECT_EQ(err.find("sh: 1: valgrind: not found\n"), 0U) << err;
    EXPECT_THAT(err.substr(0, second), testing::EndsWith(NoReport("a")));
    EXPECT_THAT(err.substr(second), testing::EndsWith(NoReport("b")));
    EXPECT_THAT(Reports(), IsEmpty());
}

// A valgrind that is killed, one that says and does nothing, a program that fails.
TEST_P(ValgrindRunTest, AValgrindWithoutAReportIsTold) {
    for (const char* body : {"kill -9 $$\n", "exit 1\n", "exec true\n"}) {
        sandbox_.Tool("valgrind", body);
        EXPECT_THAT(ErrorsOfMissions(Run(R"(["a"])", Entry("a", "true"))),
                    testing::EndsWith(NoReport("a")));
    }
    AddFakeValgrind(sandbox_);
    for (const char* command : {"no_such_program", "/"}) {
        EXPECT_THAT(ErrorsOfMissions(Run(R"(["a"])", Entry("a", command))),
                    testing::EndsWith(NoReport("a")));
    }
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_P(ValgrindRunTest, WithoutPidofNobodyIsInterrupted) {
    sandbox_.RemoveTool("pidof");
    sandbox_.OnlyTools({"cp", "mkdir", "cat", "true"});
    EXPECT_EQ(ErrorsOfMissions(Run(R"(["a"])", Entry("a", "true"))),
              "sh: 1: pidof: not found\nsh: 1: pidof: not found\n");
    EXPECT_THAT(Reports(), SizeIs(1));
}

// The program goes on until somebody ends it: the time is over at once, and valgrind is there.
TEST_P(ValgrindRunTest, AnEndlessProgramIsInterrupted) {
    sandbox_.Tool("valgrind",
                  "trap 'echo report > \"${3#*=}\"; exit 130' INT\n"
                  "echo $$ > \"$ZARN_SANDBOX_DIR/new\"\n"
                  "mv \"$ZARN_SANDBOX_DIR/new\" \"$ZARN_SANDBOX_DIR/valgrind\"\n"
                  "while :; do :; done\n");
    sandbox_.Tool("pidof",
                  "[ \"$1\" = valgrind ] || exit 1\n"
                  "until [ -e \"$ZARN_SANDBOX_DIR/valgrind\" ]; do :; done\n"
                  "cat \"$ZARN_SANDBOX_DIR/valgrind\"\n");
    EXPECT_EQ(ErrorsOfMissions(Run(R"(["a"])", Entry("a", "true"))), "");
    EXPECT_THAT(Reports(), SizeIs(1));
}

TEST_P(ValgrindRunTest, AfterAnInterruptNoProgramIsStarted) {
    sandbox_.Tool("valgrind-step", "case $* in *first) sandbox-event interrupt ;; esac\n");
    for (const char* name : {"first", "second"}) {
        sandbox_.Tool(name, "");
    }
    const RunResult run =
        sandbox_.Run(Config(Name(), R"(["second","first"])",
                            Entry("first", "first") + "," + Entry("second", "second")));
    EXPECT_THAT(run.out, HasSubstr(Head() + "Received stop signal, process:second and processes "
                                            "after are not collected!\n"));
    EXPECT_EQ(ErrorsOfMissions(run),
              Head() + "Failed to collect " + Tool() + "!\n[ZarnManager] collector mode " + Name() +
                  " failed!\n[ZarnManager] Some Collector missions failed to start!\n");
    EXPECT_THAT(Reports(), ElementsAre(MatchesRegex(ReportPattern("first"))));
}

TEST_P(ValgrindRunTest, AnInterruptDuringTheLastProgramIsTooLate) {
    sandbox_.Tool("valgrind-step", "sandbox-event interrupt\n");
    EXPECT_EQ(ErrorsOfMissions(Run(R"(["a"])", Entry("a", "true"))), "");
    EXPECT_THAT(Reports(), SizeIs(1));
}

// Values and names mean to the shell, and to expressions, what they mean there.
TEST_P(ValgrindRunTest, NothingIsQuoted) {
    sandbox_.Tool("planner", "echo \"planner:$A:$*\"\n");
    const RunResult run =
        Run(R"x(["p*[x]","a+","$(echo b)"])x",
            Entry("p*[x]", "planner \\\"two words\\\" $(echo three)", R"x("A":"$(echo four)")x") +
                "," + Entry("a+", "planner") + "," + Entry("$(echo b)", "true\\n# not a word"));
    EXPECT_THAT(run.out, HasSubstr("planner:four:two words three\n"));
    EXPECT_THAT(run.err, HasSubstr(NoReport("a+")));
    EXPECT_THAT(run.err, HasSubstr(NoReport("$(echo b)")));
    EXPECT_THAT(Reports(),
                ElementsAre(MatchesRegex(ReportPattern("a\\+")), MatchesRegex(ReportPattern("b")),
                            MatchesRegex(ReportPattern("p\\*\\[x\\]"))));
}

TEST_P(ValgrindRunTest, ABlankInAValueEndsIt) {
    const RunResult run = Run(R"(["a"])", Entry("a", "true", R"("A":"two 2")"));
    EXPECT_THAT(run.err, HasSubstr("export: 2: bad variable name\n"));
    EXPECT_THAT(run.err, testing::EndsWith(NoReport("a")));
}

TEST_P(ValgrindRunTest, ACommandThatNoShellTakesIsTold) {
    const RunResult run = Run(R"(["a"])", Entry("a", std::string(1U << 20U, 'x')));
    EXPECT_THAT(run.err, testing::EndsWith(NoReport("a")));
}

TEST_P(ValgrindRunTest, AFullDiskLeavesAnEmptyReport) {
    Sandbox small;
    if (!small.LimitSpace(1U << 19U)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    AddFakeValgrind(small);
    small.Tool("filler", "head -c 1000000 /dev/zero > /opt/usr/filler\ntrue\n");
    const RunResult run = small.Run(Config(Name(), R"(["a"])", Entry("a", "filler")));
    EXPECT_TRUE(run.Succeeded()) << run.err;
    EXPECT_THAT(run.err, Not(HasSubstr(Head())));
    EXPECT_EQ(small.Read(small.OnlyFile("raw_data/" + Tool(), Tool() + "_a_")), "");
}

TEST_P(ValgrindRunTest, ProgramsWithBrokenEntriesAreToldBeforeTheRun) {
    const RunResult run = Run(R"(["gone","a"])", Entry("a", "true") + R"(,"b":7)");
    EXPECT_EQ(ErrorsOfMissions(run), Head() + "Process run setting missing for process:gone!\n" +
                                         Head() + "Skipping this process!\n");
    EXPECT_THAT(Reports(), SizeIs(1));
}

TEST_P(ValgrindRunTest, WhatIsNoObjectEndsTheProgram) {
    const RunResult run = sandbox_.Run(Config(Name(), R"(["b"])", R"("b":7)"));
    EXPECT_TRUE(run.Aborted());
    EXPECT_THAT(run.err, HasSubstr("JSON assertion"));
}

TEST_P(ValgrindRunTest, ARefusedSectionEndsTheRunBeforeAnyMission) {
    const RunResult run = sandbox_.Run(Config(Name(), "[]"));
    EXPECT_THAT(ErrorsOfMissions(run),
                testing::StartsWith(Head() + Name() + " process array is empty!\n"));
    EXPECT_THAT(run.out, Not(HasSubstr("start ...")));
}

class CallGrindRunTest : public testing::Test {
protected:
    CallGrindRunTest() { AddRecordedProfiler(sandbox_); }

    RunResult Run() {
        RunResult run = sandbox_.Run(Config("CallGrindCollector", R"(["planner_node"])"));
        EXPECT_TRUE(run.Succeeded()) << run.err;
        return run;
    }

    Sandbox sandbox_;
};

constexpr const char* kRecordingFailed =
    "[CallGrindCollector] Failed to collect process:planner_node, please check the command, "
    "skipping to next process! Failed command is: perf record -a --call-graph fp -p 417 -o ";

TEST_F(CallGrindRunTest, LeavesARecordingAndItsSamples) {
    EXPECT_EQ(ErrorsOfMissions(Run()), "");
    EXPECT_THAT(sandbox_.Files("raw_data/callgrind"),
                ElementsAre(MatchesRegex("callgrind_planner_node_417_[0-9]{17}\\.data"),
                            MatchesRegex("callgrind_planner_node_417_[0-9]{17}\\.log")));
    EXPECT_EQ(sandbox_.Read("raw_data/callgrind/" + sandbox_.Files("raw_data/callgrind")[1]),
              ReadText(DataPath("perf-6.1.187-profile/script.txt")));
    EXPECT_THAT(sandbox_.Files("json"), ElementsAre("zarn_collector_start_end_timestamp.data"));
}

TEST_F(CallGrindRunTest, APerfThatFailsIsToldAsOne) {
    for (const char* body : {"exit 255\n", "kill -9 $$\n", "printf 'torn 5'; kill -9 $$\n"}) {
        sandbox_.Tool("perf", body);
        EXPECT_THAT(ErrorsOfMissions(Run()), HasSubstr(kRecordingFailed));
    }
    sandbox_.RemoveTool("perf");
    sandbox_.OnlyTools({"cp", "mkdir", "cat"});
    EXPECT_THAT(ErrorsOfMissions(Run()),
                testing::StartsWith(std::string("sh: 1: perf: not found\n") + kRecordingFailed));
}

// The recorder goes on until somebody ends it; the terminal interrupts it with the program.
TEST_F(CallGrindRunTest, AnEndlessRecordingEndsWithAnInterrupt) {
    sandbox_.Tool("perf-step",
                  "sandbox-event interrupt\n"
                  "trap 'exit 130' INT\n"
                  "kill -INT $$\n"
                  "while :; do :; done\n");
    EXPECT_THAT(ErrorsOfMissions(Run()), testing::StartsWith(kRecordingFailed));
}

TEST_F(CallGrindRunTest, AnInterruptDuringTheLastProcessIsTooLate) {
    sandbox_.Tool("perf-step", "sandbox-event interrupt\n");
    EXPECT_EQ(ErrorsOfMissions(Run()), "");
    EXPECT_THAT(sandbox_.Files("raw_data/callgrind"), SizeIs(2));
}

}  // namespace
}  // namespace zarn::test
