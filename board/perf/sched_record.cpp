#include "board/perf/sched_record.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "board/state/sched_tasks.h"
#include "foundation/files.h"
#include "foundation/text.h"

namespace zarn::board {
namespace {

constexpr std::string_view kHead = "zarn-board sched record 1";
constexpr std::string_view kEnd = "end";
constexpr std::uint32_t kIdlePriority = 120;
constexpr std::uint32_t kUsualPriority = 120;
constexpr std::uint32_t kBestRealTime = 99;
constexpr std::size_t kMostNumbers = 9;

std::uint32_t KernelPriority(const SchedTask& task) {
    return IsRealTime(task.policy)
               ? kBestRealTime - task.priority
               : static_cast<std::uint32_t>(static_cast<std::int32_t>(kUsualPriority) + task.nice);
}

std::vector<RecordedTask> TasksOf(const BoardState& state) {
    std::vector<RecordedTask> tasks{{0, 0, kIdlePriority, "swapper"}};
    const SchedPlan& plan = state.scenario.sched;
    for (std::uint32_t i = 0; i < plan.taskCount; ++i) {
        tasks.push_back({SchedTid(state, i), SchedPid(state, i), KernelPriority(plan.tasks[i]),
                         plan.tasks[i].name.data()});
    }
    return tasks;
}

// The place in the list of tasks, in which the idle task comes first.
std::uint32_t PlaceOf(std::uint32_t task) {
    return task == SchedEvent::kIdleTask ? 0 : task + 1;
}

// Takes what happens, and adds how long tasks have run.
class Recorder {
public:
    Recorder(const BoardState& state, const SchedTarget& target, SchedRecord& record)
        : state_(state), target_(target), record_(record) {}

    void Begin(std::uint32_t core, std::uint32_t running) {
        current_[core] = PlaceOf(running);
        sinceUs_[core] = record_.span.fromUs;
    }

    void Take(const SchedEvent& event) {
        if (event.kind == SchedEventKind::kSwitch) {
            CountRun(event.core, event.timeUs);
            current_[event.core] = PlaceOf(event.task);
        }
        constexpr std::array kKinds{RecordedKind::kWaking, RecordedKind::kMigration,
                                    RecordedKind::kSwitch};
        RecordedEvent recorded;
        recorded.kind = kKinds[static_cast<std::size_t>(event.kind)];
        recorded.core = event.core;
        recorded.current = PlaceOf(event.current);
        recorded.task = PlaceOf(event.task);
        recorded.fromCore = event.fromCore;
        recorded.toCore = event.toCore;
        recorded.reason = event.reason;
        Keep(recorded, event.timeUs);
    }

    void CountRun(std::uint32_t core, std::uint64_t timeUs) {
        RecordedEvent run;
        run.kind = RecordedKind::kRuntime;
        run.core = core;
        run.current = current_[core];
        run.task = run.current;
        run.runUs = timeUs - sinceUs_[core];
        sinceUs_[core] = timeUs;
        if (run.current != 0 && run.runUs > 0) {
            Keep(run, timeUs);
        }
    }

private:
    [[nodiscard]] bool IsAsked(const RecordedEvent& event) const {
        const bool isOfTask = record_.IsAsked(event.task) || (event.kind == RecordedKind::kSwitch &&
                                                              record_.IsAsked(event.current));
        const std::uint32_t cores = target_.cores.value_or(~0U);
        const bool comes =
            event.kind == RecordedKind::kWaking && (cores & (1U << event.toCore)) != 0;
        return isOfTask && (comes || (cores & (1U << event.core)) != 0);
    }

    void Keep(RecordedEvent& event, std::uint64_t timeUs) {
        event.timeUs = UptimeUs(state_, timeUs);
        if (IsAsked(event)) {
            record_.events.push_back(event);
        }
    }

