#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <numeric>
#include <sstream>
#include <string>
#include <utility>

#include "tests/system/support/on_board.h"
#include "tests/system/support/program_lock.h"
#include "tests/system/support/programs.h"

// perf on the virtual board.
namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

// In the first way that the machine allows: perf is the same in both.
class PerfOnBoard : public Board {
protected:
    const ProgramLock lock_;
};

INSTANTIATE_TEST_SUITE_P(Ways, PerfOnBoard, testing::Values("namespace"), WayName);

TEST_P(PerfOnBoard, CountsWhileACommandRuns) {
    const Result result = OnBoard(R"sh(
        perf stat -C 0 -x\; -o counts -I 100000 -e '{r11},{r9999}' -a sh -c 'echo working; exit 3'
        echo status $?
        cat counts)sh");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.text,
                MatchesRegex("working\nstatus 3\n"
                             "# started on [A-Z][a-z]+ [A-Z][a-z]+ [ 0-9]+:[0-9]+:[0-9]+ [0-9]+\n\n"
                             " +[0-9]+\\.[0-9]+;[<>a-z0-9 ]+;;r11;[0-9]+;100\\.00;;\n"
                             " +[0-9]+\\.[0-9]+;<not supported>;;r9999;0;100\\.00;;\n"));
}

TEST_P(PerfOnBoard, KeepsWhatItCountedUntilAnInterrupt) {
    const Result result = OnBoard(R"sh(
        env --default-signal=INT perf stat -x\; -o counts -I 100000 -e '{r11},{r8}' -a \
            sh -c 'kill -INT $PPID; exec tail -f /dev/null'
        echo status $?
        grep -c '^ *[0-9].*;r[0-9]*;' counts)sh");
    EXPECT_EQ(result.text, "status 130\n2\n");
}

TEST_P(PerfOnBoard, SaysWhatItCannotCount) {
    const Result result = OnBoard(R"sh(
        perf stat -x\; -e r11 -a no_such_program; echo status $?
        perf stat -x\; -e r11 -p 2147483647 true; echo status $?
        perf stat -I 100 -e r11 -a true; echo status $?
        perf stat -x\; -e r11 -r 3 true; echo status $?
        perf stat -x\; -o no/such/folder -e r11 -a true; echo status $?)sh");
    EXPECT_EQ(result.text,
              "Workload failed: No such file or directory\nstatus 255\n"
              "Problems finding threads of monitor\nstatus 234\n"
              "perf stat: the board's counters have intervals with -x alone\nstatus 129\n"
              "perf stat: the board does not know -r\nstatus 129\n"
              "failed to create output file: no/such/folder\nstatus 255\n");
}

// The standard events that a table has, those of software with the machine's counts.
constexpr const char* kTable = R"sh(
    events=task-clock,cycles,instructions,LLC-stores,context-switches,cpu-migrations,page-faults
    table() { perf stat -a -e $events "$@" 2>&1 | sed 's/  *#.*//; s/ *$//'; }
)sh";

TEST_P(PerfOnBoard, ShowsATableOfTheBoardsCountersAndTheMachines) {
    directory_.Write("scenario.json", R"({"perf": {"not_supported": ["LLC-stores"]}, "programs": [
        {"name": "perf_busy", "pipeline": {"load": 0.5}}, {"name": "perf_lazy"}]})");
    const Result result = OnBoard(std::string(kTable) + R"sh(
        table -- sh -c 'for i in 1 2 3 4 5 6 7 8 9; do /bin/true; done; sleep 0.1'
        table -p "$(pidof perf_busy)" sleep 0.1
        table -p "$(pidof perf_lazy)" -o out sleep 0.1; grep -c 'not counted' out)sh",
                                  "--scenario scenario.json");
    const std::string rows =
        " +[0-9.]+ msec task-clock\n +[1-9][0-9]+      cycles\n +[1-9][0-9]+      instructions\n"
        "   <not supported>      LLC-stores\n +[0-9]+      context-switches\n"
        " +([0-9]+|<not supported>)      cpu-migrations\n +[0-9]+      page-faults\n\n"
        " +[0-9]+\\.[0-9]+ seconds time elapsed\n\n";
    EXPECT_THAT(result.text,
                MatchesRegex("\n Performance counter stats for 'system wide':\n\n" + rows +
                             "PID/TID switch overriding SYSTEM\n"
                             "\n Performance counter stats for process id '[0-9]+':\n\n" +
                             rows + "PID/TID switch overriding SYSTEM\n2\n"));
}

