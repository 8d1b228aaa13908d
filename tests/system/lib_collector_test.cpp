#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/support/manager_texts.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// Recordings of library use by the built program, with a recorded perf, or worse ones.
namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kFailed =
    "[LibCollector] Failed to collect lib!\n"
    "[ZarnManager] collector mode LibCollector failed!\n"
    "[ZarnManager] Some Collector missions failed to start!\n";

class LibCollectorRunTest : public testing::Test {
protected:
    // Processes "a", "b" and "c" have the pids 1, 2 and 3.
    LibCollectorRunTest() {
        AddRecordedProfiler(sandbox_);
        sandbox_.Tool("pidof", "case $1 in a) echo 1 ;; b) echo 2 ;; c) echo 3 ;; esac\n");
    }

    [[nodiscard]] static std::string Config(const std::string& processes = R"(["c","a","b"])",
                                            const std::string& duration = "0") {
        ConfigText config;
        config.serial = R"(["LibCollector"])";
        return config.Text(
            {{"LibCollector", R"({"process":)" + processes + R"(,"duration":)" + duration + "}"}});
    }

    // A run whose commands fail as told, but which succeeds.
    RunResult Run(const std::string& config = Config()) {
        RunResult run = sandbox_.Run(config);
        EXPECT_TRUE(run.Succeeded()) << run.err;
        EXPECT_THAT(run.out, EndsWith("[Main] Collection jobs finished.\n"));
        return run;
    }

    // The names of the files that were recorded, without the time stamp.
    [[nodiscard]] std::vector<std::string> Recorded() const {
        std::vector<std::string> stems;
        for (const std::string& name : sandbox_.Files("raw_data/lib")) {
            stems.push_back(name.substr(0, name.rfind('_')) + name.substr(name.rfind('.')));
        }
        return stems;
    }

    Sandbox sandbox_;
};

TEST_F(LibCollectorRunTest, LeavesRecordingsAndCallStacks) {
    EXPECT_EQ(ErrorsOfMissions(Run()), "");
    EXPECT_THAT(Recorded(),
                ElementsAre("lib_process_a_1.data", "lib_process_a_1.txt", "lib_process_b_2.data",
                            "lib_process_b_2.txt", "lib_process_c_3.data", "lib_process_c_3.txt"));
    EXPECT_EQ(sandbox_.Read("raw_data/lib/" + sandbox_.Files("raw_data/lib")[1]),
              ReadText(DataPath("perf-6.1.187-profile/script.txt")));
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"), StartsWith("[LibCollector] cost time: "));
    EXPECT_THAT(sandbox_.Files("json"), ElementsAre("zarn_collector_start_end_timestamp.data"));
}

TEST_F(LibCollectorRunTest, AsksPerfForTheClockAndTheCachesOfEachProcess) {
    sandbox_.Tool("perf-step", "echo \"$@\" >> $ZARN_SANDBOX_DIR/calls\n");
    (void)Run(Config(R"(["b"])", "7"));
    const std::string path =
        sandbox_.RunDirInside() + "raw_data/lib/" + sandbox_.Files("raw_data/lib")[0];
    EXPECT_EQ(sandbox_.ReadScratch("calls"), "record -g -e cpu-clock,cache-misses -p 2 -o " + path +
                                                 " -- sleep 7\nscript -i " + path + "\n");
}

TEST_F(LibCollectorRunTest, WithoutPerfEachProcessIsTold) {
    sandbox_.RemoveTool("perf");
    sandbox_.OnlyTools({"sleep", "cp", "mkdir"});
    EXPECT_EQ(ErrorsOfMissions(Run()),
              "sh: 1: perf: not found\n[LibCollector] Fail to collect a info!\n"
              "sh: 1: perf: not found\n[LibCollector] Fail to collect b info!\n"
              "sh: 1: perf: not found\n[LibCollector] Fail to collect c info!\n");
    EXPECT_THAT(Recorded(), IsEmpty());
}

