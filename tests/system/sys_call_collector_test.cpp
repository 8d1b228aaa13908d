#include <gmock/gmock.h>

#include <sstream>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "tests/support/amounts.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// Traces of system calls by the built program, with a recorded strace, or worse ones.
namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kFailed =
    "[SysCallCollector]: Failed to process system calling info!\n"
    "[ZarnManager] collector mode SysCallCollector failed!\n"
    "[ZarnManager] Some Collector missions failed to start!\n";
constexpr const char* kHead = "syscall  % time  seconds  usecs/call  shortest  longest  calls\n";

class SysCallCollectorRunTest : public testing::Test {
protected:
    SysCallCollectorRunTest() { AddRecordedTracer(sandbox_); }

    [[nodiscard]] static std::string Config(const std::string& details = "true",
                                            const std::string& processes = R"(["planner_node"])",
                                            const std::string& duration = "60") {
        ConfigText config;
        config.serial = R"(["SysCallCollector"])";
        return config.Text(
            {{"SysCallCollector", R"({"process":)" + processes + R"(,"duration":)" + duration +
                                      R"(,"saveDetailsToJson":)" + details + "}"}});
    }

    // A run whose commands fail as told, but which succeeds.
    RunResult Run(const std::string& config = Config()) {
        RunResult run = sandbox_.Run(config);
        EXPECT_TRUE(run.Succeeded()) << run.err;
        EXPECT_THAT(run.out, EndsWith("[Main] Collection jobs finished.\n"));
        return run;
    }

    [[nodiscard]] JsonDocument Document() const {
        JsonDocument document;
        const std::string text = sandbox_.Read(sandbox_.OnlyFile("json", "soc_sys_call_info_1_"));
        EXPECT_TRUE(ParseJson(text.substr(0, text.size() - 1), document)) << text;
        return document;
    }
    // The names of the system calls of the process.
    [[nodiscard]] std::vector<std::string> Names() const {
        std::vector<std::string> names;
        const JsonDocument document = Document();
        for (const JsonValue& row : document["content"]["planner_node"].GetArray()) {
            names.emplace_back(row["syscall-name"].GetString());
        }
        return names;
    }
    // A log that holds this, as the tracer leaves it.
    void LogIs(const std::string& text) { sandbox_.ToolPrinting("recorded-trace", text); }

    Sandbox sandbox_;
};

TEST_F(SysCallCollectorRunTest, LeavesTheLogAndADocument) {
    const RunResult run = Run();
    EXPECT_EQ(ErrorsOfMissions(run), "");
    EXPECT_EQ(
        sandbox_.Read(sandbox_.OnlyFile("raw_data/sys_call", "soc_sys_call_info_planner_node_1_")),
        ReadText(DataPath("strace-6.1/batch.log")));
    EXPECT_THAT(Names(),
                ElementsAre("write", "sched_yield", "ftruncate", "fchdir", "umask", "getrusage",
                            "getuid", "getppid", "getpgid", "getsid", "getpriority"));
    const JsonDocument document = Document();
    const JsonValue& group = document["content"]["planner_node"][8];
    EXPECT_STREQ(group["calls"].GetString(), "6");
    EXPECT_STREQ(group["errors"].GetString(), "2");
    ASSERT_EQ(group["everyCall"].Size(), 6U);
    EXPECT_STREQ(group["everyCall"][0]["time_cost"].GetString(), "0.000007");
    EXPECT_STREQ(document["content"]["planner_node"][7]["errors"].GetString(), "0");
    EXPECT_THAT(run.out, HasSubstr("[SysCallCollector] Ready to collect planner_node system call "
                                   "info.\n[SysCallCollector] Save system call info about all "
                                   "those processes: [planner_node(pid: 417),\n]\n"
                                   "[SysCallCollector] Organize info for process [planner_node] "
                                   "sucessfully!\n[SysCallCollector] Save json file : " +
                                   sandbox_.RunDirInside() + "json/soc_sys_call_info_1_"));
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"),
                StartsWith("[SysCallCollector] cost time: "));
}

TEST_F(SysCallCollectorRunTest, WithoutDetailsNoRowHasCalls) {
    EXPECT_EQ(ErrorsOfMissions(Run(Config("false"))), "");
    const JsonDocument document = Document();
    for (const JsonValue& row : document["content"]["planner_node"].GetArray()) {
        EXPECT_EQ(row.MemberCount(), 8U);
    }
}

TEST_F(SysCallCollectorRunTest, AProcessThatDoesNotRunIsLeftOut) {
    EXPECT_EQ(ErrorsOfMissions(Run(Config("true", R"(["no_such_program","planner_node"])"))),
              "[SysCallCollector] Failed to get process id of no_such_program, Skipped it!\n");
    EXPECT_EQ(Document()["content"].MemberCount(), 1U);
}

