#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "foundation/json.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// Bench collections by the built program, with a recorded perf, or worse ones.
namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kAll = R"("messaging","pipe","memset","memcpy","stat")";
constexpr const char* kFailed =
    "[BenchCollector] Failed to process bench info!\n"
    "[ZarnManager] collector mode BenchCollector failed!\n"
    "[ZarnManager] Some Collector missions failed to start!\n";

std::string Config(const std::string& jobs,
                   const std::string& nodes = R"("global","planner_node")") {
    ConfigText config;
    config.serial = R"(["BenchCollector"])";
    return config.Text({{"BenchCollector", R"({"job":[)" + jobs + R"(],"stat":{"nodes":[)" + nodes +
                                               R"(],"sleep":0}})"}});
}

class BenchCollectorRunTest : public testing::Test {
protected:
    BenchCollectorRunTest() { AddRecordedBench(sandbox_); }

    // A run whose commands fail as told, but which succeeds.
    RunResult Run(const std::string& config) {
        RunResult run = sandbox_.Run(config);
        EXPECT_TRUE(run.Succeeded()) << run.err;
        EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
        return run;
    }

    // The names of the files in a folder of the run, up to the time stamp.
    [[nodiscard]] std::vector<std::string> Stems(const std::string& folder) const {
        std::vector<std::string> stems;
        for (const std::string& name : sandbox_.Files(folder)) {
            if (name.rfind("soc_", 0) == 0 || name.rfind("bench_", 0) == 0) {
                stems.push_back(name.substr(0, name.rfind('_')));
            }
        }
        return stems;
    }

    // The content of the one document of that kind.
    [[nodiscard]] JsonDocument Document(const std::string& stem) const {
        JsonDocument document;
        const std::string text = sandbox_.Read(sandbox_.OnlyFile("json", stem));
        EXPECT_TRUE(!text.empty() && ParseJson(text.substr(0, text.size() - 1), document)) << text;
        return document;
    }

    [[nodiscard]] std::string Log(const std::string& stem) const {
        return sandbox_.Read(sandbox_.OnlyFile("raw_data/bench", stem));
    }

    Sandbox sandbox_;
};

TEST_F(BenchCollectorRunTest, KeepsWhatPerfPrintsAndCondensesIt) {
    EXPECT_EQ(ErrorsOfMissions(Run(Config(kAll))), "");
    EXPECT_THAT(Stems("raw_data/bench"),
                ElementsAre("bench_mem_memcpy", "bench_mem_memset", "bench_sched_messaging",
                            "bench_sched_pipe", "bench_stat_global", "bench_stat_planner_node"));
    for (const char* name : {"sched_messaging", "sched_pipe", "mem_memset", "mem_memcpy"}) {
        EXPECT_EQ(Log(std::string("bench_") + name),
                  ReadText(DataPath(std::string("perf-6.1.187-bench/") + name + ".txt")));
    }
    EXPECT_EQ(Log("bench_stat_planner_node"),
              ReadText(DataPath("perf-6.1.187-bench/stat_process.txt")));
    EXPECT_THAT(Stems("json"),
                ElementsAre("soc_cpu_bench_info", "soc_cpu_stat_info", "soc_mem_throughput_info"));

    const JsonDocument scheduler = Document("soc_cpu_bench_info");
    EXPECT_STREQ(scheduler["content"]["messaging"]["Total time"].GetString(), "0.990");
    EXPECT_STREQ(scheduler["content"]["pipe"]["operations per second"].GetString(), "189136");
    EXPECT_STREQ(scheduler["content"]["pipe"]["time cost per operation"].GetString(), "5.287192");
    const JsonDocument memory = Document("soc_mem_throughput_info");
    EXPECT_STREQ(memory["content"]["memory copy speed(GB/sec)"].GetString(),
                 "17.755682\n11.625744\n34.877232\n48.828125");
    const JsonDocument statistics = Document("soc_cpu_stat_info");
    EXPECT_STREQ(statistics["content"]["planner_node"]["contextSwitches"].GetString(), "495");
    EXPECT_STREQ(statistics["content"]["planner_node"]["cycles"].GetString(), "<not");
    EXPECT_EQ(statistics["content"]["global"].MemberCount(), 22U);
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"),
                StartsWith("[BenchCollector] cost time: "));
}

