#include "board/server/recorder_driver.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <future>
#include <optional>

#include "tests/unit/board/board_fixture.h"

namespace zarn::board {
namespace {

// A recorder's files, on a board of one core for which two tasks wait in turns.
class RecorderDriverTest : public OnBoard {
protected:
    void SetUp() override {
        std::filesystem::create_directories(directory_.Path() + "files/proc/perf");
        ASSERT_TRUE(SetRecorderUp(files_));
    }

    void PlanTasks() {
        SchedPlan& plan = initial_->scenario.sched;
        plan.cores = 1;
        plan.processCount = 1;
        plan.processes[0] = {{'p'}, 0, 2};
        plan.taskCount = 2;
        plan.tasks[0].name = {'p'};
        plan.tasks[1].name = {'q'};
        for (std::uint32_t i = 0; i < plan.taskCount; ++i) {
            plan.tasks[i].periodUs = 1000;
            plan.tasks[i].runUs = 400;
        }
    }

    void StartDriver() {
        driver_.emplace(*state_, files_, directory_.Path() + "spare");
        ASSERT_TRUE(driver_->Refresh());
    }

    // Writes a file that sets the recorder, of which the driver is told.
    void Set(const std::string& name, const std::string& text) {
        directory_.Write("files/proc/perf/" + name, text);
        pollfd written{driver_->Wakes()[1], POLLIN, 0};
        ASSERT_EQ(::poll(&written, 1, 0), 1);
        driver_->Answer();
    }

    // What a reader gets.
    std::string Read(const std::string& name) {
        std::future<std::string> text = std::async(std::launch::async, [this, name] {
            return test::ReadText(files_ + "/proc/perf/" + name);
        });
        while (text.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
            driver_->Answer();
        }
        return text.get();
    }

    [[nodiscard]] std::optional<std::uint64_t> Armed() const {
        return ArmedThresholdNs(state_->schedRecording);
    }

    const std::string files_ = directory_.Path() + "files";
    std::optional<RecorderDriver> driver_;
};

TEST_F(RecorderDriverTest, IsArmedAndDisarmedByWhatIsWritten) {
    PlanTasks();
    Start();
    StartDriver();
    EXPECT_EQ(Armed(), std::nullopt);
    Set("sched_threshold", "5000\n");
    EXPECT_EQ(Armed(), std::nullopt);
    Set("sched_ctrl", "0xf\n");
    EXPECT_EQ(Armed(), 5000U);
    Set("sched_threshold", "6000\n");
    EXPECT_EQ(Armed(), 6000U);
    Set("sched_ctrl", "0\n");
    EXPECT_EQ(Armed(), std::nullopt);
    EXPECT_EQ(state_->schedRecording.count, 2U);
}

// A shell empties a file before it writes.
TEST_F(RecorderDriverTest, AnEmptyFileIsAboutToBeWritten) {
    PlanTasks();
    Start();
    StartDriver();
    Set("sched_threshold", "5000\n");
    Set("sched_ctrl", "1\n");
    Set("sched_ctrl", "");
    Set("sched_threshold", "");
    EXPECT_EQ(Armed(), 5000U);
    EXPECT_EQ(state_->schedRecording.count, 1U);
}

TEST_F(RecorderDriverTest, WhoArmsItAndReadsFindsItArmed) {
    PlanTasks();
    Start();
    StartDriver();
    EXPECT_EQ(Read("sched_log"), "sched_log: 0 delays\n");
    if (!std::filesystem::is_empty(files_ + "/proc/perf/sched_log")) {
        GTEST_SKIP() << "no leases on the file system of temporary files";
    }
    directory_.Write("files/proc/perf/sched_ctrl", "1");
    EXPECT_EQ(Read("sched_stacks").rfind("sched_stacks: ", 0), 0U);
    EXPECT_EQ(Armed(), 0U);
}

TEST_F(RecorderDriverTest, AnotherOneKnowsWhatWasNoted) {
    PlanTasks();
    Start();
    StartDriver();
    constexpr std::uint64_t kArmedUs = 5000;
    Rearm(state_->schedRecording, 0, 0);
    Rearm(state_->schedRecording, kArmedUs, std::nullopt);
    while (BoardTimeUs(*state_) < kArmedUs) {
    }
    const std::string log = Read("sched_log");
    EXPECT_NE(log.find("latency(ns) "), std::string::npos) << log;
    driver_.reset();
    EXPECT_FALSE(std::filesystem::exists(files_ + "/proc/perf/sched_log"));
    StartDriver();
    EXPECT_EQ(Read("sched_log"), log);
}

TEST_F(RecorderDriverTest, ABoardWithoutTasksHasFilesThatTakeAndGiveText) {
    directory_.Write("files/proc/perf/sched_log", "text\n");
    Start();
    StartDriver();
    EXPECT_EQ(driver_->Wakes(), (std::array<int, 2>{-1, -1}));
    EXPECT_EQ(directory_.Read("files/proc/perf/sched_log"), "text\n");
    EXPECT_TRUE(RecorderTexts(*state_).empty());
}

}  // namespace
}  // namespace zarn::board