    const BoardState& state_;
    const SchedTarget& target_;
    SchedRecord& record_;
    std::array<std::uint32_t, kMaxSchedCores> current_{};
    std::array<std::uint64_t, kMaxSchedCores> sinceUs_{};
};

// Writes whole numbers and a text to a line.
void AddLine(std::string& text, char letter, const std::vector<std::uint64_t>& numbers,
             const std::string& name = "") {
    text += letter;
    for (const std::uint64_t number : numbers) {
        text += ' ';
        text += std::to_string(number);
    }
    text += name.empty() ? "\n" : " " + name + "\n";
}

// A line taken apart again. What stands behind the numbers is the text.
struct Line {
    char letter = '\0';
    std::vector<std::uint64_t> numbers;
    std::string_view text;
};

Line TakeApart(std::string_view text, std::size_t most) {
    Line line;
    line.letter = text.empty() ? '\0' : text.front();
    text.remove_prefix(text.empty() ? 0 : 1);
    while (line.numbers.size() < most && text.size() > 1 && text.front() == ' ') {
        std::uint64_t number = 0;
        const auto read = std::from_chars(text.data() + 1, text.data() + text.size(), number);
        if (read.ec != std::errc()) {
            break;
        }
        line.numbers.push_back(number);
        text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
    }
    line.text = text.empty() ? text : text.substr(1);
    return line;
}

std::uint32_t Small(std::uint64_t number) {
    return static_cast<std::uint32_t>(number);
}

bool TakeEvent(const std::vector<std::uint64_t>& numbers, SchedRecord& record) {
    if (numbers.size() != kMostNumbers ||
        numbers[0] > static_cast<std::uint64_t>(RecordedKind::kSwitch) ||
        numbers[8] > static_cast<std::uint64_t>(SwitchReason::kWaitsForLock) ||
        numbers[2] >= kMaxSchedCores || std::max(numbers[3], numbers[4]) >= record.tasks.size()) {
        return false;
    }
    RecordedEvent event;
    event.kind = static_cast<RecordedKind>(numbers[0]);
    event.timeUs = numbers[1];
    event.core = Small(numbers[2]);
    event.current = Small(numbers[3]);
    event.task = Small(numbers[4]);
    event.fromCore = Small(numbers[5]);
    event.toCore = Small(numbers[6]);
    event.runUs = numbers[7];
    event.reason = static_cast<SwitchReason>(numbers[8]);
    record.events.push_back(event);
    return true;
}

}  // namespace

bool SchedRecord::IsAsked(std::uint32_t task) const {
    return pids.empty() ||
           (task != 0 && std::find(pids.begin(), pids.end(), tasks[task].pid) != pids.end());
}

SchedRecord RecordSched(const BoardState& state, const SchedTarget& target, const SchedSpan& span) {
    SchedRecord record;
    record.span = span;
    record.tasks = TasksOf(state);
    record.pids = target.pids;
    const SchedPlan& plan = state.scenario.sched;
    Recorder recorder(state, target, record);
    SchedSimulation simulation(plan, state.seed);
    simulation.Advance(span.fromUs, nullptr);
    for (std::uint32_t core = 0; core < plan.cores; ++core) {
        recorder.Begin(core, simulation.RunningOn(core));
    }
    simulation.Advance(span.toUs, [&](const SchedEvent& event) { recorder.Take(event); });
    for (std::uint32_t core = 0; core < plan.cores; ++core) {
        recorder.CountRun(core, span.toUs);
    }
    return record;
}

std::string SchedRecordBytes(const SchedRecord& record) {
    std::string text = std::string(kHead) + "\n";
    AddLine(text, 'w', {record.span.fromUs, record.span.toUs, record.callChains ? 1U : 0U});
    for (const RecordedTask& task : record.tasks) {
        AddLine(text, 't', {task.tid, task.pid, task.priority}, task.name);
    }
    for (const std::uint32_t pid : record.pids) {
        AddLine(text, 'p', {pid});
    }
    for (const RecordedEvent& event : record.events) {
        AddLine(text, 'e',
                {static_cast<std::uint64_t>(event.kind), event.timeUs, event.core, event.current,
                 event.task, event.fromCore, event.toCore, event.runUs,
                 static_cast<std::uint64_t>(event.reason)});
    }
    return text + std::string(kEnd) + "\n";
}

bool IsSchedRecord(std::string_view bytes) {
    return StartsWith(bytes, kHead);
}

std::optional<SchedRecord> ReadSchedRecord(std::string_view bytes) {
    SchedRecord record;
    LineCursor lines(bytes);
    std::string_view text;
    (void)lines.Next(text);
    bool isWhole = true;
    while (isWhole && lines.Next(text) && text != kEnd) {
        const bool isTask = !text.empty() && text.front() == 't';
        const Line line = TakeApart(text, isTask ? 3 : kMostNumbers);
        const std::vector<std::uint64_t>& numbers = line.numbers;
        if (line.letter == 'w' && numbers.size() == 3) {
            record.span = {numbers[0], numbers[1]};
            record.callChains = numbers[2] != 0;
        } else if (isTask && numbers.size() == 3) {
            record.tasks.push_back(
                {Small(numbers[0]), Small(numbers[1]), Small(numbers[2]), std::string(line.text)});
        } else if (line.letter == 'p' && numbers.size() == 1) {
            record.pids.push_back(Small(numbers[0]));
        } else {
            isWhole = line.letter == 'e' && TakeEvent(numbers, record);
        }
    }
    return isWhole && text == kEnd ? std::optional(std::move(record)) : std::nullopt;
}

}  // namespace zarn::board
