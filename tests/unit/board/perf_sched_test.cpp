#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "board/perf/sched_latency.h"
#include "board/perf/sched_record.h"
#include "board/perf/sched_script.h"
#include "board/perf/sched_timehist.h"
#include "board/setup/scenario_parser.h"
#include "tests/support/lines.h"
#include "tests/support/temp_dir.h"

// `perf sched` of the board: what is recorded, and the reports, which are held against those of the
// machine's perf in tests/data.
namespace zarn::board {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::uint64_t kStartUs = 16624000000;

std::vector<std::string> CapturedLines(const std::string& name) {
    return test::LinesIn(test::ReadText(test::DataPath("perf-6.1.187/" + name)));
}

// A row of a captured report, and what it says, in microseconds.
struct CapturedLatency {
    std::string line;
    std::string name;
    std::uint32_t tid = 0;
    std::uint64_t runUs = 0;
    std::uint64_t switches = 0;
    std::uint64_t meanUs = 0;
    std::uint64_t mostUs = 0;
    std::uint64_t startUs = 0;
};

std::uint64_t WithoutPoint(std::string number) {
    number.erase(number.find('.'), 1);
    return std::stoull(number);
}

// The first row of tasks of which each has its own whose times fit together in whole microseconds.
CapturedLatency LatencyRow() {
    static const std::regex form(
        R"(  (.*):([0-9]+) +\| +([0-9.]+) ms \| +([0-9]+) \| avg: +([0-9.]+) ms \| max: +([0-9.]+) ms \| )"
        R"(max start: +([0-9.]+) s \| max end: +([0-9.]+) s)");
    for (const std::string& line : CapturedLines("sched_latency_pids.log")) {
        std::smatch cells;
        if (std::regex_match(line, cells, form)) {
            const CapturedLatency row{line,
                                      cells[1],
                                      static_cast<std::uint32_t>(std::stoul(cells[2])),
                                      WithoutPoint(cells[3]),
                                      std::stoull(cells[4]),
                                      WithoutPoint(cells[5]),
                                      WithoutPoint(cells[6]),
                                      WithoutPoint(cells[7])};
            if (row.mostUs > 0 && row.startUs + row.mostUs == WithoutPoint(cells[8])) {
                return row;
            }
        }
    }
    ADD_FAILURE() << "no row";
    return {};
}

// A row of a captured history with all three times, microseconds.
struct CapturedHistory {
    std::string line;
    std::uint64_t timeUs = 0;
    std::string name;
    std::uint32_t tid = 0;
    std::uint64_t waitUs = 0;
    std::uint64_t delayUs = 0;
    std::uint64_t runUs = 0;
};

CapturedHistory HistoryRow() {
    static const std::regex form(
        R"( +([0-9.]+) \[0000\]  (.*)\[([0-9]+)\] +([0-9.]+) +([0-9.]+) +([0-9.]+) )");
    for (const std::string& line : CapturedLines("sched_timehist.log")) {
        std::smatch cells;
        if (std::regex_match(line, cells, form)) {
            const CapturedHistory row{line,
                                      WithoutPoint(cells[1]),
                                      cells[2],
                                      static_cast<std::uint32_t>(std::stoul(cells[3])),
                                      WithoutPoint(cells[4]),
                                      WithoutPoint(cells[5]),
                                      WithoutPoint(cells[6])};
            if (row.waitUs > row.delayUs && row.delayUs > 0 && row.runUs > 0) {
                return row;
            }
        }
    }
    ADD_FAILURE() << "no row";
    return {};
}

// Records of a few tasks, made by hand.
class RecordMaker {
public:
    RecordMaker() { record.tasks.push_back({0, 0, 120, "swapper"}); }

