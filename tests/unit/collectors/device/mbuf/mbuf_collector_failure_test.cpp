#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/ordinary_rights.h"
#include "tests/unit/collectors/device/mbuf/mbuf_collector_fixture.h"

namespace zarn {
namespace {

using test::MbufAnswer;
using test::MbufBytes;
using test::MbufOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class MbufCollectorFailureTest : public test::MbufCollectorTest {};

// A call of one cycle that fails, and what is said of it.
struct FailedCall {
    int call;
    const char* words;
    bool result;
    std::size_t logs;
    std::size_t documents;
};

class MbufFailedCallTest : public test::MbufCollectorTest,
                           public testing::WithParamInterface<FailedCall> {};

TEST_P(MbufFailedCallTest, IsTold) {
    host.buffers.failingCall = GetParam().call;
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({1})};
    const test::Captured captured = Run();
    EXPECT_EQ(captured.err, GetParam().words);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(result, GetParam().result);
    EXPECT_EQ(host.buffers.calls.front(), "register");
    EXPECT_EQ(host.buffers.calls.back(), "unregister");
    EXPECT_EQ(Logs().size(), GetParam().logs);
    EXPECT_EQ(Documents().size(), GetParam().documents);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, MbufFailedCallTest,
    testing::Values(
        FailedCall{0,
                   "[MbufCollector] Register rm resource failed!\n"
                   "[MbufCollector] Failed to process mbuf info!\n",
                   false, 2, 1},
        FailedCall{1,
                   "[MbufCollector] Failed to configure the mbuf timeout to disable, ret:-9\n"
                   "[MbufCollector] The process is interrupted!\n"
                   "[MbufCollector] Failed to process mbuf info!\n",
                   false, 0, 0},
        FailedCall{2,
                   "[MbufCollector] Failed to configure the mbuf timeout to enable, ret:-9\n"
                   "[MbufCollector] The process is interrupted!\n"
                   "[MbufCollector] Failed to process mbuf info!\n",
                   false, 0, 0},
        FailedCall{3,
                   "[MbufCollector] Failed to get mbuffer information!\n"
                   "[MbufCollector] Failed to get timeout mbuf info for the first time!\n",
                   true, 0, 0},
        FailedCall{4,
                   "[MbufCollector] Failed to get mbuffer information!\n"
                   "[MbufCollector] Failed to get timeout mbuf info for the second time!\n",
                   true, 1, 0},
        FailedCall{5, "", true, 2, 1}),
    [](const auto& call) { return "Call" + std::to_string(call.param.call); });

// A cycle that fails does not fail the collector, and the next one runs.
TEST_F(MbufCollectorFailureTest, TheNextCycleRunsAllTheSame) {
    host.buffers.failingCall = 1;
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({1})};
    (void)Run(2, 4);
    EXPECT_FALSE(result);
    EXPECT_THAT(host.sleeps, ElementsAre(4, 5, 4));
    EXPECT_THAT(Documents(), ElementsAre(Document("20230101120000002", Entry(1))));
}

TEST_F(MbufCollectorFailureTest, ASizeAboveTheBuffersIsTheBuffers) {
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({0, 1})};
    host.buffers.toldSize = 0xFFFFFFFF;
    const test::Captured captured = Run();
    EXPECT_EQ(captured.out, "");
    const std::vector<std::string> logs = Logs();
    ASSERT_EQ(logs.size(), 2U);
    // What the library did not write is zero: one more buffer, which both queries have.
    EXPECT_THAT(logs[1], HasSubstr("id: 8191\nmbuf: 0\n"));
    EXPECT_THAT(logs[1], testing::Not(HasSubstr("id: 8192\n")));
    EXPECT_THAT(Documents(), ElementsAre(Document("20230101120000002", Entry(1))));
}

TEST_F(MbufCollectorFailureTest, ASizeBelowWhatWasWrittenIsTakenAtItsWord) {
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({0, 1, 2})};
    host.buffers.toldSize = 2 * 224 + 223;
    (void)Run();
    // The second record of the first answer is a zeroed one.
    EXPECT_THAT(Documents(), ElementsAre(Document("20230101120000002", Entry(1))));
}

TEST_F(MbufCollectorFailureTest, APoolNameWithoutItsZeroEndsWithTheRecord) {
    MbufRecord record = MbufOf(1);
    record.poolName = std::string(200, 'p');
    host.buffers.answers = {MbufAnswer({0}), MbufBytes(record) + MbufBytes(record)};
    (void)Run();
    ASSERT_EQ(Documents().size(), 1U);
    EXPECT_THAT(Documents()[0], HasSubstr("\"pool\":\"" + std::string(160, 'p') + "\""));
}

