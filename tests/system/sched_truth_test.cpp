#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "board/model/sched_model.h"
#include "board/perf/sched_record.h"
#include "board/state/sched_tasks.h"
#include "foundation/text.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/board_runner.h"
#include "tests/system/support/program_lock.h"
#include "tests/system/support/programs.h"

// The scheduler line on the virtual board, whose scheduler is known: what the documents say must be
// what its model did, to the last digit.
namespace zarn::test {
namespace {

using board::SchedEvent;
using board::SchedEventKind;
using board::SchedSpan;
using testing::UnorderedElementsAreArray;

// Enough for all tasks of a scenario.
constexpr int kRows = 40;

// Knows the model's processes by their names.
constexpr const char* kPidof = R"sh(#!/bin/sh
zarn-board-server sched "$VIRTUAL_BOARD_STATE" 0 0 |
    awk -F, -v name="$1" '$1 == name && $2 == $3 { print $2; found = 1 } END { exit !found }'
)sh";

std::string Decimals(std::uint64_t value, std::uint64_t unit, int digits) {
    std::string part = std::to_string(value % unit);
    part.insert(0, static_cast<std::size_t>(digits) - part.size(), '0');
    return std::to_string(value / unit) + "." + part;
}
std::string Ms(std::uint64_t us) {
    return Decimals(us, 1000, 3);
}
std::string Seconds(std::uint64_t us) {
    return Decimals(us, 1000000, 6);
}

// Thousandths of a text with three decimals.
std::uint64_t Thousandths(std::string text) {
    text.erase(text.find('.'), 1);
    return std::stoull(text);
}

// A row of a latency document, in its order.
using LatencyRow = std::vector<std::string>;

// What the board says a task did in a time, or several of one name did together.
struct Truth {
    std::string name;
    std::string tid;
    int tasks = 1;
    std::uint64_t runUs = 0;
    std::uint64_t switches = 0;
    std::uint64_t delayUs = 0;
    std::uint64_t mostUs = 0;
    std::string mostAt;

    void Merge(const Truth& other) {
        ++tasks;
        runUs += other.runUs;
        switches += other.switches;
        delayUs += other.delayUs;
        // Of equal delays perf tells that of the later task.
        if (other.mostUs >= mostUs) {
            mostUs = other.mostUs;
            mostAt = other.mostAt;
        }
    }

    [[nodiscard]] LatencyRow Row() const {
        std::array<char, 32> mean{};
        (void)std::snprintf(mean.data(), mean.size(), "%.3f ms",
                            static_cast<double>(delayUs * 1000 / switches) / 1e6);
        return {name + ":" + (tasks > 1 ? "(" + std::to_string(tasks) + ")" : tid),
                Ms(runUs) + " ms",
                std::to_string(switches),
                mean.data(),
                Ms(mostUs) + " ms",
                mostAt + " s"};
    }
};

// A row of a history document: task, time, core, wait, delay and run time.
using HistoryRow = std::vector<std::string>;

// What the model did on the cores in a time, as a history tells it.
class History {
public:
    History(const board::BoardState& state, const SchedSpan& span,
            std::optional<std::uint32_t> core)
        : state_(state), cameUs_(state.scenario.sched.cores), tasks_(board::kMaxSchedTasks) {
        for (const SchedEvent& event : EventsIn(state.scenario.sched, state.seed, span)) {
            if (!core || event.core == *core ||
                (event.kind == SchedEventKind::kWakeup && event.toCore == *core)) {
                Take(event);
            }
        }
    }

    [[nodiscard]] const std::vector<HistoryRow>& Rows() const { return rows_; }
    void KeepRowsOf(const std::string& task) { rows_ = RowsOf(task); }
    [[nodiscard]] std::vector<HistoryRow> RowsOf(const std::string& task) const {
        std::vector<HistoryRow> rows;
        std::copy_if(rows_.begin(), rows_.end(), std::back_inserter(rows),
                     [&](const HistoryRow& row) { return row[0] == task; });
        return rows;
    }

private:
    struct Times {
        std::optional<std::uint64_t> leftUs;
        std::optional<std::uint64_t> wokenUs;
        std::uint64_t waitUs = 0;
        std::uint64_t delayUs = 0;
    };

