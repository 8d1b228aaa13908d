#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// The samples in what `perf script` prints: a head line each, then its call chain.
namespace zarn {

// The head of a sample of the event "cycles", as views into its line.
struct SampleHead {
    std::string_view text;    // the match
    std::string_view name;    // its first word, the command; all of it if it has no blank
    std::string_view digits;  // the count before the first "cycles:" in it
};

// The first match of .*[0-9]+\s+cycles: in a line of any length and any bytes, as the standard
// library finds it: up to the last count, from the line's begin or the carriage return before it.
[[nodiscard]] std::optional<SampleHead> FindSampleHead(std::string_view line);

// The count; 0, after a line, for one that 64 bits do not hold.
[[nodiscard]] std::uint64_t CyclesOf(const SampleHead& head);

}  // namespace zarn
