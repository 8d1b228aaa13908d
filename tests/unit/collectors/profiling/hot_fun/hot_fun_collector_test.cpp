#include "collectors/profiling/hot_fun/hot_fun_collector.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/amounts.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/memory_limit.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

constexpr const char* kFirst = "20230101120000000";
constexpr const char* kSecond = "20230101120000001";

// A run in a tree and a working directory of its own. Commands are recorded; reports and `rm` on
// them are done as the shell would.
class HotFunCollectorTest : public testing::Test {
protected:
    HotFunCollectorTest() : before_(fs::current_path()) {
        fs::create_directories(dir.Path() + "env_info");
        fs::create_directories(dir.Path() + "json");
        fs::create_directories(dir.Path() + "work");
        fs::current_path(dir.Path() + "work");
        host.runner.On("pidof planner", "417\n").On("pidof camera", "512\n");
        host.runner.On("/proc/cpuinfo", "8\n");
        host.runner.Before("perf report", [this](const std::string& command) {
            std::ofstream(command.substr(command.rfind(' ') + 1), std::ios::app) << report;
        });
        host.runner.Before("rm ",
                           [](const std::string& command) { fs::remove(command.substr(3)); });
        host.runner.Before("perf record", [this](const std::string& command) {
            std::ofstream(command.substr(command.rfind(' ') + 1)) << script;
        });
    }
    ~HotFunCollectorTest() override { fs::current_path(before_); }

    // Jobs as JSON texts; `more` is what their lists are.
    [[nodiscard]] static std::string Config(const std::string& jobs, const std::string& more = "",
                                            const std::string& output = "true") {
        return R"({"HotFunCollector":{"job":[)" + jobs + R"(],"json_output":)" + output +
               R"(,"duration":2,"top":3)" + (more.empty() ? "" : "," + more) + "}}";
    }

    Captured Run(const std::string& text) {
        return Capture([&] {
            JsonDocument config;
            ASSERT_TRUE(ParseJson(text, config)) << text;
            HotFunCollector collector(HotFunCollector::kName, host.Get());
            ASSERT_TRUE(collector.CheckOptions(config, "collector"));
            result = collector.Start(config, dir.Path(), &stopFlag);
        });
    }

    // The commands but for those that ask for processes and processors.
    [[nodiscard]] std::vector<std::string> Commands() const {
        std::vector<std::string> commands;
        for (const std::string& command : host.runner.Commands()) {
            if (command.rfind("pidof", 0) != 0 && command.rfind("cat", 0) != 0) {
                commands.push_back(command);
            }
        }
        return commands;
    }
    [[nodiscard]] std::string RecordCommand(const std::string& target,
                                            const std::string& name) const {
        const std::string path = dir.Path() + "raw_data/hotFun/" + name;
        return "perf record " + target + " -o " + path + ".data -g -- sleep 2 && perf script -i " +
               path + ".data >> " + path + ".script";
    }
    [[nodiscard]] std::string ReportCommand(const std::string& glob, const std::string& log) const {
        return "perf report -i " + dir.Path() + "raw_data/hotFun/" + glob + " --max-stack 1 >> " +
               log;
    }
    [[nodiscard]] std::vector<std::string> Files(const std::string& folder) const {
        std::vector<std::string> files;
        for (const auto& entry : fs::directory_iterator(dir.Path() + folder)) {
            files.push_back(entry.path().filename());
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    TempDir dir;
    FakeHost host;
    StopFlag stopFlag{0};
    bool result = false;
    std::string report = "    5.00%     4.00%  app  so  [.] main \n";
    std::string script = "app 1 2.0:   30 cycles: \n\tffff main\n\nother 1 2.0:   10 cycles: \n";

private:
    fs::path before_;
};

constexpr const char* kRow =
    R"({"percentage":"5.00%","command":"app","shared_object":"so","symbol":"main"})";

std::string Document(const std::string& job, const std::string& time, const std::string& content) {
    return R"({"eventId":"222200006","happenTime":")" + time +
           R"(","objectId":"soc_hot_function_)" + job + R"(_info","content":)" + content + "}\n";
}

constexpr const char* kAllJobs = R"("function_set","global","process","core")";
constexpr const char* kAllLists =
    R"("core":[3,0],"process":["planner","camera"],"function_set":{"all":["app",".*"],"none":[]})";

