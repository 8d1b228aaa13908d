#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/system/support/on_board.h"
#include "tests/system/support/program_lock.h"

// perf sched on a virtual board whose scenario has tasks for it.
namespace zarn::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

using testing::StartsWith;

constexpr const char* kOptions = "--scenario starved_task";

// In the first way that the machine allows: perf is the same in both.
class PerfSchedOnBoard : public Board {
protected:
    void SetUp() override {
        Board::SetUp();
        // Another perf of the machine, which says how it was called.
        directory_.Write("machine/perf", "#!/bin/sh\necho \"machine: $*\"\nexit 5\n");
    }

    const ProgramLock lock_;
};

INSTANTIATE_TEST_SUITE_P(Ways, PerfSchedOnBoard, testing::Values("namespace"), WayName);

TEST_P(PerfSchedOnBoard, RecordsWhileACommandRuns) {
    const Result result = OnBoard(R"sh(
        perf sched record -o record -g -C 0,1 -- sh -c 'echo working; sleep 0.1; exit 3' 2>log
        echo status $?
        sed 's/[0-9][0-9.]* MB/MB/; s/([0-9]* /(/' log
        perf sched latency -i record --sort max,avg | sed -n 3p
        perf sched timehist -i record | grep -m 1 -o ' do_nanosleep <- .*'
        perf sched script -i record | grep -m 1 -o '[[]00[01][]] .*: sched:sched_stat_runtime: comm=[a-z_]*')sh",
                                  kOptions);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(
        result.text,
        AllOf(
            StartsWith("working\nstatus 3\n"
                       "[ perf record: Woken up 1 times to write data ]\n"
                       "[ perf record: Captured and wrote MB record (samples) ]\n"
                       "  Task                  |   Runtime ms  | Switches | Avg delay ms    | "
                       "Max delay ms    | Max delay start           | Max delay end          |\n"),
            HasSubstr("\n do_nanosleep <- hrtimer_nanosleep <- common_nsleep <- "
                      "__arm64_sys_clock_nanosleep <- invoke_syscall\n"),
            HasSubstr(": sched:sched_stat_runtime: comm=")));
}

TEST_P(PerfSchedOnBoard, AReportIsTheSameEachTimeAndAsTheBoardTells) {
    const Result result = OnBoard(R"sh(
        perf sched record -o record -- sleep 0.1 2>/dev/null
        for i in 1 2; do
            { perf sched script -i record; perf sched timehist -i record 2>&1; } | cksum
        done | uniq | wc -l
        set -- $(sed -n 2p record)
        zarn-board-server sched "$VIRTUAL_BOARD_STATE" "$2" "$3" |
            awk -F, '$1 == "sensor_hub" { printf "%s ms %s\n", $4, $5 }' >truth
        perf sched latency -i record --pids | grep sensor_hub | tr -s '| ' ' ' |
            cut -d' ' -f3-5 | cmp - truth && echo same)sh",
                                  kOptions);
    EXPECT_EQ(result.text, "1\nsame\n");
}

TEST_P(PerfSchedOnBoard, KeepsWhatItRecordedUntilAnInterrupt) {
    const Result result = OnBoard(R"sh(
        env --default-signal=INT perf sched record -o record -- \
            sh -c 'kill -INT $PPID; exec tail -f /dev/null' 2>/dev/null
        echo status $?
        tail -n 1 record)sh",
                                  kOptions);
    EXPECT_EQ(result.text, "status 130\nend\n");
}

TEST_P(PerfSchedOnBoard, SaysWhatItCannotRecord) {
    const Result result = OnBoard(R"sh(
        perf sched record -o record -- no_such_program; echo status $?
        perf sched record -o record -p 2147483647 -- true; echo status $?
        perf sched record -o record -C 4 -- true; echo status $?
        perf sched record -o no/such/folder -- true; echo status $?
        perf sched record -o record -F 99 -- true; echo status $?
        perf sched record -o record -e cycles -- true; echo status $?)sh",
                                  kOptions);
    EXPECT_EQ(result.text,
              "Workload failed: No such file or directory\nstatus 255\n"
              "Warning:\nPID/TID switch overriding SYSTEM\n"
              "Couldn't create thread/CPU maps: No such process\nstatus 244\n"
              "Failed to initialize parallel data streaming masks\nstatus 237\n"
              "failed to open no/such/folder\nPerf session creation failed.\nstatus 255\n"
              "perf sched record: the board does not know -F\nstatus 129\n"
              "perf sched record: the board records the scheduler's events alone\nstatus 129\n");
}

TEST_P(PerfSchedOnBoard, ATornRecordHasNothingToShow) {
    const Result result = OnBoard(R"sh(
        perf sched record -o record -- sleep 0.05 2>/dev/null
        head -c 300 record >torn
        for report in latency timehist script; do perf sched $report -i torn; echo status $?; done
        perf sched latency -i record --sort none; echo status $?)sh",
                                  kOptions);
    EXPECT_EQ(result.text,
              "status 0\nstatus 0\nstatus 0\n"
              "  Error: Unknown --sort key: `none'\nstatus 129\n");
}

