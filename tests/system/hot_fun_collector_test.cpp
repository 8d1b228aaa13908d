#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "foundation/json.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/programs.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// Collections of hot functions by the built program, with a recorded perf, or worse ones.
namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kFailed =
    "[HotFunCollector] Failed to collect hotFun!\n"
    "[ZarnManager] collector mode HotFunCollector failed!\n"
    "[ZarnManager] Some Collector missions failed to start!\n";

class HotFunCollectorRunTest : public testing::Test {
protected:
    HotFunCollectorRunTest() { AddRecordedProfiler(sandbox_); }

    [[nodiscard]] static std::string Config(const std::string& jobs = R"("core","process","global",
                                                                     "function_set")",
                                            const std::string& output = "true") {
        ConfigText config;
        config.serial = R"(["HotFunCollector"])";
        return config.Text({{"HotFunCollector", R"({"job":[)" + jobs + R"(],"json_output":)" +
                                                    output + R"(,"duration":0,"top":3,"core":[0],
            "process":["planner_node"],"function_set":{"planner":["planner_.*"],"all":[".*"]}})"}});
    }

    // A run whose commands fail as told, but which succeeds.
    RunResult Run(const std::string& config) {
        RunResult run = sandbox_.Run(config);
        EXPECT_TRUE(run.Succeeded()) << run.err;
        EXPECT_THAT(run.out, EndsWith("[Main] Collection jobs finished.\n"));
        return run;
    }

    // The names of the files in a folder of the run, up to the time stamp.
    [[nodiscard]] std::vector<std::string> Stems(const std::string& folder) const {
        std::vector<std::string> stems;
        for (const std::string& name : sandbox_.Files(folder)) {
            if (name.rfind("soc_hot", 0) == 0 || name.rfind("hotfun", 0) == 0) {
                stems.push_back(name.substr(0, name.rfind('_')) + name.substr(name.rfind('.')));
            }
        }
        return stems;
    }

    [[nodiscard]] JsonDocument Document(const std::string& stem) const {
        JsonDocument document;
        const std::string text = sandbox_.Read(sandbox_.OnlyFile("json", stem));
        EXPECT_TRUE(ParseJson(text.substr(0, text.size() - 1), document)) << text;
        return document;
    }

    Sandbox sandbox_;
};

TEST_F(HotFunCollectorRunTest, LeavesRecordingsSamplesAndDocuments) {
    const RunResult run = Run(Config());
    EXPECT_EQ(ErrorsOfMissions(run), "");
    EXPECT_THAT(
        Stems("raw_data/hotFun"),
        ElementsAre("hotfun_core_core0.data", "hotfun_core_core0.script",
                    "hotfun_function_set.data", "hotfun_function_set.script", "hotfun_global.data",
                    "hotfun_global.script", "hotfun_process_planner_node_417.data",
                    "hotfun_process_planner_node_417.script"));
    EXPECT_THAT(Stems("json"), ElementsAre("soc_hot_function_core_info_core0_1.data",
                                           "soc_hot_function_function_set_info_1.data",
                                           "soc_hot_function_global_info_1.data",
                                           "soc_hot_function_process_info_1.data"));
    const std::string raw = sandbox_.RunDirInside() + "raw_data/hotFun/";
    EXPECT_THAT(run.out, HasSubstr("\nperf record -C 0 -o " + raw + "hotfun_core_core0_"));
    EXPECT_THAT(run.out, HasSubstr("\nperf record -a  -o " + raw + "hotfun_global_"));
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"),
                StartsWith("[HotFunCollector] cost time: "));

    const JsonDocument global = Document("soc_hot_function_global_info");
    ASSERT_EQ(global["content"].Size(), 3U);
    EXPECT_STREQ(global["content"][1]["symbol"].GetString(), "PlanRoute");
    const JsonDocument process = Document("soc_hot_function_process_info");
    EXPECT_TRUE(process["content"]["planner_node"] == global["content"]);
    const JsonDocument sets = Document("soc_hot_function_function_set_info");
    EXPECT_STREQ(sets["content"]["planner"]["SET_TOTAL"].GetString(), "100.00%");
    EXPECT_STREQ(sets["content"]["all"]["planner_node"].GetString(), "100.00%");
}

