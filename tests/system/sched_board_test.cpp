#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "board/model/sched_model.h"
#include "board/state/board_state.h"
#include "foundation/json.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/support/run_tree.h"
#include "tests/system/support/on_board.h"

// The scheduled processes of a board as the machine knows them, the cores that it shows, and the
// recorder of long delays, whose lines must be what the model has happen.
namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Names that no other test's processes have, short enough for a line of top.
std::string Name(char which) {
    return "z" + std::to_string(::getpid()) + which;
}

// Two processes on one core, which is too much for it, and threads of several kinds.
std::string Scenario() {
    return R"({"sched": {"cores": 3, "processes": [
        {"name": ")" +
           Name('a') + R"(", "nice": 19, "affinity": [0], "period_us": 20000, "run_us": 9000,
         "jitter": 0.2, "threads": [
            {"name": ")" +
           Name('b') + R"(", "policy": "batch", "run_us": 6000},
            {"name": ")" +
           Name('c') +
           R"(", "policy": "fifo", "priority": 30, "affinity": [0, 1, 2], "run_us": 900},
            {"name": "two words", "policy": "idle", "affinity": [1], "run_us": 100}]},
        {"name": ")" +
           Name('d') + R"(", "nice": 19, "affinity": [0], "period_us": 30000, "run_us": 12000}]}})";
}

// What the kernel says of a thread.
struct Thread {
    std::string process;
    int pid = 0;
    int tid = 0;
    std::string name;
    int priority = 0;  // as its file stat has it: 20 and the nice value, or below 0
    int nice = 0;
    int policy = 0;
    std::string cores;
};

// Prints what Threads reads.
std::string DumpThreads() {
    return R"sh(
for process in )sh" +
           Name('a') + " " + Name('d') + R"sh(; do
    pid=$(pidof $process)
    for task in /proc/$pid/task/*; do
        echo "$process|$pid|${task##*/}|$(cat $task/comm)|$(sed 's/.*) //' $task/stat |
            cut -d' ' -f16,17,39 | tr ' ' '|')|$(sed -n 's/^Cpus_allowed_list:\t//p' $task/status)"
    done
done
)sh";
}

std::map<std::string, Thread> Threads(const std::string& text) {
    std::map<std::string, Thread> threads;
    for (const std::string& line : LinesIn(text)) {
        std::istringstream stream(line);
        std::vector<std::string> cells(8);
        for (std::string& cell : cells) {
            std::getline(stream, cell, '|');
        }
        const auto number = [&cells](std::size_t i) { return std::atoi(cells[i].c_str()); };
        threads[cells[3]] = {cells[0],  number(1), number(2), cells[3],
                             number(4), number(5), number(6), cells[7]};
    }
    return threads;
}

// The cores of a list such as "0,2-3".
std::set<int> CoresIn(const std::string& list) {
    std::set<int> cores;
    std::istringstream stream(list);
    for (std::string part; std::getline(stream, part, ',');) {
        const int first = std::atoi(part.c_str());
        const std::size_t dash = part.find('-');
        const int last = dash == std::string::npos ? first : std::atoi(part.c_str() + dash + 1);
        for (int core = first; core <= last; ++core) {
            cores.insert(core);
        }
    }
    return cores;
}

// Those of the plan's cores on which this user may run; all that he may if there are none.
std::set<int> AllowedOf(const std::set<int>& plan) {
    cpu_set_t mask;
    ::sched_getaffinity(0, sizeof(mask), &mask);
    std::set<int> all;
    std::set<int> planned;
    for (int core = 0; core < CPU_SETSIZE; ++core) {
        const auto bit = static_cast<std::size_t>(core);
        if (CPU_ISSET(bit, &mask)) {
            all.insert(core);
            if (plan.count(core) != 0) {
                planned.insert(core);
            }
        }
    }
    return planned.empty() ? all : planned;
}

