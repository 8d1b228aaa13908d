#include <gmock/gmock.h>

#include <set>

#include "benchmarks/support/correlation_generator.h"
#include "tests/support/manager_texts.h"
#include "tests/support/run_tree.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// What the program says of one call that fails, where nothing but such a fault makes it say so.
namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class SingleFaults : public testing::Test {
protected:
    SingleFaults() {
        sandbox_.SetEnvironment("LD_PRELOAD",
                                std::string(ZARN_BUILD_DIR) + "/lib/libzarn_faults.so");
        sandbox_.SetEnvironment("ASAN_OPTIONS", "verify_asan_link_order=0");
    }

    // Runs the program with a fault, as the preloaded library takes it.
    RunResult RunWithFault(const std::string& config, const std::string& fault) {
        sandbox_.SetEnvironment("ZARN_FAULT", fault);
        sandbox_.SetEnvironment("ZARN_FAULT_HITS", sandbox_.WriteScratch("hits", ""));
        return sandbox_.Run(config);
    }

    // Whether the fault of the last run happened.
    [[nodiscard]] bool Happened() const { return !sandbox_.ReadScratch("hits").empty(); }

    Sandbox sandbox_;
};

constexpr const char* kNoTime = ":EOVERFLOW";
constexpr const char* kComparator = R"({"job": ["global"], "process": []})";

TEST_F(SingleFaults, WithoutATimeTheRunHasNoDirectory) {
    const RunResult run = RunWithFault(ConfigText().Text(), std::string("localtime:1") + kNoTime);
    EXPECT_EQ(run.err,
              "[ZarnManager] Failed to get time stamp!\n"
              "[ZarnManager] Output directory not exist!\n"
              "[ZarnManager] Failed to handle public affairs!\n");
}

TEST_F(SingleFaults, AReadThatFailsLetsNoHazardPass) {
    ConfigText config;
    config.more = R"(, "x": "a;b")";
    int call = 0;
    do {
        ++call;
        const RunResult run = RunWithFault(config.Text(), "read:" + std::to_string(call) + ":EIO");
        EXPECT_THAT(run.err, testing::AnyOf(HasSubstr("Hazardous symbol"),
                                            HasSubstr("Could not open the file"),
                                            HasSubstr("while parsing json file")))
            << call;
        EXPECT_THAT(run.err, Not(HasSubstr("Create env info directory"))) << call;
    } while (Happened());
    EXPECT_GT(call, 3);
}

TEST_F(SingleFaults, WithoutATimeTheComparatorFails) {
    ConfigText config;
    config.compare = R"(["CpuComparator"])";
    const RunResult run = RunWithFault(config.Text({{"CpuComparator", kComparator}}),
                                       std::string("localtime:2") + kNoTime);
    EXPECT_THAT(run.err, EndsWith("[CpuComparator] Failed to get time stamp!\n"
                                  "[ZarnManager] comparators mode CpuComparator failed!\n"
                                  "[ZarnManager] Some Comparator missions failed to start!\n"));
}

TEST_F(SingleFaults, WithoutATimeTheOptimizerFails) {
    ConfigText config;
    config.optimize = R"(["DdrOptimizer"])";
    const RunResult run = RunWithFault(config.Text(), std::string("localtime:2") + kNoTime);
    EXPECT_THAT(run.err, EndsWith("[DdrOptimizer] Failed to get curr timeStamp!\n"
                                  "[DdrOptimizer] Failed to init file path!\n"
                                  "[ZarnManager] optimizers mode DdrOptimizer failed!\n"
                                  "[ZarnManager] Some Optimizer missions failed to start!\n"));
}

