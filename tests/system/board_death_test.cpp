#include <gtest/gtest.h>

#include <string>

#include "tests/system/support/on_board.h"

// A board of which a part dies: nothing is left of it, nothing that looks like data comes from it,
// and the command's status is handed on.
namespace zarn::test {
namespace {

class BoardDeath : public Board {};

INSTANTIATE_TEST_SUITE_P(Ways, BoardDeath, testing::Values("namespace", "proot"), WayName);

constexpr const char* kNoTable =
    "zarn-board: the board's server has died; there is no bandwidth table any more\n";

TEST_P(BoardDeath, AKilledServerTakesTheTableAlong) {
    const Result result = Shell(R"sh(
in_background -- sh -c 'echo > up; read x < go; cat /proc/qos/bwstat/bandwidth; exit 5'
kill -KILL $(pgrep -P $board zarn-board-serv)
gone() { ! test -e tmp/zarn-board.*/files/proc/qos/bwstat/bandwidth; }
await gone
echo 1<> go
wait $running)sh");
    EXPECT_EQ(result, (Result{std::string(kNoTable) +
                                  "cat: /proc/qos/bwstat/bandwidth: No such file or directory\n",
                              5}));
    ExpectTidy();
}

TEST_P(BoardDeath, AServerThatHangsTakesTheTableAlongUntilItGoesOn) {
    const Result result = Shell(R"sh(
in_background -- sh -c 'echo > up; read x < go; tries=0
    until ! cat /proc/qos/bwstat/bandwidth || test $((tries += 1)) -gt 20000; do :; done > /dev/null 2>&1; echo gone
    echo > up; until cat /proc/qos/bwstat/bandwidth || test $((tries += 1)) -gt 40000; do :; done 2> /dev/null
    until head -n 1 /sys/devices/virtual/event_sched/event_sched/node/cpu_list || test $((tries += 1)) -gt 40000; do :; done 2> /dev/null; exit 5'
server=$(pgrep -P $board zarn-board-serv)
kill -STOP $server; echo 1<> go
read x < up
kill -CONT $server
wait $running)sh");
    EXPECT_EQ(
        result,
        (Result{"gone\nmpamid|bandwidth(MB/s)|bw_low(GB/s)|bw_high(GB/s)|hardlimit\n1-3\n", 5}));
    ExpectTidy();
}

// A machine that stands still keeps launcher and server from running alike, and the launcher may be
// the first that goes on.
TEST_P(BoardDeath, AMachineThatStoodStillLosesNothing) {
    const Result result = Shell(R"sh(
in_background -- sh -c 'echo > up; read x < go
    until test -e enough || ! cat /proc/qos/bwstat/bandwidth; do :; done > /dev/null; exit 5'
server=$(pgrep -P $board zarn-board-serv)
kill -STOP $server $board; echo 1<> go
sleep 3.5
kill -CONT $board; sleep 0.3; kill -CONT $server
sleep 0.5; : > enough
wait $running)sh");
    EXPECT_EQ(result, (Result{"", 5}));
    ExpectTidy();
}

// The streams of all that belongs to a board lead to cat, which ends with the last of them.
TEST_P(BoardDeath, AKilledLauncherTakesEverythingAlong) {
    const Result result = Shell(R"sh(
mkfifo all; cat all > rest & reader=$!
in_background -- sh -c '(sleep 20; echo survived) & (sleep 20 & sleep 20) & echo > up; sleep 20' > all 2>&1
kill -KILL $board
wait $running; echo $?
wait $reader; cat rest)sh");
    EXPECT_EQ(result, (Result{"137\nKilled\n", 0}));
    ExpectTidy();
}

TEST_P(BoardDeath, ALauncherKilledBeforeItsCommandRunsLeavesNothing) {
    EXPECT_EQ(Shell(R"sh(
for i in 1 2 3 4 5 6 7 8 9 10; do ($BOARD -- true & kill -KILL $!; wait $!) 2>&1 | cat > /dev/null; done)sh"),
              (Result{"", 0}));
    ExpectTidy();
}

// Whichever part is killed whenever: what is drawn depends on the seed alone, the moment on the
// machine.
TEST_P(BoardDeath, AnyPartMayBeKilledAtAnyMoment) {
    directory_.Write("kills", R"sh(
RANDOM=20261122
for ((round = 0; round < $1; ++round)); do
    ($BOARD -- bash -c 'cat /proc/qos/bwstat/bandwidth; for ((spin = 20000; spin > 0; --spin)); do :; done; exit 5' &
     launcher=$!
     for ((spin = RANDOM % 20000; spin > 0; --spin)); do :; done
     guard=$(pgrep -P $launcher -x zarn-board)
     case $((RANDOM % 4)) in
         0) victim=$launcher ;;
         1) victim=$(pgrep -P $launcher zarn-board-serv) ;;
         2) victim=$(pgrep -P "${guard:-$launcher}") ;;
         3) victim=${guard:-$launcher} ;;
     esac
     kill -KILL $victim
     wait $launcher; echo $? >> statuses) 2>&1 | cat > /dev/null
    left=$(ls tmp)
    [ -z "$left" ] || { echo "round $round: $left"; ls -R tmp; exit 1; }