// By /proc, where the kernel's counters are not this user's.
TEST_P(PerfOnBoard, CountsTheMachinesEventsWithoutRightsToo) {
    directory_.Write("scenario.json",
                     R"({"programs": [{"name": "perf_busy", "pipeline": {"load": 0.5}}]})");
    const Result result = OnBoard(R"sh(
        [ "$(cat /proc/sys/kernel/perf_event_paranoid)" -gt 1 ] || { echo allowed; exit; }
        ordinary=
        [ "$(id -u)" != 0 ] || ordinary="setpriv --bounding-set=-perfmon,-sys_admin"
        for target in -a "-p $(pidof perf_busy)"; do
            $ordinary perf stat $target -e cycles,task-clock,context-switches,cpu-migrations,page-faults \
                sh -c 'for i in 1 2 3 4 5 6 7 8 9; do /bin/sleep 0.02; done' 2>&1 |
                sed -n 's/^ *\(<not supported>\|[0-9.]*\) *\(msec \)*\([a-z]*-[a-z]*\|cycles\) .*/\3 \1/p'
        done)sh",
                                  "--scenario scenario.json");
    if (result.text == "allowed\n") {
        GTEST_SKIP() << "the kernel forbids nothing";
    }
    EXPECT_THAT(result.text,
                MatchesRegex("cycles [1-9][0-9]+\ntask-clock [1-9][0-9.]+\n"
                             "context-switches [1-9][0-9]*\ncpu-migrations <not supported>\n"
                             "page-faults [1-9][0-9]*\n"
                             "cycles [1-9][0-9]+\ntask-clock [0-9.]+\n"
                             "context-switches [0-9]+\ncpu-migrations <not supported>\n"
                             "page-faults [0-9]+\n"));
}

TEST_P(PerfOnBoard, CountsTheCyclesOfProgramsThatWork) {
    directory_.Write("scenario.json", R"({"programs": [
        {"name": "perf_busy", "pipeline": {"load": 0.5}}, {"name": "perf_lazy"}]})");
    const Result result = OnBoard(R"sh(
        for name in perf_busy perf_lazy; do
            perf stat -x\; -e '{r11}' -p "$(pidof $name)" -a sleep 0.1
        done 2>&1 | sed 's/^[1-9][0-9]*;;r11;[1-9][0-9]*;/counted /')sh",
                                  "--scenario scenario.json");
    EXPECT_EQ(result.text,
              "PID/TID switch overriding SYSTEM\ncounted 100.00;;\n"
              "PID/TID switch overriding SYSTEM\n<not counted>;;r11;0;100.00;;\n");
}

// Half of its time in plan_route, a third in copy_frame, a sixth in sort_tracks.
constexpr const char* kWorker = R"({"programs": [
    {"name": "perf_worker", "version": 2, "threads": 3, "pipeline": {"load": 0.4, "cores": [0, 1]},
     "functions": {"plan_route": 3, "copy_frame": 2, "sort_tracks": 1}}]})";

