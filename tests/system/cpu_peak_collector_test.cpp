#include <gmock/gmock.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// Recordings of load peaks by the built program, with a recorded perf and counters that move as the
// test has them, or worse ones; and with this machine's own.
namespace zarn::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kFailed =
    "[CpuPeakCollector] Failed to collect peak!\n"
    "[ZarnManager] collector mode CpuPeakCollector failed!\n"
    "[ZarnManager] Some Collector missions failed to start!\n";

// One pass in which this machine's cores are busy, whatever they do: a limit below nothing.
constexpr const char* kEveryCore = "-1.0";

constexpr const char* kCaptured = "perf-6.1.187-peak/script.txt";

class CpuPeakRunTest : public testing::Test {
protected:
    CpuPeakRunTest() {
        AddRecordedProfiler(sandbox_);
        sandbox_.ToolPrinting("recorded-script", ReadText(DataPath(kCaptured)));
    }

    [[nodiscard]] static std::string Config(const std::string& maxUsage = kEveryCore,
                                            const std::string& duration = "0",
                                            const std::string& period = "0") {
        ConfigText config;
        config.serial = R"(["CpuPeakCollector"])";
        return config.Text(
            {{"CpuPeakCollector", R"({"scanDuration":)" + duration + R"(,"scanPeriod":)" + period +
                                      R"(,"maxUsage":)" + maxUsage +
                                      R"(,"collectionDuration":0.0,"collectionFrequency":99})"}});
    }

    // A scan long enough for a tick of the kernel's clock on each core, whoever else has them.
    [[nodiscard]] static std::string ShortScan(const std::string& maxUsage = kEveryCore) {
        return Config(maxUsage, "200", "200");
    }

    // A run that succeeds, whatever its commands do.
    RunResult Run(const std::string& config = ShortScan()) {
        RunResult run = sandbox_.Run(config);
        EXPECT_TRUE(run.Succeeded()) << run.err;
        EXPECT_THAT(run.out, EndsWith("[Main] Collection jobs finished.\n"));
        return run;
    }

    [[nodiscard]] std::vector<std::string> Recorded(const std::string& suffix) const {
        std::vector<std::string> names;
        for (const std::string& name : sandbox_.Files("raw_data/cpu_peak")) {
            if (name.size() > suffix.size() && name.substr(name.size() - suffix.size()) == suffix) {
                names.push_back("raw_data/cpu_peak/" + name);
            }
        }
        return names;
    }

    Sandbox sandbox_;
};

// The numbers of all processors at work, as a file's name has them.
std::string AllCores() {
    std::string cores;
    for (const std::string& line : LinesIn(ReadText("/proc/stat"))) {
        if (line.size() > 3 && line.rfind("cpu", 0) == 0 && line[3] != ' ') {
            cores += (cores.empty() ? "" : ",") + line.substr(3, line.find(' ') - 3);
        }
    }
    return cores;
}

TEST_F(CpuPeakRunTest, LeavesARecordingAndItsTextForEachPeak) {
    const RunResult run = Run();
    EXPECT_EQ(ErrorsOfMissions(run), "");
    const std::vector<std::string> recordings = Recorded(".data");
    ASSERT_THAT(recordings, Not(IsEmpty()));
    ASSERT_EQ(Recorded(".unfold").size(), recordings.size());
    for (const std::string& name : recordings) {
        EXPECT_THAT(name, testing::MatchesRegex("raw_data/cpu_peak/cpu_peak_collect_CPU_" +
                                                AllCores() + "_[0-9]{17}\\.data"));
        EXPECT_EQ(sandbox_.Read(name), "recording\n");
    }
    EXPECT_EQ(sandbox_.Read(Recorded(".unfold")[0]), ReadText(DataPath(kCaptured)));
    EXPECT_THAT(run.out, HasSubstr("[CpuPeakCollector] CPU info has a peak! Start a thread for "
                                   "perf collection!\n[CpuPeakCollector] CPU " +
                                   AllCores() + " need to be collected!\n"));
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"),
                StartsWith("[CpuPeakCollector] Cost time: "));
    EXPECT_THAT(sandbox_.Files("json"), ElementsAre("zarn_collector_start_end_timestamp.data"));
}

