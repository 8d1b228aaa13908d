#include "board/perf/sched_latency.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace zarn::board {
namespace {

constexpr std::string_view kHead =
    "\n"
    " ---------------------------------------------------------------------------------------------"
    "--"
    "--------------------------------------------\n"
    "  Task                  |   Runtime ms  | Switches | Avg delay ms    | Max delay ms    | Max "
    "delay start           | Max delay end          |\n"
    " ---------------------------------------------------------------------------------------------"
    "--"
    "--------------------------------------------\n";
constexpr std::size_t kClosingDashes = 113;
constexpr std::size_t kLastDashes = 51;
constexpr std::size_t kTaskWidth = 24;
constexpr double kUsPerMs = 1e3;
constexpr double kUsPerS = 1e6;
constexpr double kNsPerMs = 1e6;
constexpr std::uint64_t kNsPerUs = 1000;

enum class Waiting { kUnknown, kAsleep, kReady, kNot };

struct Row {
    std::string name;
    std::uint32_t tid = 0;
    std::uint32_t tasks = 1;
    std::uint64_t runUs = 0;
    std::uint64_t switches = 0;
    std::uint64_t delayUs = 0;
    std::uint64_t mostUs = 0;
    std::uint64_t mostFromUs = 0;
    std::uint64_t mostToUs = 0;

    Waiting waiting = Waiting::kUnknown;
    std::uint64_t sinceUs = 0;

    [[nodiscard]] std::uint64_t MeanNs() const { return delayUs * kNsPerUs / switches; }

    void Wait(Waiting what, std::uint64_t timeUs) {
        waiting = what;
        sinceUs = timeUs;
    }

    void ComeIn(std::uint64_t timeUs) {
        if (waiting == Waiting::kUnknown) {
            Wait(Waiting::kReady, timeUs);
        }
        if (std::exchange(waiting, Waiting::kNot) != Waiting::kReady) {
            return;
        }
        ++switches;
        const std::uint64_t us = timeUs - sinceUs;
        delayUs += us;
        if (us > mostUs) {
            mostUs = us;
            mostFromUs = sinceUs;
            mostToUs = timeUs;
        }
    }