done
grep -c -v -x -e 5 -e 137 -e 1 statuses
)sh");
    EXPECT_EQ(Shell("bash ./kills 60"), (Result{"0\n", 1}));
    EXPECT_EQ(Shell("pgrep -f \"$PWD/tmp/zarn-board\"").status, 1);
}

TEST_P(BoardDeath, AServerThatCannotStartEndsTheLauncher) {
    EXPECT_EQ(Shell("$BOARD --board /proc/none/board -- true"),
              (Result{"zarn-board-server: cannot make the board's folder /proc/none/board: "
                      "No such file or directory\n",
                      1}));
    const Result file =
        Shell("touch file; $BOARD --board file/board -- true; TMPDIR=$PWD/file $BOARD -- true");
    EXPECT_EQ(file.status, 1);
    EXPECT_NE(file.text.find("cannot make the board's folder "), std::string::npos) << file.text;
    EXPECT_EQ(
        Shell("mkdir -p kept; head -c 100 /dev/urandom > kept/state; $BOARD --board kept -- true"),
        (Result{"zarn-board-server: no board state: " + directory_.Path() + "kept/state\n", 1}));
    // A build whose server is another program.
    const Result result = Shell(R"sh(
mkdir -p other/bin other/lib; ln -s "$(dirname $ANYWAY)/../share" other/share; ln -s "$(dirname $ANYWAY)"/../lib/* other/lib/
server=other/bin/zarn-board-server
for script in 'exit 0' 'exit 3' 'kill -KILL $$' 'echo ready' 'mkdir "$2"; kill -KILL $$'; do
    printf '#!/bin/sh\n%s\n' "$script" > $server; chmod +x $server
    $BOARD --build other -- true; echo $?
done)sh");
    std::string five;
    for (int i = 0; i < 5; ++i) {
        five += "zarn-board: the board's server does not start\n1\n";
    }
    EXPECT_EQ(result, (Result{five, 0}));
    ExpectTidy();
}

TEST_P(BoardDeath, AFullOrReadOnlyPlaceIsSaid) {
    const std::string own = "unshare --mount --propagation private --map-root-user ";
    if (Shell(own + "mount -t tmpfs none /opt").status != 0) {
        GTEST_SKIP() << "needs a user namespace to mount a small disk";
    }
    const Result full = Shell("mkdir -p small; " + own +
                              "sh -c 'mount -t tmpfs -o size=16k none small && TMPDIR=$PWD/small "
                              "$BOARD -- true; echo $?; ls small'");
    EXPECT_EQ(full.text.find("zarn-board-server: cannot "), 0U) << full.text;
    EXPECT_NE(full.text.find("\n1\n"), std::string::npos) << full.text;
    const Result readOnly = Shell(own +
                                  "sh -c 'mount -t tmpfs -o ro none small && TMPDIR=$PWD/small "
                                  "$BOARD -- true'");
    EXPECT_EQ(readOnly.text.substr(readOnly.text.rfind(": ")), ": Read-only file system\n");
    EXPECT_EQ(readOnly.status, 1);
}

}  // namespace
}  // namespace zarn::test