bool MayBeRealTime() {
    const pid_t child = ::fork();
    if (child == 0) {
        sched_param parameters{};
        parameters.sched_priority = 30;
        ::_exit(::sched_setscheduler(0, SCHED_FIFO, &parameters) == 0 ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return status == 0;
}

class SchedBoard : public Board {
protected:
    void SetUp() override {
        Board::SetUp();
        directory_.Write("busy.json", Scenario());
    }

    // Runs a script on a kept board of the scenario.
    [[nodiscard]] Result OnBusyBoard(const std::string& script) const {
        return OnBoard(script, kBusy);
    }

    // The state that the board has left.
    [[nodiscard]] const board::BoardState& State() const {
        const board::BoardState* state =
            board::MapBoardState((directory_.Path() + "kept/state").c_str());
        EXPECT_NE(state, nullptr);
        return *state;
    }

    static constexpr const char* kBusy = "--scenario busy.json --board kept --opt-usr usr";
};

INSTANTIATE_TEST_SUITE_P(Ways, SchedBoard, testing::Values("namespace", "proot"), WayName);

TEST_P(SchedBoard, ItsProcessesAreSetUpAsThePlanHasThem) {
    const Result result = OnBusyBoard(DumpThreads());
    ASSERT_EQ(result.status, 0) << result.text;
    std::map<std::string, Thread> threads = Threads(result.text);
    ASSERT_EQ(threads.size(), 5U) << result.text;
    for (const char which : {'a', 'b', 'd'}) {
        EXPECT_EQ(threads[Name(which)].nice, 19) << which;
        EXPECT_EQ(CoresIn(threads[Name(which)].cores), AllowedOf({0})) << which;
    }
    EXPECT_EQ(threads[Name('a')].policy, SCHED_OTHER);
    EXPECT_EQ(threads[Name('b')].policy, SCHED_BATCH);
    EXPECT_EQ(threads["two words"].policy, SCHED_IDLE);
    EXPECT_EQ(CoresIn(threads["two words"].cores), AllowedOf({1}));
    EXPECT_EQ(CoresIn(threads[Name('c')].cores), AllowedOf({0, 1, 2}));
    const bool mayBe = MayBeRealTime();
    EXPECT_EQ(threads[Name('c')].policy, mayBe ? SCHED_FIFO : SCHED_OTHER);
    EXPECT_EQ(threads[Name('c')].priority, mayBe ? -31 : 39);
    const auto& tids = State().schedTids;
    EXPECT_THAT(std::vector<int>(tids.begin(), tids.begin() + 6),
                ElementsAre(threads[Name('a')].tid, threads[Name('b')].tid, threads[Name('c')].tid,
                            threads["two words"].tid, threads[Name('d')].tid, 0));
    EXPECT_EQ(threads[Name('a')].tid, threads["two words"].pid);
    EXPECT_EQ(Shell("pidof " + Name('a') + " " + Name('d')), (Result{"", 1}));
    ExpectTidy();
}

// Waits until what `$pids` are is gone; a dead one that nobody has asked for has no words.
constexpr const char* kAwaitEnd = R"sh(
there() { cat $(printf '/proc/%s/cmdline ' $pids) 2> /dev/null | grep -q z; }
gone() { ! there; }
await gone
)sh";

TEST_P(SchedBoard, ItsProcessesEndWithTheServer) {
    const Result result = Shell("in_background " + std::string(kBusy) +
                                " -- sh -c 'echo > up; read x < go; exit 5'\npids=$(pidof " +
                                Name('a') + " " + Name('d') + R"sh()
echo $pids | wc -w
kill -KILL $(pgrep -P $board zarn-board-serv))sh" +
                                kAwaitEnd + R"sh(
untold() { ! test -e kept/files/proc/perf/sched_log; }
await untold
echo 1<> go
wait $running)sh");
    EXPECT_EQ(result, (Result{"2\nzarn-board: the board's server has died; there is no bandwidth "
                              "table any more\n",
                              5}));
    ExpectTidy();
}

