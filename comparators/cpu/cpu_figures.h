#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "comparators/cpu/cpu_comparison_settings.h"
#include "kit/csv_table.h"

// The figures of the CPU comparison: their names and where `top` prints them.
namespace zarn {

// The index of each summary line in a sample, behind the time line.
enum class SummaryLine : std::size_t { Load = 1, Tasks = 2, Cpu = 3, Memory = 4, Swap = 5 };
inline constexpr std::array<SummaryLine, 5> kSummaryLines = {SummaryLine::Load, SummaryLine::Tasks,
                                                             SummaryLine::Cpu, SummaryLine::Memory,
                                                             SummaryLine::Swap};

// A figure of the whole system.
struct SystemFigure {
    std::string_view name;
    SummaryLine line;
    std::string_view kind;  // the word behind the number; empty for what goes by position
};

inline constexpr std::array<SystemFigure, 24> kSystemFigures = {{
    {"load_avg_1_min", SummaryLine::Load, ""},  // the three loads by position
    {"load_avg_5_min", SummaryLine::Load, ""},
    {"load_avg_15_min", SummaryLine::Load, ""},
    {"tasks_total", SummaryLine::Tasks, "total"},
    {"tasks_running", SummaryLine::Tasks, "running"},
    {"tasks_sleeping", SummaryLine::Tasks, "sleeping"},
    {"tasks_stopped", SummaryLine::Tasks, "stopped"},
    {"tasks_zombie", SummaryLine::Tasks, "zombie"},
    {"cpu_us", SummaryLine::Cpu, "us"},  // percent, over all processors
    {"cpu_sy", SummaryLine::Cpu, "sy"},
    {"cpu_ni", SummaryLine::Cpu, "ni"},
    {"cpu_id", SummaryLine::Cpu, "id"},
    {"cpu_wa", SummaryLine::Cpu, "wa"},
    {"cpu_hi", SummaryLine::Cpu, "hi"},
    {"cpu_si", SummaryLine::Cpu, "si"},
    {"cpu_st", SummaryLine::Cpu, "st"},
    {"mem_total", SummaryLine::Memory, "total"},  // in the unit that `top` was set to
    {"mem_free", SummaryLine::Memory, "free"},
    {"mem_used", SummaryLine::Memory, "used"},
    {"mem_buff", SummaryLine::Memory, "buff/cache"},
    {"swap_total", SummaryLine::Swap, "total"},
    {"swap_free", SummaryLine::Swap, "free"},
    {"swap_used", SummaryLine::Swap, "used."},
    {"swap_avail", SummaryLine::Swap, ""},  // behind the point of "used."
}};

// A figure of one process, named after it.
struct ProcessFigure {
    std::string_view suffix;
    std::size_t token;  // its index in a row of `top`
};

inline constexpr std::size_t kTimeToken = 10;  // "M:SS.hh"; shown in milliseconds
inline constexpr std::array<ProcessFigure, 6> kProcessFigures = {{
    {"_virt", 4},
    {"_res", 5},
    {"_shr", 6},
    {"_cpu", 8},
    {"_mem", 9},
    {"_time", kTimeToken},
}};

// The values of each figure over the samples of one version; empty: the version has none.
using SystemValues = std::array<std::vector<double>, kSystemFigures.size()>;
using ProcessValues = std::array<std::vector<double>, kProcessFigures.size()>;

struct VersionFigures {
    SystemValues system;
    std::vector<ProcessValues> processes;  // as in the settings
};

// Reduces every figure of the settings' jobs to "<figure>_max", "_min" and "_avg" and gives each of
// these rows one more entry: kNoValue for a figure without values.
void AddVersionToRows(const CpuComparisonSettings& settings, const VersionFigures& figures,
                      ComparisonRows& rows);

}  // namespace zarn