TEST_F(HotFunCollectorTest, TakesTheJobsInTheirOrderAndPrintsEachCommandFirst) {
    const Captured captured = Run(Config(kAllJobs, kAllLists, "false"));
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    const std::vector<std::string> expected = {
        RecordCommand("-C 3", "hotfun_core_core3_20230101120000000"),
        RecordCommand("-C 0", "hotfun_core_core0_20230101120000001"),
        RecordCommand("-p 512", "hotfun_process_camera_512_20230101120000002"),
        RecordCommand("-p 417", "hotfun_process_planner_417_20230101120000003"),
        RecordCommand("-a ", "hotfun_global_20230101120000004"),
        RecordCommand("-a ", "hotfun_function_set_20230101120000005")};
    EXPECT_THAT(Commands(), testing::ElementsAreArray(expected));
    std::string printed;
    for (const std::string& command : expected) {
        printed += command + "\n";
    }
    EXPECT_EQ(captured.out, printed);
    EXPECT_THAT(dir.Read("env_info/time_cost.log"),
                MatchesRegex("\\[HotFunCollector\\] cost time: [0-9.]+s\n"));
}

TEST_F(HotFunCollectorTest, WithoutDocumentsNothingIsReported) {
    (void)Run(Config(kAllJobs, kAllLists, "false"));
    EXPECT_THAT(Commands(), testing::Each(Not(HasSubstr("perf report"))));
    EXPECT_THAT(Files("json"), IsEmpty());
    EXPECT_THAT(Files("raw_data/hotFun"), Not(IsEmpty()));
}

TEST_F(HotFunCollectorTest, MakesADocumentOfEachResultUnderTheTimeOfTheJobsLastRecording) {
    const Captured captured = Run(Config(kAllJobs, kAllLists));
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    std::vector<std::string> commands = Commands();
    commands.erase(commands.begin(), commands.begin() + 6);
    EXPECT_THAT(
        commands,
        ElementsAre(
            ReportCommand("hotfun_core_core3_*.data", "coreReport.log"), "rm coreReport.log",
            ReportCommand("hotfun_core_core0_*.data", "coreReport.log"), "rm coreReport.log",
            ReportCommand("hotfun_process_camera_512*.data", "processReport.log"),
            "rm processReport.log",
            ReportCommand("hotfun_process_planner_417*.data", "processReport.log"),
            "rm processReport.log", ReportCommand("hotfun_global*.data", "globalReport.log"),
            "rm globalReport.log"));
    EXPECT_THAT(Files("json"),
                ElementsAre("soc_hot_function_core_info_core0_1_20230101120000001.data",
                            "soc_hot_function_core_info_core3_1_20230101120000001.data",
                            "soc_hot_function_function_set_info_1_20230101120000005.data",
                            "soc_hot_function_global_info_1_20230101120000004.data",
                            "soc_hot_function_process_info_1_20230101120000003.data"));
    const std::string rows = std::string("[") + kRow + "]";
    EXPECT_EQ(dir.Read("json/soc_hot_function_core_info_core3_1_20230101120000001.data"),
              Document("core", kSecond, rows));
    EXPECT_EQ(dir.Read("json/soc_hot_function_process_info_1_20230101120000003.data"),
              Document("process", "20230101120000003",
                       R"({"camera":)" + rows + R"(,"planner":)" + rows + "}"));
    EXPECT_EQ(dir.Read("json/soc_hot_function_global_info_1_20230101120000004.data"),
              Document("global", "20230101120000004", rows));
    EXPECT_EQ(dir.Read("json/soc_hot_function_function_set_info_1_20230101120000005.data"),
              Document("function_set", "20230101120000005",
                       R"({"all":{"SET_TOTAL":"175.00%","app":"75.00%","other":"25.00%"},)"
                       R"("none":{"SET_TOTAL":"0.00%"}})"));
    EXPECT_THAT(Files("work"), IsEmpty());
}

TEST_F(HotFunCollectorTest, NoMoreRowsAreShownThanAskedFor) {
    report = "1% 1% a b c\n2% 1% a b c\nno row\n3% 1% a b c d\n4% 1% a b c\n";
    (void)Run(R"({"HotFunCollector":{"job":["global"],"json_output":true,"duration":0,"top":2}})");
    EXPECT_THAT(Commands()[0], HasSubstr(" -g -- sleep 0 && "));
    EXPECT_EQ(dir.Read("json/" + Files("json")[0]),
              Document("global", kFirst,
                       R"([{"percentage":"1%","command":"a","shared_object":"b","symbol":"c"},)"
                       R"({"percentage":"2%","command":"a","shared_object":"b","symbol":"c"}])"));
}

TEST_F(HotFunCollectorTest, ForNoRowsTheArrayIsEmpty) {
    (void)Run(R"({"HotFunCollector":{"job":["global"],"json_output":true,"duration":0,"top":0}})");
    EXPECT_EQ(dir.Read("json/" + Files("json")[0]), Document("global", kFirst, "[]"));
}