TEST_P(PerfOnBoard, HasProgramsThatWorkByTheirPlanAndKeepAnAccount) {
    directory_.Write("scenario.json", kWorker);
    const Result result = OnBoard(R"sh(
        while ! zarn-board-server account "$VIRTUAL_BOARD_STATE" | grep -q '^perf_worker plan_route [0-9]\{3,\}\.'; do :; done
        zarn-board-server account "$VIRTUAL_BOARD_STATE" | cut -d' ' -f1,2,5 | tr -d %
        grep Threads "/proc/$(pidof perf_worker)/status"
        readlink "/proc/$(pidof perf_worker)/exe" | grep -o 'programs/.*')sh",
                                  "--scenario scenario.json");
    std::istringstream text(result.text);
    for (const auto& [function, share] :
         {std::pair{"plan_route", 50.0}, {"copy_frame", 100.0 / 3}, {"sort_tracks", 50.0 / 3}}) {
        std::string program;
        std::string name;
        double found = 0.0;
        text >> program >> name >> found;
        EXPECT_EQ(program + " " + name, std::string("perf_worker ") + function);
        EXPECT_NEAR(found, share, 5.0) << name;
    }
    EXPECT_THAT(result.text, EndsWith("\nThreads:\t3\nprograms/2/frame_worker\n")) << result.text;
}

TEST_P(PerfOnBoard, TellsTheTruthOfAScenario) {
    directory_.Write("scenario.json", kWorker);
    const Result result = Shell(R"sh(
        $SERVER truth scenario.json 1 -p perf_worker 0 5000
        $SERVER truth scenario.json 1 -C 2 0 5000 | tail -n 1
        $SERVER truth scenario.json 1 -p other 0 5000 2>&1 | grep -c usage)sh");
    EXPECT_THAT(result.text, HasSubstr("Retiring: 0.3500\nperf_worker plan_route 50.00%\n"));
    EXPECT_THAT(result.text, EndsWith("system - 100.00%\n1\n"));
}

// The numbers of lines "WORD NAME NUMBER", by their names, for lines with that first word.
std::map<std::string, double> NumbersOf(const std::string& text, const std::string& word) {
    std::map<std::string, double> numbers;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string first;
        std::string name;
        double number = 0.0;
        if (fields >> first >> name >> number && first == word) {
            numbers[name] = number;
        }
    }
    return numbers;
}

double SumOf(const std::map<std::string, double>& numbers) {
    return std::accumulate(numbers.begin(), numbers.end(), 0.0,
                           [](double sum, const auto& number) { return sum + number.second; });
}

TEST_P(PerfOnBoard, SamplesWorkByTheMachineAsItsOwnAccountHasIt) {
    directory_.Write("scenario.json", kWorker);
    const Result result = OnBoard(R"sh(
        perf record -o probe.data -g -p "$(pidof perf_worker)" -- true >probe.log 2>&1 || { echo unable; exit; }
        account() { zarn-board-server account "$VIRTUAL_BOARD_STATE" | sed "s/^perf_worker/$1/"; }
        account before
        perf record -o work.data -g -p "$(pidof perf_worker)" -- sh -c '
            planned() { zarn-board-server account "$VIRTUAL_BOARD_STATE" | sed -n "s/.* plan_route \([0-9]*\).*/\1/p"; }
            end=$(($(planned) + 2000))
            until [ "$(planned)" -ge "$end" ]; do sleep 0.1; done'
        account after
        perf report -i work.data --no-children --stdio -g none -F sample,sym 2>&1 | sed -n 's/^ *\([0-9]*\)  \[\.\] /sampled \1 /p' |
            sed 's/^sampled \([0-9]*\) \([a-z_]*\).*/sampled \2 \1/'
        perf script -i work.data | grep -c ' cycles:')sh",
                                  "--perf machine --scenario scenario.json");
    if (result.text == "unable\n") {
        GTEST_SKIP() << "the kernel does not let this user sample";
    }
    const auto before = NumbersOf(result.text, "before");
    auto spent = NumbersOf(result.text, "after");
    const auto all = NumbersOf(result.text, "sampled");
    std::map<std::string, double> sampled;
    for (auto& [name, ms] : spent) {
        const auto earlier = before.find(name);
        ms -= earlier == before.end() ? 0.0 : earlier->second;
        sampled[name] = all.count(name) > 0 ? all.at(name) : 0.0;
    }
    ASSERT_GT(SumOf(sampled), 5000) << result.text;
    for (const auto& [name, ms] : spent) {
        EXPECT_NEAR(100 * sampled.at(name) / SumOf(sampled), 100 * ms / SumOf(spent), 2.0) << name;
    }
    EXPECT_EQ(spent.size(), 3U);
}

