#include "board/server/proc_stat.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>

#include "tests/support/lines.h"
#include "tests/unit/board/board_fixture.h"

namespace zarn::board {
namespace {

using testing::ElementsAre;

constexpr const char* kMachine =
    "cpu  88 1 2 3 4 5 6 7 8 9\n"
    "cpu0 80 1 2 3 4 5 6 7 8 9\n"
    "cpu1 8 0 0 0 0 0 0 0 0 0\n"
    "intr 700 0 9 0\n"
    "ctxt 123\n"
    "btime 1700000000\n"
    "processes 4321\n"
    "procs_running 3\n"
    "procs_blocked 0\n"
    "softirq 12 0 5";

// Core 0 is always busy for a task, core 1 for one with a nice value, core 2 for none.
SchedPlan Plan() {
    SchedPlan plan;
    plan.cores = 3;
    plan.processCount = 2;
    plan.processes[0] = {{'p'}, 0, 1};
    plan.processes[1] = {{'q'}, 1, 1};
    plan.taskCount = 2;
    for (std::uint32_t i = 0; i < 2; ++i) {
        plan.tasks[i].process = i;
        plan.tasks[i].runUs = 5000;
        plan.tasks[i].affinity = 1U << i;
    }
    plan.tasks[1].nice = 10;
    return plan;
}

TEST(ProcStatTextTest, HasTheModelsCoresAndTheMachinesOtherLines) {
    CoreTimes times(Plan(), 1);
    times.Advance(250);
    EXPECT_THAT(
        test::LinesIn(ProcStatText(kMachine, times)),
        ElementsAre("cpu          250        250 0        250 0 0 0 0 0 0",
                    "cpu0         250          0 0          0 0 0 0 0 0 0",
                    "cpu1           0        250 0          0 0 0 0 0 0 0",
                    "cpu2           0          0 0        250 0 0 0 0 0 0", "intr 700 0 9 0",
                    "ctxt               2", "btime 1700000000", "processes 4321",
                    "procs_running  2", "procs_blocked 0", "softirq 12 0 5"));
}

TEST(ProcStatTextTest, OfAMachineThatTellsNothingThereAreTheCores) {
    SchedPlan plan;
    plan.cores = 1;
    EXPECT_EQ(ProcStatText("", CoreTimes(plan, 1)),
              "cpu            0          0 0          0 0 0 0 0 0 0\n"
              "cpu0           0          0 0          0 0 0 0 0 0 0\n");
}

TEST(ProcStatTextTest, AnotherMomentChangesNoLength) {
    CoreTimes times(Plan(), 1);
    const std::string first = ProcStatText(kMachine, times);
    times.Advance(12345);
    const std::string later = ProcStatText(first, times);
    EXPECT_EQ(later.size(), first.size());
    EXPECT_EQ(later, ProcStatText(kMachine, times));
}

class ProcStatTest : public OnBoard {
protected:
    void SetUp() override {
        initial_->scenario.sched = Plan();
        Start();
        std::filesystem::create_directories(files_ + "/proc");
        ASSERT_TRUE(LayProcStat(*state_, files_));
    }

    const std::string files_ = directory_.Path() + "files";
};

TEST_F(ProcStatTest, WhoHoldsTheFileOpenSeesItMove) {
    const int fd = ::open((files_ + "/proc/stat").c_str(), O_RDONLY);
    std::array<char, 65536> before{};
    const ssize_t size = ::pread(fd, before.data(), before.size(), 0);
    ProcStat stat(*state_, files_);
    pollfd tick{stat.Wakes(), POLLIN, 0};
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(::poll(&tick, 1, -1), 1);
        stat.Answer();
    }
    std::array<char, 65536> after{};
    EXPECT_EQ(::pread(fd, after.data(), after.size(), 0), size);
    ::close(fd);
    EXPECT_EQ(after.data(), test::ReadText(files_ + "/proc/stat"));
    CoreTimes times(Plan(), initial_->seed);
    for (std::uint64_t i = 0; ProcStatText(before.data(), times) != after.data(); ++i) {
        ASSERT_LE(i * kClockTickUs, BoardTimeUs(*state_)) << after.data();
        times.Advance(i);
    }
    EXPECT_GE(times.Cores()[0].user, 3U);
}

// Else a server would never rest. A tick may come between the two.
TEST_F(ProcStatTest, AnAnswerIsGoodForItsTick) {
    ProcStat stat(*state_, files_);
    pollfd tick{stat.Wakes(), POLLIN, 0};
    int rests = 0;
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(::poll(&tick, 1, -1), 1);
        stat.Answer();
        rests += ::poll(&tick, 1, 0) == 0 ? 1 : 0;
    }
    EXPECT_GT(rests, 0);
}

TEST_F(ProcStatTest, TheNextServerGoesOn) {
    const std::string laid = test::ReadText(files_ + "/proc/stat");
    EXPECT_TRUE(ProcStat(*state_, files_).Refresh());
    while (BoardTimeUs(*state_) < 2 * kClockTickUs) {
    }
    EXPECT_TRUE(ProcStat(*state_, files_).Refresh());
    const std::string later = test::ReadText(files_ + "/proc/stat");
    EXPECT_EQ(later.size(), laid.size());
    EXPECT_NE(later, laid);
}

TEST_F(ProcStatTest, SaysWhenTheFileIsNotThere) {
    std::filesystem::remove(files_ + "/proc/stat");
    EXPECT_FALSE(ProcStat(*state_, files_).Refresh());
    EXPECT_FALSE(LayProcStat(*state_, files_ + "none"));
}

TEST_F(ProcStatTest, WithoutCoresThereIsNothingToDo) {
    state_->scenario.sched = SchedPlan{};
    std::filesystem::remove(files_ + "/proc/stat");
    ProcStat stat(*state_, files_);
    EXPECT_EQ(stat.Wakes(), -1);
    EXPECT_TRUE(stat.Refresh());
}

}  // namespace
}  // namespace zarn::board
