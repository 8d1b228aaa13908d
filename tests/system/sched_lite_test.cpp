#include <gmock/gmock.h>

#include "tests/support/run_tree.h"
#include "tests/system/support/board_runner.h"
#include "tests/system/support/examples.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// The job "lite" of the scheduler's collector by the built program: with the board's recorder, and
// on a machine that has none.
namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

constexpr const char* kDisarmed =
    "[SchedCollector] Success to exit lite raw data collection!\n"
    "[SchedCollector] Success:: SchedCollector has completed raw data collection!\n";

class SchedLiteTest : public testing::Test {
protected:
    // The tool `sleep` of the board: for the 10 seconds of a step it does this.
    [[nodiscard]] std::string Sleeping(const std::string& body) const {
        board_.Files().Write("tools/sleep",
                             "#!/bin/sh\n[ \"$1\" = 10 ] || exec /bin/sleep \"$@\"\n" + body);
        const std::string tools = board_.Files().Path() + "tools";
        return "chmod +x '" + tools + "/sleep'\nPATH='" + tools + "':$PATH\n";
    }

    // Runs the example; afterwards the recorder's switch stands in the file "ctrl".
    void Run(const std::string& before, const std::string& watcher = "true") {
        BoardRun run;
        run.options = "--scenario idle";
        run.before = before;
        run.watcher = watcher;
        run.watcher +=
            "\nwait $zarn; cat /proc/perf/sched_ctrl >'" + board_.Files().Path() + "ctrl'";
        ASSERT_EQ(board_.Run(ExampleText("sched_lite.json"), run), 0);
        EXPECT_EQ(board_.Files().Read("ctrl"), "0\n");
    }

    [[nodiscard]] std::string Raw(const std::string& part) const {
        const RunTree tree = board_.Tree();
        return tree.Read(tree.OnlyFile("raw_data/sched", "sched_lite_" + part + "_1_"));
    }

    BoardRunner board_;
};

TEST_F(SchedLiteTest, TheRecorderIsArmedWhileItWaitsAndNoLonger) {
    const std::string seen = board_.Files().Path() + "seen";
    Run(Sleeping("cd /proc/perf && cat sched_ctrl sched_threshold sched_record_size >>'" + seen +
                 "'\n"));
    EXPECT_EQ(board_.Err(), "");
    const std::string armed = "0xf\n150000000\n100,1000\n";
    EXPECT_EQ(board_.Files().Read("seen"), armed + armed + armed);
    EXPECT_THAT(board_.Out(), HasSubstr(std::string("Completed 100% lite sched data collection "
                                                    "time.\n[SchedCollector] End to collect lite "
                                                    "sched raw data!!\n") +
                                        kDisarmed));
    for (const char* part : {"log", "table", "stacks"}) {
        EXPECT_THAT(Raw(part), testing::StartsWith("sched_" + std::string(part))) << part;
    }
}

// As a terminal does it: everything in the foreground gets the signal.
TEST_F(SchedLiteTest, AnInterruptByTheKeyboardEndsTheWaitAndDisarms) {
    const std::string gate = board_.Files().Path() + "gate";
    Run("mkfifo '" + gate + "'\n" + Sleeping("echo >'" + gate + "'\nexec /bin/sleep 100\n"),
        "read -r line <'" + gate + "'\nkill -INT -- -$zarn");
    EXPECT_EQ(board_.Err(),
              "[SchedCollector] Failed to CreateOutputJson because of stopFlag!\n"
              "[ZarnManager] collector mode SchedCollector failed!\n"
              "[ZarnManager] Some Collector missions failed to start!\n");
    EXPECT_THAT(board_.Out(), HasSubstr(std::string("[SchedCollector] Early exit of lite sched raw "
                                                    "data collection because of stopFlag!\n") +
                                        kDisarmed));
    EXPECT_THAT(board_.Tree().NamesIn("raw_data/sched"), SizeIs(3));
}

// One of the recorder's files is gone: the part of the start line before it has armed the recorder.
TEST_F(SchedLiteTest, HalfAStartIsTakenBack) {
    Run("mv /proc/perf/sched_stacks /proc/perf/elsewhere\n" + Sleeping("exit 3\n"));
    EXPECT_EQ(board_.Err(),
              "cat: /proc/perf/sched_stacks: No such file or directory\n"
              "[SchedCollector] Fail to start collecting lite raw data!\n");
    EXPECT_THAT(Raw("table"), testing::StartsWith("sched_table"));
    EXPECT_EQ(Raw("stacks"), "");
}

TEST(SchedWithoutRecorderTest, TheJobSaysSoAndTheRunGoesOn) {
    if (RunTree("/proc/perf/").Has("sched_ctrl")) {
        GTEST_SKIP() << "this kernel has the recorder";
    }
    Sandbox sandbox;
    const RunResult run = sandbox.Run(ExampleText("sched_lite.json"));
    EXPECT_TRUE(run.Succeeded());
    // The shell's words about the two lines stand around ours.
    const std::string errors = ErrorsOfMissions(run);
    EXPECT_THAT(errors, HasSubstr("\n[SchedCollector] Fail to start collecting lite raw data!\n"));
    EXPECT_EQ(errors.find("[SchedCollector]"), errors.rfind("[SchedCollector]"));
    EXPECT_THAT(run.out, HasSubstr("[SchedCollector] Collecting SchedCollector raw data!\n"
                                   "[SchedCollector] Success:: SchedCollector has completed raw "
                                   "data collection!\n"
                                   "[SchedCollector] Success:: SchedCollector has completed JSON "
                                   "data storage!\n"));
    EXPECT_THAT(sandbox.Files("raw_data/sched"), SizeIs(0));
}

}  // namespace
}  // namespace zarn::test
