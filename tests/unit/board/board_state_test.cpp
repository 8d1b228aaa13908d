#include "board/state/board_state.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string_view>
#include <thread>
#include <vector>

#include "board/state/observation.h"
#include "tests/unit/board/board_fixture.h"

namespace zarn::board {
namespace {

using State = OnBoard;

TEST_F(State, AFileThatIsNoStateIsNoBoard) {
    const std::string path = directory_.Write("state", "short");
    EXPECT_EQ(MapBoardState(path.c_str()), nullptr);
    directory_.Write("state", std::string(sizeof(BoardState), 'x'));
    EXPECT_EQ(MapBoardState(path.c_str()), nullptr);
    EXPECT_EQ(MapBoardState((directory_.Path() + "none").c_str()), nullptr);
    EXPECT_EQ(MapBoardState(directory_.Path().c_str()), nullptr);
    EXPECT_FALSE(CreateBoardState((directory_.Path() + "none/state").c_str(), *initial_));
}

TEST_F(State, TheVariableLeadsToTheBoardOfTheMoment) {
    Start();
    BoardState* first = state_;
    Start();  // another file under the same name is the same board to this process
    EXPECT_EQ(state_, first);
    ::setenv(kStateVariable, "", 1);
    EXPECT_EQ(AttachBoard(), nullptr);
    ::unsetenv(kStateVariable);
    EXPECT_EQ(AttachBoard(), nullptr);
}

TEST_F(State, ProcessesSeeWhatOthersSet) {
    Start();
    const pid_t child = ::fork();
    if (child == 0) {
        BoardState* state = MapBoardState(::getenv(kStateVariable));
        {
            const BoardLock lock(*state);
            state->partitions[5].high = 17;
        }
        ::_exit(0);
    }
    ASSERT_GT(child, 0);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    const BoardLock lock(*state_);
    EXPECT_EQ(state_->partitions[5].high, 17U);
}

TEST_F(State, TheLockOutlivesAProcessThatDiesHoldingIt) {
    if (!std::string_view(ZARN_EMULATOR).empty()) {
        GTEST_SKIP() << "an emulator of another processor has no robust locks";
    }
    Start();
    const pid_t child = ::fork();
    if (child == 0) {
        ::pthread_mutex_lock(&MapBoardState(::getenv(kStateVariable))->lock);
        ::raise(SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    { const BoardLock taken(*state_); }
    const BoardLock again(*state_);
    EXPECT_EQ(state_->calls, 0U);
}

TEST_F(State, ThreadsCountTogetherUnderTheLock) {
    Start();
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] {
            for (int k = 0; k < 1000; ++k) {
                const BoardLock lock(*state_);
                ++state_->calls;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(state_->calls, 4000U);
}

TEST_F(State, AForkedProcessHasAnIdOfItsOwn) {
    EXPECT_EQ(OwnProcessId(), ::getpid());
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(OwnProcessId() == ::getpid() ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST_F(State, AWaitForAChangeThatHasHappenedReturns) {
    Start();
    const std::uint32_t known = state_->generation;
    AnnounceChange(*state_);
    EXPECT_TRUE(WaitForChange(*state_, known, 600000, [](int /*milliseconds*/) { return false; }));
    EXPECT_EQ(state_->generation, known + 1);
}

TEST_F(State, AWaitForAChangeEndsWhenItsPauseSaysSo) {
    Start();
    EXPECT_FALSE(WaitForChange(*state_, state_->generation, 600000,
                               [](int milliseconds) { return milliseconds != 5; }));
}

TEST_F(State, AHeartbeatThatWasNeverHeardDoesNotStandStill) {
    Start();
    EXPECT_EQ(MsSinceBeat(*state_), 0U);
    Beat(*state_);
    EXPECT_GT(state_->heartbeatNs, 0U);
    state_->heartbeatNs -= 5000000000U;
    EXPECT_GE(MsSinceBeat(*state_), 5000U);
}

TEST_F(State, MastersMovedIntoOnePartitionAreOneDemand) {
    initial_->scenario.demands[0].base = 1000.0;
    initial_->scenario.demands[kImgpVenc].base = 300.0;
    initial_->masters[0] = {0, 7};
    const PerMaster<double> demands = DemandsOf(*initial_, 0);
    EXPECT_EQ(demands[0], 1300.0);
    EXPECT_EQ(demands[kImgpVenc], 0.0);
    EXPECT_EQ(SettingsOf(*initial_)[0].priority, 7U);
    EXPECT_EQ(SettingsOf(*initial_)[kImgpVenc].priority, 0U);
}

}  // namespace
}  // namespace zarn::board