    std::uint32_t Task(const std::string& name, std::uint32_t tid, std::uint32_t pid) {
        record.tasks.push_back({tid, pid, 120, name});
        return static_cast<std::uint32_t>(record.tasks.size() - 1);
    }
    void Wake(std::uint64_t timeUs, std::uint32_t task) {
        Add(RecordedKind::kWaking, timeUs, 0).task = task;
    }
    void Switch(std::uint64_t timeUs, std::uint32_t from, std::uint32_t to,
                SwitchReason reason = SwitchReason::kSlept) {
        RecordedEvent& event = Add(RecordedKind::kSwitch, timeUs, from);
        event.task = to;
        event.reason = reason;
    }
    void Run(std::uint64_t timeUs, std::uint32_t task, std::uint64_t us) {
        RecordedEvent& event = Add(RecordedKind::kRuntime, timeUs, task);
        event.task = task;
        event.runUs = us;
    }

    SchedRecord record;

private:
    RecordedEvent& Add(RecordedKind kind, std::uint64_t timeUs, std::uint32_t current) {
        RecordedEvent& event = record.events.emplace_back();
        event.kind = kind;
        event.timeUs = timeUs;
        event.current = current;
        return event;
    }
};

// Lets a task wait for a core so long, as often, in a row.
std::uint64_t WaitFor(RecordMaker& maker, std::uint32_t task, std::uint64_t timeUs,
                      const std::vector<std::uint64_t>& delays) {
    for (const std::uint64_t us : delays) {
        maker.Switch(timeUs, task, 0);
        maker.Wake(timeUs + 1, task);
        maker.Switch(timeUs + 1 + us, 0, task);
        timeUs += us + 2;
    }
    return timeUs;
}

TEST(PerfSchedLatencyTest, ARowIsThatOfTheMachinesPerf) {
    const CapturedLatency row = LatencyRow();
    ASSERT_GT(row.switches, 1U);
    // The longest delay first, and others that make the mean.
    const std::uint64_t others = row.switches - 1;
    const std::uint64_t restUs = row.meanUs * row.switches - row.mostUs;
    std::vector<std::uint64_t> delays{row.mostUs, restUs / others + restUs % others};
    delays.resize(row.switches, restUs / others);
    RecordMaker maker;
    const std::uint32_t task = maker.Task(row.name, row.tid, row.tid);
    maker.Run(row.startUs - 2, task, row.runUs);
    WaitFor(maker, task, row.startUs - 1, delays);
    const auto lines = test::LinesIn(LatencyReport(maker.record, {{LatencyKey::kMean}, true}));
    const auto captured = CapturedLines("sched_latency_pids.log");
    const auto total = std::find_if(captured.begin(), captured.end(), [](const std::string& line) {
        return line.rfind("  TOTAL:", 0) == 0;
    });
    ASSERT_EQ(lines.size(), 9U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(lines[i], captured[i]);
    }
    EXPECT_EQ(lines[4], row.line);
    EXPECT_EQ(lines[5], *(total - 1));
    EXPECT_THAT(lines[6], AllOf(StartsWith("  TOTAL:                |"), EndsWith(" |")));
    EXPECT_EQ(lines[6].size(), total->size());
    EXPECT_EQ(lines[7], *(total + 1));
    EXPECT_EQ(lines[8], "");
}

TEST(PerfSchedLatencyTest, TasksOfOneNameShareARowUnlessEachIsToHaveItsOwn) {
    RecordMaker maker;
    const std::uint32_t first = maker.Task("a/b", 3486, 3486);
    const std::uint32_t second = maker.Task("a/b", 3487, 3486);
    WaitFor(maker, second, WaitFor(maker, first, kStartUs, {100, 300}), {700});
    maker.Run(kStartUs + 2000, first, 20);
    maker.Run(kStartUs + 2000, second, 30);
    EXPECT_THAT(
        LatencyReport(maker.record, {{LatencyKey::kMost}, false}),
        HasSubstr("\n  a/b:(2)               |      0.050 ms |        3 | avg:   0.367 ms | "
                  "max:   0.700 ms | max start: 16624.000405 s"));
    EXPECT_THAT(
        LatencyReport(maker.record, {{LatencyKey::kMost}, true}),
        AllOf(HasSubstr("\n  a/b:3487              |      0.030 ms |        1 | avg:   0.700 ms |"),
              HasSubstr("\n  a/b:3486              |      0.020 ms |        2 | avg:   0.200 ms "
                        "|")));
}

TEST(PerfSchedLatencyTest, IsSortedByItsKeysTheFirstOneFirst) {
    RecordMaker maker;
    std::uint64_t timeUs = kStartUs;
    const std::vector<std::vector<std::uint64_t>> delays{{900, 1}, {800, 800}, {10, 10, 10}};
    for (std::uint32_t i = 0; i < delays.size(); ++i) {
        const std::uint32_t task = maker.Task(std::string(1, static_cast<char>('a' + i)), i + 7, 7);
        maker.Run(timeUs, task, 100 * (i == 1 ? 9 : i));
        timeUs = WaitFor(maker, task, timeUs, delays[i]);
    }
    const auto order = [&](const std::vector<LatencyKey>& keys) {
        std::string names;
        for (const std::string& line : test::LinesIn(LatencyReport(maker.record, {keys, false}))) {
            names += line.find(" | avg:") == std::string::npos ? "" : line.substr(2, 1);
        }
        return names;
    };
    EXPECT_EQ(order({LatencyKey::kMost}), "abc");
    EXPECT_EQ(order({LatencyKey::kMean}), "bac");
    EXPECT_EQ(order({LatencyKey::kRuntime}), "bca");
    EXPECT_EQ(order({LatencyKey::kSwitches}), "cba");
    EXPECT_EQ(order({LatencyKey::kSwitches, LatencyKey::kMost}), "cab");
}

TEST(PerfSchedLatencyTest, WhoIsFirstSeenOnACoreHasNotWaited) {
    RecordMaker maker;
    const std::uint32_t comer = maker.Task("comer", 9, 9);
    const std::uint32_t leaver = maker.Task("leaver", 8, 8);
    maker.Run(kStartUs, leaver, 5);
    maker.Switch(kStartUs, leaver, comer, SwitchReason::kPreempted);
    const std::string report = LatencyReport(maker.record, {{LatencyKey::kMost}, true});
    EXPECT_THAT(report, HasSubstr("\n  comer:9               |      0.000 ms |        1 | avg:   "
                                  "0.000 ms | max:   0.000 ms | max start:     0.000000 s | max "
                                  "end:     0.000000 s\n"));
    EXPECT_THAT(report, Not(HasSubstr("leaver"))) << "never came to a core";
}

TEST(PerfSchedLatencyTest, ALostCoreIsWaitedForToo) {
    RecordMaker maker;
    const std::uint32_t task = maker.Task("task", 9, 9);
    maker.Switch(kStartUs, task, 0, SwitchReason::kPreempted);
    maker.Wake(kStartUs + 5, task);
    maker.Switch(kStartUs + 12, 0, task);
    EXPECT_THAT(LatencyReport(maker.record, {{LatencyKey::kMost}, true}),
                HasSubstr("max:   0.012 ms | max start: 16624.000000 s"));
}

TEST(PerfSchedTimehistTest, IsTheTableOfTheMachinesPerf) {
    const CapturedHistory row = HistoryRow();
    const std::uint64_t cameUs = row.timeUs - row.runUs;
    RecordMaker maker;
    const std::uint32_t task = maker.Task(row.name, row.tid, row.tid);
    maker.Switch(cameUs - row.waitUs, task, 0);
    maker.Wake(cameUs - row.delayUs, task);
    maker.Switch(cameUs, 0, task);
    maker.Switch(row.timeUs, task, 0);
    const auto lines = test::LinesIn(TimehistTable(maker.record));
    const auto captured = CapturedLines("sched_timehist.log");
    ASSERT_EQ(lines.size(), 6U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(lines[i], captured[i]);
    }
    EXPECT_THAT(lines[3], EndsWith("      0.000      0.000      0.000 "));
    EXPECT_THAT(lines[4],
                HasSubstr(" [0000]  <idle>                              0.000      0.000 "));
    EXPECT_EQ(lines[5], row.line);
}

TEST(PerfSchedTest, AnEmptyRecordGivesTheReportsOfTheMachinesPerf) {
    const RecordMaker maker;
    EXPECT_EQ(test::LinesIn(LatencyReport(maker.record, {{LatencyKey::kMost}, false})),
              CapturedLines("sched_latency_empty.log"));
    EXPECT_EQ(test::LinesIn(TimehistTable(maker.record)),
              CapturedLines("sched_timehist_empty.log"));
    EXPECT_EQ(SchedScript(maker.record), "");
}

// Each captured line of a kind has what a line of that kind has here, but for the values.
TEST(PerfSchedScriptTest, HasTheLinesOfTheMachinesPerf) {
    RecordMaker maker;
    const std::uint32_t task = maker.Task("taskname", 3478, 3477);
    maker.Wake(kStartUs, task);
    maker.Run(kStartUs + 9, task, 1);
    maker.Switch(kStartUs + 9, task, 0, SwitchReason::kPreempted);
    const std::regex words("comm=.*? (prev_pid|next_pid|pid)=");
    const std::regex values("=[0-9]+");
    const auto formOf = [&](const std::string& line) {
        const std::size_t from = line.find(": ") + 2;
        return std::regex_replace(std::regex_replace(line.substr(from), words, "comm=x $1="),
                                  values, "=0");
    };
    std::set<std::string> captured;
    for (const std::string& line : CapturedLines("sched_script.log")) {
        captured.insert(formOf(line));
    }
    for (const std::string& line : test::LinesIn(SchedScript(maker.record))) {
        EXPECT_THAT(captured, Contains(formOf(line)));
    }
}

TEST(PerfSchedTimehistTest, ShowsCallChainsBelowTheScheduler) {
    RecordMaker maker;
    const std::uint32_t task = maker.Task("plain", 3540, 3540);
    maker.record.callChains = true;
    maker.Switch(kStartUs, task, 0);
    maker.Switch(kStartUs + 1, 0, task);
    const auto lines = test::LinesIn(TimehistTable(maker.record));
    EXPECT_THAT(lines[3], EndsWith("      0.000    do_nanosleep <- hrtimer_nanosleep <- "
                                   "common_nsleep <- __arm64_sys_clock_nanosleep <- "
                                   "invoke_syscall"));
    EXPECT_THAT(lines[4], EndsWith("      0.001 ")) << "the idle task has none";
}

TEST(PerfSchedTimehistTest, ALongNameWidensItsColumn) {
    RecordMaker maker;
    const std::uint32_t task = maker.Task("123456789012345", 1234567, 1234568);
    maker.Switch(kStartUs, task, 0);
    maker.Switch(kStartUs + 1, 0, task);
    const auto lines = test::LinesIn(TimehistTable(maker.record));
    EXPECT_THAT(lines[3], HasSubstr("]  123456789012345[1234567/1234568]      0.000 "));
    EXPECT_THAT(lines[4], HasSubstr("]  <idle>                                0.000 "));
}

TEST(PerfSchedTimehistTest, EachCoreHasItsOwnIdleTask) {
    RecordMaker maker;
    const std::uint32_t task = maker.Task("a", 9, 9);
    for (const std::uint32_t core : {0U, 1U}) {
        maker.Switch(kStartUs + core, 0, task);
        maker.record.events.back().core = core;
    }
    const auto lines = test::LinesIn(TimehistTable(maker.record));
    EXPECT_THAT(lines[4], AllOf(StartsWith("   16624.000001 [0001]  <idle>"),
                                EndsWith("      0.000      0.000      0.000 ")));
}

TEST(PerfSchedScriptTest, HasALineForEachEvent) {
    RecordMaker maker;
    const std::uint32_t task = maker.Task("my own task", 3478, 3477);
    maker.Wake(kStartUs, task);
    RecordedEvent migration = maker.record.events.back();
    migration.kind = RecordedKind::kMigration;
    migration.toCore = 3;
    maker.record.events.push_back(migration);
    maker.Switch(kStartUs + 8, 0, task);
    maker.record.events.back().reason = SwitchReason::kPreempted;
    maker.Run(kStartUs + 9, task, 1);
    maker.Switch(kStartUs + 9, task, 0, SwitchReason::kWaitsForLock);
    EXPECT_EQ(
        SchedScript(maker.record),
        "         swapper     0 [000] 16624.000000:       sched:sched_waking: comm=my own task "
        "pid=3478 prio=120 target_cpu=000\n"
        "         swapper     0 [000] 16624.000000: sched:sched_migrate_task: comm=my own task "
        "pid=3478 prio=120 orig_cpu=0 dest_cpu=3\n"
        "         swapper     0 [000] 16624.000008:       sched:sched_switch: "
        "prev_comm=swapper/0 prev_pid=0 prev_prio=120 prev_state=R ==> next_comm=my own task "
        "next_pid=3478 next_prio=120\n"
        "     my own task  3478 [000] 16624.000009: sched:sched_stat_runtime: comm=my own task "
        "pid=3478 runtime=1000 [ns]\n"
        "     my own task  3478 [000] 16624.000009:       sched:sched_switch: prev_comm=my own "
        "task prev_pid=3478 prev_prio=120 prev_state=S ==> next_comm=swapper/0 next_pid=0 "
        "next_prio=120\n");
    maker.record.callChains = true;
    EXPECT_THAT(SchedScript(maker.record),
                HasSubstr("[ns]\n\tffff8000080d3d38 update_curr+0x118 ([kernel.kallsyms])\n"));
}

// A task of real time on core 0, two that share core 1, and a lock between the cores.
std::unique_ptr<BoardState> Busy() {
    auto state = std::make_unique<BoardState>();
    EXPECT_EQ(ParseScenario(R"({"sched": {"cores": 2, "processes": [
        {"name": "one", "policy": "fifo", "priority": 9, "affinity": [0], "period_us": 4000,
         "run_us": 1500, "locks": [{"name": "x", "after_us": 100, "hold_us": 1300}]},
        {"name": "two", "affinity": [1], "period_us": 5000, "run_us": 2000, "nice": 3,
         "locks": [{"name": "x", "after_us": 100, "hold_us": 1800}],
         "threads": [{"name": "two_b", "run_us": 1000, "locks": []}]}]}})",
                            *state)
                  .value_or("taken"),
              "taken");
    state->seed = 3;
    state->startNs = 7000000000000;
    return state;
}

