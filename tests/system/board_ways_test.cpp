#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "tests/system/support/on_board.h"

// The ways in which the board's paths get in their places: what they let a program do, where they
// are forbidden, and where the board's own paths are odd.
namespace zarn::test {
namespace {

class BoardWays : public Board {};

INSTANTIATE_TEST_SUITE_P(Ways, BoardWays, testing::Values("namespace", "proot"), WayName);

TEST_P(BoardWays, FilesOfProcAreReachedByEveryKindOfProgram) {
    const Result result = OnBoard(R"sh(
cat /proc/umap/vpc > want
for reader in "cat" "grep -h ." "awk {print}" "sed -n p" "head -n 99"; do
    $reader /proc/umap/vpc > copy; cmp copy want || echo "$reader"
done
bash -c 'echo "$(< /proc/umap/vpc)"' | cmp - want
python3 -c 'import os, glob; print(open("/proc/umap/vpc").read(), end=""); assert os.path.getsize("/proc/umap/vpc")
assert glob.glob("/proc/umap/v*") and os.path.realpath("/proc/umap/../umap/vpc") == "/proc/umap/vpc"' | cmp - want
ls /proc/umap
find /proc/umap -type f | sort
cp /proc/umap/vpc copy && cmp copy want
for test in -e -f -r -s -w; do test $test /proc/umap/vpc && bash -c "[ $test /proc/umap/vpc ]" || echo $test; done
echo new > /proc/perf/new && cat /proc/perf/new && rm /proc/perf/new
test -e /proc/perf/new || cat /proc/perf/new 2> /dev/null || echo gone
here=$PWD
cd /proc/umap && cat vpc | cmp - $here/want && cd .. && cat umap/vpc | cmp - $here/want && pwd
)sh");
    EXPECT_EQ(result,
              (Result{"vdec\nvenc\nvpc\n/proc/umap/vdec\n/proc/umap/venc\n/proc/umap/vpc\nnew\n"
                      "gone\n/proc\n",
                      0}));
}

TEST_P(BoardWays, ProcIsTheMachinesOtherwise) {
    EXPECT_EQ(OnBoard("test -d /proc/$$/fd && test -e /proc/self/stat && cat /proc/1/comm "
                      "/proc/sys/kernel/pid_max && ps -o comm= -p $$"),
              Shell("cat /proc/1/comm /proc/sys/kernel/pid_max; echo sh"));
}

// By ptrace, only one can trace.
TEST_P(BoardWays, ToolsThatTraceAndMeasureWorkInside) {
    if (std::string(GetParam()) == "proot") {
        GTEST_SKIP() << "a traced program can be traced by nobody else";
    }
    const std::string tools[][2] = {
        {"strace", "strace -f -o trace sh -c 'cat /proc/umap/vpc > copy' && grep -c exited trace"},
        {"valgrind", "valgrind -q --error-exitcode=9 cat /proc/umap/vpc > copy && echo 2"},
        {"perf", "perf bench sched pipe -l 100 > copy && echo 2"},
        {"ps", "ps -o stat= -p $$ | grep -v t > copy && echo 2"},
    };
    for (const auto& [tool, script] : tools) {
        if (Shell("command -v " + tool).status != 0) {
            GTEST_LOG_(INFO) << tool << " is not installed";
            continue;
        }
        EXPECT_EQ(OnBoard(script), (Result{"2\n", 0})) << tool;
    }
}

TEST_P(BoardWays, PathsMayHoldAnything) {
    const std::string names[] = {"two words",   "a:b",   "it's", "say \"no\"", "über-板",
                                 "back\\slash", "$HOME", "-x",   "new\nline"};
    for (const std::string& name : names) {
        directory_.Write("name", name);
        const Result result = Shell(R"sh(name="$(cat name)"
for part in b u w t; do mkdir -p -- "$part/$name"; done
export TMPDIR="$PWD/t/$name"
$BOARD --board "./b/$name" --opt-usr "./u/$name" --workdir "./w/$name" -- sh -c '
    echo kept > /opt/usr/file; cat /proc/umap/vpc > /dev/null && test -x virtual_node/bin/stress_benchmark && pwd -P' > out
test "$(cat out)" = "$(cd "w/$name" && pwd -P)" && cat "u/$name/file"
$BOARD -- sh -c 'cat /proc/umap/vpc > /dev/null && $PROBE get 13 0 5 48'
ls -A "t/$name")sh");
        EXPECT_EQ(result, (Result{"kept\n0 48 51 0 1\n", 0})) << name;
    }
}

TEST_P(BoardWays, PathsMayBeLinksAndDeep) {
    const Result result = Shell(R"sh(
deep=$PWD/deep; for i in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do deep=$deep/a/b/c/d/e/f/g/h/i/j; done
mkdir -p "$deep" real && ln -s real link && ln -s nowhere dangling
$BOARD --board "$deep/board" --opt-usr link -- sh -c 'cat /proc/umap/vpc > /opt/usr/vpc; cd /opt/usr && $PROBE get 13 0 5 48'
test -s real/vpc && test -e "$deep/board/state"
$BOARD --opt-usr dangling -- true; echo $?)sh");
    EXPECT_EQ(result, (Result{"0 48 51 0 1\n"
                              "zarn-board: cannot make dangling: File exists\n1\n",
                              0}));
}

TEST_P(BoardWays, BoardsDoNotMeet) {
    const Result result = Shell(R"sh(
in_background -- sh -c '$PROBE bounds 5 20 3 0; echo mine > /opt/usr/file; echo > up; read x < go; $PROBE get 13 0 5 48; rm /opt/usr/file'
$BOARD -- sh -c '$PROBE get 13 0 5 48; ls /opt/usr'
echo 1<> go; wait $running
for i in 1 2 3 4 5 6 7 8 9 10; do $BOARD -- cat /proc/qos/bwstat/bandwidth; done | sort | uniq -c | sed 's/^ *//')sh");
    EXPECT_EQ(result, (Result{"0 48 20 3 0\n0 48 51 0 1\n0 48 20 3 0\n"
                              "10 mpamid|bandwidth(MB/s)|bw_low(GB/s)|bw_high(GB/s)|hardlimit\n",
                              0}));
    ExpectTidy();
}

TEST_P(BoardWays, ThreeCommandsShareABoardThatOutlivesItsServer) {
    const Result result = Shell(R"sh(
in_background --board kept -- sh -c 'echo > up; read x < go; $PROBE bounds 5 20 3 0'
for i in 1 2; do
    $BOARD --board kept -- sh -c 'cat /proc/qos/bwstat/bandwidth > /dev/null && echo there; $PROBE monitor > /dev/null
        until test "$(grep -c "|" /proc/qos/bwstat/bandwidth)" = 11 || test $((tries += 1)) -gt 9999; do :; done; until test $((tries += 1)) -gt 9999 || grep -q "^ *5|[^|]*|  *3|" /proc/qos/bwstat/bandwidth; do :; done; echo seen' > out.$i 2>&1 &
done
until test "$(cat out.* 2> /dev/null)" = "there
there"; do kill -0 $board || exit; done
echo 1<> go
wait
cat out.* && ls -d kept/scratch* 2> /dev/null)sh");
    EXPECT_EQ(result, (Result{"0 48 20 3 0\nthere\nseen\nthere\nseen\n", 2}));
}

TEST_P(BoardWays, TheTerminalsInterruptReachesTheCommandOnce) {
    directory_.Write("terminal", R"py(import os, pty, sys
child, terminal = pty.fork()
if child == 0:
    os.execvp(sys.argv[1], sys.argv[1:])
text, sent = b"", False
while True:
    try:
        piece = os.read(terminal, 1000)
    except OSError:
        break
    text += piece
    if b"up" in text and not sent:
        sent = True
        os.write(terminal, b"\x03")
print(text.count(b"caught"), os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
)py");
    // Signals of a kind that wait are one, so it takes them at once and spins for a second one.
    directory_.Write("command", R"py(import signal, sys
seen = []
signal.signal(signal.SIGINT, lambda *_: (seen.append(1), print("caught", flush=True)))
print("up", flush=True)
while not seen:
    pass
for _ in range(3000000):
    pass
sys.exit(4)
)py");
    EXPECT_EQ(Shell("python3 terminal $BOARD -- python3 command"), (Result{"1 4\n", 0}));
}

TEST_P(BoardWays, ACheckoutsLauncherIsThatOfABuild) {
    if (std::getenv("ZARN_PREFIX") != nullptr) {
        GTEST_SKIP() << "the programs under test are installed ones";
    }
    const std::string launcher = ZARN_SOURCE_DIR "/board/zarn-board";
    const std::string way = std::string(" --paths ") + GetParam();
    EXPECT_EQ(
        Shell(launcher + " --build " ZARN_BUILD_DIR + way + " -- sh -c 'command -v zarn-board'"),
        (Result{ZARN_BUILD_DIR "/bin/zarn-board\n", 0}));
    EXPECT_EQ(Shell(launcher + " --build none -- true"),
              (Result{"zarn-board: no zarn-board in none; build zarn first\n", 1}));
}

// What the launcher says where ways are forbidden; once, whatever the parameter.
class BoardForbidden : public Board {};

INSTANTIATE_TEST_SUITE_P(Ways, BoardForbidden, testing::Values("namespace"), WayName);

constexpr const char* kNoView =
    "does not work: no user namespace: Operation not permitted; remedy: in a container: start it "
    "with --cap-add SYS_ADMIN and without the filters that forbid unshare and mount\n";
constexpr const char* kNoTrace =
    "does not work: the kernel forbids ptrace; remedy: in a container: start it with --cap-add "
    "SYS_PTRACE\n";
constexpr const char* kNoProot =
    "does not work: proot is not installed; remedy: install the Debian package proot\n";

TEST_P(BoardForbidden, WhatIsForbiddenIsSaidWithItsRemedyAndGoneAround) {
    EXPECT_EQ(Shell("$WITHOUT view $BOARD -- true"),
              (Result{std::string("zarn-board: --paths namespace ") + kNoView, 1}));
    EXPECT_EQ(Shell("$WITHOUT trace $ANYWAY --paths proot -- true"),
              (Result{std::string("zarn-board: --paths proot ") + kNoTrace, 1}));
    EXPECT_EQ(Shell("$WITHOUT view $ANYWAY -- cat /sys/fs/cgroup/cpuset/AICPU/cpuset.cpus "
                    "/proc/umap/vpc | head -n 1"),
              (Result{"1-3\n", 0}));
    EXPECT_EQ(Shell("$WITHOUT trace $ANYWAY -- true"), (Result{"", 0}));
    const std::string both = std::string("namespace  ") + kNoView + "proot      " + kNoTrace;
    EXPECT_EQ(Shell("$WITHOUT both $ANYWAY --doctor"), (Result{both, 1}));
    EXPECT_EQ(Shell("$WITHOUT both $ANYWAY -- echo no"),
              (Result{std::string("zarn-board: --paths namespace ") + kNoView +
                          "zarn-board: --paths proot " + kNoTrace,
                      1}));
    EXPECT_EQ(Shell("PATH=/none $WITHOUT view $ANYWAY -- true; PATH=/none $ANYWAY --doctor").text,
              std::string("zarn-board: --paths namespace ") + kNoView +
                  "zarn-board: --paths proot " + kNoProot + "namespace  works\nproot      " +
                  kNoProot);
    ExpectTidy();
}

}  // namespace
}  // namespace zarn::test
