#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/unit/collectors/device/mbuf/mbuf_collector_fixture.h"

namespace zarn {
namespace {

using test::MbufAnswer;
using test::MbufBytes;
using test::MbufOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Calls = std::vector<std::string>;

class MbufCollectorTest : public test::MbufCollectorTest {};

constexpr const char* kReleased = "[MbufCollector] Mbuffer resources are released in time!\n";
constexpr const char* kNone = "[MbufCollector] Timeout mbuffer size is 0.\n";
constexpr const char* kInterrupted = "[MbufCollector] The process is interrupted!\n";
constexpr const char* kFailed = "[MbufCollector] Failed to process mbuf info!\n";

const Calls kWholeCycle = {"register",
                           "configure 0 0 8192 10000 5000",
                           "configure 0 1 8192 10000 5000",
                           "info 0 1835008",
                           "info 0 1835008",
                           "unregister"};

TEST_F(MbufCollectorTest, ReportsWhatTimedOutBetweenTheTwoQueries) {
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({0, 2, 1})};
    const test::Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_EQ(host.buffers.calls, kWholeCycle);
    EXPECT_THAT(host.sleeps, ElementsAre(5, 1));
    EXPECT_THAT(host.sleepFlags, ElementsAre(&stopFlag, &stopFlag));
    EXPECT_THAT(Files("json"), ElementsAre("soc_mbuffer_stat_info_20230101120000002.data"));
    EXPECT_THAT(Documents(), ElementsAre(Document("20230101120000002", Entry(1) + "," + Entry(2))));
    EXPECT_THAT(dir.Read("env_info/time_cost.log"), HasSubstr("[MbufCollector] cost time: "));
}

TEST_F(MbufCollectorTest, AsksTheShellOnceAboutAProcess) {
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({1, 2, 3}), MbufAnswer({0}),
                            MbufAnswer({4, 5})};
    (void)Run(2);
    EXPECT_THAT(host.runner.Commands(),
                ElementsAre("ps -p 10 -o comm=", "ps -p 11 -o comm=",
                            "cat /proc/xsmem/task/11/summary | grep cnt |awk '{print$6}'",
                            "cat /proc/xsmem/task/11/summary | awk '{print$1}'|grep  [0-9]*\\(",
                            "cat /proc/xsmem/task/10/summary | grep cnt |awk '{print$6}'",
                            "cat /proc/xsmem/task/10/summary | awk '{print$1}'|grep  [0-9]*\\("));
    EXPECT_THAT(Documents(), ElementsAre(Document("20230101120000002",
                                                  Entry(1) + "," + Entry(2) + "," + Entry(3)),
                                         Document("20230101120000005", Entry(4) + "," + Entry(5))));
}

TEST_F(MbufCollectorTest, ALogHasTenLinesForEachRecordOfAQuery) {
    MbufRecord other = MbufOf(1);
    other.mbuf = 0;
    other.poolName = "";
    host.buffers.answers = {MbufAnswer({0}), MbufBytes(MbufOf(0)) + MbufBytes(other)};
    (void)Run();
    EXPECT_THAT(Files("raw_data/mbuf"), ElementsAre("soc_mbuffer_stat_info_20230101120000000.log",
                                                    "soc_mbuffer_stat_info_20230101120000001.log"));
    const std::string first =
        "================= TimeOutMbuf ================= \n"
        "id: 0\nmbuf: 0xffff0000\ntimeStamp: 1000\nallocPid: 10\nusePid: 10\nuseTime: 10000\n"
        "poolName: pool\nblkSize: 4096\ntotalBlkNum: 64\n";
    EXPECT_THAT(Logs(),
                ElementsAre(first, first + "================= TimeOutMbuf ================= \n"
                                           "id: 1\nmbuf: 0\ntimeStamp: 1001\nallocPid: 10\n"
                                           "usePid: 11\nuseTime: 10001\npoolName: \n"
                                           "blkSize: 4096\ntotalBlkNum: 64\n"));
    EXPECT_THAT(Documents(), ElementsAre(HasSubstr(R"("id":"0 1001")")));
}

TEST_F(MbufCollectorTest, NoCycleRegistersAlone) {
    const test::Captured captured = Run(0);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_EQ(host.buffers.calls, (Calls{"register", "unregister"}));
    EXPECT_THAT(host.sleeps, IsEmpty());
    EXPECT_THAT(Files("raw_data/mbuf"), IsEmpty());
}

TEST_F(MbufCollectorTest, NoCycleFailsIfTheRegistrationDoes) {
    host.buffers.takesRegistration = false;
    const test::Captured captured = Run(0);
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              std::string("[MbufCollector] Register rm resource failed!\n") + kFailed);
    EXPECT_EQ(host.buffers.calls, (Calls{"register", "unregister"}));
}

TEST_F(MbufCollectorTest, WithoutATimedOutBufferEachCycleEndsBehindItsFirstQuery) {
    const test::Captured captured = Run(2, 3);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out, std::string(kNone) + kReleased + kNone + kReleased);
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(host.sleeps, ElementsAre(3, 3));
    EXPECT_THAT(Logs(), ElementsAre("", ""));
    EXPECT_THAT(Files("json"), IsEmpty());
}