TEST_F(HotFunCollectorTest, TheGreatestNumberOfRowsIsAllOfThem) {
    report.clear();
    for (int i = 0; i < 10000; ++i) {
        report += "1% 1% a b c\n";
    }
    (void)Run(R"({"HotFunCollector":{"job":["global"],"json_output":true,"duration":0,)"
              R"("top":4294967295}})");
    const std::string document = dir.Read("json/" + Files("json")[0]);
    JsonDocument parsed;
    ASSERT_TRUE(ParseJson(document.substr(0, document.size() - 1), parsed));
    EXPECT_EQ(parsed["content"].Size(), 10000U);
}

// An interrupt that comes while a core is recorded.
TEST_F(HotFunCollectorTest, AJobIsTakenToItsEndAndNoneIsBegunAfterAnInterrupt) {
    struct Row {
        const char* during;
        std::size_t taken;
        const char* words;
    };
    for (const Row& row :
         {Row{"-C 3", 2,
              "[HotFunCollector] Received stop signal, process job & following jobs (global, "
              "function_set) not collected!\n"},
          Row{"-p 512", 4,
              "[HotFunCollector] Received stop signal, global job & following jobs (global, "
              "function_set) not collected!\n"},
          Row{"hotfun_global", 5,
              "[HotFunCollector] Received stop signal, function_set job not collected!\n"}}) {
        fs::remove_all(dir.Path() + "raw_data");
        stopFlag = 0;
        FakeHost fresh;
        fresh.runner.On("pidof planner", "417\n").On("pidof camera", "512\n");
        fresh.runner.On("/proc/cpuinfo", "8\n");
        fresh.runner.Before(row.during, [this](const std::string&) { stopFlag = 1; });
        JsonDocument config;
        ASSERT_TRUE(ParseJson(Config(kAllJobs, kAllLists), config));
        const Captured captured = Capture([&] {
            HotFunCollector collector(HotFunCollector::kName, fresh.Get());
            ASSERT_TRUE(collector.CheckOptions(config, "collector"));
            EXPECT_FALSE(collector.Start(config, dir.Path(), &stopFlag));
        });
        EXPECT_THAT(captured.out, testing::EndsWith(row.words));
        EXPECT_EQ(captured.err, "[HotFunCollector] Failed to collect hotFun!\n");
        EXPECT_EQ(std::count(captured.out.begin(), captured.out.end(), '\n'),
                  static_cast<long>(row.taken) + 1);
        EXPECT_THAT(Files("json"), IsEmpty());
    }
    EXPECT_FALSE(fs::exists(dir.Path() + "env_info/time_cost.log"));
}

TEST_F(HotFunCollectorTest, AnInterruptBeforeTheFirstJobLeavesNothing) {
    stopFlag = 1;
    const Captured captured = Run(Config(kAllJobs, kAllLists));
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out,
              "[HotFunCollector] Received stop signal, core job & following jobs (process, global, "
              "function_set) not collected!\n");
    EXPECT_EQ(captured.err, "[HotFunCollector] Failed to collect hotFun!\n");
    EXPECT_THAT(Commands(), IsEmpty());
}

// One that comes during the last job, or afterwards, changes nothing.
TEST_F(HotFunCollectorTest, AfterTheLastJobAnInterruptIsTooLate) {
    host.runner.Before("hotfun_function_set", [this](const std::string&) { stopFlag = 1; });
    (void)Run(Config(kAllJobs, kAllLists));
    EXPECT_TRUE(result);
    EXPECT_THAT(Files("json"), testing::SizeIs(5));
}

TEST_F(HotFunCollectorTest, RecordingsThatFailAreToldAndTheOthersGoOn) {
    host.runner.On("perf record", "", 256);
    const Captured captured = Run(Config(kAllJobs, kAllLists, "false"));
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[HotFunCollector] Fail to collect core 3 info!\n"
              "[HotFunCollector] Fail to collect core 0 info!\n"
              "[HotFunCollector] Fail to collect process camera info!\n"
              "[HotFunCollector] Fail to collect process planner info!\n"
              "[HotFunCollector] Fail to collect global info!\n"
              "[HotFunCollector] Fail to collect function_set info!\n");
    EXPECT_THAT(Commands(), testing::SizeIs(6));
}