TEST_F(BenchCollectorRunTest, TheCommandsAreThoseOfTheirJobs) {
    sandbox_.Tool("perf-step", "echo \"$*\" >> $ZARN_SANDBOX_DIR/calls\n");
    (void)Run(Config(R"("stat","pipe")"));
    EXPECT_THAT(sandbox_.ReadScratch("calls"),
                testing::MatchesRegex("bench sched pipe\n"
                                      "stat -a -e task-clock,.*iTLB-loads sleep 0\n"
                                      "stat -a -e task-clock,.*iTLB-loads -p 417,418 sleep 0\n"));
}

// The board has these files, this machine has not.
TEST_F(BenchCollectorRunTest, StatisticsThatAreMissingAreTold) {
    sandbox_.OnlyTools({"grep", "wc", "rm", "cp", "mkdir", "cat"});
    const RunResult run = Run(Config(R"("vpc","vdec","venc")"));
    EXPECT_THAT(ErrorsOfMissions(run),
                testing::MatchesRegex("cat: .*vdec.*\n"
                                      "\\[BenchCollector\\] Fail to collect vdec info!\n"
                                      "cat: .*venc.*\n"
                                      "\\[BenchCollector\\] Fail to collect venc info!\n"
                                      "cat: .*vpc.*\n"
                                      "\\[BenchCollector\\] Fail to collect vpc info!\n"));
    EXPECT_THAT(Stems("raw_data/bench"), ElementsAre("bench_vdec", "bench_venc", "bench_vpc"));
    EXPECT_THAT(Stems("json"), IsEmpty());
}

TEST_F(BenchCollectorRunTest, ANodeThatDoesNotRunTouchesNoOther) {
    const RunResult run = Run(Config(R"("stat")", R"("nobody","planner_node")"));
    EXPECT_EQ(ErrorsOfMissions(run),
              "[BenchCollector] Failed to collect nobody info!\n"
              "[BenchCollector] Failed to find  process : nobody !\n");
    EXPECT_EQ(Log("bench_stat_nobody"),
              ReadText(DataPath("perf-6.1.187-bench/stat_no_process.txt")));
    EXPECT_EQ(Document("soc_cpu_stat_info")["content"].MemberCount(), 1U);
}