    void Merge(const Row& other) {
        ++tasks;
        runUs += other.runUs;
        switches += other.switches;
        delayUs += other.delayUs;
        if (other.mostUs > mostUs) {
            mostUs = other.mostUs;
            mostFromUs = other.mostFromUs;
            mostToUs = other.mostToUs;
        }
    }
};

void Take(const RecordedEvent& event, std::vector<Row>& rows) {
    Row& current = rows[event.current];
    Row& task = rows[event.task];
    switch (event.kind) {
        case RecordedKind::kWaking:
            if (task.waiting == Waiting::kUnknown || task.waiting == Waiting::kAsleep) {
                task.Wait(Waiting::kReady, event.timeUs);
            }
            return;
        case RecordedKind::kRuntime:
            if (current.waiting == Waiting::kUnknown) {
                current.waiting = Waiting::kNot;
            }
            current.runUs += event.runUs;
            return;
        case RecordedKind::kSwitch:
            current.Wait(
                event.reason == SwitchReason::kPreempted ? Waiting::kReady : Waiting::kAsleep,
                event.timeUs);
            task.ComeIn(event.timeUs);
            return;
        case RecordedKind::kMigration:
            return;
    }
}

std::vector<Row> RowsOf(const SchedRecord& record) {
    std::vector<Row> rows;
    for (const RecordedTask& task : record.tasks) {
        rows.emplace_back();
        rows.back().name = task.name;
        rows.back().tid = task.tid;
    }
    for (const RecordedEvent& event : record.events) {
        Take(event, rows);
    }
    std::vector<Row> asked;
    for (std::uint32_t task = 1; task < rows.size(); ++task) {
        if (record.IsAsked(task) && rows[task].waiting != Waiting::kUnknown) {
            asked.push_back(rows[task]);
        }
    }
    return asked;
}

// Rows with one name become one, those of greater names first, as those of greater numbers are
// where each task has its own.
std::vector<Row> Arranged(std::vector<Row> rows, bool perTask) {
    std::sort(rows.begin(), rows.end(), [perTask](const Row& one, const Row& other) {
        return perTask || one.name == other.name ? one.tid > other.tid : one.name > other.name;
    });
    if (perTask) {
        return rows;
    }
    std::vector<Row> merged;
    for (const Row& row : rows) {
        if (!merged.empty() && merged.back().name == row.name) {
            merged.back().Merge(row);
        } else {
            merged.push_back(row);
        }
    }
    return merged;
}

std::uint64_t ValueOf(const Row& row, LatencyKey key) {
    switch (key) {
        case LatencyKey::kRuntime:
            return row.runUs;
        case LatencyKey::kSwitches:
            return row.switches;
        case LatencyKey::kMean:
            return row.MeanNs();
        case LatencyKey::kMost:
            return row.mostUs;
    }
    return 0;
}

void AddRow(std::string& text, const Row& row) {
    std::string task =
        "  " + row.name + ":" +
        (row.tasks > 1 ? "(" + std::to_string(row.tasks) + ")" : std::to_string(row.tid)) + " ";
    task.resize(std::max(task.size(), kTaskWidth), ' ');
    text += task;
    std::array<char, 192> line{};
    const int size = std::snprintf(
        line.data(), line.size(),
        "|%11.3f ms |%9llu | avg:%8.3f ms | max:%8.3f ms | max start: %12.6f s | max end: %12.6f "
        "s\n",
        static_cast<double>(row.runUs) / kUsPerMs, static_cast<unsigned long long>(row.switches),
        static_cast<double>(row.MeanNs()) / kNsPerMs, static_cast<double>(row.mostUs) / kUsPerMs,
        static_cast<double>(row.mostFromUs) / kUsPerS, static_cast<double>(row.mostToUs) / kUsPerS);
    text.append(line.data(), static_cast<std::size_t>(size));
}

void AddTotal(std::string& text, const std::vector<Row>& rows) {
    std::uint64_t runUs = 0;
    std::uint64_t switches = 0;
    for (const Row& row : rows) {
        runUs += row.runUs;
        switches += row.switches;
    }
    std::array<char, 96> line{};
    const int size = std::snprintf(
        line.data(), line.size(), "  TOTAL:                |%11.3f ms |%9llu |\n",
        static_cast<double>(runUs) / kUsPerMs, static_cast<unsigned long long>(switches));
    text.append(line.data(), static_cast<std::size_t>(size));
}

}  // namespace

std::optional<LatencyKey> LatencyKeyOf(std::string_view word) {
    constexpr std::array<std::string_view, 4> kWords{"runtime", "switch", "avg", "max"};
    const auto* const found = std::find(kWords.begin(), kWords.end(), word);
    return found == kWords.end() ? std::nullopt
                                 : std::optional(static_cast<LatencyKey>(found - kWords.begin()));
}

std::string LatencyReport(const SchedRecord& record, const LatencyOrder& order) {
    std::vector<Row> rows = Arranged(RowsOf(record), order.perTask);
    rows.erase(
        std::remove_if(rows.begin(), rows.end(), [](const Row& row) { return row.switches == 0; }),
        rows.end());
    std::stable_sort(rows.begin(), rows.end(), [&](const Row& one, const Row& other) {
        const auto differs = [&](LatencyKey key) {
            return ValueOf(one, key) != ValueOf(other, key);
        };
        const auto key = std::find_if(order.keys.begin(), order.keys.end(), differs);
        return key != order.keys.end() && ValueOf(one, *key) > ValueOf(other, *key);
    });
    std::string text(kHead);
    for (const Row& row : rows) {
        AddRow(text, row);
    }
    text += ' ' + std::string(kClosingDashes, '-') + "\n";
    AddTotal(text, rows);
    return text + ' ' + std::string(kLastDashes, '-') + "\n\n";
}

}  // namespace zarn::board