TEST_F(HotFunCollectorRunTest, WithoutPerfEachStepIsTold) {
    sandbox_.RemoveTool("perf");
    sandbox_.OnlyTools({"cat", "grep", "wc", "rm", "sleep", "cp", "mkdir"});
    const RunResult run = Run(Config());
    EXPECT_EQ(run.err.substr(run.err.find("sh: 1: perf")),
              "sh: 1: perf: not found\n"
              "[HotFunCollector] Fail to collect core 0 info!\n"
              "sh: 1: perf: not found\n"
              "[HotFunCollector] Fail to collect process planner_node info!\n"
              "sh: 1: perf: not found\n"
              "[HotFunCollector] Fail to collect global info!\n"
              "sh: 1: perf: not found\n"
              "[HotFunCollector] Fail to collect function_set info!\n"
              "sh: 1: perf: not found\n"
              "[HotFunCollector] Fail to generate core report!\n"
              "sh: 1: perf: not found\n"
              "[HotFunCollector] Fail to generate process report!\n"
              "sh: 1: perf: not found\n"
              "[HotFunCollector] Fail to generate global report!\n"
              "[zarn_utils] Cannot find input file!\n"
              "[HotFunCollector] Parse function_set result failed!\n");
    EXPECT_THAT(Stems("json"), ElementsAre("soc_hot_function_process_info_1.data"));
}

// A perf that may not record, is killed, or dies in the middle of its text.
TEST_F(HotFunCollectorRunTest, APerfThatFailsIsToldAsOne) {
    for (const char* body : {"exit 255\n", "kill -9 $$\n", "printf 'torn 5'; kill -9 $$\n"}) {
        sandbox_.Tool("perf", body);
        const RunResult run = Run(Config(R"("core","global")"));
        EXPECT_THAT(ErrorsOfMissions(run),
                    HasSubstr("[HotFunCollector] Fail to collect core 0 info!\n"));
        EXPECT_THAT(ErrorsOfMissions(run),
                    HasSubstr("[HotFunCollector] Fail to collect global info!\n"));
        EXPECT_THAT(ErrorsOfMissions(run),
                    EndsWith("[HotFunCollector] Fail to generate global report!\n"));
        EXPECT_THAT(Stems("json"), IsEmpty());
    }
}

// Success without a file, and without a word.
TEST_F(HotFunCollectorRunTest, APerfThatDoesNothingLeavesEmptyResults) {
    sandbox_.Tool("perf", "");
    EXPECT_EQ(ErrorsOfMissions(Run(Config())), "");
    EXPECT_THAT(Stems("raw_data/hotFun"),
                ElementsAre("hotfun_core_core0.script", "hotfun_function_set.script",
                            "hotfun_global.script", "hotfun_process_planner_node_417.script"));
    EXPECT_EQ(Document("soc_hot_function_global_info")["content"].Size(), 0U);
    EXPECT_EQ(Document("soc_hot_function_process_info")["content"]["planner_node"].Size(), 0U);
    EXPECT_STREQ(
        Document("soc_hot_function_function_set_info")["content"]["all"]["SET_TOTAL"].GetString(),
        "nan%");
}

TEST_F(HotFunCollectorRunTest, WhatIsNoTextHasNoRows) {
    sandbox_.ToolPrinting("perf", std::string("\0\xff\x7f"
                                              "ELF% \r\n 5% \r\n\n",
                                              18) +
                                      std::string(1U << 20U, '5') + "%" +
                                      std::string(1U << 20U, '\0'));
    EXPECT_EQ(ErrorsOfMissions(Run(Config())), "");
    EXPECT_EQ(Document("soc_hot_function_global_info")["content"].Size(), 0U);
}

