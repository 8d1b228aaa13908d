#pragma once

#include <cstddef>
#include <string_view>

// The log of `perf sched timehist` in a run tree: a head of kTimehistHeadLines lines, then a row
// for each moment at which a task left its core.
namespace zarn {

inline constexpr std::size_t kTimehistHeadLines = 3;

// The columns of a row, as they stand in the line that they were read from.
struct TimehistRow {
    std::string_view time;      // seconds
    std::string_view cpu;       // four digits in brackets
    std::string_view task;      // the name, and "[tid]" or "[tid/pid]" but for "<idle>"
    std::string_view waitTime;  // ms, as the next two
    std::string_view schedDelay;
    std::string_view runTime;
};

// Cuts a line at its blanks; what stands behind the sixth column, such as a call chain, is dropped.
// Where the third piece neither ends in "]" nor stands before three numbers, it is the beginning of
// a name with blanks, which then goes on to the next piece that ends in "]", if there is one. False
// for a line of fewer than six columns. Looks at no byte more often than a few times, however long
// the line.
[[nodiscard]] bool ReadTimehistRow(std::string_view line, TimehistRow& row);

// What is wrong with a line that gives no row.
inline constexpr const char* kShortTimehistRow = "the line has too few columns";

// Whether the row tells of a core without work.
[[nodiscard]] bool IsIdleTask(std::string_view task);

// A task's name, and its tid as it stands in the brackets at the end. Without brackets the whole is
// name, and the tid empty.
struct TimehistTask {
    std::string_view name;
    std::string_view tid;
};

[[nodiscard]] TimehistTask SplitTimehistTask(std::string_view task);

}  // namespace zarn