    void Take(const SchedEvent& event) {
        if (event.kind == SchedEventKind::kWakeup) {
            tasks_[event.task].wokenUs = event.timeUs;
        } else if (event.kind == SchedEventKind::kSwitch) {
            if (event.current != SchedEvent::kIdleTask) {
                Leave(event);
            }
            cameUs_[event.core] = event.timeUs;
            if (event.task != SchedEvent::kIdleTask) {
                Times& times = tasks_[event.task];
                times.waitUs = event.timeUs - times.leftUs.value_or(event.timeUs);
                times.delayUs = event.timeUs - times.wokenUs.value_or(event.timeUs);
            }
        }
    }

    void Leave(const SchedEvent& event) {
        Times& times = tasks_[event.current];
        const std::uint32_t tid = SchedTid(state_, event.current);
        const std::uint32_t pid = SchedPid(state_, event.current);
        const std::string process = tid == pid ? "" : "/" + std::to_string(pid);
        rows_.push_back({state_.scenario.sched.tasks[event.current].name.data() +
                             ("[" + std::to_string(tid)) + process + "]",
                         Seconds(UptimeUs(state_, event.timeUs)) + " s",
                         "[000" + std::to_string(event.core) + "]", Ms(times.waitUs) + " ms",
                         Ms(times.delayUs) + " ms",
                         Ms(event.timeUs - cameUs_[event.core].value_or(event.timeUs)) + " ms"});
        times = {event.timeUs, std::nullopt, 0, 0};
    }

    const board::BoardState& state_;
    std::vector<std::optional<std::uint64_t>> cameUs_;
    std::vector<Times> tasks_;
    std::vector<HistoryRow> rows_;
};

std::vector<std::string> Cells(const JsonValue& object, const std::vector<const char*>& names) {
    std::vector<std::string> cells;
    for (const char* name : names) {
        cells.emplace_back(object[name].GetString());
    }
    return cells;
}

std::vector<std::vector<std::string>> CellsOf(const JsonValue& rows,
                                              const std::vector<const char*>& names) {
    std::vector<std::vector<std::string>> all;
    for (const JsonValue& row : rows.GetArray()) {
        all.push_back(Cells(row, names));
    }
    return all;
}

const std::vector<const char*> kReported{"Task",         "runtime",      "switches",
                                         "averageDelay", "maximumDelay", "maximumDelayAt"};
const std::vector<const char*> kAnalysed{"task",         "runtime",      "switches",
                                         "averageDelay", "maximumDelay", "maximumDelayAt"};
const std::vector<const char*> kHistory{"task", "time", "cpu", "waitTime", "schedDelay", "runTime"};

// The row with the greatest value in a column.
const std::vector<std::string>& Greatest(const std::vector<std::vector<std::string>>& rows,
                                         std::size_t column) {
    return *std::max_element(rows.begin(), rows.end(),
                             [column](const auto& one, const auto& other) {
                                 return std::stod(one[column]) < std::stod(other[column]);
                             });
}

// A scenario, the process that is looked at by itself, and a seed.
using Case = std::tuple<std::pair<const char*, const char*>, int>;

class SchedTruthTest : public testing::TestWithParam<Case> {
protected:
    void SetUp() override {
        const auto& [scenario, process] = std::get<0>(GetParam());
        const std::string sched =
            R"("sched":{"is_call_record":false,"duration":1,"sorted":"max","coreID":[1],"topN":)" +
            std::to_string(kRows) + R"(,"process":[")" + process + R"("]})";
        const std::string jobs = R"({"job":["global","core","process"],)";
        ConfigText config;
        config.serial = R"(["SchedCollector"])";
        config.analyze = R"(["SchedAnalyzer"])";
        board_.Files().Write("tools/pidof", kPidof);
        BoardRun run;
        run.options = std::string("--board kept --scenario ") + scenario + " --seed " +
                      std::to_string(std::get<1>(GetParam()));
        run.before = "chmod +x tools/pidof; export PATH=$PWD/tools:$PATH";
        ASSERT_EQ(board_.Run(config.Text({{"SchedCollector", jobs + sched + "}"},
                                          {"SchedAnalyzer", jobs + R"("runTimeThreshold":1e6})"}}),
                             run),
                  0);
        EXPECT_THAT(board_.Err(), testing::Not(testing::HasSubstr("[Sched")));
        state_ = board::MapBoardState((board_.Files().Path() + "kept/state").c_str());
        ASSERT_NE(state_, nullptr);
    }

