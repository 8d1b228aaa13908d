#include "collectors/system/cpu_peak/cpu_peak_collector.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/section_config.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {
namespace {

using std::chrono::milliseconds;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

constexpr const char* kPeak =
    "[CpuPeakCollector] CPU info has a peak! Start a thread for perf collection!\n";
constexpr const char* kStoodStill =
    "[CpuPeakCollector] Failed to get total CPU time diff (diff is 0)! Ignore this period!\n";
constexpr const char* kNoInfo =
    "[CpuPeakCollector] Failed to get CPU info!\n[CpuPeakCollector] Failed to collect peak!\n";
constexpr const char* kStopped =
    "[CpuPeakCollector] StopFlag received, CpuPeakCollector has stopped.\n";

std::string RepeatedText(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

// A collection on a machine whose counters a test moves, a step a sleep.
class CpuPeakCollectorTest : public testing::Test {
protected:
    CpuPeakCollectorTest() {
        std::filesystem::create_directories(dir.Path() + "env_info");
        host.procRoot = dir.Path() + "proc/";
        host.processors = 4;
        host.duringSleep = [this] { Move(); };
        busy.assign(4, 0);
        WriteStat();
    }

    // Lets a period pass: the load of each core in percent.
    void Move() {
        host.wallTime += late;
        for (std::size_t core = 0; core < busy.size(); ++core) {
            used[core] += busy[core];
            idle[core] += 100 - busy[core];
        }
        WriteStat();
    }

    void WriteStat() const {
        std::string text = "cpu  1 2 3 4 5 6 7 8 9 10\n";
        for (std::size_t core = 0; core < busy.size(); ++core) {
            text += "cpu" + std::to_string(core) + " " + std::to_string(used[core]) + " 0 0 " +
                    std::to_string(idle[core]) + " 0 0 0 0 0 0\n";
        }
        (void)dir.Write("proc/stat", text + "intr 1 2 3\n");
    }

    Captured Run() {
        const JsonDocument config = ParsedConfigOf("CpuPeakCollector", SectionText(keys));
        CpuPeakCollector collector(CpuPeakCollector::kName, host.Get());
        return Capture([&] {
            ASSERT_TRUE(collector.CheckOptions(config, "collector"));
            result = collector.Start(config, dir.Path(), &stopFlag);
        });
    }

    void Set(const std::string& key, const std::string& value) {
        for (auto& [name, text] : keys) {
            text = name == key ? value : text;
        }
    }

    // A run of so many passes: two at least, unless each takes longer than all the time there is.
    Captured RunPasses(int passes) {
        late = milliseconds(passes == 1 ? 1 : 0);
        Set("scanDuration", std::to_string(passes == 1 ? 100 : (passes - 1) * 100));
        return Run();
    }

    [[nodiscard]] std::string Path(const std::string& cores, const std::string& time) const {
        return dir.Path() + "raw_data/cpu_peak/cpu_peak_collect_CPU_" + cores + "_" + time;
    }
    [[nodiscard]] std::string RecordCommand(const std::string& quiet, const std::string& cores,
                                            const std::string& time) const {
        return "taskset -c " + quiet + " perf record -o " + Path(cores, time) + ".data -F 99 -C " +
               cores + " -a -g -- sleep 0.500000";
    }
    [[nodiscard]] std::string TextCommand(const std::string& cores, const std::string& time) const {
        return "perf script -i " + Path(cores, time) + ".data > " + Path(cores, time) + ".unfold";
    }

    TempDir dir;
    FakeHost host;
    StopFlag stopFlag{0};
    std::vector<unsigned> busy;
    std::vector<std::uint64_t> used = std::vector<std::uint64_t>(256, 1000);
    std::vector<std::uint64_t> idle = std::vector<std::uint64_t>(256, 5000);
    SectionKeys keys = {{"scanDuration", "100"},
                        {"scanPeriod", "100"},
                        {"maxUsage", "80.0"},
                        {"collectionDuration", "0.5"},
                        {"collectionFrequency", "99"}};
    milliseconds late{0};  // by which each sleep is longer than it was to be
    bool result = false;
};

TEST_F(CpuPeakCollectorTest, APeakIsRecordedFromTheQuietestCore) {
    busy = {30, 100, 10, 81};
    const Captured captured = RunPasses(2);
    EXPECT_TRUE(result);
    const std::string told = std::string(kPeak) +
                             "[CpuPeakCollector] CPU 1,3 need to be "
                             "collected!\n";
    EXPECT_EQ(captured.out, told + told);
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(host.runner.Commands(), ElementsAre(RecordCommand("2", "1,3", "20230101120000000"),
                                                    TextCommand("1,3", "20230101120000000"),
                                                    RecordCommand("2", "1,3", "20230101120000001"),
                                                    TextCommand("1,3", "20230101120000001")));
    EXPECT_THAT(dir.Read("env_info/time_cost.log"),
                MatchesRegex("\\[CpuPeakCollector\\] Cost time: [0-9.]+s\n"));
}

TEST_F(CpuPeakCollectorTest, WithoutAPeakNothingIsSaid) {
    busy = {80, 0, 79, 50};
    const Captured captured = RunPasses(5);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_directory(dir.Path() + "raw_data/cpu_peak"));
}

// Shares are of single precision, and so is the limit.
TEST_F(CpuPeakCollectorTest, ACoreExactlyAtTheLimitIsNotBusy) {
    for (unsigned percent = 0; percent <= 100; percent += 5) {
        busy = {percent, 0, 0, 0};
        Set("maxUsage", std::to_string(percent) + ".0");
        EXPECT_EQ(RunPasses(1).out, "") << percent;
        if (percent > 0) {
            Set("maxUsage", std::to_string(percent - 1) + ".99");
            EXPECT_THAT(RunPasses(1).out, HasSubstr(" CPU 0 need ")) << percent;
        }
    }
}

TEST_F(CpuPeakCollectorTest, WithALimitOfAHundredNoCoreIsEverBusy) {
    busy = {100, 100, 100, 100};
    Set("maxUsage", "100.0");
    EXPECT_EQ(RunPasses(2).out, "");
}

TEST_F(CpuPeakCollectorTest, WithALimitOfNothingEveryCoreWithAnyUseIsBusy) {
    busy = {0, 1, 100, 0};
    Set("maxUsage", "0.0");
    EXPECT_THAT(RunPasses(1).out, HasSubstr(" CPU 1,2 need "));
}

// When all are busy the recorder runs where it was quiet last, on core 0 if it never was.
TEST_F(CpuPeakCollectorTest, TheQuietCoreStaysFromPassToPass) {
    int pass = 0;
    host.duringSleep = [&] {
        busy = pass == 1 ? std::vector<unsigned>{100, 100, 100, 0}
                         : std::vector<unsigned>{100, 100, 100, 100};
        ++pass;
        Move();
    };
    (void)RunPasses(3);
    EXPECT_THAT(host.runner.Commands(),
                ElementsAre(RecordCommand("0", "0,1,2,3", "20230101120000000"),
                            TextCommand("0,1,2,3", "20230101120000000"),
                            RecordCommand("3", "0,1,2", "20230101120000001"),
                            TextCommand("0,1,2", "20230101120000001"),
                            RecordCommand("3", "0,1,2,3", "20230101120000002"),
                            TextCommand("0,1,2,3", "20230101120000002")));
}

TEST_F(CpuPeakCollectorTest, TwoHundredAndFiftySixBusyCoresAreAllNamed) {
    host.processors = 256;
    busy.assign(256, 100);
    WriteStat();
    const Captured captured = RunPasses(1);
    std::string cores = "0";
    for (int core = 1; core < 256; ++core) {
        cores += "," + std::to_string(core);
    }
    EXPECT_THAT(captured.out, HasSubstr(" CPU " + cores + " need to be collected!\n"));
    EXPECT_THAT(host.runner.Commands(), ElementsAre(RecordCommand("0", cores, "20230101120000000"),
                                                    TextCommand(cores, "20230101120000000")));
}

TEST_F(CpuPeakCollectorTest, TheDurationHasSixDecimals) {
    busy = {100, 0, 0, 0};
    Set("collectionDuration", "2e0");
    (void)RunPasses(1);
    ASSERT_THAT(host.runner.Commands(), SizeIs(2));
    EXPECT_THAT(host.runner.Commands()[0], EndsWith(" -- sleep 2.000000"));
}

TEST_F(CpuPeakCollectorTest, NothingLeftIsEnoughForOneMorePass) {
    for (const auto& [duration, passes] :
         {std::pair("100", 2), {"199", 2}, {"200", 3}, {"299", 3}, {"300", 4}}) {
        host.waits.clear();
        Set("scanDuration", duration);
        (void)Run();
        EXPECT_THAT(host.waits, SizeIs(passes)) << duration;
        EXPECT_THAT(host.waits, Each(milliseconds(100)));
    }
}

// 32 bits with a sign: from 2^31 on the scan is over before it begins, and all is well.
TEST_F(CpuPeakCollectorTest, ADurationOfMoreThan31BitsIsOverAtOnce) {
    busy = {100, 100, 100, 100};
    for (const char* duration : {"2147483648", "4294967295"}) {
        Set("scanDuration", duration);
        const Captured captured = Run();
        EXPECT_TRUE(result);
        EXPECT_EQ(captured.out + captured.err, "");
        EXPECT_THAT(host.waits, IsEmpty());
    }
}

// Recordings count as time of the scan.
TEST_F(CpuPeakCollectorTest, TheTimeThatAPassTookIsTakenOff) {
    busy = {100, 0, 0, 0};
    host.runner.Before("perf record", [this](const std::string&) {
        host.wallTime += std::chrono::milliseconds(500);
    });
    Set("scanDuration", "1200");
    (void)Run();
    EXPECT_THAT(host.waits, SizeIs(3));  // 600 ms each, and one that begins with nothing left
}

TEST_F(CpuPeakCollectorTest, FractionsOfAMillisecondAreNotTakenOff) {
    host.duringSleep = [this] {
        host.wallTime += std::chrono::microseconds(999);
        Move();
    };
    (void)RunPasses(4);
    EXPECT_THAT(host.waits, SizeIs(4));
}

// The sleep ended early: what is left of the period is slept, and the period is what counts.
TEST_F(CpuPeakCollectorTest, WhatIsLeftOfThePeriodIsSleptAway) {
    bool first = true;
    host.duringSleep = [&] {
        host.wallTime -= first ? std::chrono::microseconds(40500) : std::chrono::microseconds(0);
        first = !first;
        Move();
    };
    (void)RunPasses(2);
    EXPECT_THAT(host.waits, ElementsAre(milliseconds(100), milliseconds(41), milliseconds(100),
                                        milliseconds(41)));
}

TEST_F(CpuPeakCollectorTest, AClockThatIsSetBackCostsOnePeriod) {
    bool first = true;
    host.duringSleep = [&] {
        host.wallTime -= first ? std::chrono::hours(2) : std::chrono::hours(0);
        first = false;
        Move();
    };
    (void)RunPasses(2);
    EXPECT_THAT(host.waits, ElementsAre(milliseconds(100), milliseconds(100), milliseconds(100)));
}

// Two readings at once, between which the counters rarely move. Each pass takes less than a
// millisecond, and still the scan ends.
TEST_F(CpuPeakCollectorTest, APeriodOfNothingIsTwoReadingsBackToBack) {
    Host moving = host.Get();
    moving.clock.sinceEpoch = [questions = 0]() mutable {
        return std::chrono::microseconds(400) * questions++;
    };
    Set("scanPeriod", "0");
    for (const auto& [duration, passes] : {std::pair("0", 1), {"1", 3}}) {
        Set("scanDuration", duration);
        const JsonDocument config = ParsedConfigOf("CpuPeakCollector", SectionText(keys));
        CpuPeakCollector collector(CpuPeakCollector::kName, moving);
        const Captured captured = Capture([&] {
            ASSERT_TRUE(collector.CheckOptions(config, "collector"));
            EXPECT_TRUE(collector.Start(config, dir.Path(), &stopFlag));
        });
        EXPECT_EQ(captured.err, RepeatedText(kStoodStill, passes)) << duration;
    }
    EXPECT_THAT(host.waits, IsEmpty());
}

TEST_F(CpuPeakCollectorTest, ACounterThatStandsStillIsPassedOverFromThereOn) {
    busy = {100, 0, 0, 100};
    host.duringSleep = [this] {
        Move();
        used[2] -= busy[2];
        idle[2] -= 100 - busy[2];
        WriteStat();
    };
    const Captured captured = RunPasses(1);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, kStoodStill);
    EXPECT_EQ(captured.out,
              std::string(kPeak) + "[CpuPeakCollector] CPU 0 need to be collected!\n");
    EXPECT_THAT(host.runner.Commands(), SizeIs(2));
}

