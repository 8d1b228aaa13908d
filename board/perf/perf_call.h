#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "board/model/standard_events.h"

// Calls of `perf stat` and `perf record`, as far as the board answers them itself.
namespace zarn::board {

// What the kernel counts without the processor.
enum class SoftwareEvent { TaskClock, ContextSwitches, CpuMigrations, PageFaults };

// An event that was asked for: its text as it is printed, and which one it is, if it is known.
struct AskedEvent {
    std::string text;
    std::optional<std::uint32_t> code;  // of a raw event, as in "r11"
    std::optional<StandardEvent> standard;
    std::optional<SoftwareEvent> software;
};

struct PerfCall {
    std::vector<AskedEvent> events;
    std::size_t groups = 0;  // in which they are counted; an event without braces is one of its own
    std::string separator;
    std::string output;
    std::uint32_t intervalMs = 0;
    bool allCores = false;
    std::optional<std::uint32_t> cores;  // a bit for each
    std::vector<std::uint32_t> pids;
    std::optional<std::uint32_t> frequency;  // of the samples, 1/s
    bool callChains = false;
    std::vector<std::string> command;

    std::string problem;  // why the call is not understood; all else is then of no use
};

// The words behind `stat` and behind `record`.
[[nodiscard]] PerfCall ParseStatCall(const std::vector<std::string>& words);
[[nodiscard]] PerfCall ParseRecordCall(const std::vector<std::string>& words);

// Whether all events of a call are raw ones, and there are any.
[[nodiscard]] bool AsksRawEvents(const PerfCall& call);

// Whether it asks for a table, without intervals, of what the board counts of cores or processes:
// all events are known ones, and not all are of software.
[[nodiscard]] bool AsksBoardTable(const PerfCall& call);

}  // namespace zarn::board
