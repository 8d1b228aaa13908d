#include "mission/interrupt.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "tests/support/signal_state.h"
#include "tests/unit/mission/manager_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kTwoLines =
    "[ZarnManager] Signal Interactive attention received.\n"
    "[ZarnManager] Wait until the execution is complete.\n";

// The flag is never reset, so each of these runs in a process of its own.
class InterruptTest : public ManagerTest {
protected:
    InterruptTest() {
        config.parallel = R"(["A"])";
        config.serial = R"(["B"])";
        config.analyze = R"(["A"])";
        config.optimize = R"(["B"])";
        config.compare = R"(["C"])";
    }

    // Runs `test` in a process of its own; its failed checks are printed and fail this one.
    static void InChild(const std::function<void()>& test) {
        const pid_t child = ::fork();
        if (child == 0) {
            test();
            std::_Exit(HasFailure() ? 1 : 0);
        }
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }

    ConfigText config;
};

TEST_F(InterruptTest, StopsNoStageAndReachesEveryMission) {
    InChild([this] {
        config.serial = R"(["B","A"])";
        onEvent = [this](const std::string& event) {
            if (event == "start B " + DataPath()) {  // the collector, not yet stopped
                std::raise(SIGINT);
            }
        };
        const Captured captured = Run(config.Text());
        const std::string data = DataPath();
        EXPECT_EQ(result, 1);
        EXPECT_THAT(Starts(), ElementsAre("A " + data, "B " + data, "A " + data + " stopped",
                                          "A " + data + " stopped", "B " + data + " stopped",
                                          "C " + data + " stopped"));
        EXPECT_THAT(
            captured.out,
            HasSubstr(std::string("[ZarnManager] collector mode B start ...\n") + kTwoLines +
                      "[ZarnManager] collector mode A start ...\n"
                      "[ZarnManager] analyzers mode A start ...\n"
                      "[ZarnManager] optimizers mode B start ...\n"
                      "[ZarnManager] comparator mode C start ...\n"));
        EXPECT_THAT(root.Read("runs/zarn_data_" + times.front() +
                              "/json/zarn_collector_start_end_timestamp.data"),
                    HasSubstr("endCollectorTime"));
    });
}

TEST_F(InterruptTest, IsReceivedFromTheConfigurationOn) {
    InChild([this] {
        ManagerSeams seams = Seams();
        seams.readable = [](const std::string&) { return std::raise(SIGINT) == 0; };
        const Captured captured = Run(config.Text(), seams);
        EXPECT_EQ(captured.out.rfind(kTwoLines, 0), 0U);
        EXPECT_THAT(Starts(), testing::Each(testing::EndsWith(" stopped")));
        EXPECT_EQ(Starts().size(), 5U);
        EXPECT_EQ(result, 1);
    });
}

TEST_F(InterruptTest, BreaksNoSystemCallOff) {
    InChild([] {
        InstallInterruptHandler();
        std::array<int, 2> ends{};
        ASSERT_EQ(::pipe(ends.data()), 0);
        std::thread interrupter([reader = ::gettid(), write = ends[1]] {
            sigset_t leftToTheReader;
            ::sigemptyset(&leftToTheReader);
            ::sigaddset(&leftToTheReader, SIGINT);
            ::pthread_sigmask(SIG_BLOCK, &leftToTheReader, nullptr);
            const auto letItSleep = [reader] {
                while (!IsThreadDoneWith(SIGINT, ::getpid(), reader)) {
                    std::this_thread::yield();
                }
            };
            letItSleep();
            ::kill(::getpid(), SIGINT);
            letItSleep();
            EXPECT_EQ(::write(write, "x", 1), 1);
        });
        char byte = 0;
        const ssize_t got = ::read(ends[0], &byte, 1);
        EXPECT_EQ(got, 1) << std::strerror(errno);
        interrupter.join();
        EXPECT_TRUE(IsSet(&ProcessStopFlag()));
    });
}

// The user who interrupts again is answered again, with both lines.
TEST_F(InterruptTest, IsToldEachTimeItComes) {
    InChild([] {
        EXPECT_FALSE(IsSet(&ProcessStopFlag()));
        const Captured captured = Capture([] {
            InstallInterruptHandler();
            std::raise(SIGINT);
            EXPECT_EQ(ProcessStopFlag().load(), 1U);
            std::raise(SIGINT);
            std::raise(SIGINT);
        });
        EXPECT_EQ(captured.out, std::string(kTwoLines) + kTwoLines + kTwoLines);
        EXPECT_EQ(captured.err, "");
        EXPECT_EQ(ProcessStopFlag().load(), 1U);
    });
}

}  // namespace
}  // namespace zarn::test
