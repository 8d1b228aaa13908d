#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "analyzers/cpu/cpu_findings.h"

// The CSV tables of the CPU analysis: records and findings in, text out. Every cell, the last of a
// line too, is followed by ","; times carry a leading "'"; a value that a sample lacks is an empty
// cell; numbers stand in a stream's default format (six significant digits).
namespace zarn {

// Gathers a table's lines and hands them on in large pieces, so that no table needs to fit into
// memory. A piece that could not be taken ends the handing on.
class TableText {
public:
    // `take` says whether it could take the piece.
    explicit TableText(std::function<bool(std::string_view)> take) : take_(std::move(take)) {}

    void Cell(std::string_view text);
    void Cell(double value);
    void TimeCell(std::string_view timeStamp);
    void EndLine();
    // Hands on what is left, the empty piece of an empty table too.
    void Finish();

private:
    void HandOn();

    std::function<bool(std::string_view)> take_;
    std::string text_;
    bool taken_ = true;
};

// Per sample: time, total, and the %CPU of each process in the order of `ranked`; of several rows
// of one process the last.
void WriteGlobalTable(const CpuUsageLog& log, const std::vector<CpuProcessStatistics>& ranked,
                      TableText& table);

// Per sample: time and the total of each set.
void WriteProcessSetTable(const CpuUsageLog& log, const std::vector<CpuSetFindings>& findings,
                          TableText& table);

// Per core and field: the values, a column per sample time.
void WriteCoreTable(const CpuCoresLog& log, TableText& table);

// Per sample that has a summary: time and load, 100 minus the idle share.
void WriteGlobalLoadingTable(const CpuUsageLog& log, TableText& table);

// The same at the times of the cores log, with the load of Cpu0 to Cpu<processors - 1>. The n-th
// summary of the usage log goes with the n-th sample of the cores log.
void WriteCoresLoadingTable(const CpuUsageLog& usage, const CpuCoresLog& cores, long processors,
                            TableText& table);

}  // namespace zarn
