#include "collectors/profiling/sys_call/sys_call_collector.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

constexpr const char* kTime = "20230101120000000";

// A run in a tree of its own. Commands are recorded, and the searches of a log answered.
class SysCallCollectorTest : public testing::Test {
protected:
    SysCallCollectorTest() {
        fs::create_directories(dir.Path() + "env_info");
        fs::create_directories(dir.Path() + "json");
        host.runner.On("pidof planner", "417\n").On("pidof camera", "512 7\n");
    }

    Captured Run(const std::string& processes = R"(["planner"])",
                 const std::string& details = "true") {
        return Capture([&] {
            JsonDocument config;
            ASSERT_TRUE(ParseJson(R"({"SysCallCollector":{"process":)" + processes +
                                      R"(,"duration":2,"saveDetailsToJson":)" + details + "}}",
                                  config));
            SysCallCollector collector(SysCallCollector::kName, host.Get());
            ASSERT_TRUE(collector.CheckOptions(config, "collector"));
            result = collector.Start(config, dir.Path(), &stopFlag);
        });
    }

    [[nodiscard]] std::string Log(const std::string& process) const {
        return dir.Path() + "raw_data/sys_call/soc_sys_call_info_" + process + "_1_" + kTime +
               ".log";
    }
    [[nodiscard]] std::string Trace(const std::string& process, const std::string& pid) const {
        return "timeout -k 1s 2s strace -o " + Log(process) +
               " -tt -T -C -S time -U "
               "name,time-percent,time-total,avg-time,min-time,max-time,calls,errors -p " +
               pid;
    }
    [[nodiscard]] std::string Summary(const std::string& process) const {
        return "grep -e ^[a-z] " + Log(process) + " | grep -E -v 'total|syscall'";
    }
    [[nodiscard]] std::string Details(const std::string& process, const std::string& name) const {
        return "grep ^[0-9] " + Log(process) + " | grep " + name + " | awk '{print $1, $NF}'";
    }
    [[nodiscard]] std::string DocumentPath() const {
        return dir.Path() + "json/soc_sys_call_info_1_" + kTime + ".data";
    }
    [[nodiscard]] std::string Document() const {
        return dir.Read(std::string("json/soc_sys_call_info_1_") + kTime + ".data");
    }
    [[nodiscard]] std::string Organized(const std::string& process) const {
        return "[SysCallCollector] Organize info for process [" + process + "] sucessfully!\n";
    }
    [[nodiscard]] std::string Saved() const {
        return "[SysCallCollector] Save json file : " + DocumentPath() + " sucessfully!\n";
    }
    // The document of what `content` says of processes.
    [[nodiscard]] static std::string DocumentOf(const std::string& content) {
        return std::string(R"({"objectId":"soc_sys_call_info","happenTime":")") + kTime +
               R"(","eventId":"222210210","content":)" + content + "}\n";
    }

    TempDir dir;
    FakeHost host;
    StopFlag stopFlag{0};
    bool result = false;
};

std::string Row(const std::string& name, const std::string& calls, const std::string& errors,
                const std::string& more = "") {
    return R"({"syscall-name":")" + name +
           R"~(","time-percent(%)":"50.00","time-total(s)":"0.1","avg-time(us)":"1",)~"
           R"~("min-time(s)":"0.01","max-time(s)":"0.02","calls":")~" +
           calls + R"(","errors":")" + errors + "\"" + more + "}";
}

constexpr const char* kRead = "read    50.00  0.1  1  0.01  0.02  12           \n";
constexpr const char* kOpen = "openat  50.00  0.1  1  0.01  0.02  3     2\n";

TEST_F(SysCallCollectorTest, TracesAProcessAndMakesADocumentOfItsSummaryAndItsCalls) {
    host.runner.On(Summary("planner"), std::string(kRead) + kOpen)
        .On("grep read", "12:00:00.1 <0.5>\n12:00:00.2 <unfinished\n12:00:00.3 <0.25>\n")
        .On("grep openat", "");
    const Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(captured.out,
              "[SysCallCollector] Ready to collect planner system call info.\n"
              "[SysCallCollector] Save system call info about all those processes: "
              "[planner(pid: 417),\n]\n" +
                  Organized("planner") + Saved());
    EXPECT_THAT(host.runner.Commands(),
                ElementsAre("pidof planner", Trace("planner", "417"), Summary("planner"),
                            Details("planner", "read"), Details("planner", "openat")));
    EXPECT_EQ(Document(),
              DocumentOf(R"({"planner":[)" +
                         Row("read", "12", "0",
                             R"(,"everyCall":[{"start_time":"12:00:00.1","time_cost":"0.5"},)"
                             R"({"start_time":"12:00:00.3","time_cost":"0.25"}])") +
                         "," + Row("openat", "3", "2") + "]}"));
    EXPECT_THAT(dir.Read("env_info/time_cost.log"),
                MatchesRegex("\\[SysCallCollector\\] cost time: [0-9.]+s\n"));
}