// A tracer needs a thread that waits for it. Without one the process has an empty array, and the
// other is traced.
TEST_F(SingleFaults, WithoutAThreadAProcessIsNotTraced) {
    AddRecordedTracer(sandbox_);
    sandbox_.Tool("pidof", "echo 417\n");
    ConfigText lists;
    lists.serial = R"(["SysCallCollector"])";
    const RunResult run = RunWithFault(
        lists.Text({{"SysCallCollector", R"({"process": ["planner_node", "camera_node"],
                                            "duration": 60, "saveDetailsToJson": true})"}}),
        "thread:1:EAGAIN");
    EXPECT_TRUE(Happened());
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.err,
                HasSubstr("[SysCallCollector] Error occurs: Resource temporarily unavailable\n"));
    const std::string document = sandbox_.Read(sandbox_.OnlyFile("json", "soc_sys_call_info_1_"));
    EXPECT_THAT(document, HasSubstr(R"("content":{"planner_node":[],"camera_node":[{"syscall)"));
}

// A disk across the network tells only at the closing that it has lost what was written. A copy
// into env_info ends the process then.
TEST_F(SingleFaults, AFileThatCannotBeClosedIsNotWritten) {
    sandbox_.Tool("top", "");
    sandbox_.Tool("ps", "");
    ConfigText lists;
    lists.serial = R"(["CpuCollector"])";
    lists.compare = R"(["CpuComparator"])";
    const std::string config =
        lists.Text({{"CpuCollector", R"({"job": [], "interval": 1, "process": [], "count": 1,
                                        "thread_collector": false, "json_output": true})"},
                    {"CpuComparator", kComparator}});
    std::string errors;
    int call = 0;
    do {
        ++call;
        errors += RunWithFault(config, "close:" + std::to_string(call) + ":EIO").err;
    } while (Happened());
    EXPECT_GT(call, 10);
    EXPECT_THAT(errors, HasSubstr("[zarn_utils] Cannot open outfile, check your filePath.\n"));
    EXPECT_THAT(errors, HasSubstr("[CpuComparator] Failed to write cpu info!\n"));
}

// The command of a program under valgrind has a thread that waits for it.
TEST_F(SingleFaults, WithoutAThreadAProgramIsNotStartedAndTheNextOneIs) {
    AddFakeValgrind(sandbox_);
    ConfigText lists;
    lists.serial = R"(["MassifCollector"])";
    const RunResult run =
        RunWithFault(lists.Text({{"MassifCollector", R"({"process": ["a", "b"], "duration": 0})"},
                                 {"ProcessRunSetting",
                                  R"({"a": {"bin_path": "true", "env_variables": {}},
                                      "b": {"bin_path": "true", "env_variables": {}}})"}}),
                     "thread:1:EAGAIN");
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(ErrorsOfMissions(run),
                testing::MatchesRegex(
                    "\\[zarn_utils\\] Error occurs: Resource temporarily unavailable\n"
                    "\\[MassifCollector\\] Failed to collect process:a, please check the command, "
                    "skipping to next process! Failed command is: valgrind --tool=massif [^\n]*"
                    "massif_a_[0-9]{17}\\.log true\n"));
    EXPECT_THAT(sandbox_.OnlyFile("raw_data/massif", "massif_"), HasSubstr("/massif_b_"));
}

// Interrupted at each file that it opens, the collector has filed none, one, two or all three.
TEST_F(SingleFaults, AnInterruptDuringTheFilingEndsItBeforeTheNextFile) {
    sandbox_.Tool("top", "");
    sandbox_.Tool("ps", "");
    ConfigText lists;
    lists.serial = R"(["CpuCollector"])";
    const std::string config = lists.Text({{"CpuCollector", R"({"job": ["global"], "interval": 1,
        "process": [], "count": 1, "thread_collector": false, "json_output": false})"}});
    std::set<std::size_t> filed;
    int call = 0;
    do {
        ++call;
        (void)RunWithFault(config, "open:" + std::to_string(call) + ":interrupt");
        filed.insert(sandbox_.Files("raw_data/cpu").size());
    } while (Happened());
    EXPECT_THAT(filed, testing::ElementsAre(0, 1, 2, 3));
}

// The first folder that is looked into is the one of the samples, when the sources are read.
TEST_F(SingleFaults, AnInterruptBeforeTheSavingOfACorrelation) {
    const std::string old = sandbox_.UsrDir() + "old/";
    ASSERT_TRUE(bench::CorrelationGenerator(1).WriteBig(old, {20, 20, 3, 5}));
    ConfigText config;
    config.analyze = R"(["CorrelationAnalyzer"])";
    config.more = R"(, "historyDataPath": "/opt/usr/old/")";
    const RunResult run = RunWithFault(
        config.Text({{"CorrelationAnalyzer", R"({"peak_interval_us": 7, "sched": "global"})"}}),
        "opendir:1:interrupt");
    EXPECT_TRUE(Happened());
    EXPECT_THAT(run.err, HasSubstr("[CorrelationAnalyzer] Failed to save output file because of "
                                   "stopFlag.\n[CorrelationAnalyzer] Failed to save info.\n"));
    EXPECT_THAT(RunTree(old).NamesIn("csv/correlation"), testing::IsEmpty());
}

}  // namespace
}  // namespace zarn::test