TEST(PerfSchedRecordTest, IsTheSameForTheSameTime) {
    const auto state = Busy();
    const std::string bytes = SchedRecordBytes(RecordSched(*state, {}, {50000, 250000}));
    EXPECT_EQ(SchedRecordBytes(RecordSched(*state, {}, {50000, 250000})), bytes);
    state->seed = 4;
    EXPECT_NE(SchedRecordBytes(RecordSched(*state, {}, {50000, 250000})), bytes);
}

TEST(PerfSchedRecordTest, HasTheTasksAndTheirTimesAsTheKernelCountsThem) {
    const auto state = Busy();
    state->schedTids[0] = 50;
    const SchedRecord record = RecordSched(*state, {}, {50000, 250000});
    ASSERT_EQ(record.tasks.size(), 4U);
    EXPECT_EQ(record.tasks[1].tid, 50U);
    EXPECT_EQ(record.tasks[1].priority, 90U);
    EXPECT_EQ(record.tasks[3].tid, 1002U);
    EXPECT_EQ(record.tasks[3].pid, 1001U);
    EXPECT_EQ(record.tasks[3].priority, 123U);
    EXPECT_EQ(record.tasks[3].name, "two_b");
    EXPECT_GE(record.events.front().timeUs, 7000050000U);
    EXPECT_LE(record.events.back().timeUs, 7000250000U);
}