    [[nodiscard]] std::string ReadOnly(const std::string& folder, const std::string& begin) const {
        const RunTree tree = board_.Tree();
        return tree.Read(tree.OnlyFile(folder, begin));
    }
    [[nodiscard]] JsonDocument Document(const std::string& begin) const {
        std::vector<JsonDocument> documents = DocumentsIn(ReadOnly("json", begin));
        EXPECT_EQ(documents.size(), 1U);
        return std::move(documents.front());
    }

    // The time in which something was recorded.
    [[nodiscard]] SchedSpan SpanOf(const std::string& target) const {
        const auto record =
            board::ReadSchedRecord(ReadOnly("raw_data/sched", "sched_" + target + "_record_1_"));
        EXPECT_TRUE(record);
        return record->span;
    }

    // What the board's own command says of that time, task by task.
    [[nodiscard]] std::vector<Truth> TruthOf(const SchedSpan& span) const {
        EXPECT_EQ(
            board_.Shell(ProgramPath("zarn-board-server") + " sched kept/state " +
                         std::to_string(span.fromUs) + " " + std::to_string(span.toUs) + " >truth"),
            0);
        std::vector<Truth> truth;
        for (const std::string& line : LinesIn(board_.Files().Read("truth"))) {
            std::vector<std::string> cells;
            SplitString(line, ",", cells);
            if (cells[0] != "task" && cells[4] != "0") {
                truth.push_back({cells[0], cells[2], 1, Thousandths(cells[3]),
                                 std::stoull(cells[4]), Thousandths(cells[5]),
                                 Thousandths(cells[7]), cells[8]});
            }
        }
        return truth;
    }

    // The rows of a report that has one for each name, of the tasks that ran on a core alone.
    [[nodiscard]] std::vector<LatencyRow> ReportOf(const SchedSpan& span,
                                                   std::uint32_t cores) const {
        std::map<std::string, Truth> byName;
        for (const Truth& task : TruthOf(span)) {
            if ((AffinityOf(task.name) & cores) != 0) {
                const auto [found, isNew] = byName.emplace(task.name, task);
                if (!isNew) {
                    found->second.Merge(task);
                }
            }
        }
        std::vector<LatencyRow> rows;
        for (const auto& [name, truth] : byName) {
            rows.push_back(truth.Row());
        }
        return rows;
    }

    [[nodiscard]] std::string PidOf(const std::string& process) const {
        const auto& tasks = state_->scenario.sched.tasks;
        const auto* const found =
            std::find_if(tasks.begin(), tasks.end(),
                         [&](const board::SchedTask& task) { return process == task.name.data(); });
        return std::to_string(SchedPid(*state_, static_cast<std::size_t>(found - tasks.begin())));
    }

    [[nodiscard]] std::uint32_t AffinityOf(const std::string& name) const {
        for (const board::SchedTask& task : state_->scenario.sched.tasks) {
            if (name == task.name.data()) {
                return task.affinity;
            }
        }
        return 0;
    }