// Names reach the shell as they are.
TEST_F(BenchCollectorRunTest, NamesThatMeanSomethingToTheShellFailByThemselves) {
    const RunResult run =
        Run(Config(R"("stat")", R"("quo'te","no/folder","","*.[x]","planner_node")"));
    const std::string errors = ErrorsOfMissions(run);
    for (const char* name : {"quo'te", "no/folder", "", "*.[x]"}) {
        const std::string node = name;
        EXPECT_THAT(errors, HasSubstr("[BenchCollector] Failed to collect " + node + " info!\n"));
        EXPECT_THAT(errors,
                    HasSubstr("[BenchCollector] Failed to find  process : " + node + " !\n"));
    }
    const JsonDocument statistics = Document("soc_cpu_stat_info");
    ASSERT_EQ(statistics["content"].MemberCount(), 1U);
    EXPECT_STREQ(statistics["content"]["planner_node"]["pageFaults"].GetString(), "0");
}

// ---- A perf that is missing or fails

TEST_F(BenchCollectorRunTest, WithoutPerfEachJobIsTold) {
    sandbox_.RemoveTool("perf");
    sandbox_.OnlyTools({"cat", "grep", "awk", "sed", "wc", "rm", "cp", "mkdir"});
    const RunResult run = Run(Config(kAll));
    EXPECT_EQ(ErrorsOfMissions(run),
              "sh: 1: perf: not found\n"
              "[BenchCollector] Fail to collect messaging info!\n"
              "sh: 1: perf: not found\n"
              "[BenchCollector] Fail to collect pipe info!\n"
              "sh: 1: perf: not found\n"
              "[BenchCollector] Fail to collect memset info!\n"
              "sh: 1: perf: not found\n"
              "[BenchCollector] Fail to collect memcpy info!\n"
              "[BenchCollector] Failed to collect global info!\n"
              "[BenchCollector] Failed to collect planner_node info!\n");
    EXPECT_EQ(Log("bench_stat_global"), "sh: 1: perf: not found\n");
    EXPECT_STREQ(Document("soc_cpu_bench_info")["content"]["pipe"]["Total time"].GetString(), "");
    EXPECT_STREQ(Document("soc_cpu_stat_info")["content"]["global"]["cycles"].GetString(), "");
}

TEST_F(BenchCollectorRunTest, WithoutTheToolsThatReadValuesTheyAreEmpty) {
    sandbox_.OnlyTools({"cat", "grep", "wc", "rm", "cp", "mkdir"});
    const RunResult run = Run(Config(R"("pipe","memset")"));
    EXPECT_THAT(ErrorsOfMissions(run), StartsWith("sh: 1: awk: not found\n"));
    EXPECT_STREQ(Document("soc_cpu_bench_info")["content"]["pipe"]["Total time"].GetString(), "");
}

TEST_F(BenchCollectorRunTest, APerfThatFailsOrIsKilledIsToldAndWhatItPrintedCounts) {
    for (const char* end : {"exit 1", "exit 234", "kill -9 $$", "kill -TERM $$"}) {
        sandbox_.Tool("perf", "echo '     Total time: 0.5 [sec]'; echo '  7  page-faults' >&2\n" +
                                  std::string(end) + "\n");
        const std::string errors = ErrorsOfMissions(Run(Config(R"("messaging","stat")")));
        for (const char* job : {"Fail to collect messaging", "Failed to collect global",
                                "Failed to collect planner_node"}) {
            EXPECT_THAT(errors, HasSubstr(std::string("[BenchCollector] ") + job + " info!\n"));
        }
        EXPECT_STREQ(
            Document("soc_cpu_bench_info")["content"]["messaging"]["Total time"].GetString(),
            "0.5");
        EXPECT_STREQ(Document("soc_cpu_stat_info")["content"]["global"]["pageFaults"].GetString(),
                     "7");
    }
}

TEST_F(BenchCollectorRunTest, APerfThatSaysNothingLeavesEmptyValues) {
    sandbox_.Tool("perf", "");
    EXPECT_EQ(ErrorsOfMissions(Run(Config(kAll))), "");
    const JsonDocument scheduler = Document("soc_cpu_bench_info");
    EXPECT_EQ(scheduler["content"].MemberCount(), 2U);
    EXPECT_STREQ(scheduler["content"]["pipe"]["operations per second"].GetString(), "");
    const JsonDocument statistics = Document("soc_cpu_stat_info");
    for (const auto& counter : statistics["content"]["planner_node"].GetObject()) {
        EXPECT_STREQ(counter.value.GetString(), "") << counter.name.GetString();
    }
}

TEST_F(BenchCollectorRunTest, OutputOfAnyBytesGivesDocuments) {
    for (const char* body : {
             "head -c 1000000 /dev/urandom\n",
             "head -c 1000000 /dev/zero\n",
             "printf 'Total time: 1\\r\\n GB\\r\\n'\n",
             "printf 'Total time: torn'\n",
             "printf ' time\\n\\n time a b c\\n\\377\\376 time \\377 \"\\\\\\n'\n",
         }) {
        sandbox_.Tool("perf", std::string("exec 2>&1\n") + body);
        (void)Run(Config(R"("pipe","memset","stat")", R"("global")"));
        EXPECT_TRUE(Document("soc_cpu_bench_info")["content"]["pipe"]["Total time"].IsString());
        EXPECT_TRUE(Document("soc_mem_throughput_info")["content"].IsObject());
        EXPECT_TRUE(Document("soc_cpu_stat_info")["content"]["global"].IsObject());
    }
    // A value of 16 MB.
    const std::string longest(1U << 24U, 'x');
    sandbox_.Tool("perf", "printf 'Total time: '; head -c 16777216 /dev/zero | tr '\\0' 'x'\n");
    (void)Run(Config(R"("messaging")"));
    EXPECT_EQ(Document("soc_cpu_bench_info")["content"]["messaging"]["Total time"].GetString(),
              longest);
}

TEST_F(BenchCollectorRunTest, PidofOfAnyBytesReachesTheCommandAsOneLine) {
    sandbox_.Tool("perf-step", "echo \"$*\" >> $ZARN_SANDBOX_DIR/calls\n");
    for (const char* answer : {"417  418\\n", "417\\r\\n", "417\\n418\\n"}) {
        sandbox_.WriteScratch("calls", "");
        sandbox_.Tool("pidof", std::string("printf '") + answer + "'\n");
        EXPECT_EQ(ErrorsOfMissions(Run(Config(R"("stat")", R"("planner_node")"))), "");
        EXPECT_THAT(sandbox_.ReadScratch("calls"),
                    testing::ContainsRegex(" -p 417(,418)? sleep 0\n$"));
    }
}

// ---- Interrupts

// A benchmark without an end; the terminal interrupts it with the program.
TEST_F(BenchCollectorRunTest, AnEndlessBenchmarkEndsWithAnInterrupt) {
    sandbox_.Tool("perf-step",
                  "sandbox-event interrupt\n"
                  "trap 'exit 130' INT\n"
                  "kill -INT $$\n"
                  "while :; do :; done\n");
    const RunResult run = sandbox_.Run(Config(R"("messaging")"));
    EXPECT_THAT(run.err, HasSubstr("[BenchCollector] Fail to collect messaging info!\n"));
    EXPECT_THAT(run.err, EndsWith(kFailed));
    EXPECT_THAT(run.out, HasSubstr("[BenchCollector] The process to generate json data is "
                                   "interrupted!\n"));
}

TEST_F(BenchCollectorRunTest, AnInterruptInAnyMeasurementLeavesLogsAndNoResult) {
    for (const char* step : {"bench\\ sched\\ messaging", "bench\\ mem\\ memcpy",
                             "stat*loads\\ sleep*", "stat*417,418*"}) {
        sandbox_.Tool("perf-step",
                      std::string("case $* in ") + step + ") sandbox-event interrupt ;; esac\n");
        const RunResult run = sandbox_.Run(Config(kAll));
        EXPECT_THAT(run.out, HasSubstr("[BenchCollector] The process to generate json data is "
                                       "interrupted!\n"))
            << step;
        EXPECT_THAT(run.err, EndsWith(kFailed)) << step;
        EXPECT_EQ(Stems("raw_data/bench").size(), 6U) << step;
        EXPECT_THAT(Stems("json"), IsEmpty()) << step;
    }
}

TEST_F(BenchCollectorRunTest, AnInterruptAmongTheResultsIsTooLate) {
    sandbox_.Tool("awk", "sandbox-event interrupt\nexec /usr/bin/awk \"$@\"\n");
    const RunResult run = Run(Config(R"("messaging")"));
    EXPECT_EQ(ErrorsOfMissions(run), "");
    EXPECT_STREQ(Document("soc_cpu_bench_info")["content"]["messaging"]["Total time"].GetString(),
                 "0.990");
}

// ---- The disk, and the section

TEST_F(BenchCollectorRunTest, AFullDiskFailsWhatDoesNotFitAndLeavesNoTornDocument) {
    Sandbox small;
    if (!small.LimitSpace(1U << 19U)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    AddRecordedBench(small);
    small.Tool("perf-step", "[ $3 != pipe ] || head -c 1000000 /dev/zero\n");
    const RunResult run = small.Run(Config(R"("messaging","pipe","memset")"));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.err, HasSubstr("[BenchCollector] Fail to collect memset info!\n"));
    for (const std::string& name : small.Files("json")) {
        EXPECT_THAT(small.Read("json/" + name), testing::AnyOf(IsEmpty(), EndsWith("\n")));
    }
}

TEST_F(BenchCollectorRunTest, ARefusedSectionEndsTheRunBeforeAnyMission) {
    const RunResult run = sandbox_.Run(Config(R"("sched")"));
    EXPECT_THAT(run.err, HasSubstr("[BenchCollector] Illegal job! Should be choosen from "
                                   "[messaging, pipe, memset, memcpy, stat, vpc, venc, vdec]!\n"));
    EXPECT_THAT(run.out, Not(HasSubstr("finished collecting")));
}

TEST_F(BenchCollectorRunTest, ANodeThatIsNoTextEndsTheListOfNodes) {
    const RunResult run = Run(Config(R"("stat","pipe")", R"("global",7,"planner_node")"));
    EXPECT_EQ(ErrorsOfMissions(run),
              "[BenchCollector] Illegal node type! Should be string type!\n");
    EXPECT_EQ(Document("soc_cpu_stat_info")["content"].MemberCount(), 1U);
    EXPECT_EQ(Document("soc_cpu_bench_info")["content"].MemberCount(), 1U);
}

}  // namespace
}  // namespace zarn::test
