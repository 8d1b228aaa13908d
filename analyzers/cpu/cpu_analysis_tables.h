#pragma once

#include <vector>

#include "analyzers/cpu/cpu_findings.h"
#include "kit/csv_table.h"

// The CSV tables of the CPU analysis: records and findings in, cells out. A value that a sample
// lacks is an empty cell. Each table is finished.
namespace zarn {

// Per sample: time, total, and the %CPU of each process in the order of `ranked`; of several rows
// of one process the last.
void WriteGlobalTable(const CpuUsageLog& log, const std::vector<CpuProcessStatistics>& ranked,
                      CsvTable& table);

// Per sample: time and the total of each set.
void WriteProcessSetTable(const CpuUsageLog& log, const std::vector<CpuSetFindings>& findings,
                          CsvTable& table);

// Per core and field: the values, a column per sample time.
void WriteCoreTable(const CpuCoresLog& log, CsvTable& table);

// Per sample that has a summary: time and load, 100 minus the idle share.
void WriteGlobalLoadingTable(const CpuUsageLog& log, CsvTable& table);

// The same at the times of the cores log, with the load of Cpu0 to Cpu<processors - 1>. The n-th
// summary of the usage log goes with the n-th sample of the cores log.
void WriteCoresLoadingTable(const CpuUsageLog& usage, const CpuCoresLog& cores, long processors,
                            CsvTable& table);

}  // namespace zarn