    void CheckReport(const std::string& begin, const SchedSpan& span, std::uint32_t cores) const {
        const JsonDocument document = Document(begin);
        EXPECT_THAT(CellsOf(document["content"], kReported),
                    UnorderedElementsAreArray(ReportOf(span, cores)))
            << begin;
    }

    // The analysis has the report's rows first, then those of each task's threads.
    void CheckAnalysis(const std::string& begin, const SchedSpan& span, std::uint32_t cores) const {
        const JsonDocument document = Document(begin);
        const JsonValue& content = document["content"];
        const auto expected = ReportOf(span, cores);
        EXPECT_THAT(CellsOf(content[0]["sortedList"], kAnalysed),
                    UnorderedElementsAreArray(expected));
        ASSERT_EQ(content.Size(), expected.size() + 1);
        std::set<LatencyRow> threads;
        for (rapidjson::SizeType i = 1; i < content.Size(); ++i) {
            for (const auto& row : CellsOf(content[i]["sortedList"], kAnalysed)) {
                threads.insert(row);
            }
        }
        std::set<LatencyRow> single;
        for (const Truth& task : TruthOf(span)) {
            if ((AffinityOf(task.name) & cores) != 0) {
                single.insert(task.Row());
            }
        }
        EXPECT_EQ(threads, single) << begin;
    }

    // The history's longest runs, and what its threads' documents hold of each.
    void CheckHistory(const std::string& job, const std::string& label,
                      const History& history) const {
        const std::string target = job == label ? "" : "_" + label;
        const JsonDocument document =
            Document("soc_schedAna_" + job + "_timehist_ana" + target + "_1_");
        const auto longest = CellsOf(document["content"], kHistory);
        ASSERT_FALSE(longest.empty());
        EXPECT_EQ(longest.front()[5], Greatest(history.Rows(), 5)[5]);
        for (const HistoryRow& row : longest) {
            EXPECT_THAT(history.Rows(), testing::Contains(row));
        }
        std::size_t threads = 0;
        for (const std::string& name : board_.Tree().NamesIn("json")) {
            if (name.rfind("soc_schedAna_" + label + "_timehist_process_tid_", 0) == 0) {
                CheckThread(name, history);
                ++threads;
            }
        }
        EXPECT_GT(threads, 0U) << label;
    }

    void CheckThread(const std::string& name, const History& history) const {
        const auto documents = DocumentsIn(board_.Tree().Read("json/" + name));
        ASSERT_EQ(documents.size(), 1U);
        const auto rows = CellsOf(documents[0]["content"], kHistory);
        std::map<std::string, std::vector<HistoryRow>> byTask;
        for (const HistoryRow& row : rows) {
            byTask[row[0]].push_back(row);
        }
        std::size_t whole = 0;
        for (const auto& [task, found] : byTask) {
            const auto expected = history.RowsOf(task);
            whole += found == expected ? 1U : 0U;
            for (const HistoryRow& row : found) {
                EXPECT_THAT(expected, testing::Contains(row)) << name;
            }
        }
        EXPECT_GT(whole, 0U) << name << " has no thread whole";
    }

    // The rows of one process with their delays, which of them are the first ones.
    void CheckProcess() const {
        const std::string process = std::get<0>(GetParam()).second;
        const std::string pid = PidOf(process);
        const std::string label = "process_" + process + "_" + pid;
        History history(*state_, SpanOf(label), std::nullopt);
        history.KeepRowsOf(process + "[" + pid + "]");
        std::vector<std::vector<std::string>> expected;
        for (const HistoryRow& row : history.Rows()) {
            std::array<char, 32> at{};
            (void)std::snprintf(at.data(), at.size(), "%.6f s",
                                std::stod(row[1]) + std::stod(row[3]) * 0.001);
            expected.push_back({row[0], row[5], "1", row[4], row[4], at.data()});
        }
        const JsonDocument document =
            Document("soc_schedAna_process_latency_info_" + label + "_1_");
        const auto rows = CellsOf(document["content"], kReported);
        ASSERT_EQ(rows.size(), std::min<std::size_t>(expected.size(), kRows));
        EXPECT_EQ(rows.front()[4], Greatest(expected, 4)[4]);
        for (const auto& row : rows) {
            EXPECT_THAT(expected, testing::Contains(row));
        }
        CheckHistory("process", label, history);
    }