TEST_P(SchedBoard, ItsProcessesEndWithTheLauncher) {
    const Result result =
        Shell("in_background --scenario busy.json -- sh -c 'echo > up; sleep 600'\npids=$(pidof " +
              Name('a') + " " + Name('d') + R"sh()
echo $pids | wc -w
kill -KILL $board
wait $running)sh" +
              kAwaitEnd +
              R"sh(
tidy() { test -z "$(ls tmp)"; }
await tidy)sh");
    EXPECT_EQ(result, (Result{"2\nKilled\n", 0}));
}

TEST_P(SchedBoard, OneThatIsKilledIsMissedByNobody) {
    const Result result = OnBusyBoard("kill -KILL $(pidof " + Name('a') + R"sh()
grep -c mpamid /proc/qos/bwstat/bandwidth
head -n 1 /proc/perf/sched_table
exit 4)sh");
    EXPECT_EQ(result, (Result{"1\nsched_table: 0 threads\n", 4}));
    EXPECT_EQ(Shell("pidof " + Name('d')).status, 1);
    ExpectTidy();
}

// What is drawn depends on the seed alone, the moment on the machine. The streams of all processes
// lead to cat, which ends with the last of them.
TEST_P(SchedBoard, NothingIsLeftWhateverIsKilledWhenever) {
    directory_.Write("kills", R"sh(
RANDOM=20261122
for ((round = 0; round < 10; ++round)); do
    ($BOARD --scenario busy.json -- bash -c 'for ((spin = 20000; spin > 0; --spin)); do :; done; exit 5' &
     launcher=$!
     for ((spin = RANDOM % 40000; spin > 0; --spin)); do :; done
     guard=$(pgrep -P $launcher -x zarn-board)
     case $((RANDOM % 4)) in
         0) victim=$launcher ;;
         1) victim=$(pgrep -P $launcher zarn-board-serv) ;;
         2) victim=$(pidof $1) ;;
         3) victim=${guard:-$launcher} ;;
     esac
     kill -KILL $victim
     wait $launcher; echo $? >> statuses) 2>&1 | cat > /dev/null
    left=$(ls tmp)
    [ -z "$left" ] || { echo "round $round: $left"; exit 2; }
done
grep -c -v -x -e 5 -e 137 -e 1 statuses
)sh");
    EXPECT_EQ(Shell("bash ./kills " + Name('a')), (Result{"0\n", 1}));
}

TEST_P(SchedBoard, TheCoresAreThoseOfTheModel) {
    const std::string script = R"sh(
grep -c '^processor' /proc/cpuinfo
cd /sys/devices/system/cpu; cat online possible present
getconf _NPROCESSORS_ONLN; getconf _NPROCESSORS_CONF
)sh";
    EXPECT_EQ(OnBusyBoard(script), (Result{"3\n0-2\n0-2\n0-2\n3\n3\n", 0}));
    EXPECT_EQ(OnBoard(script), Shell(script));
}

constexpr const char* kArm = R"sh(
arm() {
    echo 0 > /proc/perf/sched_ctrl && echo 100,1000 > /proc/perf/sched_record_size &&
        echo $1 > /proc/perf/sched_threshold && echo 0xf > /proc/perf/sched_ctrl
}
disarm() { echo 0 > /proc/perf/sched_ctrl; }
has_lines() { test "$(wc -l < /proc/perf/sched_log)" -gt $1; }
told() { $SERVER status $VIRTUAL_BOARD_STATE | grep -q "^recorder: $1"; }
)sh";