TEST_F(CpuPeakCollectorTest, ACounterThatRunsBackwardsIsOneThatStandsStill) {
    host.duringSleep = [this] {
        Move();
        idle[0] -= 107;
        WriteStat();
    };
    const Captured captured = RunPasses(1);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, kStoodStill);
    EXPECT_EQ(captured.out, "");
}

TEST_F(CpuPeakCollectorTest, CountersOf32BitsWrapAround) {
    used.assign(256, 4294967200U);
    idle.assign(256, 4294967290U);
    busy = {100, 20, 100, 90};
    WriteStat();
    EXPECT_THAT(RunPasses(1).out, HasSubstr(" CPU 0,2,3 need "));
    EXPECT_THAT(host.runner.Commands()[0], testing::StartsWith("taskset -c 1 "));
}

TEST_F(CpuPeakCollectorTest, AnInterruptBeforeAPassStopsTheScan) {
    busy = {100, 0, 0, 0};
    host.runner.Before("perf script", [this](const std::string&) { stopFlag = 1; });
    const Captured captured = RunPasses(9);
    EXPECT_TRUE(result);
    EXPECT_THAT(captured.out, EndsWith(std::string("need to be collected!\n") + kStopped));
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(host.waits, SizeIs(1));
    EXPECT_NE(dir.Read("env_info/time_cost.log"), "");
}

