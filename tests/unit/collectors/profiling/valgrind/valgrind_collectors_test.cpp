#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "collectors/profiling/valgrind/cache_grind_collector.h"
#include "collectors/profiling/valgrind/massif_collector.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/run_tree.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

// A class, and what it calls its tool and its files.
struct Launching {
    const char* name;
    const char* noun;
    std::unique_ptr<BasicCollector> (*make)(const Host& host);
};

template <class Collector>
Launching Class(const char* noun) {
    return {Collector::kName, noun, [](const Host& host) -> std::unique_ptr<BasicCollector> {
                return std::make_unique<Collector>(Collector::kName, host);
            }};
}

// A fake valgrind, which leaves a report and ends at once. It is interrupted after it has started,
// whatever the threads do.
class FakeValgrind final : public CommandRunner {
public:
    explicit FakeValgrind(FakeRunner& runner) : runner_(runner) {}

    int Run(const std::string& command) override {
        const int status = runner_.Run(command);
        const std::string option = "-out-file=";
        const auto found = command.find(option);
        if (found == std::string::npos) {
            return status;
        }
        const auto begin = found + option.size();
        if (leavesReport) {
            WriteText(command.substr(begin, command.find(' ', begin) - begin), "report");
        }
        ++started_;
        return status;
    }
    [[nodiscard]] bool Capture(const std::string& command, std::string& output) override {
        if (command == "pidof valgrind") {
            ++interrupted_;
            while (started_ < interrupted_) {
                std::this_thread::yield();
            }
        }
        return runner_.Capture(command, output);
    }

    bool leavesReport = true;

private:
    FakeRunner& runner_;
    std::atomic<int> started_{0};
    int interrupted_ = 0;
};

class ValgrindCollectorsTest : public testing::TestWithParam<Launching> {
protected:
    ValgrindCollectorsTest() { host.otherRunner = &valgrind; }

    // Programs as a JSON array, and their launch settings as members.
    Captured Run(const std::string& programs, const std::string& settings) {
        const std::string text = "{\"" + Name() + "\":{\"process\":" + programs +
                                 R"(,"duration":0},"ProcessRunSetting":{)" + settings + "}}";
        return Capture([&] {
            JsonDocument config;
            ASSERT_TRUE(ParseJson(text, config)) << text;
            const auto collector = GetParam().make(host.Get());
            ASSERT_TRUE(collector->CheckOptions(config, "collector"));
            result = collector->Start(config, tree.Path(), &stopFlag);
        });
    }

    [[nodiscard]] static std::string Name() { return GetParam().name; }
    [[nodiscard]] static std::string Noun() { return GetParam().noun; }
    [[nodiscard]] static std::string Head() { return "[" + Name() + "] "; }
    [[nodiscard]] static std::string RawDir() { return "raw_data/" + Noun() + "/"; }
    [[nodiscard]] std::string Tool(const std::string& program, int tick) const {
        return "valgrind --tool=" + Noun() + " --keep-debuginfo=yes --" + Noun() +
               "-out-file=" + tree.PathOf(RawDir()) + ReportOf(program, tick) + " ";
    }
    [[nodiscard]] static std::string ReportOf(const std::string& program, int tick) {
        return Noun() + "_" + program + "_2023010112000000" + std::to_string(tick) + ".log";
    }
    // The lines about a program that left no report.
    [[nodiscard]] std::string NoReport(const std::string& program) const {
        return Head() + "Target file: " + Noun() + "_" + program +
               "_[0-9]+\\.log does not exist under path: " + tree.PathOf(RawDir()) + "!\n" +
               Head() + "Failed to generate raw_data file for process: " + program +
               ", please check the process setting!\n";
    }

    RunTree tree;
    FakeHost host;
    StopFlag stopFlag{0};
    bool result = false;
    FakeValgrind valgrind{host.runner};
};

