#include "optimizer/benchmark/stress_benchmark.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/captured_streams.h"
#include "tests/support/fake_runner.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

using test::Capture;
using test::Captured;
using test::FakeRunner;
using test::TempDir;
using testing::ElementsAre;

constexpr const char* kResult =
    "aicStress : 1.5 fps. cpuStress : 2.5 fps. imgpVencStress : 9.0 fps. imgpVpcStress : 3.5 fps. "
    "ispStress : 4.5 fps.\n";

class StressBenchmarkTest : public testing::Test {
protected:
    StressBenchmarkTest() : log_(dir_.Path() + "stress.log") {}

    // One run into perf_; gives the error stream. Standard output must stay empty.
    std::string Run(bool expected) {
        const Captured captured = Capture(
            [&] { EXPECT_EQ(RunStressBenchmark(log_, perf_, runner_, command_), expected); });
        EXPECT_EQ(captured.out, "");
        return captured.err;
    }

    TempDir dir_;
    std::string log_;
    FakeRunner runner_;
    StressCommand command_;
    PerfMap perf_;
};

TEST_F(StressBenchmarkTest, RunsItsTwoCommandsAndReadsTheLog) {
    runner_.Before("| tee", [this](const std::string&) {
        dir_.Write("stress.log", std::string("1\n2\n3\n4\n") + kResult + kResult);
    });
    EXPECT_EQ(Run(true), "");
    EXPECT_THAT(runner_.Commands(),
                ElementsAre("chmod +x ./virtual_node/bin/stress_benchmark",
                            "rungate ./virtual_node/bin/stress_benchmark "
                            "./virtual_node/config/Config.yaml --allocGroup=default_dm | tee " +
                                log_));
    EXPECT_THAT(perf_["cpu"], ElementsAre(2.5, 2.5));
    EXPECT_THAT(perf_["isp"], ElementsAre(4.5, 4.5));
}

TEST_F(StressBenchmarkTest, TheCommandKeepsTheFirstLogPath) {
    dir_.Write("stress.log", "");
    EXPECT_EQ(Run(true), "");
    const std::string first = log_;
    log_ = dir_.Path() + "second.log";
    EXPECT_EQ(Run(false), "[DdrOptimizer] Failed to open the stress log file - '" + log_ + "'\n");
    EXPECT_THAT(runner_.Commands().back(), testing::EndsWith("| tee " + first));
}

TEST_F(StressBenchmarkTest, TheCommandOfTheProcessIsKeptToo) {
    EXPECT_EQ(&ProcessStressCommand(), &ProcessStressCommand());
}

TEST_F(StressBenchmarkTest, EitherCommandCanFailTheRun) {
    for (const char* failing : {"chmod", "rungate"}) {
        FakeRunner runner;
        runner.On(failing, "", 256);
        dir_.Write("stress.log", std::string("1\n2\n3\n4\n") + kResult);
        const Captured captured =
            Capture([&] { EXPECT_FALSE(RunStressBenchmark(log_, perf_, runner, command_)); });
        EXPECT_EQ(captured.err, "[DdrOptimizer] Failed to run stress benchmark!\n");
        EXPECT_EQ(runner.Commands().size(), 2U) << "both run before their results are looked at";
        EXPECT_TRUE(perf_.empty());
    }
}

TEST_F(StressBenchmarkTest, AShellThatCannotBeStartedFailsTheRun) {
    runner_.On("chmod", "", -1);
    EXPECT_EQ(Run(false), "[DdrOptimizer] Failed to run stress benchmark!\n");
}

TEST_F(StressBenchmarkTest, ALogThatIsNoFileFailsTheRun) {
    log_ = dir_.Path();
    EXPECT_EQ(Run(false), "[DdrOptimizer] Failed to open the stress log file - '" + log_ + "'\n");
}

TEST_F(StressBenchmarkTest, ALogWithAnotherLineFailsTheRun) {
    for (const char* line : {"Segmentation fault\n", "\n", "cpuStress : 2.5 fps.\n"}) {
        dir_.Write("stress.log", std::string("1\n2\n3\n4\n") + kResult + line);
        EXPECT_EQ(Run(false), "[DdrOptimizer] Failed to get stress perfs.\n");
    }
}

TEST_F(StressBenchmarkTest, AnEmptyLogSucceedsWithoutSamples) {
    dir_.Write("stress.log", "");
    EXPECT_EQ(Run(true), "");
    EXPECT_TRUE(perf_.empty());
}

TEST_F(StressBenchmarkTest, AHugeLogCostsItsHeadOnly) {
    std::string log = "1\n2\n3\n4\n";
    for (int i = 0; i < 26; ++i) {
        log += kResult;
    }
    dir_.Write("stress.log", log + std::string(64U << 20U, 'x'));
    EXPECT_EQ(Run(true), "");
    EXPECT_EQ(perf_["aic"].size(), 26U);
}

}  // namespace
}  // namespace zarn