// A recording in hand is left to its own end, its text included.
TEST_F(CpuPeakCollectorTest, AnInterruptInARecordingLetsItsTextBeWritten) {
    busy = {100, 0, 0, 0};
    host.runner.Before("perf record", [this](const std::string&) { stopFlag = 1; });
    const Captured captured = RunPasses(9);
    EXPECT_THAT(host.runner.Commands(), SizeIs(2));
    EXPECT_THAT(captured.out, EndsWith(kStopped));
}

TEST_F(CpuPeakCollectorTest, AnInterruptInASleepBeginsNoRecording) {
    busy = {100, 0, 0, 0};
    host.duringSleep = [this] {
        stopFlag = 1;
        Move();
    };
    const Captured captured = RunPasses(9);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out, kStopped);
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
    EXPECT_THAT(host.sleepFlags, Each(&stopFlag));
}

TEST_F(CpuPeakCollectorTest, AnInterruptBeforeTheScanLeavesNothing) {
    stopFlag = 1;
    EXPECT_EQ(RunPasses(1).out, kStopped);
    EXPECT_TRUE(result);
    EXPECT_THAT(host.waits, IsEmpty());
}

TEST_F(CpuPeakCollectorTest, ARecordingThatFailsIsToldAndTheScanGoesOn) {
    busy = {100, 0, 0, 0};
    host.runner.On("perf record", "", 256).On("perf script", "", 256);
    const Captured captured = RunPasses(2);
    EXPECT_TRUE(result);
    const std::string lines =
        "[CpuPeakCollector] Perf record command execution failed!\n"
        "[CpuPeakCollector] perf script command execution failed!\n";
    EXPECT_EQ(captured.err, lines + lines);
    EXPECT_THAT(host.runner.Commands(), SizeIs(4));
}