TEST_F(SysCallCollectorTest, WithoutDetailsTheLogIsReadOnce) {
    host.runner.On(Summary("planner"), kRead);
    (void)Run(R"(["planner"])", "false");
    EXPECT_THAT(host.runner.Commands(),
                ElementsAre("pidof planner", Trace("planner", "417"), Summary("planner")));
    EXPECT_EQ(Document(), DocumentOf(R"({"planner":[)" + Row("read", "12", "0") + "]}"));
}

// Each tracer ends only when all have begun.
TEST_F(SysCallCollectorTest, TheTracersRunAtTheSameTime) {
    std::mutex mutex;
    std::condition_variable changed;
    int running = 0;
    host.runner.On("pidof logger", "20\n");
    host.runner.Before("strace", [&](const std::string&) {
        std::unique_lock<std::mutex> lock(mutex);
        ++running;
        changed.notify_all();
        changed.wait(lock, [&] { return running == 3; });
    });
    const Captured captured = Run(R"(["planner","camera","logger"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out,
              "[SysCallCollector] Ready to collect planner system call info.\n"
              "[SysCallCollector] Ready to collect camera system call info.\n"
              "[SysCallCollector] Ready to collect logger system call info.\n"
              "[SysCallCollector] Save system call info about all those processes: "
              "[planner(pid: 417),\ncamera(pid: 512 7),\nlogger(pid: 20),\n]\n" +
                  Organized("planner") + Organized("camera") + Organized("logger") + Saved());
    EXPECT_EQ(Document(), DocumentOf(R"({"planner":[],"camera":[],"logger":[]})"));
    const std::vector<std::string> commands = host.runner.Commands();
    for (const std::string& trace :
         {Trace("planner", "417"), Trace("camera", "512 7"), Trace("logger", "20")}) {
        EXPECT_EQ(std::count(commands.begin(), commands.end(), trace), 1) << trace;
    }
}

TEST_F(SysCallCollectorTest, AProcessThatDoesNotRunIsLeftOutAndTheOthersAreTraced) {
    host.runner.On("pidof none", "").Refuse("pidof lost");
    const Captured captured = Run(R"(["none","planner","lost"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[SysCallCollector] Failed to get process id of none, Skipped it!\n"
              "[zarn_utils] Failed to popen command!\n"
              "[SysCallCollector] Failed to get process id of lost, Skipped it!\n");
    EXPECT_EQ(Document(), DocumentOf(R"({"planner":[]})"));
}

TEST_F(SysCallCollectorTest, WithoutAnyProcessTheMissionFails) {
    const Captured captured = Run(R"(["none"])");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out, "[SysCallCollector] No legal processes to collect!\n");
    EXPECT_EQ(captured.err,
              "[SysCallCollector] Failed to get process id of none, Skipped it!\n"
              "[SysCallCollector]: Failed to process system calling info!\n");
    EXPECT_THAT(host.runner.Commands(), ElementsAre("pidof none"));
    EXPECT_FALSE(fs::exists(DocumentPath()));
    EXPECT_FALSE(fs::exists(dir.Path() + "env_info/time_cost.log"));
}

TEST_F(SysCallCollectorTest, AnInterruptBeforeTheTraceEndsTheMission) {
    stopFlag = 1;
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out, "[SysCallCollector] Recieved stop signal, process will stop soon!\n");
    EXPECT_EQ(captured.err, "[SysCallCollector]: Failed to process system calling info!\n");
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
}

TEST_F(SysCallCollectorTest, AnInterruptDuringTheTraceChangesNothing) {
    host.runner.On(Summary("planner"), kRead);
    host.runner.Before("strace", [this](const std::string&) { stopFlag = 1; });
    const Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_THAT(captured.out, testing::EndsWith(Organized("planner") + Saved()));
    EXPECT_THAT(Document(), HasSubstr(Row("read", "12", "0")));
}

