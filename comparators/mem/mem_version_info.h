#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "formats/mem.h"

namespace zarn {

// The figures of the tables, in the order of their rows: those of the system, and of a process.
inline constexpr const auto& kMemSystemFields = kMemSystemColumns;
inline constexpr std::array<const char*, 5> kMemProcessFields = {"VSS", "RSS", "PSS", "USS",
                                                                 kMemSharePoolColumn};

// The values that one run showed, by field.
using MemSystemValues = std::array<std::vector<double>, kMemSystemFields.size()>;
using MemProcessValues = std::array<std::vector<double>, kMemProcessFields.size()>;

// KB, or pages where the kernel counts so: what the documents hold.
struct MemFigures {
    double min = 0.0;
    double average = 0.0;
    double max = 0.0;
};

// By field; nothing for a field without values.
using MemColumn = std::vector<std::optional<MemFigures>>;

// What the comparison knows of one version. A part that could not be read is empty.
struct MemVersionInfo {
    MemColumn system;
    std::map<std::string, MemColumn> processes;  // by command
};

}  // namespace zarn
