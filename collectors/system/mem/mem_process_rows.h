#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "collectors/system/mem/mem_values_parser.h"

// Rows of the process table, whose cells stand in the order of kMemProcessColumns.
namespace zarn {

using MemRow = std::vector<std::string>;

// The sums over the mappings of a process: HugePages, RSS, PSS and USS, digits.
using SmapsSums = std::array<std::string, 4>;

// The row of a process, its sizes with their unit.
[[nodiscard]] MemRow MakeProcessRow(const std::string& pid, const SmapsSums& sums,
                                    const std::string& sharePoolAlloc, const StatusWords& words);

enum class PssResult { Ok, ShortRow, NoNumber };

inline constexpr std::size_t kGreatestProcesses = 10;

// Sorts the rows by PSS, greatest first, equal ones as they stand, and keeps the first
// kGreatestProcesses. Refuses, with the rows as they were: a row that ends before that cell; a cell
// that is no number of 64 bits, with or without the unit behind it.
[[nodiscard]] PssResult KeepGreatestPss(std::vector<MemRow>& rows);

}  // namespace zarn