TEST_P(PerfOnBoard, SamplesWorkByTheModel) {
    directory_.Write("scenario.json", kWorker);
    const Result result = OnBoard(R"sh(
        perf record -o work.data -g -p "$(pidof perf_worker)" -- sleep 0.2 2>&1 | sed 's/[0-9.]* MB/N MB/;s/[0-9]* samples/N samples/'
        perf report -i work.data --max-stack 1 2>&1 | grep -o 'perf_worker .*' | sed 's/  *$//' | sort
        perf record -o work.data -C 2 -- sleep 0.2 2>/dev/null; echo status $?
        perf report -i work.data 2>&1 | grep -o 'system .*k. ')sh",
                                  "--perf model --scenario scenario.json");
    EXPECT_EQ(result.text,
              "[ perf record: Woken up 1 times to write data ]\n"
              "[ perf record: Captured and wrote N MB work.data (N samples) ]\n"
              "perf_worker  frame_worker   [.] copy_frame\n"
              "perf_worker  frame_worker   [.] plan_route\n"
              "perf_worker  frame_worker   [.] sort_tracks\n"
              "perf_worker  frame_worker   [.] work_loop\n"
              "status 0\nsystem   [kernel.kallsyms]  [k] \n");
}

TEST_P(PerfOnBoard, SamplesNothingOfAnIdleProgram) {
    directory_.Write("scenario.json", R"({"programs": [{"name": "perf_lazy"}]})");
    const Result result = OnBoard(R"sh(
        perf record -o work.data -g -p "$(pidof perf_lazy)" -- true 2>&1 | tail -n 1 | sed 's/[0-9.]* MB/N MB/'
        perf report -i work.data 2>&1 | grep -o 'data has no samples'; perf script -i work.data; echo status $?)sh",
                                  "--perf model --scenario scenario.json");
    EXPECT_EQ(result.text,
              "[ perf record: Captured and wrote N MB work.data ]\n"
              "data has no samples\nstatus 0\n");
}

TEST_P(PerfOnBoard, KeepsWhatItSampledUntilAnInterrupt) {
    directory_.Write("scenario.json", kWorker);
    const Result result = OnBoard(R"sh(
        env --default-signal=INT perf record -o work.data -g -a -- \
            sh -c 'sleep 0.1; kill -INT $PPID; exec tail -f /dev/null' 2>err
        echo status $?
        grep -c Captured err
        perf script -i work.data | grep -q 'cycles:'; echo found $?)sh",
                                  "--perf model --scenario scenario.json");
    EXPECT_EQ(result.text, "status 130\n1\nfound 0\n");
}

TEST_P(PerfOnBoard, SamplesByTheModelWhatTheKernelForbids) {
    const Result result = OnBoard(R"sh(
        [ "$(cat /proc/sys/kernel/perf_event_paranoid)" -gt 0 ] || { echo allowed; exit; }
        ordinary=
        [ "$(id -u)" != 0 ] || ordinary="setpriv --bounding-set=-perfmon,-sys_admin"
        $ordinary perf record -o work.data -g -a -- sleep 0.2 2>/dev/null; echo status $?
        perf report -i work.data 2>&1 | grep -o 'system .*k. ')sh");
    if (result.text == "allowed\n") {
        GTEST_SKIP() << "the kernel forbids nothing";
    }
    EXPECT_EQ(result.text, "status 0\nsystem   [kernel.kallsyms]  [k] \n");
}