TEST_F(MbufCollectorFailureTest, WithoutADirectoryNothingIsAsked) {
    dir.Write("raw_data", "");
    const test::Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err, testing::EndsWith("[MbufCollector] Cannot create directory!\n"));
    EXPECT_THAT(host.buffers.calls, IsEmpty());
}

// The questions for the time are: a log's, a log's, the document's.
TEST_F(MbufCollectorFailureTest, WithoutATimeTheCycleEnds) {
    const std::string noTime = "[MbufCollector] Failed to get time stamp!\n";
    const std::string words[] = {
        noTime + "[MbufCollector] Failed to get timeout mbuf info for the first time!\n",
        noTime + "[MbufCollector] Failed to get timeout mbuf info for the second time!\n", noTime};
    for (int tick = 0; tick < 3; ++tick) {
        host.buffers.answers.push_back(MbufAnswer({0}));
        host.buffers.answers.push_back(MbufAnswer({1}));
        if (tick == 0) {
            host.buffers.answers.pop_back();
        }
        host.failingTick = host.ticks + tick;
        const test::Captured captured = Run();
        EXPECT_TRUE(result);
        EXPECT_EQ(captured.err, words[tick]);
        EXPECT_THAT(Documents(), IsEmpty());
    }
    EXPECT_EQ(Logs().size(), 3U);
}

TEST_F(MbufCollectorFailureTest, ALogThatCannotBeOpenedIsDoneWithout) {
    std::filesystem::create_directories(dir.Path() + "raw_data/mbuf");
    std::filesystem::permissions(
        dir.Path() + "raw_data/mbuf",
        std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    const test::OrdinaryRights rights;
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({1})};
    const test::Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_THAT(Logs(), IsEmpty());
    EXPECT_THAT(Documents(), ElementsAre(Document("20230101120000002", Entry(1))));
}

TEST_F(MbufCollectorFailureTest, ADocumentThatCannotBeWrittenIsToldAndFailsNothing) {
    std::filesystem::remove(dir.Path() + "json");
    dir.Write("json", "no folder");
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({1})};
    const test::Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "[MbufCollector] Cannot open outfile, check your filePath.\n");
}

// As long as it lives no file of this process can grow beyond some bytes: a disk that is full.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) {
        EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &before_), 0);
        const rlimit small{bytes, before_.rlim_max};
        action_ = ::signal(SIGXFSZ, SIG_IGN);
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        ::signal(SIGXFSZ, action_);
    }

private:
    rlimit before_{};
    sighandler_t action_ = SIG_DFL;
};

TEST_F(MbufCollectorFailureTest, AFullDiskLeavesEmptyFilesAndFailsNothing) {
    host.buffers.answers = {MbufAnswer({0}), MbufAnswer({0, 1})};
    host.duringSleep = [this, full = std::shared_ptr<FullDisk>()]() mutable {
        full = host.sleeps.size() == 1 ? std::make_shared<FullDisk>(200) : nullptr;
    };
    const test::Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "[MbufCollector] Cannot open outfile, check your filePath.\n");
    ASSERT_EQ(Logs().size(), 2U);
    EXPECT_THAT(Logs()[0], HasSubstr("id: 0\n"));
    EXPECT_EQ(Logs()[1], "");
    EXPECT_THAT(Documents(), testing::Each(""));
}

TEST_F(MbufCollectorFailureTest, AHolderThatIsGoneHasNoNames) {
    MbufRecord record = MbufOf(1);
    record.usePid = 77;
    host.buffers.answers = {MbufAnswer({0}), MbufBytes(record)};
    const test::Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[MbufCollector] Invalidargument. stoi\n"
              "[MbufCollector] Failed to get group name!\n");
    ASSERT_EQ(Documents().size(), 1U);
    EXPECT_THAT(Documents()[0], HasSubstr(R"("use":77,"useName":"","useTime":10001,"group":"")"));
}

TEST_F(MbufCollectorFailureTest, AsManyGoneHoldersAsRecordsAreAskedAboutOnceEach) {
    std::string answer;
    for (unsigned i = 0; i < 8192; ++i) {
        MbufRecord record = MbufOf(i);
        record.usePid = 100 + i % 3;
        answer += MbufBytes(record);
    }
    host.buffers.answers = {MbufAnswer({9000}), answer};
    (void)Run();
    // Two for each holder, and the name of who allocated the buffers.
    EXPECT_EQ(host.runner.Commands().size(), 7U);
}

}  // namespace
}  // namespace zarn
