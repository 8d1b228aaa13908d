#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "foundation/command_runner.h"
#include "foundation/stop_flag.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_runner.h"
#include "tests/support/process_state.h"
#include "tests/support/signal_state.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// An emulator of another processor passes on commands of any length, knows no limit of
// memory and cannot start a program of its own kind again.
constexpr bool kEmulated = !std::string_view(ZARN_EMULATOR).empty();

int StatusOf(const std::string& command) {
    return SystemCommandRunner().Run(command);
}

// What `command` prints; fails the test if it cannot be started.
std::string Output(const std::string& command) {
    std::string output;
    EXPECT_TRUE(SystemCommandRunner().Capture(command, output)) << command;
    return output;
}

void SetLimit(int resource, rlim_t value) {
    rlimit limit{};
    ASSERT_EQ(::getrlimit(static_cast<__rlimit_resource>(resource), &limit), 0);
    limit.rlim_cur = value;
    ASSERT_EQ(::setrlimit(static_cast<__rlimit_resource>(resource), &limit), 0);
}

class StatusTest : public testing::TestWithParam<const char*> {};

// The C library's own function is the measure.
TEST_P(StatusTest, IsThatOfTheCLibrary) {
    int ours = 0;
    int expected = 0;
    const test::Captured captured = test::Capture([&ours, &expected] {
        ours = StatusOf(GetParam());
        expected = std::system(GetParam());
    });
    EXPECT_EQ(ours, expected) << captured.err;
}

INSTANTIATE_TEST_SUITE_P(Commands, StatusTest,
                         testing::Values("true", "false", "exit 0", "exit 1", "exit 2", "exit 77",
                                         "exit 126", "exit 127", "exit 128", "exit 255", "exit 256",
                                         "no-such-tool-of-zarn", "/etc/passwd", "", ":", "(",
                                         "kill -9 $$; exit 3", "sh -c 'kill -9 $$'"));

TEST(Run, GivesTheStatusOfAChildKilledByEachSignal) {
    // Those that stop or do nothing do not kill.
    const auto kills = [](int signal) {
        return signal != SIGSTOP && signal != SIGTSTP && signal != SIGTTIN && signal != SIGTTOU &&
               signal != SIGCHLD && signal != SIGCONT && signal != SIGURG && signal != SIGWINCH;
    };
    for (int signal = 1; signal < 32; ++signal) {
        const std::string command =
            "ulimit -c 0; exec 2>/dev/null; kill -" + std::to_string(signal) + " $$";
        if (kills(signal)) {
            // Who started the tests may have had them ignored, and children inherit that.
            const test::ScopedHandling handling(signal, SIG_DFL);
            const int status = StatusOf(command);
            EXPECT_TRUE(WIFSIGNALED(status)) << signal;
            EXPECT_EQ(WTERMSIG(status), signal);
            EXPECT_EQ(status, std::system(command.c_str()));
        }
    }
}

TEST(Run, ACommandThatIsTooLongCannotBeExecuted) {
    if (kEmulated) {
        GTEST_SKIP() << "an emulator takes it";
    }
    const std::string command = ": " + std::string(std::size_t{1} << 20, 'x');
    EXPECT_EQ(StatusOf(command), 127 << 8);
    EXPECT_EQ(StatusOf(command), std::system(command.c_str()));
    std::string output = "before";
    EXPECT_FALSE(SystemCommandRunner().Capture(command, output));
    EXPECT_EQ(output, "before");
}

