#include "collectors/system/cpu/cpu_collector.h"

#include <gmock/gmock.h>

#include <atomic>

#include "foundation/files.h"
#include "foundation/text.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/run_tree.h"
#include "tests/support/section_config.h"

namespace zarn {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

constexpr const char* kTime = "20240118120000250";
constexpr const char* kTopRule = "-w 512 -o %CPU";
constexpr const char* kCoreRule = "top -1";
constexpr const char* kThreadRule = "-H -o";
constexpr const char* kPsRule = "--sort";

constexpr const char* kTopCommand = "top -b -n 2 -d 0.500000 -w 512 -o %CPU";
constexpr const char* kCoreCommand =
    R"(top -1 -b -n 2 -d 0.500000 -w 512 | awk '{ if (substr($1,1,1) ~ /t/ ) print} )"
    R"({ if (substr($1,1,1) ~ /T/ ) print}{ if (substr($1,1,1) ~ /%/ ) print} )"
    R"({ if (substr($1,1,1) ~ /M/ ) {print "";print "";}}')";
constexpr const char* kPsCommand =
    "ps --no-header --cols 512 -eo user,pid,%cpu,%mem,vsz,rss,psr,comm --sort -%cpu";
constexpr const char* kThreadCommand = "top -b -n 2 -d 0.500000 -w 512 -H -o %CPU";

// A collector whose tools print two samples, and the run tree it works in.
class CpuCollectorTest : public testing::Test {
protected:
    void AnswerTwoSamples() {
        runner.On(kTopRule,
                  "top - a\nTasks: 2\n%Cpu(s): 1.0 us, 99.0 id\n\n  PID USER\n 1 root init\n"
                  " 7 app node\n\ntop - b\nTasks: 2\n%Cpu(s):100.0 us,  0.0 id\n 7 app node\n");
        runner.On(kCoreRule,
                  "top - a\nTasks: 2\n%Cpu0 : 1.0 us  %Cpu1 : 2.0 us \n\n\n"
                  "top - b\nTasks: 2\n%Cpu0 : 3.0 us  %Cpu1 : 4.0 us \n\n\n");
        runner.On(kThreadRule, "top - a\nThreads: 3\n 8 app node/1\ntop - b\n 9 app node/2\n");
        runner.On(kPsRule, "root 1 0.1 init\napp 7 50.0 node\n");
        runner.On("-L -p 7 ", "app 7 7 node\napp 8 7 node/1\n");
    }

    // Checks the options and starts. `clock` stands for the one that always gives kTime.
    test::Captured Run(const std::string& jobs, bool threads, bool json,
                       std::function<bool(std::string&)> clock = nullptr) {
        if (!clock) {
            clock = [](std::string& time) {
                time = kTime;
                return true;
            };
        }
        const JsonDocument config = test::ParsedConfigOf(
            "CpuCollector", test::SectionText({{"interval", "0.5"},
                                               {"process", R"(["node"])"},
                                               {"count", std::to_string(count)},
                                               {"job", jobs},
                                               {"thread_collector", threads ? "true" : "false"},
                                               {"json_output", json ? "true" : "false"}}));
        host.currentTime = clock;
        CpuCollector collector(CpuCollector::kName, host.Get());
        return test::Capture([&] {
            EXPECT_TRUE(collector.CheckOptions(config, "collector"));
            result = collector.Start(config, tree.Path(), &stopFlag);
        });
    }

    [[nodiscard]] static std::string Log(const std::string& prefix) {
        return "raw_data/cpu/" + prefix + kTime + ".log";
    }

    // The text of the time of sample `index`.
    [[nodiscard]] static std::string Time(std::size_t index) {
        std::string time;
        EXPECT_TRUE(CpuSampleTimes(kTime, 0.5).At(index, time));
        return time;
    }

    void ExpectCostLine(bool expected) const {
        std::string text;
        const bool there = ReadFile(tree.Path() + "env_info/time_cost.log", text) == FileResult::Ok;
        EXPECT_EQ(there, expected);
        EXPECT_THAT(text, expected ? testing::MatchesRegex(R"(\[CpuCollector\] cost time: [0-9.e-]+s
)")
                                   : testing::MatchesRegex(""));
    }

