#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/system/support/on_board.h"
#include "tests/system/support/program_lock.h"

// The event scheduler's attributes on the virtual board, as commands read them.
namespace zarn::test {
namespace {

constexpr const char* kNode = "node=/sys/devices/virtual/event_sched/event_sched/node\n";

class BoardEvents : public Board {
protected:
    void SetUp() override {
        Board::SetUp();
        if (!IsSkipped()) {
            lock_.emplace();
        }
    }

    // Runs a script, in which $node is the folder of the attributes, on a board with programs.
    [[nodiscard]] Result OnDevice(const std::string& script,
                                  const std::string& options = "") const {
        return OnBoard(kNode + script, "--scenario device_trouble " + options);
    }

private:
    std::optional<ProgramLock> lock_;
};

INSTANTIATE_TEST_SUITE_P(Ways, BoardEvents, testing::Values("namespace", "proot"), WayName);

TEST_P(BoardEvents, EachReadingShowsTheSelectionInForce) {
    const Result result = OnDevice(R"sh(
pid_of() { grep ",$1," $node/proc_list | cut -d, -f1; }
planner=$(pid_of planner); perception=$(pid_of perception)
test "$(cat /proc/$planner/comm) $(cat /proc/$perception/comm)" = "planner perception" || echo "other processes"
stale=0; round=0
while test $((round += 1)) -le 75; do
    for pid in $planner $perception; do
        echo 0 > $node/node_id && echo $pid > $node/pid && echo 2 > $node/cpuid_in_node && echo 12 > $node/proc_gid
        read line < $node/proc_pri
        case $line in $pid,*) ;; *) : $((stale += 1)) ;; esac
    done
done
echo $stale stale
echo $planner > $node/pid
cat $node/proc_pri | sed "s/^$planner,/PID,/"
cut -d, -f1,3- $node/cpu_thread_info | sed 's/,[a-z]*$//'
sed 's/,[0-9]*,[0-9]*$//' $node/proc_group_list
echo 0 > $node/pid; cat $node/proc_pri
echo 1 > $node/node_id; cat $node/node_event_summary
)sh");
    EXPECT_EQ(result, (Result{"0 stale\nPID,planner,5\n2,31,1,perception_1\n2,12,0,planner_0\n"
                              "gid,sched_type,thread_num,event_num,publish_event_num,sched_event_"
                              "num\n12,1,2,2\n",
                              0}));
    ExpectTidy();
}

// The moment of a reading is not known from outside, but there must be one.
TEST_P(BoardEvents, AReadingIsTheTruthOfItsMoment) {
    const Result result = OnDevice(R"sh(
until grep -q '^publish_event_num [0-9][0-9][0-9]' $node/node_event_summary || test $((tries += 1)) -gt 20000; do :; done
cat $node/event_trace > trace; cat $node/node_event_summary > summary)sh",
                                   "--board kept --seed 5");
    EXPECT_EQ(result.status, 0) << result.text;
    EXPECT_EQ(Shell(R"sh(
first=$(($(tail -n 1 trace | cut -d, -f2) / 1000))
$SERVER events kept/state $(seq $first $((first + 20000))) > truth
awk -F'[ ,:]+' 'NR == FNR { if ($1 ~ /^(publish|sched|wait)_event_num$/) want = want " " $2; next }
    /^time/ { time = $2; published = run = waiting = 0 }
    /^[1-3],/ { published += $2; run += $3; waiting += $4 }
    /^3,/ && want == " " published " " run " " waiting { print "found"; exit }' summary truth)sh")
                  .text,
              "found\n");
}

TEST_P(BoardEvents, NoProgramHangsOnTheAttributes) {
    const Result result = OnDevice(R"sh(
find $node -type f | wc -l
grep -r . $node > /dev/null 2>&1
: < $node/event_trace
head -n 1 $node/event_trace
{ sed -n 1q; cat $node/node_list; } < $node/event_trace
tail -n +2 $node/event_trace > /dev/null & tail -n +2 $node/event_trace > /dev/null & wait
cat $node/* > /dev/null; echo $?
)sh");
    EXPECT_EQ(result, (Result{"31\ncpu,start_us,pid,gid,tid,event,thread\n0\n0\n", 0}));
    ExpectTidy();
}

TEST_P(BoardEvents, TheServersDeathFreesWhoIsOpeningAnAttribute) {
    const Result result = Shell(kNode + std::string(R"sh(export node
in_background --scenario device_trouble -- sh -c 'echo > up; read x < go
    cat $node/event_trace 2> /dev/null; echo freed
    until ! cat $node/event_trace > /dev/null 2>&1 || test $((tries += 1)) -gt 20000; do :; done
    until ! cat $node/node_event_summary > /dev/null 2>&1 || test $((tries += 1)) -gt 20000; do :; done
    cat $node/node_event_summary; cat $node/pid; exit 5' > log 2>&1
server=$(pgrep -P $board zarn-board-serv)
kill -STOP $server; echo 1<> go
kill -KILL $server
wait $running; echo $?; LC_ALL=C sort log)sh"));
    EXPECT_EQ(result, (Result{"5\n0\ncat: /sys/devices/virtual/event_sched/event_sched/node/"
                              "node_event_summary: No such file or directory\nfreed\n"
                              "zarn-board: the board's server has died; there is no bandwidth "
                              "table any more\n",
                              0}));
    ExpectTidy();
}

TEST_P(BoardEvents, AKeptBoardHasADriverWhileItIsServed) {
    const std::string script = R"sh(
pid=$(grep ,planner, $node/proc_list | cut -d, -f1); cat /proc/$pid/comm
cat $node/pid; echo 7 > $node/pid
)sh";
    EXPECT_EQ(OnDevice(script, "--board kept"), (Result{"planner\n0\n", 0}));
    EXPECT_EQ(Shell("ls kept/files/sys/event_sched/event_sched/node"),
              (Result{"cpuid_in_node\nnode_id\npid\nproc_gid\n", 0}));
    EXPECT_EQ(OnDevice(script, "--board kept"), (Result{"planner\n7\n", 0}));
}

// What is not made for the reader is written at each tick.
TEST_P(BoardEvents, WithoutLeasesTheAttributesFollowTheTicks) {
    directory_.Write("script", std::string(kNode) + R"sh(
pid=$(grep ,planner, $node/proc_list | cut -d, -f1)
first=$(grep ^publish_event_num $node/node_event_summary)
echo $pid > $node/pid
until grep -q "^$pid,planner,5$" $node/proc_pri && test "$(grep ^publish_event_num $node/node_event_summary)" != "$first" ||
    test $((tries += 1)) -gt 20000; do :; done
test $tries -gt 20000 || echo follows
grep -r "^$pid,planner,5$" $node | sed 's/^.*://; s/[0-9]*/PID/'
)sh");
    EXPECT_EQ(Shell("tries=0; export tries; $WITHOUT lease $BOARD --scenario device_trouble -- sh "
                    "./script"),
              (Result{"follows\nPID,planner,5\n", 0}));
    ExpectTidy();
}

TEST_P(BoardEvents, WithoutTheSectionTheSchedulerIsIdle) {
    const Result result =
        OnBoard(std::string(kNode) +
                "cat $node/proc_list $node/cpu_thread_info $node/node_event_resource; "
                "head -n 1 $node/node_event_summary");
    EXPECT_EQ(result, (Result{"total:used:free:reserved:max_used:failed\n3072:0:3072:0:0:0\n"
                              "publish_event_num 0\n",
                              0}));
}

}  // namespace
}  // namespace zarn::test