// A perf that may not record, is killed, or dies in the middle of its text.
TEST_F(LibCollectorRunTest, APerfThatFailsIsToldAsOne) {
    for (const char* body : {"exit 255\n", "kill -9 $$\n",
                             "[ $1 = script ] || exit 0\nprintf 'torn 5'; kill -9 $$\n"}) {
        sandbox_.Tool("perf", body);
        EXPECT_THAT(ErrorsOfMissions(Run(Config(R"(["a"])"))),
                    EndsWith("[LibCollector] Fail to collect a info!\n"))
            << body;
    }
    EXPECT_EQ(sandbox_.Read("raw_data/lib/" + sandbox_.Files("raw_data/lib")[0]), "torn 5");
}

// Success without a file, and without a word.
TEST_F(LibCollectorRunTest, APerfThatDoesNothingLeavesEmptyTexts) {
    sandbox_.Tool("perf", "");
    EXPECT_EQ(ErrorsOfMissions(Run()), "");
    EXPECT_THAT(Recorded(),
                ElementsAre("lib_process_a_1.txt", "lib_process_b_2.txt", "lib_process_c_3.txt"));
}

TEST_F(LibCollectorRunTest, WithoutPidofNothingIsRecordedAndAllIsWell) {
    sandbox_.RemoveTool("pidof");
    sandbox_.OnlyTools({"cp", "mkdir"});
    EXPECT_EQ(ErrorsOfMissions(Run(Config(R"(["a"])"))),
              "sh: 1: pidof: not found\n"
              "[LibCollector] Target process:a does not exist! Skipping this process!\n");
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"), StartsWith("[LibCollector] cost time: "));
}

TEST_F(LibCollectorRunTest, AnEndlessRecordingEndsWithAnInterrupt) {
    MakeRecordingEndless(sandbox_);
    const RunResult run = sandbox_.Run(Config());
    EXPECT_THAT(run.err,
                EndsWith(std::string("[LibCollector] Fail to collect a info!\n") + kFailed));
    EXPECT_THAT(run.out, HasSubstr("[LibCollector] Received stop signal, process b and processes "
                                   "after are not collected\n"));
}

// The recording in hand runs to its end; behind the last one's begin an interrupt is too late.
TEST_F(LibCollectorRunTest, AnInterruptInAnyStepLeavesWhatIsDone) {
    struct Step {
        const char* arguments;  // of the call of perf, as a pattern
        std::size_t recordings;
    };
    for (const Step& step :
         {Step{"record*-p\\ 1\\ *", 1}, Step{"script*_a_*", 1}, Step{"record*-p\\ 2\\ *", 2},
          Step{"script*_b_*", 2}, Step{"record*-p\\ 3\\ *", 3}, Step{"script*_c_*", 3}}) {
        sandbox_.Tool("perf-step", std::string("case $* in ") + step.arguments +
                                       ") sandbox-event interrupt ;; esac\n");
        const RunResult run = sandbox_.Run(Config());
        EXPECT_THAT(run.out, HasSubstr("Signal Interactive attention received.\n"))
            << step.arguments;
        EXPECT_EQ(Recorded().size(), 2 * step.recordings) << step.arguments;
        EXPECT_EQ(run.err.find(kFailed) == std::string::npos, step.recordings == 3) << run.err;
    }
}

TEST_F(LibCollectorRunTest, AFullDiskFailsWhatDoesNotFit) {
    Sandbox small;
    if (!small.LimitSpace(1U << 19U)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    AddRecordedProfiler(small);
    small.ToolPrinting("recorded-script", std::string(1U << 20U, 'x'));
    const RunResult run = small.Run(Config(R"(["planner_node"])"));
    EXPECT_TRUE(run.Succeeded()) << run.err;
    EXPECT_THAT(run.err, HasSubstr("[LibCollector] Fail to collect planner_node info!\n"));
}

TEST_F(LibCollectorRunTest, ARefusedSectionEndsTheRunBeforeAnyMission) {
    const RunResult run = sandbox_.Run(Config("[]"));
    EXPECT_THAT(run.err, HasSubstr("[LibCollector] LibCollector process array is empty!\n"));
    EXPECT_THAT(sandbox_.Files("raw_data/lib"), IsEmpty());
}

TEST_F(LibCollectorRunTest, ANameThatIsNoStringEndsTheProcess) {
    const RunResult run = sandbox_.Run(Config(R"(["a",1])"));
    EXPECT_TRUE(run.Aborted());
    EXPECT_THAT(run.out, Not(HasSubstr("[Main] Collection jobs finished.")));
}

}  // namespace
}  // namespace zarn::test
