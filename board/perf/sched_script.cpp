#include "board/perf/sched_script.h"

#include <array>
#include <cstdio>

#include "board/perf/sched_stacks.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kUsPerS = 1000000;
constexpr std::uint64_t kNsPerUs = 1000;

// How the events are called, as wide as the longest of them.
constexpr std::array<const char*, 4> kNames{"      sched:sched_waking", "sched:sched_migrate_task",
                                            "sched:sched_stat_runtime", "      sched:sched_switch"};

// A task in the fields of an event: its name, number and priority behind "comm", "prev_comm" or
// "next_comm". Each core has an idle task by a name of its own.
std::string Fields(const RecordedTask& task, std::uint32_t core, const std::string& prefix) {
    const std::string name = task.tid == 0 ? task.name + "/" + std::to_string(core) : task.name;
    return prefix + "comm=" + name + " " + prefix + "pid=" + std::to_string(task.tid) + " " +
           prefix + "prio=" + std::to_string(task.priority);
}

std::string Padded(std::uint32_t number) {
    std::array<char, 16> text{};
    (void)std::snprintf(text.data(), text.size(), "%03u", number);
    return text.data();
}

std::string DetailsOf(const SchedRecord& record, const RecordedEvent& event) {
    const RecordedTask& current = record.tasks[event.current];
    const RecordedTask& task = record.tasks[event.task];
    switch (event.kind) {
        case RecordedKind::kWaking:
            return Fields(task, event.core, "") + " target_cpu=" + Padded(event.toCore);
        case RecordedKind::kMigration:
            return Fields(task, event.core, "") + " orig_cpu=" + std::to_string(event.fromCore) +
                   " dest_cpu=" + std::to_string(event.toCore);
        case RecordedKind::kRuntime:
            return "comm=" + task.name + " pid=" + std::to_string(task.tid) +
                   " runtime=" + std::to_string(event.runUs * kNsPerUs) + " [ns" + "]";
        case RecordedKind::kSwitch:
            return Fields(current, event.core, "prev_") +
                   " prev_state=" + (event.reason == SwitchReason::kPreempted ? "R" : "S") +
                   " ==> " + Fields(task, event.core, "next_");
    }
    return "";
}

const CallStack& StackOf(const RecordedEvent& event) {
    switch (event.kind) {
        case RecordedKind::kSwitch:
            return SwitchStack(event.reason);
        case RecordedKind::kRuntime:
            return RuntimeStack();
        default:
            return WakingStack();
    }
}

void AddCalls(std::string& text, const CallStack& stack) {
    for (const KernelCall& call : stack) {
        std::array<char, 128> line{};
        const int size = std::snprintf(
            line.data(), line.size(), "\t%16llx %.*s+0x%llx ([kernel.kallsyms])\n",
            static_cast<unsigned long long>(call.address), static_cast<int>(call.function.size()),
            call.function.data(), static_cast<unsigned long long>(call.offset));
        text.append(line.data(), static_cast<std::size_t>(size));
    }
    text += '\n';
}

}  // namespace

std::string SchedScript(const SchedRecord& record) {
    std::string text;
    for (const RecordedEvent& event : record.events) {
        const RecordedTask& current = record.tasks[event.current];
        std::array<char, 96> head{};
        const int size = std::snprintf(
            head.data(), head.size(),
            "%*s %5u [%03u] %5llu.%06llu: %s: ", record.callChains ? 0 : 16, current.name.c_str(),
            current.tid, event.core, static_cast<unsigned long long>(event.timeUs / kUsPerS),
            static_cast<unsigned long long>(event.timeUs % kUsPerS),
            kNames[static_cast<std::size_t>(event.kind)]);
        text.append(head.data(), static_cast<std::size_t>(size));
        text += DetailsOf(record, event) + "\n";
        if (record.callChains) {
            AddCalls(text, StackOf(event));
        }
    }
    return text;
}

}  // namespace zarn::board