    test::FakeHost host;
    test::FakeRunner& runner = host.runner;
    test::RunTree tree;
    StopFlag stopFlag{0};
    unsigned count = 2;
    bool result = false;
};

TEST_F(CpuCollectorTest, RunsTheFourProgramsOnceAndPsPerSample) {
    Run("[]", false, false);
    EXPECT_TRUE(result);
    EXPECT_THAT(runner.Commands(), UnorderedElementsAre(kTopCommand, kCoreCommand, kPsCommand,
                                                        kPsCommand, kThreadCommand));
}

TEST_F(CpuCollectorTest, AsksForTheThreadsOfEveryRowAfterEachPass) {
    AnswerTwoSamples();
    Run("[]", true, false);
    std::vector<std::string> psCommands;
    for (const std::string& command : runner.Commands()) {
        if (command.find("ps ") == 0) {
            psCommands.push_back(command);
        }
    }
    const std::string head = "ps --no-header -L -p ";
    const std::string tail = " -o user,tid,pid,%cpu,%mem,vsz,rss,psr,comm | awk 'NR<=10'";
    const std::vector<std::string> pass = {kPsCommand, head + "1" + tail, head + "7" + tail};
    EXPECT_THAT(psCommands,
                testing::ElementsAre(pass[0], pass[1], pass[2], pass[0], pass[1], pass[2]));
}

TEST_F(CpuCollectorTest, ABrokenRowNeverBecomesShellSyntax) {
    runner.On(kPsRule, "lonely\n\nroot $(x);y|z `a`\n");
    count = 1;
    Run("[]", true, false);
    EXPECT_THAT(runner.Commands(),
                testing::Contains(R"(ps --no-header -L -p \$\(x\)\;y\|z)"
                                  " -o user,tid,pid,%cpu,%mem,vsz,rss,psr,comm | awk 'NR<=10'"));
    EXPECT_EQ(runner.Commands().size(), 5U);
}

TEST_F(CpuCollectorTest, WritesEveryFileWhole) {
    AnswerTwoSamples();
    const auto captured = Run(R"(["global","core","selected_process"])", true, true);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_THAT(tree.Names(),
                UnorderedElementsAre(Log("soc_gea_cpu_usage_info_1_"), Log("cpu_global_1_"),
                                     Log("cpu_cores_1_"), Log("cpu_selected_processes_1_"),
                                     Log("cpu_thread_1_"),
                                     std::string("json/soc_gea_cpu_usage_info_") + kTime + ".data",
                                     "env_info/time_cost.log"));
    const std::string summaryA = "\ntop - a\nTasks: 2\n%Cpu(s): 1.0 us, 99.0 id\n";
    const std::string summaryB = "\ntop - b\nTasks: 2\n%Cpu(s):100.0 us,  0.0 id\n";
    EXPECT_EQ(tree.Read(Log("soc_gea_cpu_usage_info_1_")),
              Time(0) + summaryA + "  PID USER\n 1 root init\n 7 app node\n\n" + Time(1) +
                  summaryB + " 7 app node\n\n");
    EXPECT_EQ(tree.Read(Log("cpu_global_1_")),
              Time(0) + summaryA + "\n" + Time(1) + summaryB + "\n");
    EXPECT_EQ(tree.Read(Log("cpu_cores_1_")),
              Time(0) + "\ntop - a\nTasks: 2\nCpu0 : 1.0 us  \nCpu1 : 2.0 us \n\n" + Time(1) +
                  "\ntop - b\nTasks: 2\nCpu0 : 3.0 us  \nCpu1 : 4.0 us \n\n");
    EXPECT_EQ(tree.Read(Log("cpu_selected_processes_1_")),
              Time(0) + "\n 7 app node\n\n" + Time(1) + "\n 7 app node\n\n");
    EXPECT_EQ(tree.Read(Log("cpu_thread_1_")),
              Time(0) + "\n 8 app node/1\n\n" + Time(1) + "\n 9 app node/2\n\n");
    ExpectCostLine(true);
}

TEST_F(CpuCollectorTest, WritesADocumentPerSample) {
    AnswerTwoSamples();
    Run(R"(["selected_process","core","global"])", true, true);
    const auto document = [](std::size_t index, const std::string& cpu) {
        const std::string node =
            R"({"procInfo":"app 7 50.0 node","top10Threads":[{"threadInfo":"app 7 7 node"},)"
            R"({"threadInfo":"app 8 7 node/1"}]})";
        return R"({"eventId":"962201576","happenTime":")" + Time(index) +
               R"(","objectId":"soc_gea_cpu_usage_info","content":{)"
               R"("cpuFields":"user sys nice idle wait irq sirq steal",)"
               R"("procFields":"USER PID %CPU %MEM VSZ RSS PSR COMMAND",)"
               R"("threadFields":"USER TID PID %CPU %MEM VSZ RSS PSR COMMAND",)"
               R"("cpu":[)" +
               cpu + R"(],"top10Procs":[{"procInfo":"root 1 0.1 init","top10Threads":[]},)" + node +
               R"(],"selectedProcs":[)" + node + "]}}\n";
    };
    EXPECT_EQ(tree.Read(std::string("json/soc_gea_cpu_usage_info_") + kTime + ".data"),
              document(0, R"({"cpuId":-1,"cpuInfo":"1.0 99.0"},{"cpuId":0,"cpuInfo":"1.0"},)"
                          R"({"cpuId":1,"cpuInfo":"2.0"})") +
                  document(1, R"({"cpuId":-1,"cpuInfo":"100.0 0.0"},{"cpuId":0,"cpuInfo":"3.0"},)"
                              R"({"cpuId":1,"cpuInfo":"4.0"})"));
}