TEST_F(HotFunCollectorRunTest, AnEndlessRecordingEndsWithAnInterrupt) {
    MakeRecordingEndless(sandbox_);
    const RunResult run = sandbox_.Run(Config(R"("core","global")"));
    EXPECT_THAT(run.err, HasSubstr("[HotFunCollector] Fail to collect core 0 info!\n"));
    EXPECT_THAT(run.err, EndsWith(kFailed));
    EXPECT_THAT(run.out, HasSubstr("[HotFunCollector] Received stop signal, global job & following "
                                   "jobs (global, function_set) not collected!\n"));
}

// An interrupt in each step: that before the next job ends the collection, the others are too late.
TEST_F(HotFunCollectorRunTest, AnInterruptInAnyStepLeavesWhatIsDone) {
    struct Step {
        const char* arguments;  // of the call of perf, as a pattern
        std::size_t recordings;
        std::size_t documents;
    };
    for (const Step& step :
         {Step{"record\\ -C*", 1, 0}, Step{"script*core*", 1, 0}, Step{"record\\ -p*", 2, 0},
          Step{"record*global*", 3, 0}, Step{"record*function_set*", 4, 4},
          Step{"script*function_set*", 4, 4}, Step{"report*core*", 4, 4},
          Step{"report*process*", 4, 4}, Step{"report*global*", 4, 4}}) {
        sandbox_.Tool("perf-step", std::string("case $* in ") + step.arguments +
                                       ") sandbox-event interrupt ;; esac\n");
        const RunResult run = sandbox_.Run(Config());
        EXPECT_THAT(run.out, HasSubstr("Signal Interactive attention received.\n"))
            << step.arguments;
        EXPECT_EQ(Stems("raw_data/hotFun").size(), 2 * step.recordings) << step.arguments;
        EXPECT_EQ(Stems("json").size(), step.documents) << step.arguments;
        EXPECT_EQ(run.err.find(kFailed) == std::string::npos, step.documents > 0) << run.err;
    }
}

// Reports are gathered in the working directory. Nobody can write to this one.
TEST_F(HotFunCollectorRunTest, AReadOnlyWorkingDirectoryFailsTheReportsAlone) {
    sandbox_.Write("config.json", Config());
    const RunResult run = sandbox_.RunCommand(
        {"/bin/sh", "-c", "cd /proc && exec " + ProgramPath() + " /opt/usr/config.json"});
    EXPECT_TRUE(run.Succeeded()) << run.err;
    for (const char* job : {"core", "process", "global"}) {
        EXPECT_THAT(run.err, HasSubstr(std::string("[HotFunCollector] Fail to generate ") + job +
                                       " report!\n"));
    }
    EXPECT_THAT(Stems("json"), ElementsAre("soc_hot_function_function_set_info_1.data",
                                           "soc_hot_function_process_info_1.data"));
}

TEST_F(HotFunCollectorRunTest, AFullDiskFailsWhatDoesNotFit) {
    Sandbox small;
    if (!small.LimitSpace(1U << 19U)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    AddRecordedProfiler(small);
    small.ToolPrinting("recorded-report", std::string(1U << 20U, 'x') + "\n5% 5% a b c\n");
    small.Write("config.json", Config(R"("global","function_set")"));
    const RunResult run = small.RunCommand(
        {"/bin/sh", "-c", "cd /opt/usr && exec " + ProgramPath() + " /opt/usr/config.json"});
    EXPECT_TRUE(run.Succeeded()) << run.err;
    EXPECT_THAT(run.err, HasSubstr("[HotFunCollector] Fail to generate global report!\n"));
    EXPECT_THAT(run.err, Not(HasSubstr("Parse")));
}

TEST_F(HotFunCollectorRunTest, ARefusedSectionEndsTheRunBeforeAnyMission) {
    ConfigText config;
    config.serial = R"(["HotFunCollector"])";
    const RunResult run = sandbox_.Run(config.Text({{"HotFunCollector", R"({"job":["lib"]})"}}));
    EXPECT_THAT(run.err,
                HasSubstr("[HotFunCollector] Illegal job! Should be choosen from [global, core, "
                          "function_set, process]!\n"
                          "[HotFunCollector] Failed to check hotFun job list!\n"));
    EXPECT_THAT(run.out, Not(HasSubstr("perf record")));
}

}  // namespace
}  // namespace zarn::test