TEST_F(CpuPeakRunTest, AsksPerfForTheBusyCoresFromTheQuietOne) {
    sandbox_.Tool("taskset", "echo \"$@\" >> $ZARN_SANDBOX_DIR/calls\nshift 2\nexec \"$@\"\n");
    sandbox_.Tool("perf-step", "[ $1 = record ] || echo \"$@\" >> $ZARN_SANDBOX_DIR/calls\n");
    (void)Run();
    const std::string path = sandbox_.RunDirInside() + Recorded(".data")[0];
    EXPECT_THAT(sandbox_.ReadScratch("calls"),
                StartsWith("-c 0 perf record -o " + path + " -F 99 -C " + AllCores() +
                           " -a -g -- sleep 0.000000\nscript -i " + path + "\n"));
}

TEST_F(CpuPeakRunTest, WithoutAPeakNothingIsRecorded) {
    EXPECT_EQ(ErrorsOfMissions(Run(ShortScan("100.0"))), "");
    EXPECT_THAT(sandbox_.Files("raw_data/cpu_peak"), IsEmpty());
}

TEST_F(CpuPeakRunTest, WithoutPerfOrTasksetEachRecordingIsTold) {
    sandbox_.RemoveTool("perf");
    sandbox_.OnlyTools({"taskset", "sleep", "cp", "mkdir"});
    EXPECT_THAT(ErrorsOfMissions(Run()),
                AllOf(HasSubstr("[CpuPeakCollector] Perf record command execution failed!\n"
                                "sh: 1: perf: not found\n"
                                "[CpuPeakCollector] perf script command execution failed!\n"),
                      StartsWith("taskset: ")));
    EXPECT_THAT(Recorded(".data"), IsEmpty());
    sandbox_.RemoveTool("taskset");
    EXPECT_THAT(ErrorsOfMissions(Run()),
                StartsWith("sh: 1: taskset: not found\n"
                           "[CpuPeakCollector] Perf record command execution failed!\n"));
}

// A perf that may not record, is killed, or dies in the middle of its text.
TEST_F(CpuPeakRunTest, APerfThatFailsIsTold) {
    const std::string record = "[CpuPeakCollector] Perf record command execution failed!\n";
    const std::string script = "[CpuPeakCollector] perf script command execution failed!\n";
    for (const char* body : {"exit 255\n", "kill -9 $$\n"}) {
        sandbox_.Tool("perf", body);
        EXPECT_THAT(ErrorsOfMissions(Run()), AllOf(HasSubstr(record), EndsWith(script))) << body;
    }
    sandbox_.Tool("perf", "[ $1 = script ] || exit 0\nprintf 'torn 5'; kill -9 $$\n");
    const std::string errors = ErrorsOfMissions(Run());
    EXPECT_THAT(errors, AllOf(EndsWith(script), Not(HasSubstr(record))));
    EXPECT_EQ(sandbox_.Read(Recorded(".unfold")[0]), "torn 5");
}

TEST_F(CpuPeakRunTest, AnEndlessRecordingEndsWithAnInterrupt) {
    MakeRecordingEndless(sandbox_);
    const RunResult run = Run(Config(kEveryCore, "600000", "50"));
    EXPECT_THAT(run.err, HasSubstr("[CpuPeakCollector] Perf record command execution failed!\n"));
    EXPECT_THAT(run.out,
                HasSubstr("[CpuPeakCollector] StopFlag received, CpuPeakCollector has stopped.\n"));
}

TEST_F(CpuPeakRunTest, AnInterruptInEitherStepEndsTheScanBehindIt) {
    for (const char* step : {"record", "script"}) {
        sandbox_.Tool("perf-step",
                      std::string("[ $1 != ") + step + " ] || sandbox-event interrupt\n");
        const RunResult run = Run(Config(kEveryCore, "600000", "50"));
        EXPECT_EQ(ErrorsOfMissions(run), "") << step;
        EXPECT_THAT(
            run.out,
            AllOf(
                HasSubstr("Signal Interactive attention received.\n"),
                HasSubstr("[CpuPeakCollector] StopFlag received, CpuPeakCollector has stopped.\n")))
            << step;
        EXPECT_THAT(Recorded(".unfold"), SizeIs(1)) << step;
    }
}