constexpr const char* kPlanner =
    R"("planner":{"bin_path":"/opt/planner -v","env_variables":{"B":"2 3","A":"1"}})";
constexpr const char* kCamera =
    R"("camera":{"bin_path":"camera","env_variables":{},"rungate":false,"rungate_alloc_group":"g"})";

std::string Both() {
    return std::string(kPlanner) + "," + kCamera;
}

INSTANTIATE_TEST_SUITE_P(Classes, ValgrindCollectorsTest,
                         testing::Values(Class<CacheGrindCollector>("cachegrind"),
                                         Class<MassifCollector>("massif")),
                         [](const auto& launching) { return std::string(launching.param.name); });

TEST_P(ValgrindCollectorsTest, StartsProgramsOneAfterTheOtherByName) {
    host.runner.On("pidof planner", "417\n").On("pidof valgrind", "512\n");
    const Captured captured = Run(R"(["planner","camera"])", Both());
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(
        host.runner.Commands(),
        ElementsAre("pidof camera", "rungate " + Tool("camera", 0) + "camera --allocGroup=g",
                    "pidof valgrind", "kill -2 512", "pidof planner", "kill -9 417",
                    "export B=2 3 && export A=1 && " + Tool("planner", 1) + "/opt/planner -v",
                    "pidof valgrind", "kill -2 512"));
    EXPECT_THAT(tree.NamesIn(RawDir()), ElementsAre(ReportOf("camera", 0), ReportOf("planner", 1)));
    EXPECT_THAT(tree.Read("env_info/time_cost.log"),
                MatchesRegex("\\[" + Name() + "\\] cost time: [0-9.]+s\n"));
}

// The program has ended by itself before the time is over: its report is there.
TEST_P(ValgrindCollectorsTest, AProgramThatHasEndedIsNoFailure) {
    const Captured captured = Run(R"(["planner"])", kPlanner);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(host.runner.Commands(), ElementsAre("pidof planner", testing::_, "pidof valgrind"));
    EXPECT_THAT(tree.NamesIn(RawDir()), ElementsAre(ReportOf("planner", 0)));
}

TEST_P(ValgrindCollectorsTest, SeveralValgrindsAreLeftAlone) {
    host.runner.On("pidof valgrind", "512 513\n");
    EXPECT_EQ(Run(R"(["planner"])", kPlanner).err, "");
    EXPECT_THAT(host.runner.Commands(), testing::Not(testing::Contains(HasSubstr("kill"))));
}

TEST_P(ValgrindCollectorsTest, WithoutAReportTheProgramIsTold) {
    valgrind.leavesReport = false;
    host.runner.On("valgrind --tool", "", 127 << 8U);
    const Captured captured = Run(R"(["planner","camera"])", Both());
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, NoReport("camera") + NoReport("planner"));
}

// The names of other programs' reports may hold this one's, and an earlier one serves as well.
TEST_P(ValgrindCollectorsTest, AReportOfAnotherProgramIsTakenForItsOwn) {
    valgrind.leavesReport = false;
    tree.Write(RawDir() + "old_" + Noun() + "_planner_1.log.txt", "");
    EXPECT_EQ(Run(R"(["planner"])", kPlanner).err, "");
}