// As above a perf_event_paranoid of 2, for users who are not root: not even processes of one's own.
TEST_P(PerfOnBoard, SamplesProcessesByTheModelWhereTheKernelForbidsAll) {
    directory_.Write("scenario.json", kWorker);
    directory_.Write("script", R"sh(
        worker=$(pidof perf_worker)
        VIRTUAL_BOARD_PERF=machine perf record -o work.data -g -p $worker -- sleep 0.2 2>/dev/null
        [ $? -ne 0 ] && echo refused
        perf record -o work.data -g -p $worker -- sleep 0.2 2>/dev/null; echo status $?
        perf report -i work.data --max-stack 1 2>&1 | grep -o 'perf_worker .* plan_route')sh");
    const Result result = Shell("$WITHOUT sampling $BOARD --scenario scenario.json -- sh ./script");
    EXPECT_EQ(result.text, "refused\nstatus 0\nperf_worker  frame_worker   [.] plan_route\n");
}

// Few machines have a counter of misses that may be sampled; perf refuses both events then.
TEST_P(PerfOnBoard, SamplesMissesByTheModelWhereTheMachineHasNoCounter) {
    directory_.Write("scenario.json", kWorker);
    const Result result = OnBoard(R"sh(
        perf record -o work.data -g -e cpu-clock,cache-misses -p "$(pidof perf_worker)" -- sleep 0.5 2>/dev/null
        echo status $?
        perf script -i work.data > text
        for event in cpu-clock cache-misses; do
            grep -q "^perf_worker .* [0-9]*  *$event: " text && echo $event
        done
        grep -c '^.*[0-9a-f]* work_loop+0x' text | sed 's/[1-9][0-9]*/callers/'
        perf report -i work.data --no-children --stdio -g none 2>/dev/null | grep -o "of event '.*'")sh",
                                  "--scenario scenario.json");
    EXPECT_EQ(result.text,
              "status 0\ncpu-clock\ncache-misses\ncallers\n"
              "of event 'cpu-clock'\nof event 'cache-misses'\n");
}

TEST_P(PerfOnBoard, SaysWhatItCannotSample) {
    const Result result = OnBoard(R"sh(
        perf record -o f -a no_such_program; echo status $?
        perf record -o f -p 2147483647 true; echo status $?
        perf record -o f -e instructions -a true; echo status $?
        perf record -o f -F 99 -a true; echo status $?
        perf record -o no/such/file -a true; echo status $?)sh",
                                  "--perf model");
    EXPECT_EQ(
        result.text,
        "Workload failed: No such file or directory\nstatus 255\n"
        "Couldn't create thread/CPU maps: No such process\nstatus 234\n"
        "perf record: the board samples cycles, cpu-clock and cache-misses alone\nstatus 129\n"
        "perf record: the board samples programs 4000 times a second alone\nstatus 129\n"
        "failed to open no/such/file\nstatus 255\n");
}

class TracedPerf : public Board {};

INSTANTIATE_TEST_SUITE_P(Ways, TracedPerf, testing::Values("namespace", "proot"), WayName);

// What the machine measures; what the model counts has nothing to fear.
TEST_P(TracedPerf, WarnsOfWhatIsMeasuredWhileItIsTraced) {
    const Result result = OnBoard(R"sh(
        perf bench mem memset -s 1KB -f default > copy 2> err; cat err
        perf stat -a -e cycles,page-faults true 2>&1 | grep '^perf:'
        perf stat -x, -a -e r11 true 2>&1 | grep '^perf:'
        perf --version 2>&1 | grep '^perf:'
        echo end)sh");
    const std::string warning =
        "perf: this process is traced, as on a board by proot: what starts, sleeps or talks to "
        "others is ten to twenty times slower than on this machine\n";
    EXPECT_EQ(result.text, (GetParam() == std::string("proot") ? warning + warning : "") + "end\n");
}

TEST_P(PerfOnBoard, LeavesTheRestToTheMachine) {
    const Result result = OnBoard(R"sh(
        perf --version
        PATH=$(dirname "$(command -v perf)") perf --version; echo status $?)sh");
    EXPECT_THAT(result.text, HasSubstr("perf version "));
    EXPECT_THAT(
        result.text,
        EndsWith(
            "perf: this machine has no perf, which the board needs for this; install linux-perf\n"
            "status 127\n"));
}

}  // namespace
}  // namespace zarn::test
