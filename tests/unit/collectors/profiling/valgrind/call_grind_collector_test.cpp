#include "collectors/profiling/valgrind/call_grind_collector.h"

#include <gmock/gmock.h>

#include <string>

#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/run_tree.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::MatchesRegex;

class CallGrindCollectorTest : public testing::Test {
protected:
    CallGrindCollectorTest() {
        host.runner.On("pidof planner", "417\n").On("pidof camera", "512\n");
    }

    Captured Run(const std::string& processes = R"(["planner","camera","planner"])") {
        return Capture([&] {
            JsonDocument config;
            ASSERT_TRUE(ParseJson(
                R"({"CallGrindCollector":{"process":)" + processes + R"(,"duration":2}})", config));
            CallGrindCollector collector(CallGrindCollector::kName, host.Get());
            ASSERT_TRUE(collector.CheckOptions(config, "collector"));
            result = collector.Start(config, tree.Path(), &stopFlag);
        });
    }

    [[nodiscard]] std::string Command(const std::string& process, const std::string& pid,
                                      int tick) const {
        const std::string stem = tree.PathOf("raw_data/callgrind/callgrind_") + process + "_" +
                                 pid + "_2023010112000000" + std::to_string(tick);
        return "perf record -a --call-graph fp -p " + pid + " -o " + stem +
               ".data -- sleep 2 && perf script -i " + stem + ".data >> " + stem + ".log";
    }
    [[nodiscard]] static std::string FailedLine(const std::string& process,
                                                const std::string& command) {
        return "[CallGrindCollector] Failed to collect process:" + process +
               ", please check the command, skipping to next process! Failed command is: " +
               command + "\n";
    }

    RunTree tree;
    FakeHost host;
    StopFlag stopFlag{0};
    bool result = false;
};

constexpr const char* kFailed = "[CallGrindCollector] Failed to collect callgrind!\n";

TEST_F(CallGrindCollectorTest, RecordsEachProcessOnceByName) {
    const Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(host.runner.Commands(),
                ElementsAre("pidof planner", "pidof camera", "pidof planner",
                            Command("camera", "512", 0), Command("planner", "417", 1)));
    EXPECT_THAT(tree.Read("env_info/time_cost.log"),
                MatchesRegex("\\[CallGrindCollector\\] cost time: [0-9.]+s\n"));
}

TEST_F(CallGrindCollectorTest, OnlyProcessesThatRunOnceAreRecorded) {
    host.runner.On("pidof twice", "1 2\n").Refuse("pidof lost");
    const Captured captured = Run(R"(["twice","none","lost","planner"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[CallGrindCollector] Target process:twice does not exist! Skipping this process!\n"
              "[CallGrindCollector] Target process:none does not exist! Skipping this process!\n"
              "[zarn_utils] Failed to popen command!\n"
              "[CallGrindCollector] Failed to get process id of lost! Skipping this process!\n");
    EXPECT_THAT(host.runner.Commands(), testing::Contains(Command("planner", "417", 0)));
}

TEST_F(CallGrindCollectorTest, ARecordingThatFailsIsToldAndTheOthersGoOn) {
    host.runner.On("-p 512", "", 255 << 8U);
    const Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, FailedLine("camera", Command("camera", "512", 0)));
    EXPECT_THAT(host.runner.Commands(), testing::Contains(Command("planner", "417", 1)));
}

TEST_F(CallGrindCollectorTest, NoRecordingIsBegunAfterAnInterrupt) {
    host.runner.Before("-p 512", [this](const std::string&) { stopFlag = 1; });
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out,
              "[CallGrindCollector] Received stop signal, process:planner and processes after are "
              "not collected!\n");
    EXPECT_EQ(captured.err, kFailed);
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

TEST_F(CallGrindCollectorTest, WithoutATimeTheCollectionEnds) {
    host.failingTick = 1;
    EXPECT_EQ(Run().err, std::string("[CallGrindCollector] Failed to get time stamp!\n") + kFailed);
    EXPECT_FALSE(result);
    EXPECT_THAT(host.runner.Commands(), testing::Contains(Command("camera", "512", 0)));
}

TEST_F(CallGrindCollectorTest, ATimeThatIsNoNumberEndsTheCollection) {
    host.currentTime = [](std::string& time) {
        time = "noon";
        return true;
    };
    EXPECT_EQ(Run().err,
              std::string("[CallGrindCollector] Got non-numeric timestamp!\n") + kFailed);
    EXPECT_FALSE(result);
}

TEST_F(CallGrindCollectorTest, WithoutItsDirectoryNothingIsRecorded) {
    tree.PutInTheWay("raw_data/callgrind");
    EXPECT_THAT(Run().err,
                EndsWith("[CallGrindCollector] Cannot create callgrind collect directory!\n"));
    EXPECT_FALSE(result);
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
}

TEST_F(CallGrindCollectorTest, WithoutAProcessThereIsNothingToDo) {
    (void)Run(R"(["none"])");
    EXPECT_TRUE(result);
    EXPECT_THAT(host.runner.Commands(), ElementsAre("pidof none"));
    EXPECT_TRUE(tree.Has("env_info/time_cost.log"));
}

}  // namespace
}  // namespace zarn::test