TEST_F(MbufCollectorTest, AnAnswerShorterThanARecordHoldsNone) {
    host.buffers.answers = {MbufAnswer({0}).substr(0, 223), MbufAnswer({0, 1}).substr(0, 447),
                            MbufAnswer({1}).substr(0, 1)};
    const test::Captured captured = Run(2);
    EXPECT_EQ(captured.out, std::string(kNone) + kReleased + kNone);
    EXPECT_THAT(Documents(), ElementsAre(Document("20230101120000003", "")));
}

TEST_F(MbufCollectorTest, AFailedRegistrationIsToldAndAllCyclesRun) {
    host.buffers.takesRegistration = false;
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({1}), MbufAnswer({0}), MbufAnswer({3})};
    const test::Captured captured = Run(2);
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              std::string("[MbufCollector] Register rm resource failed!\n") + kFailed);
    EXPECT_THAT(Documents(), ElementsAre(Document("20230101120000002", Entry(1)),
                                         Document("20230101120000005", Entry(3))));
    EXPECT_FALSE(std::filesystem::exists(dir.Path() + "env_info/time_cost.log"));
}

TEST_F(MbufCollectorTest, ABufferHeldThroughBothQueriesIsNotReported) {
    host.buffers.answers = {MbufAnswer({0, 1}), MbufAnswer({1, 0})};
    const test::Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_THAT(Documents(), ElementsAre(Document("20230101120000002", "")));
}

// What one cycle has seen the next one does not know.
TEST_F(MbufCollectorTest, EachCycleStartsAnew) {
    host.buffers.answers = {MbufAnswer({0, 1}), MbufAnswer({0}), MbufAnswer({0}),
                            MbufAnswer({0, 1})};
    (void)Run(2);
    EXPECT_THAT(Documents(), ElementsAre(Document("20230101120000002", ""),
                                         Document("20230101120000005", Entry(1))));
}

TEST_F(MbufCollectorTest, AStopFailsTheCyclesLeft) {
    stopFlag = 1;
    const test::Captured captured = Run(3, 7);
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err, std::string(kInterrupted) + kInterrupted + kInterrupted + kFailed);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(host.buffers.calls, (Calls{"register", "unregister"}));
    EXPECT_THAT(host.sleeps, ElementsAre(7, 7, 7));
}

class MbufInterruptTest : public test::MbufCollectorTest,
                          public testing::WithParamInterface<std::size_t> {};

// A cycle that has begun is ended, however short its pauses are now.
TEST_P(MbufInterruptTest, InACallOfTheFirstCycleFailsTheSecondAlone) {
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({1})};
    host.buffers.duringCall = [this] {
        stopFlag = host.buffers.calls.size() >= GetParam() ? 1 : 0;
    };
    const test::Captured captured = Run(2);
    EXPECT_FALSE(result);
    EXPECT_EQ(host.buffers.calls, kWholeCycle);
    EXPECT_EQ(captured.err, std::string(kInterrupted) + kFailed);
    EXPECT_THAT(Documents(), ElementsAre(Document("20230101120000002", Entry(1))));
}

INSTANTIATE_TEST_SUITE_P(Calls, MbufInterruptTest, testing::Values(1, 2, 3, 4));

TEST_F(MbufCollectorTest, AnInterruptWhileRegisteringFailsAllCycles) {
    host.buffers.duringCall = [this] { stopFlag = 1; };
    const test::Captured captured = Run(2);
    EXPECT_EQ(captured.err, std::string(kInterrupted) + kInterrupted + kFailed);
    EXPECT_EQ(host.buffers.calls, (Calls{"register", "unregister"}));
}

TEST_F(MbufCollectorTest, AnInterruptBetweenTheQueriesLetsTheSecondCome) {
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({1})};
    host.duringSleep = [this] { stopFlag = 1; };
    const test::Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_THAT(Documents(), ElementsAre(Document("20230101120000002", Entry(1))));
}

TEST_F(MbufCollectorTest, AnInterruptWhileNamesAreAskedForLetsTheDocumentCome) {
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({1, 2})};
    host.runner.Before("ps -p 10", [this](const std::string& /*command*/) { stopFlag = 1; });
    const test::Captured captured = Run(2);
    EXPECT_EQ(captured.err, std::string(kInterrupted) + kFailed);
    EXPECT_THAT(Documents(), ElementsAre(Document("20230101120000002", Entry(1) + "," + Entry(2))));
}

// The clock gives each millisecond thrice.
TEST_F(MbufCollectorTest, QueriesWithinAMillisecondHaveLogsOfTheirOwn) {
    int asked = 0;
    host.currentTime = [&asked](std::string& time) {
        time = "2023010112000000" + std::to_string(asked++ / 3);
        return true;
    };
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({1, 2})};
    const test::Captured captured = Run(3, 0);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(Files("raw_data/mbuf"), ElementsAre("soc_mbuffer_stat_info_20230101120000000.log",
                                                    "soc_mbuffer_stat_info_20230101120000001.log",
                                                    "soc_mbuffer_stat_info_20230101120000002.log",
                                                    "soc_mbuffer_stat_info_20230101120000003.log"));
    EXPECT_THAT(host.pauses, testing::Each(std::chrono::milliseconds(1)));
}

}  // namespace
}  // namespace zarn
