#pragma once

#include <map>
#include <string>

#include "comparators/mem/mem_version_info.h"
#include "kit/event_reader.h"

// Readers of the memory collector's documents, one to a line. The first line that cannot be read
// ends the reading: false after its words, and what came before it stays.
namespace zarn {

// Appends the values of each sample of the system. `cache` and `avail` are taken from "buff/cache"
// and "available" where a document has them. A value that is no string ends the process.
[[nodiscard]] bool ReadVersionSystem(const NextLine& next, MemSystemValues& values);

// Appends the values of each process whose command is a key of `values`, whatever its pid. The
// number at the front of a text counts.
[[nodiscard]] bool ReadVersionProcesses(
    const NextLine& next, std::map<std::string, MemProcessValues, std::less<>>& values);

}  // namespace zarn