    // The task of the greatest delay in a report.
    [[nodiscard]] std::string WhoWaitsLongest(const std::string& begin) const {
        const JsonDocument document = Document(begin);
        return Greatest(CellsOf(document["content"], kReported), 4)[0];
    }

    // All rows of a task in a document of its threads.
    [[nodiscard]] std::vector<HistoryRow> ThreadRows(const std::string& task) const {
        const std::string begin = "soc_schedAna_global_timehist_process_tid_" + task + ":";
        const JsonDocument document = Document(begin);
        std::vector<HistoryRow> rows = CellsOf(document["content"], kHistory);
        rows.erase(
            std::remove_if(rows.begin(), rows.end(),
                           [&](const HistoryRow& row) { return row[0].rfind(task + "[", 0) != 0; }),
            rows.end());
        return rows;
    }

    [[nodiscard]] bool IsInversion() const {
        return std::get<0>(GetParam()).first == std::string("priority_inversion");
    }

    // The logger has work and no core for a third of a second, whether it wakes up then or has
    // begun to work before.
    void CheckStarving() const {
        for (const char* begin :
             {"soc_sched_global_latency_info_1_", "soc_sched_core_latency_info_core1_1_"}) {
            EXPECT_THAT(WhoWaitsLongest(begin), testing::StartsWith("logger:"));
        }
        EXPECT_GT(std::stod(Greatest(ThreadRows("logger"), 3)[3]), 250.0);
    }

    // The control task waits longer than its period, though it gets its core at once when it is
    // woken up; who holds its lock waits for the core longest; who has it in between runs longest.
    void CheckInversion() const {
        const auto control = ThreadRows("control");
        EXPECT_GT(std::stod(Greatest(control, 3)[3]), 24.0);
        EXPECT_EQ(Greatest(control, 4)[4], "0.000 ms");
        EXPECT_THAT(WhoWaitsLongest("soc_sched_global_latency_info_1_"),
                    testing::StartsWith("recorder:"));
        const JsonDocument document = Document("soc_schedAna_core_timehist_ana_core1_1_");
        EXPECT_THAT(CellsOf(document["content"], kHistory).front()[0],
                    testing::StartsWith("vision["));
    }

    ProgramLock lock_;
    BoardRunner board_;
    board::BoardState* state_ = nullptr;
};

TEST_P(SchedTruthTest, TheDocumentsSayWhatTheModelDidAndNameWhoWaited) {
    const SchedSpan all = SpanOf("global");
    CheckReport("soc_sched_global_latency_info_1_", all, ~0U);
    CheckAnalysis("soc_schedAna_global_latency_ana_1_", all, ~0U);
    CheckHistory("global", "global", History(*state_, all, std::nullopt));

    const SchedSpan core = SpanOf("core_1");
    CheckReport("soc_sched_core_latency_info_core1_1_", core, 2U);
    CheckAnalysis("soc_schedAna_core_latency_ana_core1_1_", core, 2U);
    CheckHistory("core", "core1", History(*state_, core, 1));

    CheckProcess();

    if (IsInversion()) {
        CheckInversion();
    } else {
        CheckStarving();
    }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, SchedTruthTest,
                         testing::Combine(testing::Values(std::pair("starved_task", "logger"),
                                                          std::pair("priority_inversion",
                                                                    "control")),
                                          testing::Range(1, 6)),
                         [](const testing::TestParamInfo<Case>& tested) {
                             return std::string(std::get<0>(tested.param).first) + "_" +
                                    std::to_string(std::get<1>(tested.param));
                         });

}  // namespace
}  // namespace zarn::test