TEST_F(CpuCollectorTest, WithoutJobsTwoFilesAreWrittenAndTheCpuArrayIsEmpty) {
    AnswerTwoSamples();
    Run("[]", false, true);
    const std::string documents = std::string("json/soc_gea_cpu_usage_info_") + kTime + ".data";
    EXPECT_THAT(tree.Names(),
                UnorderedElementsAre(Log("soc_gea_cpu_usage_info_1_"), Log("cpu_thread_1_"),
                                     documents, "env_info/time_cost.log"));
    EXPECT_THAT(
        tree.Read(documents),
        HasSubstr(R"("cpu":[],"top10Procs":[{"procInfo":"root 1 0.1 init","top10Threads":[]},)"));
    EXPECT_THAT(tree.Read(documents), HasSubstr(R"("selectedProcs":[]}})"));
}

TEST_F(CpuCollectorTest, AnUnknownJobIsPassedOverWithAWarning) {
    AnswerTwoSamples();
    const auto captured = Run(R"(["core","bogus"])", false, false);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out, "[CpuCollector] Warning: Unexpected job: bogus\n");
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(tree.Names(),
                UnorderedElementsAre(Log("soc_gea_cpu_usage_info_1_"), Log("cpu_cores_1_"),
                                     Log("cpu_thread_1_"), "env_info/time_cost.log"));
}

TEST_F(CpuCollectorTest, CountZeroWritesNothing) {
    count = 0;
    const auto captured = Run(R"(["global","core","selected_process"])", true, true);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_THAT(tree.Names(), UnorderedElementsAre("env_info/time_cost.log"));
    EXPECT_EQ(runner.Commands().size(), 3U);
}

TEST_F(CpuCollectorTest, SilentToolsLeaveOnlyTimeLines) {
    Run(R"(["global","core","selected_process"])", true, true);
    EXPECT_TRUE(result);
    for (const char* prefix : {"soc_gea_cpu_usage_info_1_", "cpu_global_1_", "cpu_cores_1_",
                               "cpu_selected_processes_1_", "cpu_thread_1_"}) {
        EXPECT_EQ(tree.Read(Log(prefix)), Time(0) + "\n\n") << prefix;
    }
    EXPECT_THAT(tree.Read(std::string("json/soc_gea_cpu_usage_info_") + kTime + ".data"),
                HasSubstr(R"("cpu":[],"top10Procs":[],"selectedProcs":[]}})"));
}

TEST_F(CpuCollectorTest, AProcessThatNeverShowsLeavesSamplesWithoutRows) {
    runner.On(kTopRule, "top - a\n 1 root init\ntop - b\n 1 root init\n");
    Run(R"(["selected_process"])", false, false);
    EXPECT_EQ(tree.Read(Log("cpu_selected_processes_1_")), Time(0) + "\n\n" + Time(1) + "\n\n");
}

