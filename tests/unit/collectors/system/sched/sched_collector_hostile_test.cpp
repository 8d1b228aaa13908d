#include <gmock/gmock.h>

#include "tests/unit/collectors/system/sched/sched_collector_fixture.h"

// What tools print when they are cut short, misled or not themselves, and interrupts between them.
namespace zarn::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kHead = "\n -----\n  Task | Runtime\n -----\n";
constexpr const char* kEnd = " -------------\n";
constexpr const char* kDocument = "json/soc_sched_global_latency_info_1_20230101120000000.data";
constexpr const char* kTorn =
    "[SchedAnalyzer] Error occurs in AddOneLatencyRawData: the line has too few fields\n";

std::string RowOf(const std::string& task, const std::string& delay = "2.0") {
    return "  " + task + " | 5.000 ms | 3 | avg: 1.5 ms | max: " + delay +
           " ms | max start: 12.3 s | max end: 12.4 s\n";
}

class SchedHostileReportTest : public SchedCollectorTest {
protected:
    // Makes a document of the report; what was printed on the error stream.
    std::string ErrorsOf(const std::string& report) {
        LeaveReports(report);
        const Captured captured = Run(R"("global")");
        EXPECT_TRUE(result);
        return captured.err;
    }

    // The rows of the document, which must be JSON.
    [[nodiscard]] std::vector<std::string> Tasks() const {
        JsonDocument document;
        EXPECT_TRUE(ParseJson(tree.Read(kDocument), document));
        std::vector<std::string> tasks;
        for (const JsonValue& row : document["content"].GetArray()) {
            tasks.emplace_back(row["Task"].GetString(), row["Task"].GetStringLength());
        }
        return tasks;
    }
};

TEST_F(SchedHostileReportTest, AMillionIdleLinesTakeNoPlace) {
    std::string idle;
    for (int i = 0; i < 1000000; ++i) {
        idle += " <idle>:0 |\n";
    }
    topN = "2";
    EXPECT_EQ(ErrorsOf(kHead + RowOf("a:1") + idle + RowOf("b:2") + RowOf("c:3") + kEnd), "");
    EXPECT_THAT(Tasks(), testing::ElementsAre("a:1", "b:2"));
}

TEST_F(SchedHostileReportTest, LinesOfMegabytesAreLinesLikeAnyOther) {
    const std::string name(16 << 20, 'n');
    EXPECT_EQ(ErrorsOf(kHead + RowOf(name) + name + "\n" + name + "idle\n" +
                       std::string(16 << 20, '|') + "\n" + RowOf("b:2") + kEnd),
              std::string(kTorn) + kTorn);
    ASSERT_THAT(Tasks(), SizeIs(2));
    EXPECT_EQ(Tasks()[0], name);
    EXPECT_EQ(Tasks()[1], "b:2");
}

TEST_F(SchedHostileReportTest, AnyBytesAreTextOrATornRow) {
    const std::string zero(1, '\0');
    EXPECT_EQ(ErrorsOf(kHead + RowOf(zero + "a\xff") + "\x01\x02|" + zero + "\n" + "\n" +
                       RowOf("$(reboot) | \"q\"") + RowOf("b:2", "nan") +
                       RowOf("c:3", std::string(400, '9')) + RowOf("d:4", "inf") + kEnd),
              std::string(kTorn) + kTorn + kTorn);
    EXPECT_THAT(Tasks(), SizeIs(4));
}

TEST_F(SchedHostileReportTest, LinesMayEndAsOnAnotherSystem) {
    EXPECT_EQ(ErrorsOf("\r\n -----\r\n Task | Runtime\r\n -----\r\n"
                       " a:1 | 5.000 ms | 3 | avg: 1.5 ms | max: 2 ms | max at: 12.3 s\r\n"
                       " -------------\r\n"),
              "");
    EXPECT_THAT(Tasks(), testing::ElementsAre("a:1"));
}

TEST_F(SchedHostileReportTest, AReportWithoutItsEndIsReadToItsLastWholeRow) {
    EXPECT_EQ(ErrorsOf(kHead + RowOf("a:1") + "  b:2 | 5.000 ms | 3 | av"), kTorn);
    EXPECT_THAT(Tasks(), testing::ElementsAre("a:1"));
}

// How a command can end: without perf, without the right to record, killed, or unable to start.
class SchedFailedPerfTest : public SchedCollectorTest, public testing::WithParamInterface<int> {};

TEST_P(SchedFailedPerfTest, IsToldAndWhatItLeftIsRead) {
    host.runner.On("perf sched", "", GetParam());
    EXPECT_EQ(Run(R"("global")").err,
              "[SchedCollector] Fail to generate global raw data!\n"
              "[SchedCollector] Cannot find global rawData file, check your config about "
              "global.\n");
    EXPECT_TRUE(result);
    LeaveReports(kHead + RowOf("a:1"));
    tree.Remove("env_info/time_cost.log");
    EXPECT_EQ(Run(R"("global")").err, "[SchedCollector] Fail to generate global raw data!\n");
    EXPECT_THAT(tree.Read(kDocument), HasSubstr(R"("Task":"a:1")"));
}

INSTANTIATE_TEST_SUITE_P(Statuses, SchedFailedPerfTest,
                         testing::Values(127 << 8, 129 << 8, 9, 2, -1));

// A name of a process is part of names of files: it is quoted, and never a command.
TEST_F(SchedCollectorTest, NamesOfProcessesAreOnlyNames) {
    for (const std::string& name :
         {std::string("my app"), std::string("a'b"), std::string("$(reboot)"), std::string("-x"),
          std::string(300, 'n')}) {
        processes = R"([")" + name + R"("])";
        host.runner.On("pidof " + name, "9\n");
        tree.Remove("env_info/time_cost.log");
        const std::size_t before = Commands().size();
        EXPECT_EQ(Run(R"("process")").err, "") << name;
        ASSERT_EQ(Commands().size(), before + 1);
        const bool isOrdinary = name[0] == '-' || name[0] == 'n';
        EXPECT_THAT(Commands().back(), testing::StartsWith(std::string("perf sched record -o ") +
                                                           (isOrdinary ? "/" : "'/")))
            << name;
    }
}

// The job that asks the tools is not cut short: what it asked of some is asked of all.
class SetupInterruptTest : public SchedCollectorTest,
                           public testing::WithParamInterface<const char*> {};

TEST_P(SetupInterruptTest, LeavesRawFilesAndNoDocument) {
    processes = R"(["worker"])";
    Print("ps -T -p 7 ", "  PID  SPID TTY TIME CMD\n 7 7 ? 00:00:00 worker\n");
    Print("grep 'loop'", " 21 root rt 0 1 2 3 S 0.0 0.1 0:00.22 loop\n");
    StopAt(GetParam());
    const Captured captured = Run(R"("priority_affinity")");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err, "[SchedCollector] Failed to CreateOutputJson because of stopFlag!\n");
    EXPECT_EQ(captured.out, std::string(kBegun) + kCollected);
    EXPECT_THAT(Commands(), SizeIs(10));
    EXPECT_THAT(tree.NamesIn("raw_data/sched"), SizeIs(3));
    EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
    EXPECT_FALSE(tree.Has("csv/soc_sched_thread_info.csv"));
}

INSTANTIATE_TEST_SUITE_P(Steps, SetupInterruptTest,
                         testing::Values("ps -l 7", "ps -T", "ps -l -T", "chrt -p 7",
                                         "taskset -pc 7", "top -H", "taskset -pc 21",
                                         "chrt -p 21"));

}  // namespace
}  // namespace zarn::test