// What `timeout` leaves behind, and a tracer that is missing.
TEST_F(SysCallCollectorTest, TheStatusOfTheTracersDoesNotCount) {
    host.runner.On("strace", "", 124 << 8);
    EXPECT_EQ(Run().err, "");
    EXPECT_TRUE(result);
}

// The heading and the total do not come through the search.
TEST_F(SysCallCollectorTest, AProcessWithoutCallsHasAnEmptyArray) {
    EXPECT_EQ(Run().err, "");
    EXPECT_TRUE(result);
    EXPECT_EQ(Document(), DocumentOf(R"({"planner":[]})"));
}

TEST_F(SysCallCollectorTest, ASummaryThatCannotBeReadIsToldAndTheOthersGoOn) {
    host.runner.On(Summary("camera"), kRead).Refuse(Summary("planner"));
    const Captured captured = Run(R"(["planner","camera"])", "false");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "[zarn_utils]: execute command failed.\n[SysCallCollector] cmd : " +
                                Summary("planner") + " failed!\n");
    EXPECT_THAT(captured.out, Not(HasSubstr(Organized("planner"))));
    EXPECT_THAT(captured.out, HasSubstr(Organized("camera")));
    EXPECT_EQ(Document(),
              DocumentOf(R"({"planner":[],"camera":[)" + Row("read", "12", "0") + "]}"));
}

// The calls of the other rows stay with their rows.
TEST_F(SysCallCollectorTest, CallsThatCannotBeReadAreToldAndLeftOutOfTheirRow) {
    host.runner.On(Summary("planner"), std::string(kRead) + kOpen)
        .Refuse("grep read")
        .On("grep openat", "12:00:00.1 <0.5>\n");
    const Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "[zarn_utils]: execute command failed.\n[SysCallCollector] cmd : " +
                                Details("planner", "read") +
                                " failed.\n[SysCallCollector] organize details for function read "
                                "failed.\n");
    EXPECT_EQ(Document(),
              DocumentOf(R"({"planner":[)" + Row("read", "12", "0") + "," +
                         Row("openat", "3", "2",
                             R"(,"everyCall":[{"start_time":"12:00:00.1","time_cost":"0.5"}])") +
                         "]}"));
}

// What stands in a log comes to the shell as a word of plain text.
TEST_F(SysCallCollectorTest, ANameOfTheLogIsNoCommand) {
    host.runner.On(Summary("planner"), "a;reboot$(b)|c 1\n");
    (void)Run();
    EXPECT_THAT(host.runner.Commands().back(), HasSubstr(" | grep a\\;reboot\\$\\(b\\)\\|c | awk"));
}

TEST_F(SysCallCollectorTest, RowsOfOtherLengthsAreTaken) {
    host.runner.On(Summary("planner"), "read 1\nwrite 1 2 3 4 5 6 7 8 9 10 11\n");
    (void)Run(R"(["planner"])", "false");
    EXPECT_TRUE(result);
    EXPECT_THAT(Document(), HasSubstr(R"~("syscall-name":"read","time-percent(%)":"1",)~"
                                      R"~("time-total(s)":"0","avg-time(us)":"")~"));
    EXPECT_THAT(Document(), HasSubstr(R"("calls":"6","errors":"7"})"));
}

TEST_F(SysCallCollectorTest, WithoutATimeTheMissionFails) {
    host.failingTick = 0;
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(captured.err,
              "[SysCallCollector]: Failed to collect time!\n"
              "[SysCallCollector]: Failed to process system calling info!\n");
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
}

TEST_F(SysCallCollectorTest, ADirectoryThatCannotBeMadeFailsTheMission) {
    dir.Write("raw_data", "a file");
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err,
                testing::EndsWith("[SysCallCollector]: Failed to create system call collecting "
                                  "directory!\n"));
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
}

TEST_F(SysCallCollectorTest, ADocumentThatCannotBeWrittenIsTold) {
    fs::create_directory(DocumentPath());
    const Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "[zarn_utils] Cannot open outfile, check your filePath.\n");
    EXPECT_THAT(captured.out, testing::EndsWith(Saved()));
}

}  // namespace
}  // namespace zarn::test