TEST_F(CpuCollectorTest, ACommandThatCannotBeStartedSaysSo) {
    for (const char* rule : {kTopRule, kCoreRule, kThreadRule, kPsRule}) {
        runner.Refuse(rule);
    }
    const auto captured = Run(R"(["global"])", true, false);
    EXPECT_TRUE(result);
    const std::string line = "[CpuCollector] execute command failed.\n";
    EXPECT_EQ(captured.err, line + line + line + line + line);
    EXPECT_EQ(tree.Read(Log("cpu_global_1_")), Time(0) + "\n\n");
}

TEST_F(CpuCollectorTest, AStopDuringTheMeasuringLeavesNoRawFile) {
    AnswerTwoSamples();
    runner.Before(kCoreRule, [this](const std::string&) { stopFlag = 1; });
    const auto captured = Run(R"(["global","bogus"])", false, true);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out, "[CpuCollector] StopFlag received, CPU collector has stopped.\n");
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(tree.Names(), UnorderedElementsAre("env_info/time_cost.log"));
    EXPECT_EQ(runner.Commands().size(), 5U);
    ExpectCostLine(true);
}

TEST_F(CpuCollectorTest, FilesThatCannotBeOpenedSaySoInEveryPass) {
    AnswerTwoSamples();
    tree.PutInTheWay("raw_data/cpu");
    const auto captured = Run(R"(["core"])", false, false);
    EXPECT_TRUE(result);
    std::string expected;
    for (int i = 0; i < 6; ++i) {  // three files, two passes
        expected += "[CpuCollector] Failed to open the file.\n";
    }
    // The first line is that of the directory; nothing looks at its failure.
    EXPECT_EQ(captured.err.substr(captured.err.find('\n') + 1), expected);
    ExpectCostLine(true);
}

TEST_F(CpuCollectorTest, WithoutATimeStampNothingStarts) {
    const auto captured = Run("[]", false, false, [](std::string&) { return false; });
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err, "[CpuCollector] Failed to get time stamp!\n");
    EXPECT_THAT(runner.Commands(), IsEmpty());
    ExpectCostLine(false);
}

// The clock fails the measuring threads and only them.
TEST_F(CpuCollectorTest, MeasuringThreadsWithoutATimeFailTheDocuments) {
    AnswerTwoSamples();
    std::atomic<int> calls{0};
    const auto captured = Run(R"(["global"])", false, true, [&calls](std::string& time) {
        const int call = calls++;
        time = kTime;
        return call == 0 || call > 3;
    });
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out, "[CpuCollector] Error: Document is empty.\n");
    std::vector<std::string> lines;
    SplitString(captured.err, "\n", lines);
    const std::string badTime = "[zarn_utils] The length of TimeStr is incorrect!";
    EXPECT_THAT(lines, UnorderedElementsAreArray(std::vector<std::string>{
                           "[CpuCollector] Failed to get cpu info time stamp!",
                           "[CpuCollector] Failed to get cpu cores info time stamp!",
                           "[CpuCollector] Failed to get cpu cores info time stamp!", badTime,
                           badTime,           // two batches of the usage log
                           badTime, badTime,  // of the global log
                           badTime, badTime,  // of the thread log
                           badTime,           // of the first document
                           "[CpuCollector] Failed to process cpu info!"}));
    EXPECT_EQ(tree.Read(Log("cpu_thread_1_")), "\n 8 app node/1\n\n\n 9 app node/2\n\n");
    ExpectCostLine(false);
}

TEST_F(CpuCollectorTest, AFileWithoutATimeForItsNameIsLeftOut) {
    AnswerTwoSamples();
    std::atomic<int> calls{0};
    const auto captured = Run(R"(["core"])", false, false, [&calls](std::string& time) {
        time = kTime;
        return calls++ != 4;  // the first name
    });
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(tree.Names(), UnorderedElementsAre(Log("cpu_cores_1_"), Log("cpu_thread_1_"),
                                                   "env_info/time_cost.log"));
}

}  // namespace
}  // namespace zarn
