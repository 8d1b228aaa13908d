#include "board/perf/sched_timehist.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <vector>

#include "board/perf/sched_stacks.h"

namespace zarn::board {
namespace {

constexpr const char* kHead =
    "           time    cpu  task name                       wait time  sch delay   run time\n"
    "                        [tid/pid]                          (msec)     (msec)     (msec)\n"
    "--------------- ------  ------------------------------  ---------  ---------  ---------\n";
constexpr std::size_t kUsualWidth = 30;
constexpr std::uint64_t kUsPerS = 1000000;
constexpr std::uint64_t kUsPerMs = 1000;
constexpr std::size_t kMostCalls = 5;

// When something last happened to a task, or on a core.
using Moment = std::optional<std::uint64_t>;

std::uint64_t Between(const Moment& from, const Moment& to) {
    return from && to && *to > *from ? *to - *from : 0;
}

struct Seen {
    Moment leftUs;
    Moment readyUs;
};

class Table {
public:
    explicit Table(const SchedRecord& record)
        : record_(record), tasks_(record.tasks.size()), idle_(kMaxSchedCores) {}

    void Take(const RecordedEvent& event) {
        if (event.kind == RecordedKind::kWaking) {
            Moment& ready = tasks_[event.task].readyUs;
            ready = ready.value_or(event.timeUs);
        } else if (event.kind == RecordedKind::kSwitch) {
            Seen& task = event.current == 0 ? idle_[event.core] : tasks_[event.current];
            if (record_.IsAsked(event.current)) {
                AddRow(event, task);
            }
            task = {event.timeUs, std::nullopt};
            switchedUs_[event.core] = event.timeUs;
        }
    }

    [[nodiscard]] const std::string& Text() const { return text_; }

private:
    void AddRow(const RecordedEvent& event, const Seen& task) {
        const Moment& cameUs = switchedUs_[event.core];
        const std::string name = NameOf(record_.tasks[event.current]);
        width_ = std::max(width_, name.size());
        std::array<char, 160> line{};
        const auto number = [](std::uint64_t value) {
            return static_cast<unsigned long long>(value);
        };
        const std::array<std::uint64_t, 3> us{Between(task.leftUs, cameUs),
                                              Between(task.readyUs, cameUs),
                                              Between(cameUs, event.timeUs)};
        const int size = std::snprintf(
            line.data(), line.size(),
            "%8llu.%06llu [%04u]  %-*s %6llu.%03llu %6llu.%03llu %6llu.%03llu ",
            number(event.timeUs / kUsPerS), number(event.timeUs % kUsPerS), event.core,
            static_cast<int>(width_), name.c_str(), number(us[0] / kUsPerMs),
            number(us[0] % kUsPerMs), number(us[1] / kUsPerMs), number(us[1] % kUsPerMs),
            number(us[2] / kUsPerMs), number(us[2] % kUsPerMs));
        text_.append(line.data(), static_cast<std::size_t>(size));
        if (record_.callChains && event.current != 0) {
            AddCalls(event.reason);
        }
        text_ += '\n';
    }

    [[nodiscard]] static std::string NameOf(const RecordedTask& task) {
        if (task.tid == 0) {
            return "<idle>";
        }
        const std::string pid = task.tid == task.pid ? "" : "/" + std::to_string(task.pid);
        return task.name + "[" + std::to_string(task.tid) + pid + "]";
    }

    // The calls of the scheduler itself are left out.
    void AddCalls(SwitchReason reason) {
        const CallStack& stack = SwitchStack(reason);
        const std::size_t count = std::min(stack.size(), kSchedulerCalls + kMostCalls);
        for (std::size_t i = kSchedulerCalls; i < count; ++i) {
            text_ += i == kSchedulerCalls ? "   " : " <- ";
            text_ += stack[i].function;
        }
    }

    const SchedRecord& record_;
    std::vector<Seen> tasks_;
    std::vector<Seen> idle_;
    std::array<Moment, kMaxSchedCores> switchedUs_{};
    std::size_t width_ = kUsualWidth;
    std::string text_ = kHead;
};

}  // namespace

std::string TimehistTable(const SchedRecord& record) {
    Table table(record);
    for (const RecordedEvent& event : record.events) {
        table.Take(event);
    }
    return table.Text();
}

}  // namespace zarn::board