TEST_P(ValgrindCollectorsTest, ANameThatIsNoExpressionHasNoReport) {
    const Captured captured = Run(R"(["a("])", R"("a(":{"bin_path":"x","env_variables":{}})");
    EXPECT_TRUE(result);
    EXPECT_THAT(captured.err,
                MatchesRegex("\\[zarn_utils\\] Error occurs: [^\n]+\n\\[" + Name() +
                             "\\] Failed to generate raw_data file for process: a\\(, "
                             "please check the process setting!\n"));
    EXPECT_THAT(tree.NamesIn(RawDir()), ElementsAre(ReportOf("a(", 0)));
}

TEST_P(ValgrindCollectorsTest, ACopyThatCannotBeKilledKeepsItsProgramFromStarting) {
    host.runner.On("pidof camera", "512\n").On("kill -9", "", 256);
    const Captured captured = Run(R"(["planner","camera"])", Both());
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, Head() + "Fail to kill process:camera\n");
    EXPECT_THAT(tree.NamesIn(RawDir()), ElementsAre(ReportOf("planner", 1)));
}

TEST_P(ValgrindCollectorsTest, WithoutPidofNoProgramIsStarted) {
    host.runner.Refuse("pidof camera");
    const Captured captured = Run(R"(["planner","camera"])", Both());
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "[zarn_utils] Failed to popen command!\n" + Head() +
                                "Failed to get process id of camera! Skipping this process!\n");
    EXPECT_THAT(tree.NamesIn(RawDir()), ElementsAre(ReportOf("planner", 1)));
}

TEST_P(ValgrindCollectorsTest, NoProgramIsStartedAfterAnInterrupt) {
    host.runner.Before("--allocGroup", [this](const std::string&) { stopFlag = 1; });
    const Captured captured = Run(R"(["planner","camera"])", Both());
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out, Head() +
                                "Received stop signal, process:planner and processes after "
                                "are not collected!\n");
    EXPECT_EQ(captured.err, Head() + "Failed to collect " + Noun() + "!\n");
    EXPECT_THAT(tree.NamesIn(RawDir()), ElementsAre(ReportOf("camera", 0)));
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

TEST_P(ValgrindCollectorsTest, AfterTheLastProgramAnInterruptIsTooLate) {
    host.runner.Before("pidof valgrind", [this](const std::string&) { stopFlag = 1; });
    EXPECT_EQ(Run(R"(["planner"])", kPlanner).err, "");
    EXPECT_TRUE(result);
}

TEST_P(ValgrindCollectorsTest, WithoutATimeTheCollectionEnds) {
    host.failingTick = 1;
    const Captured captured = Run(R"(["planner","camera"])", Both());
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err, Head() + "Failed to get time stamp!\n" + Head() + "Failed to collect " +
                                Noun() + "!\n");
    EXPECT_THAT(tree.NamesIn(RawDir()), ElementsAre(ReportOf("camera", 0)));
}

TEST_P(ValgrindCollectorsTest, ATimeThatIsNoNumberEndsTheCollection) {
    host.currentTime = [](std::string& time) {
        time = "noon";
        return true;
    };
    const Captured captured = Run(R"(["planner"])", kPlanner);
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err, Head() + "Got non-numeric timestamp!\n" + Head() +
                                "Failed to collect " + Noun() + "!\n");
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
}

TEST_P(ValgrindCollectorsTest, WithoutItsDirectoryNothingIsStarted) {
    tree.PutInTheWay("raw_data/" + Noun());
    const Captured captured = Run(R"(["planner"])", kPlanner);
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err,
                EndsWith(Head() + "Cannot create " + Noun() + " collect directory!\n"));
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
}

TEST_P(ValgrindCollectorsTest, WithNoProgramLeftThereIsNothingToDo) {
    const Captured captured = Run(R"(["planner"])", "");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, Head() + "Process run setting missing for process:planner!\n" + Head() +
                                "Skipping this process!\n");
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
    EXPECT_TRUE(tree.Has("env_info/time_cost.log"));
}

// A valgrind of another user: the thread that waits for ours cannot be left behind.
TEST_P(ValgrindCollectorsTest, AValgrindThatCannotBeInterruptedEndsTheProcess) {
    if (!std::string_view(ZARN_EMULATOR).empty()) {
        GTEST_SKIP() << "an emulated program cannot start itself";
    }
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    host.runner.On("pidof valgrind", "512\n").On("kill -2", "", 256);
    EXPECT_EXIT(
        {
            (void)Run(R"(["planner"])", kPlanner);
            std::exit(0);
        },
        testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
}  // namespace zarn::test
