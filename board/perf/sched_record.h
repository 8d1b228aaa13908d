#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/model/sched_model.h"
#include "board/state/board_state.h"

// What `perf sched record` keeps of the board's scheduler, and the file in which it does.
namespace zarn::board {

struct RecordedTask {
    std::uint32_t tid = 0;  // 0: the idle task of every core
    std::uint32_t pid = 0;
    std::uint32_t priority = 0;  // as the kernel counts: the lower the more important
    std::string name;
};

enum class RecordedKind : std::uint32_t { kWaking, kMigration, kRuntime, kSwitch };

// Something that happened while `current` ran on a core. Tasks are places in the list of tasks.
struct RecordedEvent {
    RecordedKind kind = RecordedKind::kSwitch;
    std::uint64_t timeUs = 0;  // since the machine's start
    std::uint32_t core = 0;
    std::uint32_t current = 0;
    std::uint32_t task = 0;      // who comes, wakes up or moves
    std::uint32_t fromCore = 0;  // of a migration
    std::uint32_t toCore = 0;    // of a migration and of a wake-up
    std::uint64_t runUs = 0;     // that `current` has run
    SwitchReason reason = SwitchReason::kPreempted;
};

struct SchedRecord {
    SchedSpan span;  // of the board's time
    bool callChains = false;
    std::vector<RecordedTask> tasks;  // the first one is the idle task
    std::vector<std::uint32_t> pids;  // asked for; none: all
    std::vector<RecordedEvent> events;

    // Whether a task is one of those asked for.
    [[nodiscard]] bool IsAsked(std::uint32_t task) const;
};

// Of which tasks and cores something is recorded; empty ones are all of them.
struct SchedTarget {
    std::vector<std::uint32_t> pids;
    std::optional<std::uint32_t> cores;  // a bit for each
};

// What happens in a time. A process has the switches from and to its tasks, and what else happens
// to them; a core what happens there, and the wake-ups of tasks that come there. At the end, as at
// each switch, what a task has run so far is counted.
[[nodiscard]] SchedRecord RecordSched(const BoardState& state, const SchedTarget& target,
                                      const SchedSpan& span);

// The bytes of the file.
[[nodiscard]] std::string SchedRecordBytes(const SchedRecord& record);

// Whether a file is one of ours, whole or not.
[[nodiscard]] bool IsSchedRecord(std::string_view bytes);

// Reads the file again. Nothing if it is torn.
[[nodiscard]] std::optional<SchedRecord> ReadSchedRecord(std::string_view bytes);

}  // namespace zarn::board