TEST_P(PerfSchedOnBoard, LeavesAllElseToTheMachinesPerf) {
    const std::string script = R"sh(
        chmod +x machine/perf
        PATH=$(dirname "$(command -v perf)"):$PWD/machine:$PATH
        )sh";
    const Result own = OnBoard(script + R"sh(
        perf sched record -o record -- true 2>/dev/null; echo status $?
        echo PERFILE2 >foreign
        perf sched latency -i foreign --sort max; echo status $?
        perf sched script -i nothing; echo status $?
        perf sched map -i record; echo status $?
        perf sched; echo status $?)sh",
                               kOptions);
    EXPECT_EQ(own.text,
              "status 0\n"
              "machine: sched latency -i foreign --sort max\nstatus 5\n"
              "machine: sched script -i nothing\nstatus 5\n"
              "machine: sched map -i record\nstatus 5\n"
              "machine: sched\nstatus 5\n");
    const Result without =
        OnBoard(script + "perf sched record -o x -- true; echo status $?", "--scenario idle");
    EXPECT_EQ(without.text, "machine: sched record -o x -- true\nstatus 5\n");
}

// A planner that keeps core 1 for itself, a helper thread on core 2.
constexpr const char* kStacks = R"({"sched": {"cores": 32, "processes": [
    {"name": "stack_planner", "affinity": [1], "run_us": 1000,
     "stacks": [{"share": 9, "calls": ["plan_loop", "find_route", "expand"]},
                {"share": 1, "calls": ["plan_loop", "publish"]}],
     "threads": [{"name": "map helper", "affinity": [2], "stacks": []}]}]}})";

TEST_P(PerfSchedOnBoard, SamplesTheTasksOfCores) {
    if (std::system("perf --version >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "there is no perf on this machine";
    }
    directory_.Write("stacks.json", kStacks);
    const Result result = OnBoard(R"sh(
        perf record -o record -F 1000 -C 1,2,3 -a -g -- sh -c 'echo working; sleep 0.2; exit 3' 2>log
        echo status $?
        sed 's/[0-9][0-9.]* MB/MB/; s/([0-9]* /(/' log
        perf script -i record >text 2>errors
        cat errors
        planner=$(pidof stack_planner)
        awk -v planner="$planner" '/cycles:/ { heads[$0 ~ " " planner " [[]001] " ? "planner" : $0 ~ "^map helper +[0-9]+ [[]002] " ? "helper" : $0]++; next }
            NF { sub(/[+].*/, "", $2); stack = stack " " $2; file = $NF; next }
            { stacks[stack]++; stack = "" }
            END { for (head in heads) print "head", head; for (s in stacks) if (stacks[s] > 5) print "stack" s; print file }' text |
            sort)sh",
                                  "--scenario stacks.json");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.text, testing::MatchesRegex(
                                 "working\nstatus 3\n"
                                 "\\[ perf record: Woken up 1 times to write data \\]\n"
                                 "\\[ perf record: Captured and wrote MB record \\(samples\\) \\]\n"
                                 "\\(.*/tasks/stack_planner\\)\n"
                                 "head helper\nhead planner\n"
                                 "stack expand find_route plan_loop\nstack main\n"
                                 "stack publish plan_loop\n"));
}

TEST_P(PerfSchedOnBoard, SaysWhatItCannotSample) {
    const Result result = OnBoard(R"sh(
        perf record -o record -F 99 -C 4 -a -g -- true; echo status $?
        perf record -o no/such/folder -F 99 -C 0 -a -g -- true; echo status $?
        perf record -o record -F 99 -C 0 -a -g -- no_such_program; echo status $?)sh",
                                  kOptions);
    EXPECT_EQ(result.text,
              "Failed to initialize parallel data streaming masks\nstatus 237\n"
              "failed to open no/such/folder\nstatus 255\n"
              "Workload failed: No such file or directory\nstatus 255\n");
}

// A frequency alone makes a recording the scheduler's: others are as on any board.
TEST_P(PerfSchedOnBoard, LeavesOtherSamplingToWhoDoesItElsewhere) {
    const Result result = OnBoard(R"sh(
        chmod +x machine/perf
        PATH=$(dirname "$(command -v perf)"):$PWD/machine:$PATH
        perf record -o record -F 99 -p 1 -g -- true; echo status $?
        VIRTUAL_BOARD_PERF=machine perf record -o record -F 99 -C 0 -a -- true; echo status $?
        VIRTUAL_BOARD_PERF=model perf record -o record -F 99 -p $$ -- true; echo status $?)sh",
                                  kOptions);
    EXPECT_THAT(
        result.text,
        testing::MatchesRegex(
            "machine: record .*-o record -F 99 -p 1 -g -- true\nstatus 5\n"
            "machine: record .*-o record -F 99 -C 0 -a -- true\nstatus 5\n"
            "perf record: the board samples programs 4000 times a second alone\nstatus 129\n"));
}

TEST_P(PerfSchedOnBoard, PinsCommandsToCoresThatTheMachineHas) {
    directory_.Write("stacks.json", kStacks);
    const Result result = OnBoard(R"sh(
        free=$(sed -n 's/^Cpus_allowed_list:.//p' /proc/self/status)
        one=${free%%[,-]*}
        taskset -c $one sed -n 's/^Cpus_allowed_list:.//p' /proc/self/status | sed "s/^$one\$/pinned/"
        taskset -c 1023 sed -n 's/^Cpus_allowed_list:.//p' /proc/self/status | sed "s/^$free\$/free/"
        taskset -c 1023 sh -c 'echo "$1"; exit 7' sh 'two words'; echo status $?
        taskset -c 1023 no_such_program 2>/dev/null; echo status $?
        taskset -c none true 2>&1 | sed 's/:.*//'
        taskset -pc $$ | grep -c 'affinity list: [0-9]')sh",
                                  "--scenario stacks.json");
    EXPECT_EQ(result.text, "pinned\nfree\ntwo words\nstatus 7\nstatus 127\ntaskset\n1\n");
}

}  // namespace
}  // namespace zarn::test
