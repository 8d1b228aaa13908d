#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

// The counters that the metrics are made of: as perf calls them, and as the formulas do.
namespace zarn {

inline constexpr std::size_t kTopdownEventCount = 35;

// The counters as perf takes them behind -e, quoted for the shell: each is a group of its own, so
// that they take turns on the few counters of a core.
extern const char* const kTopdownEventGroups;

// The place of a counter in the table by perf's raw code, such as "r11"; nothing for any other.
[[nodiscard]] std::optional<std::size_t> FindTopdownEvent(std::string_view rawCode);

// The name of the counter at that place, such as "CPU_CYCLES".
[[nodiscard]] const char* TopdownEventName(std::size_t place);

}  // namespace zarn