// The lines of sched_log for what the model has happen in the first arming of a board.
std::string TrueLog(const board::BoardState& state) {
    const board::SchedPlan& plan = state.scenario.sched;
    const board::SchedArming& arming = state.schedRecording.armings[0];
    std::vector<std::string> lines;
    for (const board::SchedDelay& delay :
         board::DelaysIn(plan, state.seed, {arming.fromUs, arming.untilUs})) {
        const std::uint64_t ns = (delay.toUs - delay.fromUs) * 1000;
        const std::uint64_t us = state.startNs / 1000 + delay.toUs;
        const std::string fraction = std::to_string(1000000 + us % 1000000).substr(1);
        if (ns > arming.thresholdNs) {
            const std::uint32_t main = plan.processes[plan.tasks[delay.task].process].firstTask;
            lines.push_back(
                std::to_string(us / 1000000) + "." + fraction + " cpu " +
                std::to_string(delay.core) + " pid " + std::to_string(state.schedTids[main]) +
                " tid " + std::to_string(state.schedTids[delay.task]) + " comm " +
                plan.tasks[delay.task].name.data() + " latency(ns) " + std::to_string(ns));
        }
    }
    std::string text = "sched_log: " + std::to_string(lines.size()) + " delays\n";
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

TEST_P(SchedBoard, TheRecorderNotesWhatTheModelHasHappenWhileItIsArmed) {
    const Result result = OnBusyBoard(kArm + std::string(R"sh(
told 'not armed' || echo armed at the start
arm 3000000
await has_lines 20
told 'armed for delays above 3000000 ns' || echo not armed
disarm
cat /proc/perf/sched_log
await told 'not armed'
head -n 1 /proc/perf/sched_log /proc/perf/sched_stacks | grep : | cut -d' ' -f2
sed -n 's/.* delays \([0-9]*\) .*/\1/p' /proc/perf/sched_table | awk '{ sum += $1 } END { print sum }'
)sh"));
    ASSERT_EQ(result.status, 0);
    const board::BoardState& state = State();
    ASSERT_EQ(state.schedRecording.count, 1U);
    std::string truth = TrueLog(state);
    const std::string count = truth.substr(11, truth.find(" delays") - 11) + "\n";
    std::string log;
    for (const std::string& line : LinesIn(result.text)) {
        log += line.substr(0, line.find(" behind ")) + "\n";
    }
    EXPECT_EQ(log, truth + count + count + count);
}

// The next server of a board knows what the former one noted, and arms it anew.
TEST_P(SchedBoard, TheRecorderKeepsWhatItHas) {
    EXPECT_EQ(
        OnBusyBoard(kArm + std::string("arm 1000000; await has_lines 5; disarm\n"
                                       "await told 'not armed'; cat /proc/perf/sched_log > one")),
        (Result{"", 0}));
    EXPECT_EQ(OnBusyBoard("tail -n +2 /proc/perf/sched_log | cut -d' ' -f1,3 > two\n"
                          "tail -n +2 one | cut -d' ' -f1,3 | cmp - two"),
              (Result{"", 0}));
    EXPECT_EQ(OnBusyBoard(kArm + std::string(R"sh(
lines=$(wc -l < one)
arm 500000; await has_lines $lines; disarm
cat /proc/perf/sched_log > three
tail -n +2 three | cut -d' ' -f1,3 | head -n $((lines - 1)) | cmp - two
)sh")),
              (Result{"", 0}));
}

// The mission's wait is over when the recorder has noted something.
TEST_P(SchedBoard, TheMissionArmsTheRecorderAndLeavesItDisarmed) {
    directory_.Write("tools/sleep",
                     "#!/bin/sh\nuntil grep -q latency /proc/perf/sched_log; do :; done\n");
    ConfigText config;
    config.serial = R"(["SchedCollector"])";
    directory_.Write("usr/config.json", config.Text({{"SchedCollector", R"({
        "job": ["lite"], "count": 2,
        "sched": {"is_call_record": false, "duration": 1, "topN": 1, "sorted": "max"},
        "lite": {"lite_duration_second": 10, "lite_threshold_ms": 2}})"}}));
    const Result result = OnBusyBoard(kArm + std::string(R"sh(
chmod +x tools/sleep
PATH=$PWD/tools:$PATH zarn /opt/usr/config.json > out 2> err
grep -c 'Success to exit lite raw data collection!' out
grep SchedCollector err
cat /proc/perf/sched_ctrl
await told 'not armed'
cd /opt/usr/mnt/zarn/zarn_data_*/raw_data/sched
grep -q ' cpu 0 pid ' sched_lite_log_2_* || echo nothing in the log
grep -q ' max_latency(ns) ' sched_lite_table_2_* || echo nothing in the table
grep -q ' schedule+0x5c ' sched_lite_stacks_2_* || echo nothing in the stacks
)sh"));
    EXPECT_EQ(result, (Result{"2\n0\n", 0}));
    EXPECT_EQ(State().schedRecording.armings[0].thresholdNs, 2000000U);
}

const char* PolicyName(int policy) {
    const std::map<int, const char*> names{{SCHED_OTHER, "SCHED_OTHER"},
                                           {SCHED_BATCH, "SCHED_BATCH"},
                                           {SCHED_IDLE, "SCHED_IDLE"},
                                           {SCHED_FIFO, "SCHED_FIFO"}};
    return names.at(policy);
}

// The one document of a run whose name begins so.
JsonDocument DocumentOf(const RunTree& tree, const std::string& head) {
    JsonDocument document;
    EXPECT_TRUE(ParseJson(tree.Read(tree.OnlyFile("json", head)), document)) << head;
    return document;
}

TEST_P(SchedBoard, TheDocumentsOfPrioritiesAndCoresAreWhatTheKernelAnswers) {
    ConfigText config;
    config.serial = R"(["SchedCollector"])";
    directory_.Write(
        "usr/config.json", config.Text({{"SchedCollector", R"({
        "job": ["priority_affinity"],
        "sched": {"is_call_record": false, "duration": 1, "topN": 1, "sorted": "max"},
        "priority_affinity": {"process": [")" + Name('a') + R"(", ")" +
                                                               Name('d') + R"("], "thread": [")" +
                                                               Name('b') + R"("]}})"}}));
    const Result result = OnBusyBoard("zarn /opt/usr/config.json > out 2> err\n" + DumpThreads());
    ASSERT_EQ(result.status, 0);
    EXPECT_THAT(directory_.Read("err"), testing::Not(HasSubstr("Sched")));
    std::map<std::string, Thread> threads = Threads(result.text);
    ASSERT_EQ(threads.size(), 5U) << result.text;
    const std::string runs = "usr/mnt/zarn/";
    const RunTree tree(directory_.Path() + runs + directory_.OnlyFile(runs, "zarn_data_") + "/");
    std::map<std::string, int> seen;
    for (const char which : {'a', 'd'}) {
        const std::string name = Name(which);
        const std::string key = name + ":" + std::to_string(threads[name].pid);
        const JsonDocument priorities = DocumentOf(
            tree, "soc_sched_thread_priority_process_" + name + "_all_thread_priority_info_1_");
        const JsonDocument affinities = DocumentOf(
            tree, "soc_sched_thread_affinity_process_" + name + "_all_thread_affinity__info_1_");
        for (const JsonValue& row : priorities["content"][0][key.c_str()].GetArray()) {
            const Thread& thread = threads[row["threadName"].GetString()];
            EXPECT_EQ(row["spid"].GetString(), std::to_string(thread.tid));
            EXPECT_EQ(row["priority"].GetString(), std::to_string(thread.priority + 60));
            EXPECT_STREQ(row["schedPolicy"].GetString(), PolicyName(thread.policy));
            ++seen[thread.name];
        }
        for (const JsonValue& row : affinities["content"][0][key.c_str()].GetArray()) {
            const Thread& thread = threads[row["threadName"].GetString()];
            EXPECT_EQ(CoresIn(row["coreList"].GetString()), CoresIn(thread.cores));
            ++seen[thread.name];
        }
    }
    for (const auto& [name, thread] : threads) {
        EXPECT_EQ(seen[name], 2) << name;
    }
    const JsonDocument named = DocumentOf(tree, "soc_sched_thread_specified_thread_info_1_");
    const JsonValue& row = named["content"][0][("specifiedThread:" + Name('b')).c_str()][0];
    const Thread& thread = threads[Name('b')];
    EXPECT_EQ(row["spid"].GetString(), std::to_string(thread.tid));
    EXPECT_EQ(row["priority"].GetString(), std::to_string(thread.priority));
    EXPECT_STREQ(row["schedPolicy"].GetString(), PolicyName(thread.policy));
    EXPECT_EQ(CoresIn(row["coreList"].GetString()), CoresIn(thread.cores));
}

}  // namespace
}  // namespace zarn::test