TEST(RunDeathTest, AChildForWhichMemoryDoesNotSufficeIsNotStarted) {
    if (kSanitized || kEmulated) {
        GTEST_SKIP() << "neither a sanitizer nor an emulator knows such a limit";
    }
    EXPECT_EXIT(
        {
            (void)StatusOf("true");
            SetLimit(RLIMIT_AS, 1);
            ::_exit(StatusOf("true") == -1 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Run, LeavesTheStreamsToTheChild) {
    const test::Captured captured = test::Capture([] { StatusOf("echo out; echo err >&2"); });
    EXPECT_EQ(captured.out, "out\n");
    EXPECT_EQ(captured.err, "err\n");
}

TEST(Capture, AppendsEveryByteAndIgnoresTheStatus) {
    std::string output = "before:";
    EXPECT_TRUE(SystemCommandRunner().Capture(R"(printf 'a\0b\n\n'; exit 7)", output));
    EXPECT_EQ(output, std::string("before:a\0b\n\n", 12));
    EXPECT_EQ(Output("exit 3"), "");
    const test::Captured captured =
        test::Capture([] { EXPECT_EQ(Output("echo kept; no-such-tool-of-zarn"), "kept\n"); });
    EXPECT_EQ(captured.out, "");
    EXPECT_NE(captured.err.find("no-such-tool-of-zarn"), std::string::npos);
}

TEST(Capture, AChildKilledInTheMiddleLeavesWhatItWrote) {
    EXPECT_EQ(Output("echo first; kill -9 $$; echo second"), "first\n");
}

TEST(Capture, WaitsForAChildThatClosesItsOutputAndLivesOn) {
    const test::TempDir directory;
    const std::string mark = directory.Path() + "mark";
    EXPECT_EQ(Output("echo text; exec >&-; i=0; while [ $i -lt 20000 ]; do i=$((i+1)); done; : > " +
                     mark),
              "text\n");
    EXPECT_EQ(::access(mark.c_str(), F_OK), 0);
}

TEST(Capture, ReadsOnWhileAGrandchildHasTheOutputOpen) {
    EXPECT_EQ(
        Output("{ i=0; while [ $i -lt 20000 ]; do i=$((i+1)); done; echo late; } & echo early"),
        "early\nlate\n");
}

TEST(Capture, TakesOneGigabyte) {
    // A sanitizer's shadow would multiply the memory.
    const std::size_t size = std::size_t{1} << (kSanitized ? 26U : 30U);
    std::string output;
    ASSERT_TRUE(
        SystemCommandRunner().Capture("head -c " + std::to_string(size) + " /dev/zero", output));
    EXPECT_EQ(output.size(), size);
    EXPECT_EQ(output.find_first_not_of('\0', size - 4096), std::string::npos);
}

TEST(CaptureDeathTest, CutsOffAChildThatWritesMoreThanMemoryHolds) {
    if (kSanitized) {
        GTEST_SKIP() << "a sanitizer's shadow does not fit below a limit of address space";
    }
    if (kEmulated) {
        GTEST_SKIP() << "an emulator knows no limit of memory";
    }
    EXPECT_EXIT(
        {
            SetLimit(RLIMIT_AS, rlim_t{1} << 28);
            std::string output = "before";
            const bool captured = SystemCommandRunner().Capture("cat /dev/zero", output);
            std::exit(!captured && output == "before" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Stream, HandsOnEveryByteInOrder) {
    const std::string command = "seq 100000; printf 'a\\0b'; exit 3";
    std::string streamed;
    std::size_t pieces = 0;
    EXPECT_TRUE(SystemCommandRunner().Stream(command, [&](std::string_view piece) {
        EXPECT_FALSE(piece.empty());
        streamed += piece;
        ++pieces;
    }));
    EXPECT_EQ(streamed, Output(command));
    EXPECT_GT(pieces, 1U);
}

TEST(Stream, StopsWhereTheTakerHasNoMemory) {
    EXPECT_FALSE(SystemCommandRunner().Stream("seq 100000",
                                              [](std::string_view) { throw std::bad_alloc(); }));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);  // the child has been waited for
}

TEST(Stream, OfARunnerThatOnlyCapturesIsOnePiece) {
    test::FakeRunner runner;
    runner.On("top", "a\nb").Refuse("ps");
    std::vector<std::string> pieces;
    const auto take = [&pieces](std::string_view piece) { pieces.emplace_back(piece); };
    EXPECT_TRUE(runner.Stream("top", take));
    EXPECT_FALSE(runner.Stream("ps", take));
    EXPECT_EQ(pieces, std::vector<std::string>{"a\nb"});
}

TEST(CaptureDeathTest, FailsWithoutAPipe) {
    EXPECT_EXIT(
        {
            std::string output = Output("true");  // a sanitizer wants a pipe at the first call
            SetLimit(RLIMIT_NOFILE, 3);
            const bool captured = SystemCommandRunner().Capture("echo text", output);
            ::_exit(!captured && errno == EMFILE ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(CaptureDeathTest, WorksWhereTheCallersOwnStreamsAreClosed) {
    EXPECT_EXIT(
        {
            ::close(STDIN_FILENO);
            ::close(STDOUT_FILENO);
            std::exit(Output("echo text") == "text\n" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Capture, ManyAtOnceDoNotMix) {
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([i] {
            const std::string text = std::to_string(i);
            for (int round = 0; round < 10; ++round) {
                EXPECT_EQ(Output("echo " + text), text + "\n");
                EXPECT_EQ(StatusOf("exit " + text), i << 8);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Children, RunInThePlainLocaleWhateverTheCallers) {
    const test::ScopedVariable all("LC_ALL", "de_DE.UTF-8");
    const test::ScopedVariable language("LANGUAGE", "de:fr");
    const test::ScopedVariable numbers("LC_NUMERIC", "de_DE.UTF-8");
    const std::string command =
        "echo ${LC_ALL-none} ${LANGUAGE-none}; env | grep -c '^LC_ALL='; awk 'BEGIN{print 1/2}'";
    EXPECT_EQ(Output(command), "C none\n1\n0.5\n");
    const test::Captured captured = test::Capture([&command] { StatusOf(command); });
    EXPECT_EQ(captured.out, "C none\n1\n0.5\n");
}

TEST(Children, GetTheRestOfTheEnvironment) {
    const test::ScopedVariable variable("ZARN_TEST_VARIABLE", "some value");
    EXPECT_EQ(Output("echo \"$ZARN_TEST_VARIABLE\""), "some value\n");
}

TEST(Children, HaveDefaultHandlingAndNoBlockedSignals) {
    const test::ScopedHandling interrupt(SIGINT, SIG_IGN);
    const test::ScopedHandling quit(SIGQUIT, SIG_IGN);
    const test::ScopedHandling term(SIGTERM, SIG_IGN);
    const test::ScopedHandling pipe(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t before;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGINT);
    ::sigaddset(&blocked, SIGTERM);
    ::sigaddset(&blocked, SIGCHLD);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
    EXPECT_EQ(Output("grep SigBlk /proc/self/status"), "SigBlk:\t0000000000000000\n");
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGPIPE}) {
        const int status = StatusOf("ulimit -c 0; kill -" + std::to_string(signal) + " $$; exit 1");
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << signal << " " << status;
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(Children, GetNoDescriptorOfTheCallers) {
    // With a leak there would be more of them while other threads have their pipes open.
    const std::string command = "ls /proc/self/fd | wc -l";
    const std::string before = Output(command);
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&command, &before] {
            for (int round = 0; round < 10; ++round) {
                EXPECT_EQ(Output(command), before);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

StopFlag interrupted{0};

void NoteInterrupt(int /*signal*/) {
    interrupted = 1;
}

class InterruptTest : public testing::TestWithParam<int> {};

// The C library's system() ignores the interrupt in the caller meanwhile, and so loses it.
TEST_P(InterruptTest, ReachesTheCallerWhileItWaits) {
    const test::ScopedHandling handling(SIGINT, NoteInterrupt, GetParam());
    interrupted = 0;
    EXPECT_EQ(StatusOf("kill -INT $PPID; exit 5"), 5 << 8);
    EXPECT_TRUE(IsSet(&interrupted));
    interrupted = 0;
    EXPECT_EQ(Output("kill -INT $PPID; kill -INT $PPID; echo on"), "on\n");
    EXPECT_TRUE(IsSet(&interrupted));
}

// A named pipe, open at both ends, so that nobody waits for the other end.
class Gate {
public:
    Gate() : path_(directory_.Path() + "gate") {
        EXPECT_EQ(::mkfifo(path_.c_str(), 0600), 0);
        fd_ = ::open(path_.c_str(), O_RDWR | O_CLOEXEC);
    }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;
    ~Gate() { ::close(fd_); }

    [[nodiscard]] const std::string& Path() const { return path_; }
    void Open() const { EXPECT_EQ(::write(fd_, "\n", 1), 1); }
    void Pass() const {
        char byte = 0;
        EXPECT_EQ(::read(fd_, &byte, 1), 1);
    }

private:
    test::TempDir directory_;
    std::string path_;
    int fd_ = -1;
};

// The child lives until the caller has dealt with the interrupt and waits again, so that the
// interrupt surely breaks a wait off.
TEST_P(InterruptTest, EndsNoWait) {
    const test::ScopedHandling handling(SIGINT, NoteInterrupt, GetParam());
    for (const bool captures : {false, true}) {
        const Gate sent;
        const Gate go;
        interrupted = 0;
        std::thread other([&sent, &go, waiter = ::gettid()] {
            sigset_t leftToTheWaiter;
            ::sigemptyset(&leftToTheWaiter);
            ::sigaddset(&leftToTheWaiter, SIGINT);
            ::pthread_sigmask(SIG_BLOCK, &leftToTheWaiter, nullptr);
            sent.Pass();
            while (!test::IsThreadDoneWith(SIGINT, ::getpid(), waiter)) {
                std::this_thread::yield();
            }
            go.Open();
        });
        const std::string command = "kill -INT $PPID; echo > " + sent.Path() + "; read line < " +
                                    go.Path() + "; echo on; exit 5";
        if (captures) {
            EXPECT_EQ(Output(command), "on\n");
        } else {
            const test::Captured captured =
                test::Capture([&command] { EXPECT_EQ(StatusOf(command), 5 << 8); });
            EXPECT_EQ(captured.out, "on\n");
        }
        sent.Open();  // should the child not have come so far
        other.join();
        EXPECT_TRUE(IsSet(&interrupted));
    }
}

INSTANTIATE_TEST_SUITE_P(Flags, InterruptTest, testing::Values(0, SA_RESTART));

TEST(RunDeathTest, LearnsTheStatusThoughChildrenWereIgnoredAtTheStart) {
    if (kEmulated) {
        GTEST_SKIP() << "an emulated program cannot start itself";
    }
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const test::ScopedHandling handling(SIGCHLD, SIG_IGN);
            std::exit(StatusOf("exit 6") == 6 << 8 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace zarn