TEST_F(HotFunCollectorTest, OnlyProcessesThatRunOnceAreRecorded) {
    host.runner.On("pidof twice", "1 2\n").On("pidof none", "").Refuse("pidof lost");
    const Captured captured =
        Run(Config(R"("process")", R"("process":["twice","none","planner","lost"])"));
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[HotFunCollector] Target process:twice does not exist! Skipping this process!\n"
              "[HotFunCollector] Target process:none does not exist! Skipping this process!\n"
              "[zarn_utils] Failed to popen command!\n"
              "[HotFunCollector] Failed to get process id of lost! Skipping this process!\n");
    EXPECT_THAT(Commands(), testing::SizeIs(3));
    EXPECT_THAT(dir.Read("json/" + Files("json")[0]), HasSubstr(R"("content":{"planner":[{)"));
}

TEST_F(HotFunCollectorTest, WithoutAProcessTheJobHasNoDocument) {
    (void)Run(Config(R"("process")", R"("process":["none"])"));
    EXPECT_TRUE(result);
    EXPECT_THAT(Commands(), IsEmpty());
    EXPECT_THAT(Files("json"), IsEmpty());
}

TEST_F(HotFunCollectorTest, ARecordingWithoutATimeIsLeftOut) {
    host.failingTick = 1;
    const Captured captured = Run(Config(R"("core")", R"("core":[0,1])"));
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "[HotFunCollector] Failed to get time stamp!\n");
    EXPECT_THAT(Files("json"),
                ElementsAre("soc_hot_function_core_info_core0_1_20230101120000000.data",
                            "soc_hot_function_core_info_core1_1_20230101120000000.data"));
}

TEST_F(HotFunCollectorTest, WithoutAnyTimeNothingIsReported) {
    host.currentTime = [](std::string& time) {
        time = "noon";
        return true;
    };
    const Captured captured = Run(Config(R"("global","function_set")", R"("function_set":{})"));
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[HotFunCollector] Got non-numeric timestamp!\n"
              "[HotFunCollector] Got non-numeric timestamp!\n");
    EXPECT_EQ(captured.out, "");
    EXPECT_THAT(Commands(), IsEmpty());
}

// What `perf report` printed before it failed stays, and stands before the next report's rows.
TEST_F(HotFunCollectorTest, AFailedReportLeavesItsLogToTheNext) {
    host.runner.On("hotfun_process_camera_512*", "", 256);
    std::size_t reports = 0;
    host.runner.Before("perf report", [&reports, this](const std::string& command) {
        ++reports;
        EXPECT_EQ(ReadText(command.substr(command.rfind(' ') + 1)).size(), report.size() * reports);
    });
    const Captured captured = Run(Config(R"("process")", R"("process":["planner","camera"])"));
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "[HotFunCollector] Fail to generate process report!\n");
    EXPECT_EQ(
        dir.Read("json/" + Files("json")[0]),
        Document("process", kSecond, std::string(R"({"planner":[)") + kRow + "," + kRow + "]}"));
    EXPECT_EQ(reports, 2U);
    EXPECT_THAT(Files("work"), IsEmpty());
}

TEST_F(HotFunCollectorTest, TheLogOfAnInterruptedRunIsAddedTo) {
    dir.Write("work/globalReport.log", "9.00% 1.00% old so [k] left\n");
    (void)Run(Config(R"("global")"));
    EXPECT_EQ(dir.Read("json/" + Files("json")[0]),
              Document("global", kFirst,
                       std::string(R"([{"percentage":"9.00%","command":"old","shared_object":"so",)"
                                   R"("symbol":"left"},)") +
                           kRow + "]"));
}

TEST_F(HotFunCollectorTest, FailedReportsLeaveNoDocument) {
    host.runner.On("perf report", "", 256);
    const Captured captured = Run(Config(kAllJobs, kAllLists));
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[HotFunCollector] Fail to generate core report!\n"
              "[HotFunCollector] Fail to generate core report!\n"
              "[HotFunCollector] Fail to generate process report!\n"
              "[HotFunCollector] Fail to generate process report!\n"
              "[HotFunCollector] Fail to generate global report!\n");
    EXPECT_THAT(Files("json"), testing::SizeIs(2));  // processes, none of them, and sets
    EXPECT_EQ(dir.Read("json/soc_hot_function_process_info_1_20230101120000003.data"),
              Document("process", "20230101120000003", "{}"));
    EXPECT_THAT(Files("work"),
                ElementsAre("coreReport.log", "globalReport.log", "processReport.log"));
}

// A working directory that cannot be written to, for instance.
TEST_F(HotFunCollectorTest, AReportThatCannotBeReadIsTold) {
    fs::create_directory("globalReport.log");
    fs::create_directory("coreReport.log");
    host.runner.On("rm ", "", 256);
    const Captured captured =
        Run(Config(R"("global","core","process")", R"("core":[0],"process":["planner"])"));
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[zarn_utils] Cannot find input file!\n"
              "[HotFunCollector] Parse core result failed!\n"
              "[HotFunCollector] Fail to remove process report!\n"
              "[zarn_utils] Cannot find input file!\n"
              "[HotFunCollector] Parse global result failed!\n");
}

