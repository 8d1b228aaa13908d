#include "collectors/profiling/lib/lib_collector.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

// A run in a tree of its own, whose commands are recorded.
class LibCollectorTest : public testing::Test {
protected:
    LibCollectorTest() {
        std::filesystem::create_directories(dir.Path() + "env_info");
        host.runner.On("pidof planner", "417\n").On("pidof camera", "512\n");
        host.runner.On("pidof logger", "20\n");
    }

    Captured Run(const std::string& processes, const std::string& duration = "2") {
        return Capture([&] {
            JsonDocument config;
            ASSERT_TRUE(ParseJson(
                R"({"LibCollector":{"process":)" + processes + R"(,"duration":)" + duration + "}}",
                config));
            LibCollector collector(LibCollector::kName, host.Get());
            ASSERT_TRUE(collector.CheckOptions(config, "collector"));
            result = collector.Start(config, dir.Path(), &stopFlag);
        });
    }

    // The commands but for those that ask for processes.
    [[nodiscard]] std::vector<std::string> Recordings() const {
        std::vector<std::string> commands;
        for (const std::string& command : host.runner.Commands()) {
            if (command.rfind("pidof", 0) != 0) {
                commands.push_back(command);
            }
        }
        return commands;
    }
    [[nodiscard]] std::string Recording(const std::string& process, const std::string& pid,
                                        const std::string& time,
                                        const std::string& duration = "2") const {
        std::string path = dir.Path() + "raw_data/lib/lib_process_";
        path += process + "_" + pid + "_" + time;
        return "perf record -g -e cpu-clock,cache-misses -p " + pid + " -o " + path +
               ".data -- sleep " + duration + " && perf script -i " + path + ".data >> " + path +
               ".txt";
    }

    TempDir dir;
    FakeHost host;
    StopFlag stopFlag{0};
    bool result = false;
};

TEST_F(LibCollectorTest, RecordsTheProcessesInTheOrderOfTheirNamesEachAtItsOwnTime) {
    const Captured captured = Run(R"(["planner","camera","logger","camera"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(host.runner.Commands(),
                ElementsAre("pidof planner", "pidof camera", "pidof logger", "pidof camera",
                            Recording("camera", "512", "20230101120000000"),
                            Recording("logger", "20", "20230101120000001"),
                            Recording("planner", "417", "20230101120000002")));
    EXPECT_THAT(dir.Read("env_info/time_cost.log"),
                MatchesRegex("\\[LibCollector\\] cost time: [0-9.]+s\n"));
}

TEST_F(LibCollectorTest, ADurationOfNothingIsAskedForAsItIs) {
    (void)Run(R"(["logger"])", "0");
    EXPECT_THAT(Recordings(), ElementsAre(Recording("logger", "20", "20230101120000000", "0")));
}

// What the same name and time left is appended to, by the shell's own means.
TEST_F(LibCollectorTest, ARerunOfTheSameTimeAppendsToTheText) {
    host.currentTime = [](std::string& time) {
        time = "20230101120000000";
        return true;
    };
    (void)Run(R"(["logger"])");
    (void)Run(R"(["logger"])");
    const std::string recording = Recording("logger", "20", "20230101120000000");
    EXPECT_THAT(Recordings(), ElementsAre(recording, recording));
    EXPECT_THAT(recording, testing::HasSubstr(" >> "));
}

TEST_F(LibCollectorTest, WithoutAProcessNothingIsRecordedAndAllIsWell) {
    host.runner.On("pidof twice", "1 2\n").On("pidof none", "").Refuse("pidof lost");
    const Captured captured = Run(R"(["twice","none","lost"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(captured.err,
              "[LibCollector] Target process:twice does not exist! Skipping this process!\n"
              "[LibCollector] Target process:none does not exist! Skipping this process!\n"
              "[zarn_utils] Failed to popen command!\n"
              "[LibCollector] Failed to get process id of lost! Skipping this process!\n");
    EXPECT_THAT(Recordings(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_directory(dir.Path() + "raw_data/lib"));
    EXPECT_NE(dir.Read("env_info/time_cost.log"), "");
}

// The second recording runs to its end, the third is not begun.
TEST_F(LibCollectorTest, AnInterruptEndsTheCollectionBeforeTheNextProcess) {
    host.runner.Before("-p 20 ", [this](const std::string&) { stopFlag = 1; });
    const Captured captured = Run(R"(["planner","camera","logger"])");
    EXPECT_FALSE(result);
    EXPECT_THAT(Recordings(), ElementsAre(Recording("camera", "512", "20230101120000000"),
                                          Recording("logger", "20", "20230101120000001")));
    EXPECT_EQ(captured.out,
              "[LibCollector] Received stop signal, process planner and processes after are not "
              "collected\n");
    EXPECT_EQ(captured.err, "[LibCollector] Failed to collect lib!\n");
    EXPECT_FALSE(std::filesystem::exists(dir.Path() + "env_info/time_cost.log"));
}

TEST_F(LibCollectorTest, AfterTheLastRecordingBeganAnInterruptIsTooLate) {
    host.runner.Before("-p 417 ", [this](const std::string&) { stopFlag = 1; });
    EXPECT_EQ(Run(R"(["planner","camera"])").out, "");
    EXPECT_TRUE(result);
}

TEST_F(LibCollectorTest, ARecordingThatFailsIsToldAndTheOthersGoOn) {
    host.runner.On("-p 512 ", "", 256);
    const Captured captured = Run(R"(["planner","camera"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(captured.err, "[LibCollector] Fail to collect camera info!\n");
    EXPECT_THAT(Recordings(), testing::SizeIs(2));
}

TEST_F(LibCollectorTest, WithoutATimeTheCollectionEnds) {
    host.failingTick = 1;
    const Captured captured = Run(R"(["planner","camera","logger"])");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[LibCollector] Failed to get time stamp!\n[LibCollector] Failed to collect lib!\n");
    EXPECT_THAT(Recordings(), testing::SizeIs(1));
}

TEST_F(LibCollectorTest, ATimeThatIsNoNumberEndsTheCollection) {
    host.currentTime = [](std::string& time) {
        time = "noon";
        return true;
    };
    const Captured captured = Run(R"(["planner"])");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[LibCollector] Got non-numeric timestamp!\n[LibCollector] Failed to collect lib!\n");
    EXPECT_THAT(Recordings(), IsEmpty());
}

TEST_F(LibCollectorTest, ADirectoryThatCannotBeMadeFailsTheMission) {
    dir.Write("raw_data", "a file");
    const Captured captured = Run(R"(["planner"])");
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err,
                testing::EndsWith("[LibCollector] Cannot create lib collect directory!\n"));
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
}

using LibCollectorDeathTest = LibCollectorTest;

// Those before it have been looked up.
TEST_F(LibCollectorDeathTest, ANameThatIsNoStringEndsTheProcess) {
    host.runner.On("pidof none", "");
    EXPECT_EXIT(
        {
            JsonDocument config;
            LibCollector collector(LibCollector::kName, host.Get());
            if (ParseJson(R"({"LibCollector":{"process":["none",7],"duration":2}})", config) &&
                collector.CheckOptions(config, "collector")) {
                (void)collector.Start(config, dir.Path(), &stopFlag);
            }
        },
        testing::KilledBySignal(SIGABRT),
        "Target process:none does not exist! Skipping this process!\n.*assertion");
}

}  // namespace
}  // namespace zarn::test