TEST_F(CpuPeakCollectorTest, CommandsThatCannotBeStartedAreTold) {
    busy = {100, 0, 0, 0};
    host.runner.Refuse("perf record").Refuse("perf script");
    EXPECT_EQ(RunPasses(1).err,
              "[CpuPeakCollector] Perf record command execution failed!\n"
              "[CpuPeakCollector] perf script command execution failed!\n");
    EXPECT_TRUE(result);
}

TEST_F(CpuPeakCollectorTest, WithoutATimeTheRecordingIsLeftOut) {
    busy = {100, 0, 0, 0};
    host.failingTick = 0;
    const Captured captured = RunPasses(2);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[CpuPeakCollector] Failed to get curr timeStamp. Perf collection failed!\n");
    EXPECT_THAT(host.runner.Commands(), SizeIs(2));
}

TEST_F(CpuPeakCollectorTest, ACounterFileThatIsNotThereEndsTheCollection) {
    host.procRoot = dir.Path() + "nothing/";
    const Captured captured = RunPasses(2);
    EXPECT_FALSE(result);
    EXPECT_EQ(
        captured.err,
        std::string("[CpuPeakCollector] The system file /proc/stat does not exist! \n") + kNoInfo);
    EXPECT_EQ(captured.out, "");
    EXPECT_FALSE(std::filesystem::exists(dir.Path() + "env_info/time_cost.log"));
}