TEST_F(HotFunCollectorTest, SetsWithoutAScriptAreTold) {
    host.runner.Before("perf record", [](const std::string& command) {
        fs::remove(command.substr(command.rfind(' ') + 1));
    });
    const Captured captured = Run(Config(R"("function_set")", R"("function_set":{"a":["(*"]})"));
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[zarn_utils] Cannot find input file!\n"
              "[HotFunCollector] Parse function_set result failed!\n");
    EXPECT_THAT(Files("json"), IsEmpty());
}

TEST_F(HotFunCollectorTest, APatternThatDoesNotCompileFailsTheSetsAlone) {
    const Captured captured =
        Run(Config(R"("function_set","global")", R"("function_set":{"a":["app"],"b":["(*"]})"));
    EXPECT_TRUE(result);
    EXPECT_THAT(captured.err,
                MatchesRegex("\\[HotFunCollector\\] Error occurs: [^\n]+\n"
                             "\\[HotFunCollector\\] Parse function_set result failed!\n"));
    EXPECT_THAT(Files("json"),
                ElementsAre("soc_hot_function_global_info_1_20230101120000000.data"));
}

TEST_F(HotFunCollectorTest, WithoutCyclesSharesAreNoNumbers) {
    script.clear();
    (void)Run(Config(R"("function_set")", R"("function_set":{"a":["app"]})"));
    EXPECT_EQ(dir.Read("json/" + Files("json")[0]),
              Document("function_set", kFirst, R"({"a":{"SET_TOTAL":"nan%"}})"));
}

// Call chains, lines that look like heads but are indented, and what hostile tools print.
TEST_F(HotFunCollectorTest, OnlyHeadsOfSamplesCount) {
    const std::string longest(test::Amount(16U << 20U), 'x');
    script = " app 1 2.0: 1 cycles:\n\tapp 1 cycles:\n\rapp 1 cycles:\napp 1 2.0: 3 cycles:\r\n" +
             longest + "\napp " + longest + " 5 cycles: \n" + std::string("\0\xff\n", 3) +
             "db 2 cycles:";
    (void)Run(Config(R"("function_set")", R"("function_set":{"a":["app","db"]})"));
    EXPECT_EQ(dir.Read("json/" + Files("json")[0]),
              Document("function_set", kFirst,
                       R"({"a":{"SET_TOTAL":"100.00%","app":"80.00%","db":"20.00%"}})"));
}

TEST_F(HotFunCollectorTest, HostileReportsBecomeWhatRowsTheyHold) {
    const std::string longest(test::Amount(16U << 20U), 's');
    report = std::string("\0\xff binary\n", 10) + "5% 4% app so " + longest + "\n1% torn";
    (void)Run(Config(R"("global")"));
    EXPECT_TRUE(dir.Read("json/" + Files("json")[0]) ==
                Document("global", kFirst,
                         R"([{"percentage":"5%","command":"app","shared_object":"so","symbol":")" +
                             longest + "\"}]"));
}

TEST_F(HotFunCollectorTest, ADirectoryThatCannotBeMadeFailsTheMission) {
    dir.Write("raw_data", "a file");
    const Captured captured = Run(Config(R"("global")"));
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err,
                testing::EndsWith("[HotFunCollector] Cannot create hotFun collect directory!\n"));
    EXPECT_THAT(Commands(), IsEmpty());
}

using HotFunCollectorDeathTest = HotFunCollectorTest;

TEST_F(HotFunCollectorDeathTest, ALineBeyondMemoryFailsItsResult) {
    if (!WhyNoMemoryLimit().empty()) {
        GTEST_SKIP() << WhyNoMemoryLimit();
    }
    EXPECT_EXIT(ExitBelowAMemoryLimit([this] {
                    host.runner.Before("perf report", [](const std::string& command) {
                        fs::resize_file(command.substr(command.rfind(' ') + 1), 1U << 30U);
                    });
                    JsonDocument config;
                    HotFunCollector collector(HotFunCollector::kName, host.Get());
                    return ParseJson(Config(R"("global")"), config) &&
                           collector.CheckOptions(config, "collector") &&
                           collector.Start(config, dir.Path(), &stopFlag) && Files("json").empty();
                }),
                testing::ExitedWithCode(0),
                testing::StrEq("[HotFunCollector] Parse global result failed!\n"));
}

}  // namespace
}  // namespace zarn::test