TEST_F(CpuPeakRunTest, ATasksetThatRefusesIsTold) {
    sandbox_.Tool("taskset", "echo refused >&2; exit 1\n");
    sandbox_.Tool("perf", "");
    EXPECT_THAT(ErrorsOfMissions(Run()),
                StartsWith("refused\n[CpuPeakCollector] Perf record command execution failed!\n"));
    EXPECT_EQ(sandbox_.Read(Recorded(".unfold")[0]), "");
}

// The interrupt comes from beside, while the first period of an hour is slept away.
TEST_F(CpuPeakRunTest, AnInterruptEndsALongSleep) {
    sandbox_.Tool("perf-step", "[ $1 != record ] || sandbox-event interrupt\n");
    ConfigText config;
    config.parallel = R"(["CpuPeakCollector", "LibCollector"])";
    const RunResult run = Run(config.Text(
        {{"CpuPeakCollector", R"({"scanDuration":3600000,"scanPeriod":3600000,"maxUsage":0.0,
              "collectionDuration":0.0,"collectionFrequency":99})"},
         {"LibCollector", R"({"process": ["planner_node"], "duration": 0})"}}));
    EXPECT_THAT(run.out,
                HasSubstr("[CpuPeakCollector] StopFlag received, CpuPeakCollector has stopped.\n"));
    EXPECT_THAT(sandbox_.Files("raw_data/cpu_peak"), IsEmpty());
}

TEST_F(CpuPeakRunTest, AFullDiskFailsWhatDoesNotFit) {
    Sandbox small;
    if (!small.LimitSpace(1U << 19U)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    AddRecordedProfiler(small);
    small.ToolPrinting("recorded-script", std::string(1U << 20U, 'x'));
    const RunResult run = small.Run(ShortScan());
    EXPECT_TRUE(run.Succeeded()) << run.err;
    EXPECT_THAT(run.err, HasSubstr("[CpuPeakCollector] perf script command execution failed!\n"));
}

TEST_F(CpuPeakRunTest, CountersOfNoUseEndTheCollection) {
    struct Case {
        std::string text;
        std::string line;
    };
    for (const Case& bad :
         {Case{"", "[CpuPeakCollector] CPU info is incomplete!\n"},
          Case{"cpu 1 2 3 4 5\ncpu0 1 2", "[CpuPeakCollector] CPU info is incomplete!\n"},
          Case{std::string(16U << 20U, '7'), "[CpuPeakCollector] CPU info is incomplete!\n"},
          Case{"cpu\ncpu0 one 2 3 4 5\n", "[Utils] Invalid argument\n"}}) {
        Sandbox sandbox;
        sandbox.Bind(sandbox.WriteScratch("stat", bad.text), "/proc/stat");
        const RunResult run = sandbox.Run(ShortScan());
        EXPECT_TRUE(run.Succeeded());
        EXPECT_THAT(run.err,
                    EndsWith(bad.line + "[CpuPeakCollector] Failed to get CPU info!\n" + kFailed))
            << bad.line;
    }
}

TEST_F(CpuPeakRunTest, CountersThatStandStillArePassedOver) {
    std::string text = "cpu 1 2 3 4 5\n";
    for (long core = 0; core < ::sysconf(_SC_NPROCESSORS_CONF); ++core) {
        text += "cpu" + std::to_string(core) + " 1 2 3 4 5\n";
    }
    sandbox_.Bind(sandbox_.WriteScratch("stat", text), "/proc/stat");
    EXPECT_THAT(ErrorsOfMissions(Run(Config())),
                testing::MatchesRegex("(\\[CpuPeakCollector\\] Failed to get total CPU time diff "
                                      "\\(diff is 0\\)! Ignore this period!\n)+"));
    EXPECT_THAT(sandbox_.Files("raw_data/cpu_peak"), IsEmpty());
}

TEST_F(CpuPeakRunTest, ARefusedSectionEndsTheRunBeforeAnyMission) {
    const RunResult run = sandbox_.Run(Config("80"));
    EXPECT_THAT(run.err,
                HasSubstr("[CpuPeakCollector] Invalid CpuPeakCollector maxUsage param type!\n"));
    EXPECT_THAT(sandbox_.Files("raw_data/cpu_peak"), IsEmpty());
}

}  // namespace
}  // namespace zarn::test