TEST_F(CpuPeakCollectorTest, ACounterFileThatGoesAwayEndsTheCollection) {
    host.duringSleep = [this] { std::filesystem::remove(dir.Path() + "proc/stat"); };
    EXPECT_EQ(
        RunPasses(2).err,
        std::string("[CpuPeakCollector] The system file /proc/stat does not exist! \n") + kNoInfo);
    EXPECT_FALSE(result);
}

TEST_F(CpuPeakCollectorTest, ACounterFileThatCannotBeReadEndsTheCollection) {
    std::filesystem::remove(dir.Path() + "proc/stat");
    std::filesystem::create_directory(dir.Path() + "proc/stat");
    EXPECT_EQ(RunPasses(2).err,
              std::string("[CpuPeakCollector] Open file /proc/stat failed!\n") + kNoInfo);
    EXPECT_FALSE(result);
}

TEST_F(CpuPeakCollectorTest, AShortCounterFileEndsTheCollection) {
    for (const char* text : {"", "cpu 1 2 3 4 5\n", "cpu 1 2 3 4 5\ncpu0 1 2 3 4\n"}) {
        (void)dir.Write("proc/stat", text);
        EXPECT_EQ(RunPasses(1).err,
                  std::string("[CpuPeakCollector] CPU info is incomplete!\n") + kNoInfo);
        EXPECT_FALSE(result);
    }
}

TEST_F(CpuPeakCollectorTest, CountersThatAreNoNumbersEndTheCollection) {
    (void)dir.Write("proc/stat", "cpu\ncpu0 a b c d e\n");
    EXPECT_EQ(RunPasses(1).err, std::string("[Utils] Invalid argument\n") + kNoInfo);
    EXPECT_FALSE(result);
}

TEST_F(CpuPeakCollectorTest, WithoutANumberOfCoresThereIsNoCollection) {
    for (const long cores : {0L, -1L}) {
        host.processors = cores;
        EXPECT_EQ(RunPasses(1).err,
                  std::string("[CpuPeakCollector] Get CPU Cores failed!\n") + kNoInfo);
        EXPECT_FALSE(result);
    }
}

TEST_F(CpuPeakCollectorTest, ADirectoryThatCannotBeMadeFailsTheMission) {
    (void)dir.Write("raw_data", "a file");
    const Captured captured = RunPasses(1);
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err,
                EndsWith("[CpuPeakCollector] Cannot create CPU peak collect directory!\n"));
    EXPECT_THAT(host.waits, IsEmpty());
}

// What counts is the document that the start is given.
TEST_F(CpuPeakCollectorTest, TheValuesAreReadAnewAtTheStart) {
    CpuPeakCollector collector(CpuPeakCollector::kName, host.Get());
    const JsonDocument checked = ParsedConfigOf("CpuPeakCollector", SectionText(keys));
    ASSERT_TRUE(collector.CheckOptions(checked, "collector"));
    Set("scanDuration", "200");
    const JsonDocument started = ParsedConfigOf("CpuPeakCollector", SectionText(keys));
    EXPECT_TRUE(collector.Start(started, dir.Path(), &stopFlag));
    EXPECT_THAT(host.waits, SizeIs(3));
}

using CpuPeakCollectorDeathTest = CpuPeakCollectorTest;

TEST_F(CpuPeakCollectorDeathTest, ASectionThatIsNoObjectEndsTheProcess) {
    const JsonDocument config = ParsedConfigOf("CpuPeakCollector", "[]");
    CpuPeakCollector collector(CpuPeakCollector::kName, host.Get());
    EXPECT_EXIT((void)collector.CheckOptions(config, "collector"), testing::KilledBySignal(SIGABRT),
                "assertion");
}

}  // namespace
}  // namespace zarn::test
