#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "tests/system/support/on_board.h"

namespace zarn::test {
namespace {

INSTANTIATE_TEST_SUITE_P(Ways, Board, testing::Values("namespace", "proot"), WayName);

TEST_P(Board, ItsFilesAndToolsStandWhereTheyDoOnTheRealOne) {
    const Result result = OnBoard(R"sh(
for file in /proc/qos/bwstat/bandwidth /proc/perf/sched_log /proc/sharepool/proc_stat \
    /proc/umap/vpc /proc/umap/venc /proc/umap/vdec /sys/fs/cgroup/cpuset/AICPU/cpuset.cpus \
    /sys/devices/virtual/event_sched/event_sched/node/node_event_resource \
    /etc/qvt_version /etc/orlo-latest /etc/sys_version_tepa.conf /var/kavtrace; do
    cat $file > copy
    test -s copy || echo "empty: $file"
done
for file in /proc/perf/sched_ctrl /sys/devices/virtual/event_sched/event_sched/node/pid; do
    echo 15 > $file
    test "$(cat $file)" = 15 || echo "not kept: $file"
done
rungate qvt-tool upgrade --allocGroup=default_dm display version > version
grep -c qvt_version version
cat /proc/xsmem/task/*/summary | grep cnt | awk '{print$6}'
mkdir /opt/usr/mnt && rmdir /opt/usr/mnt
)sh");
    EXPECT_EQ(result, (Result{"1\n2\n", 0}));
    ExpectTidy();
}

TEST_P(Board, StatusStreamsAndDirectoryAreTheCommands) {
    EXPECT_EQ(OnBoard("exit 7"), (Result{"", 7}));
    EXPECT_EQ(OnBoard("pwd; cat there"), Shell("touch there; pwd"));
    EXPECT_EQ(Shell("echo in | $BOARD -- sh -c 'cat; echo err >&2'"), (Result{"in\nerr\n", 0}));
    EXPECT_EQ(Shell("$BOARD -- no-such-command"),
              (Result{"zarn-board: no-such-command: No such file or directory\n", 127}));
    EXPECT_EQ(Shell("$BOARD -- ./tmp"), (Result{"zarn-board: ./tmp: Permission denied\n", 126}));
    EXPECT_EQ(Shell("$BOARD -- sh -c 'kill -KILL $$'").status, 137);
    ExpectTidy();
}

TEST_P(Board, WhatOneProcessSetsTheNextOneAndTheKernelFileShow) {
    const Result result = OnBoard(R"sh(
$PROBE bounds 0 4 1 1
$PROBE get 13 0 0 48
$PROBE monitor
await grep -q '^ *0|[^|]*|  *1|  *4|  *1$' /proc/qos/bwstat/bandwidth
grep -c '|.*|.*|.*|' /proc/qos/bwstat/bandwidth
)sh");
    EXPECT_EQ(result, (Result{"0 48 4 1 1\n0 48 4 1 1\n0 104 10000 0 1\n11\n", 0}));
}

TEST_P(Board, TheBandwidthFileIsNeverTorn) {
    const Result result = OnBoard(R"sh(
$PROBE monitor > /dev/null
has_all_rows() { test "$(grep -c '|' /proc/qos/bwstat/bandwidth)" = 11; }
await has_all_rows
for i in 1 2 3 4 5 6 7 8 9 10; do
    $PROBE bounds 0 $i 0 1 > /dev/null &
    for k in 1 2 3 4 5; do
        cat /proc/qos/bwstat/bandwidth > copy
        test -z "$(tail -c 1 copy)" || echo torn
        grep -c '^[^|]*|[^|]*|[^|]*|[^|]*|[^|]*$' copy
    done
    wait
done | sort | uniq -c
)sh");
    EXPECT_EQ(result, (Result{"     50 11\n", 0}));
}

TEST_P(Board, SameScenarioSeedAndTimesGiveTheSameNumbers) {
    const auto tables = [this](const std::string& name, const std::string& options) {
        EXPECT_EQ(Shell("$BOARD --board " + name + " " + options + " -- $PROBE monitor").status, 0);
        return Shell("$SERVER table " + name + "/state 0 100 7300 60000").text;
    };
    const std::string first = tables("one", "--scenario ai_burst --seed 5");
    EXPECT_EQ(std::count(first.begin(), first.end(), '\n'), 48);
    EXPECT_EQ(Shell("$SERVER table one/state 0 100 7300 60000 | grep -v '|'").text,
              "time: 0 ms\ntime: 100 ms\ntime: 7300 ms\ntime: 60000 ms\n");
    EXPECT_EQ(tables("two", "--scenario ai_burst --seed 5"), first);
    EXPECT_NE(tables("three", "--scenario ai_burst --seed 6"), first);
    EXPECT_NE(tables("four", "--scenario idle --seed 5"), first);
}

TEST_P(Board, AKeptBoardGoesOnWhereItWas) {
    EXPECT_EQ(Shell("$BOARD --board kept -- $PROBE bounds 5 20 3 0").status, 0);
    EXPECT_EQ(Shell("$BOARD --board kept -- $PROBE get 13 0 5 48"), (Result{"0 48 20 3 0\n", 0}));
    EXPECT_EQ(Shell("$BOARD --board other -- $PROBE get 13 0 5 48"), (Result{"0 48 51 0 1\n", 0}));
    ExpectTidy();
}

TEST_P(Board, TwoCommandsShareAKeptBoard) {
    const Result result = Shell(R"sh(
in_background --board kept -- sh -c 'echo > up; read x < go; $PROBE get 13 0 5 48'
$BOARD --board kept -- $PROBE bounds 5 20 3 0
echo 1<> go
wait $running)sh");
    EXPECT_EQ(result, (Result{"0 48 20 3 0\n0 48 20 3 0\n", 0}));
}

TEST_P(Board, FollowsTheFaultPlanAcrossProcesses) {
    directory_.Write("plan.json", R"({"faults": [
        {"call": "tovi_get_device_info", "main": 13, "sub": 0, "key": 5, "skip": 1, "times": 1,
         "code": -3},
        {"call": "tovi_get_device_info", "main": 9, "size": 8}]})");
    const Result result = OnBoard(R"sh(
$PROBE get 13 0 6 48; $PROBE get 13 0 5 48; $PROBE get 13 0 5 48; $PROBE get 13 0 5 48
$PROBE get 9 0 0 4)sh",
                                  "--faults plan.json");
    EXPECT_EQ(result,
              (Result{"0 48 51 0 1\n0 48 51 0 1\n-3 48 0 0 0\n0 48 51 0 1\n0 8 0 0 0\n", 0}));
}

TEST_P(Board, OptUsrIsTheFolderOfTheUser) {
    EXPECT_EQ(OnBoard("echo text > /opt/usr/file", "--opt-usr mine"), (Result{"", 0}));
    EXPECT_EQ(directory_.Read("mine/file"), "text\n");
    ExpectTidy();
    const Result kept = OnBoard("echo text > /opt/usr/file");
    EXPECT_EQ(kept.status, 0);
    EXPECT_NE(kept.text.find("zarn-board: /opt/usr of the board is kept in "), std::string::npos);
    EXPECT_EQ(Shell("cd tmp/zarn-board.*; cat opt-usr/file; ls").text, "text\nopt-usr\n");
}

TEST_P(Board, SignalsReachTheCommandAndNothingIsLeft) {
    for (const std::string signal : {"INT", "TERM", "HUP"}) {
        const Result result = Shell("signal=" + signal + R"sh(
in_background -- bash -c '
    trap "echo caught; kill \$!; exit 3" '$signal'
    sleep 600 &
    echo > up
    wait'
kill -$signal $board
wait $running)sh");
        EXPECT_EQ(result, (Result{"caught\n", 3})) << signal;
        ExpectTidy();
        EXPECT_EQ(Shell("pgrep -f \"$PWD/tmp/zarn-board\"").status, 1) << signal;
    }
}

TEST_P(Board, RefusesACallItDoesNotUnderstand) {
    EXPECT_EQ(Shell("$BOARD").status, 2);
    EXPECT_EQ(Shell("$BOARD --seed").status, 2);
    EXPECT_EQ(Shell("$BOARD --sed 1 -- true").status, 2);
    EXPECT_EQ(Shell("$BOARD --scenario none -- true"),
              (Result{"zarn-board: no such scenario: none (--list shows them)\n", 1}));
    EXPECT_EQ(Shell("$BOARD --seed x -- true"),
              (Result{"zarn-board-server: the seed must be a whole number: x\n", 1}));
    directory_.Write("bad.json", R"sh({"faults": 1})sh");
    EXPECT_EQ(Shell("$BOARD --faults bad.json -- true"),
              (Result{"zarn-board-server: bad.json: faults: expected a list of at most 64 "
                      "entries\n",
                      1}));
    EXPECT_EQ(Shell("$BOARD --list | cut -d' ' -f1 | grep -c -e idle -e throttled_cpu").text,
              "2\n");
    ExpectTidy();
}

TEST_P(Board, ItsProgramsSayHowTheyAreCalled) {
    const Result usage = Shell("$SERVER; $SERVER table x");
    const std::string once =
        "usage: zarn-board-server create STATE SCENARIO SEED [FAULTS]\n"
        "       zarn-board-server serve|serve-once FOLDER DATA SCENARIO SEED [FAULTS]\n"
        "       zarn-board-server table STATE MILLISECONDS...\n"
        "       zarn-board-server events STATE MILLISECONDS...\n"
        "       zarn-board-server buffers STATE [MICROSECONDS...]\n"
        "       zarn-board-server sched|bursts STATE FROM_US TO_US\n"
        "       zarn-board-server status STATE\n"
        "       zarn-board-server trace STATE FOLDER\n"
        "       zarn-board-server account STATE\n"
        "       zarn-board-server truth SCENARIO SEED -a|-C CORE|-p PROGRAM FROM_MS TO_MS\n";
    EXPECT_EQ(usage, (Result{once + once, 2}));
    const std::string noState = "zarn-board-server: no board state: none\n";
    EXPECT_EQ(Shell("$SERVER status none; $SERVER table none 1; $SERVER trace none .").text,
              noState + noState + noState);
    EXPECT_EQ(Shell("$BOARD --board kept -- true; $SERVER table kept/state 1 x"),
              (Result{"zarn-board-server: no time in milliseconds: x\n", 1}));
    EXPECT_EQ(Shell("$SERVER sched none 1 2; $SERVER sched kept/state 1 x; "
                    "$SERVER sched kept/state 2 1"),
              (Result{"zarn-board-server: no board state: none\n"
                      "zarn-board-server: no time in microseconds: x\n"
                      "zarn-board-server: the time ends before it begins\n",
                      1}));
    EXPECT_EQ(Shell("$SERVER buffers none; $SERVER buffers kept/state; "
                    "$SERVER buffers kept/state 1 x"),
              (Result{"zarn-board-server: no board state: none\nrecording: off\n"
                      "zarn-board-server: no time in microseconds: x\n",
                      1}));
    EXPECT_EQ(Shell("$SERVER create kept/no/state $DATA/scenarios/idle.json 1"),
              (Result{"zarn-board-server: cannot write kept/no/state\n", 1}));
    EXPECT_EQ(Shell("$SERVER create made none.json 1"),
              (Result{"zarn-board-server: cannot read the scenario none.json\n", 1}));
    EXPECT_EQ(Shell("$SERVER create made $DATA/scenarios/idle.json 1 none.json"),
              (Result{"zarn-board-server: cannot read the fault plan none.json\n", 1}));
    EXPECT_EQ(
        Shell("$SERVER create made $DATA/scenarios/idle.json 7 && $SERVER status made | tail -n 1"),
        (Result{"monitor: off, library calls: 0\n", 0}));
    EXPECT_EQ(Shell("echo heard | $SERVER trace made nowhere"),
              (Result{"heard\nzarn-board-server: cannot write nowhere/imgp.data.0.slice_0\n", 1}));
}

TEST_P(Board, TheProfilingToolTellsWhatFails) {
    EXPECT_EQ(OnBoard(R"sh(
/var/kavtrace; echo $?
/var/kavtrace --output=/dev/null/x 2> /dev/null; echo $?
/var/kavtrace --output=out --application='echo said; exit 3'
ls out/PROF_*/device_0/data)sh")
                  .text,
              "ERROR: usage: kavtrace --output=DIR [--sys-period=SECONDS | --application=COMMAND]\n"
              "2\nERROR: cannot write below /dev/null/x\n1\nsaid\n"
              "ERROR: the application failed: echo said; exit 3\nProfiling finished, data: out\n"
              "imgp.data.0.slice_0\nimgp.vpc.0.slice_0\n");
}

TEST_P(Board, TheOptimumOfItsBenchmarkIsWhatItsBoundsCanGive) {
    directory_.Write("config.yaml", "periods: 4\n");
    const Result found = Shell("$OPTIMUM $DATA/scenarios/memory_hungry.json 1 config.yaml 17");
    EXPECT_EQ(found.status, 0);
    std::istringstream lines(found.text);
    std::string untouched, tried, optimum, bounds;
    std::getline(lines, untouched);
    std::getline(lines, tried);
    std::getline(lines, optimum);
    const auto cpu = [](const std::string& line) {
        return std::stod(line.substr(line.find("cpu ") + 4));
    };
    ASSERT_EQ(untouched.rfind("untouched: cpu ", 0), 0U) << found.text;
    ASSERT_EQ(optimum.rfind("optimum: cpu ", 0), 0U) << found.text;
    EXPECT_GT(cpu(optimum), cpu(untouched));
    int count = 0;
    for (; std::getline(lines, bounds); ++count) {
        EXPECT_NE(bounds.find(": bw_low "), std::string::npos) << bounds;
    }
    EXPECT_EQ(count, 3);
    EXPECT_EQ(Shell("$OPTIMUM $DATA/scenarios/idle.json x config.yaml"),
              (Result{"zarn-board-optimum: the seed must be a whole number: x\n", 1}));
    EXPECT_EQ(Shell("$OPTIMUM none 1 config.yaml"),
              (Result{"zarn-board-optimum: cannot read none\n", 1}));
    EXPECT_EQ(Shell("$OPTIMUM $DATA/scenarios/idle.json 1 none"),
              (Result{"zarn-board-optimum: cannot read none\n", 1}));
    for (const char* call : {"", "a b", "a b c 0", "a b c 52", "a b c x", "a b c 1 e"}) {
        const Result usage = Shell(std::string("$OPTIMUM ") + call);
        EXPECT_EQ(usage.status, 2) << call;
        EXPECT_EQ(usage.text.rfind("usage: zarn-board-optimum SCENARIO SEED CONFIG [STEP]\n", 0),
                  0U);
    }
}

// Root only: what needs another user, or all of the machine's rights.
class BoardAsRoot : public Board {
protected:
    void SetUp() override {
        Board::SetUp();
        if (::geteuid() != 0) {
            GTEST_SKIP() << "needs root to become another user";
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Ways, BoardAsRoot, testing::Values("namespace", "proot"), WayName);

// The machine's own directories in which the board's files stand, listed as one that shares its
// view sees them.
constexpr const char* kListPlaces =
    "ls -a /opt /etc /var /sys/fs/cgroup /sys/fs/cgroup/cpuset /sys/devices/virtual 2> /dev/null";

TEST_P(BoardAsRoot, TheMachineIsLeftAsItIsWhileACommandRuns) {
    if (Shell("unshare --mount true").status != 0) {
        GTEST_SKIP() << "mount namespaces are not allowed here";
    }
    const Result result = Shell(std::string(kListPlaces) + R"sh( > before
in_background --opt-usr mine -- sh -c 'cat /etc/qvt_version /sys/fs/cgroup/cpuset/AICPU/cpuset.cpus \
    /proc/qos/bwstat/bandwidth > /opt/usr/copy; echo > up; read x < go'
)sh" + kListPlaces + R"sh( > during
echo 1<> go
wait $running
diff before during && test -s mine/copy)sh");
    EXPECT_EQ(result, (Result{"", 0}));
    ExpectTidy();
}

TEST_P(BoardAsRoot, AnOrdinaryUserNeedsNoPrivilege) {
    const std::string asNobody = "setpriv --reuid=65534 --regid=65534 --clear-groups ";
    if (Shell(asNobody + "$PROBE get; test $? = 1 && " + asNobody + "test -r " ZARN_SOURCE_DIR)
            .status != 0) {
        GTEST_SKIP() << "the build is not readable for an ordinary user";
    }
    // Coverage counters, where there are any, are not his to write: they go here.
    const Result result = Shell("chmod 777 . tmp; export GCOV_PREFIX=$PWD/counters; " + asNobody +
                                "$BOARD -- sh -c 'id -u; $PROBE bounds 5 20 3 0; "
                                "$PROBE get 13 0 5 48; cat /etc/qvt_version > /dev/null; exit 4'");
    EXPECT_EQ(result, (Result{"65534\n0 48 20 3 0\n0 48 20 3 0\n", 4}));
    ExpectTidy();
}

}  // namespace
}  // namespace zarn::test