// What a task ran before and behind the time is not in it.
TEST(PerfSchedRecordTest, CountsWhatRanInTheTimeAlone) {
    auto state = std::make_unique<BoardState>();
    ASSERT_EQ(ParseScenario(R"({"sched": {"cores": 1, "processes": [
                  {"name": "busy", "run_us": 1000}]}})",
                            *state),
              std::nullopt);
    const SchedRecord record = RecordSched(*state, {}, {5000, 8000});
    ASSERT_EQ(record.events.size(), 1U);
    EXPECT_EQ(record.events[0].kind, RecordedKind::kRuntime);
    EXPECT_EQ(record.events[0].runUs, 3000U);
}

TEST(PerfSchedRecordTest, ACoreHasWhatHappensThereAndWhoWakesUpForIt) {
    const auto state = Busy();
    const SchedRecord record = RecordSched(*state, {{}, 2U}, {50000, 250000});
    std::size_t fromElsewhere = 0;
    for (const RecordedEvent& event : record.events) {
        EXPECT_TRUE(event.core == 1 || (event.kind == RecordedKind::kWaking && event.toCore == 1));
        fromElsewhere += event.core == 0 ? 1U : 0U;
    }
    EXPECT_GT(fromElsewhere, 0U) << "who leaves the lock on core 0 wakes up who waits on core 1";
    EXPECT_THAT(LatencyReport(record, {{LatencyKey::kMost}, true}),
                AllOf(HasSubstr("two:1001"), Not(HasSubstr("one:"))));
}