TEST_F(SysCallCollectorRunTest, WithoutAnyProcessTheMissionFails) {
    const RunResult run = sandbox_.Run(Config("true", R"(["no_such_program"])"));
    EXPECT_THAT(run.out, HasSubstr("[SysCallCollector] No legal processes to collect!\n"));
    EXPECT_THAT(run.err, EndsWith(kFailed));
}

TEST_F(SysCallCollectorRunTest, WithoutStraceTheArrayIsEmpty) {
    sandbox_.RemoveTool("strace");
    sandbox_.OnlyTools({"timeout", "grep", "awk", "cp", "mkdir"});
    const RunResult run = Run();
    EXPECT_THAT(ErrorsOfMissions(run),
                StartsWith("timeout: failed to run command 'strace': No such file or "
                           "directory\ngrep: "));
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(SysCallCollectorRunTest, WithoutTheSearchingToolsThereIsNothingToShow) {
    sandbox_.OnlyTools({"timeout", "cp", "mkdir"});
    EXPECT_THAT(ErrorsOfMissions(Run()), HasSubstr("grep: not found\n"));
    EXPECT_THAT(Names(), IsEmpty());
}

// Killed, silent, forbidden to trace, or traced already.
TEST_F(SysCallCollectorRunTest, ATracerThatLeavesNothingLeavesAnEmptyArray) {
    for (const char* step :
         {"kill -9 $PPID\n", "exit 1\n",
          "echo 'strace: attach: ptrace(PTRACE_SEIZE, 417): Operation not permitted' >&2; exit "
          "1\n"}) {
        sandbox_.Tool("strace-step", step);
        const RunResult run = Run();
        EXPECT_THAT(Names(), IsEmpty()) << step;
        EXPECT_THAT(run.out, HasSubstr("[SysCallCollector] Organize info for process "
                                       "[planner_node] sucessfully!\n"));
    }
}

TEST_F(SysCallCollectorRunTest, ATracerThatDoesNotEndIsKilledAndItsLogRead) {
    sandbox_.Tool("strace",
                  "trap '' TERM\n"
                  "while [ \"$1\" != -o ]; do shift; done\n"
                  "recorded-trace > \"$2\"\n"
                  "while :; do :; done\n");
    // It has this time and a second more to write its log.
    (void)Run(Config("false", R"(["planner_node"])", "3"));
    EXPECT_THAT(Names(), testing::SizeIs(11));
}

// A process that makes no call: neither its one that does not end nor a summary.
TEST_F(SysCallCollectorRunTest, AProcessWithoutCallsHasAnEmptyArray) {
    LogIs(ReadText(DataPath("strace-6.1/waiting.log")));
    EXPECT_EQ(ErrorsOfMissions(Run()), "");
    EXPECT_THAT(Names(), IsEmpty());
    LogIs(std::string(kHead) + "-------- ------\ntotal  100.00  0.000000  0  0.0  0.0  0\n");
    EXPECT_EQ(ErrorsOfMissions(Run()), "");
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(SysCallCollectorRunTest, HostileLogsBecomeWhatRowsTheyHold) {
    struct Log {
        std::string text;
        std::vector<std::string> names;
    };
    const std::string longest(Amount(16U << 20U), 'x');
    const Log logs[] = {
        {"", {}},
        {"12:00:00.1 read(0", {}},                               // torn, no summary
        {"12:00:00.1 read(0) = 0 <0.1>\nread 1 2 3", {"read"}},  // torn in the summary
        {"read 1\nwrite 1 2 3 4 5 6 7 8 9 10 11\n", {"read", "write"}},
        {"read 1 2 3 4 5 6\r\n", {"read"}},
        {"restart_syscall 1 2 3 4 5 6\nread 1 2 3 4 5 6\n", {"read"}},
        {"12:00:00.1 read(" + longest + ") = 0 <0.1>\nread 1 2 3 4 5 6\n", {"read"}},
        {longest + "\nread 1 2 3 4 5 6\n", {longest.substr(0, 511), "read"}},
        {"read 1 2 3 4 5 6 7\n1 x <>\n1 read >\n1 read y\n", {"read"}},
    };
    for (const Log& log : logs) {
        LogIs(log.text);
        EXPECT_EQ(ErrorsOfMissions(Run()), "") << log.text.substr(0, 50);
        EXPECT_EQ(Names(), log.names) << log.text.substr(0, 50);
    }
}

// What is no text is no row for the tools that search it.
TEST_F(SysCallCollectorRunTest, ABinaryLogHasNoRows) {
    LogIs(
        std::string("\0\xff\x7f"
                    "ELF\nread 1 2 3 4 5 6\n",
                    24));
    EXPECT_THAT(ErrorsOfMissions(Run()), HasSubstr("binary file matches"));
    EXPECT_THAT(Names(), IsEmpty());
}

// Of the calls those that ended, also those whose line merely holds the name.
TEST_F(SysCallCollectorRunTest, TheCallsAreThoseWhoseLineHoldsTheName) {
    LogIs(
        "12:00:00.1 read(0, \"\", 1) = 0 <0.1>\n"
        "12:00:00.2 pread64(0, \"\", 1, 0) = 0 <0.2>\n"
        "12:00:00.3 write(1, \"read\", 4) = 4 <0.3>\n"
        "12:00:00.4 read(0,  <unfinished ...>\n"
        "12:00:00.5 close(0) = 0 <0.5>\n"
        "read 1 2 3 4 5 2\n");
    (void)Run();
    const JsonDocument document = Document();
    const JsonValue& calls = document["content"]["planner_node"][0]["everyCall"];
    ASSERT_EQ(calls.Size(), 3U);
    EXPECT_STREQ(calls[0]["start_time"].GetString(), "12:00:00.1");
    EXPECT_STREQ(calls[2]["time_cost"].GetString(), "0.3");
}

// Nothing watches for an interrupt from the trace on: what is begun is filed.
TEST_F(SysCallCollectorRunTest, AnInterruptInAnyStepLeavesAWholeDocument) {
    for (const char* tool : {"strace-step", "grep", "awk"}) {
        Sandbox sandbox;
        AddRecordedTracer(sandbox);
        sandbox.Tool(tool, std::string("mkdir $ZARN_SANDBOX_DIR/once 2>/dev/null && "
                                       "sandbox-event interrupt\n") +
                               (std::string(tool) == "strace-step"
                                    ? "exit 0\n"
                                    : std::string("exec /usr/bin/") + tool + " \"$@\"\n"));
        const RunResult run = sandbox.Run(Config());
        EXPECT_TRUE(run.Succeeded()) << run.err;
        EXPECT_THAT(run.out, HasSubstr("Signal Interactive attention received.\n")) << tool;
        const std::string text = sandbox.Read(sandbox.OnlyFile("json", "soc_sys_call_info_1_"));
        JsonDocument document;
        ASSERT_TRUE(ParseJson(text.substr(0, text.size() - 1), document));
        EXPECT_EQ(document["content"]["planner_node"].Size(), 11U);
    }
}

TEST_F(SysCallCollectorRunTest, AfterAnInterruptOfAnEarlierMissionNothingIsTraced) {
    AddRecordedProfiler(sandbox_);
    sandbox_.Tool("perf-step", "[ $1 = script ] || sandbox-event interrupt\n");
    ConfigText config;
    config.serial = R"(["LibCollector", "SysCallCollector"])";
    const RunResult run = sandbox_.Run(config.Text(
        {{"LibCollector", R"({"process": ["planner_node"], "duration": 0})"},
         {"SysCallCollector",
          R"({"process": ["planner_node"], "duration": 60, "saveDetailsToJson": true})"}}));
    EXPECT_THAT(run.out,
                HasSubstr("[SysCallCollector] Recieved stop signal, process will stop soon!\n"));
    EXPECT_THAT(run.err, EndsWith(kFailed));
    EXPECT_THAT(sandbox_.Files("raw_data/sys_call"), IsEmpty());
}

TEST_F(SysCallCollectorRunTest, AFullDiskLeavesNoHalfDocument) {
    Sandbox small;
    if (!small.LimitSpace(1U << 18U)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    AddRecordedTracer(small);
    std::string log;
    while (log.size() < 100000) {
        log += "12:00:00.1 read(0) = 0 <0.1>\n";
    }
    small.ToolPrinting("recorded-trace", log + "read 1 2 3 4 5 6\n");
    const RunResult run = small.Run(Config());
    EXPECT_TRUE(run.Succeeded()) << run.err;
    EXPECT_THAT(run.err, HasSubstr("[zarn_utils] Cannot open outfile, check your filePath.\n"));
    const std::string name = small.OnlyFile("json", "soc_sys_call_info_1_");
    EXPECT_EQ(small.Read(name), "");
}

TEST_F(SysCallCollectorRunTest, ARefusedSectionEndsTheRunBeforeAnyMission) {
    const RunResult run = sandbox_.Run(Config("1"));
    EXPECT_THAT(run.err, HasSubstr("[SysCallCollector] Invalid type of SaveDetailsToJson! It "
                                   "should be bool type!\n"));
    EXPECT_THAT(run.out, Not(HasSubstr("Ready to collect")));
}

}  // namespace
}  // namespace zarn::test