TEST(PerfSchedRecordTest, AProcessHasItsTasksAlone) {
    const auto state = Busy();
    const SchedRecord record = RecordSched(*state, {{1001}, std::nullopt}, {50000, 250000});
    for (const RecordedEvent& event : record.events) {
        EXPECT_TRUE(event.task >= 2 || (event.kind == RecordedKind::kSwitch && event.current >= 2));
    }
    const std::string table = TimehistTable(record);
    EXPECT_THAT(table, AllOf(HasSubstr("two[1001]"), HasSubstr("two_b[1002/1001]"),
                             Not(HasSubstr("one[")), Not(HasSubstr("<idle>"))));
    EXPECT_THAT(LatencyReport(record, {{LatencyKey::kMost}, true}),
                AllOf(HasSubstr("two:1001"), HasSubstr("two_b:1002"), Not(HasSubstr("one:"))));
    EXPECT_TRUE(RecordSched(*state, {{4711}, std::nullopt}, {50000, 250000}).events.empty());
}

TEST(PerfSchedRecordTest, AFileGivesItBack) {
    const auto state = Busy();
    SchedRecord record = RecordSched(*state, {{1001}, std::nullopt}, {50000, 150000});
    record.callChains = true;
    record.tasks[1].name = "a b";
    const std::string bytes = SchedRecordBytes(record);
    EXPECT_TRUE(IsSchedRecord(bytes));
    const auto read = ReadSchedRecord(bytes);
    ASSERT_TRUE(read);
    EXPECT_EQ(SchedRecordBytes(*read), bytes);
    EXPECT_EQ(read->tasks[1].name, "a b");
    EXPECT_EQ(SchedScript(*read), SchedScript(record));
}

TEST(PerfSchedRecordTest, ATornOrDamagedFileGivesNothing) {
    const auto state = Busy();
    const std::string bytes = SchedRecordBytes(RecordSched(*state, {}, {50000, 60000}));
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        const std::string torn = bytes.substr(0, size);
        EXPECT_EQ(ReadSchedRecord(torn).has_value(), size + 1 == bytes.size()) << size;
    }
    EXPECT_FALSE(IsSchedRecord("PERFILE2"));
    for (const char* line :
         {"e 0 1 2 3 4 5 6 7 8\n", "e 3 1 0 9 0 0 0 0 0\n", "e 4 1 0 0 0 0 0 0 0\n",
          "e 3 1 0 0 0 0 0 0 3\n", "e 3 1 99 0 0 0 0 0 0\n", "x\n", "\n", "w 1\n",
          "e 3 1 0 0 0 0 0 0 99999999999999999999\n"}) {
        std::string damaged = bytes;
        damaged.insert(damaged.rfind("end"), line);
        EXPECT_FALSE(ReadSchedRecord(damaged)) << line;
    }
}

}  // namespace
}  // namespace zarn::board
