#include "analyzers/cpu/cpu_analysis_tables.h"

#include <algorithm>

namespace zarn {
namespace {

// Walks a series along the samples: the value of each, the last one if a sample has several.
class SeriesCursor {
public:
    // Without a series no sample has a value.
    explicit SeriesCursor(const CpuSeries* series) : series_(series) {}

    // The value of `sample`, or nullptr; to be asked for rising samples.
    [[nodiscard]] const double* At(std::size_t sample) {
        const double* value = nullptr;
        while (series_ != nullptr && next_ < series_->values.size() &&
               series_->samples[next_] <= sample) {
            value = series_->samples[next_] == sample ? &series_->values[next_] : nullptr;
            ++next_;
        }
        return value;
    }

private:
    const CpuSeries* series_;
    std::size_t next_ = 0;
};

void LoadCell(const double* idle, CsvTable& table) {
    const double load = idle == nullptr ? 0.0 : 100.0 - *idle;
    table.Cell(idle == nullptr ? nullptr : &load);
}

const CpuSeries* IdleOf(const CpuCoresLog& log, const std::string& core) {
    const auto found = std::find_if(log.cores.begin(), log.cores.end(),
                                    [&core](const CpuCore& known) { return known.name == core; });
    return found == log.cores.end() ? nullptr : &found->fields[kCpuIdle];
}

}  // namespace

void WriteGlobalTable(const CpuUsageLog& log, const std::vector<CpuProcessStatistics>& ranked,
                      CsvTable& table) {
    table.Cell("Times");
    table.Cell("oneCollecTotal");
    for (const CpuProcessStatistics& process : ranked) {
        table.Cell(process.command);
    }
    table.EndLine();
    std::vector<const double*> usageOf(log.processes.size());
    for (std::size_t sample = 0; sample < log.head.timeStamps.size(); ++sample) {
        table.TimeCell(log.head.timeStamps[sample]);
        table.Cell(log.sampleTotals[sample]);
        std::fill(usageOf.begin(), usageOf.end(), nullptr);
        for (const CpuProcessRow& row : log.sampleProcs.At(sample)) {
            usageOf[row.process] = &row.usage;
        }
        for (const CpuProcessStatistics& process : ranked) {
            table.Cell(usageOf[process.process]);
        }
        table.EndLine();
    }
    table.Finish();
}

void WriteProcessSetTable(const CpuUsageLog& log, const std::vector<CpuSetFindings>& findings,
                          CsvTable& table) {
    table.Cell("Times");
    std::vector<SeriesCursor> totals;
    for (const CpuSetFindings& found : findings) {
        table.Cell(std::string(found.name) + "_total");
        totals.emplace_back(&found.totals);
    }
    table.EndLine();
    for (std::size_t sample = 0; sample < log.head.timeStamps.size(); ++sample) {
        table.TimeCell(log.head.timeStamps[sample]);
        for (SeriesCursor& total : totals) {
            table.Cell(total.At(sample));
        }
        table.EndLine();
    }
    table.Finish();
}

void WriteCoreTable(const CpuCoresLog& log, CsvTable& table) {
    table.Cell("CoreID");
    table.Cell("Field");
    for (const std::string_view time : log.head.timeStamps) {
        table.TimeCell(time);
    }
    table.EndLine();
    for (const CpuCore& core : log.cores) {
        for (std::size_t field = 0; field < kCpuFieldCount; ++field) {
            table.Cell(core.name);
            table.Cell(kCpuFieldNames[field]);
            SeriesCursor values(&core.fields[field]);
            for (std::size_t sample = 0; sample < log.head.timeStamps.size(); ++sample) {
                table.Cell(values.At(sample));
            }
            table.EndLine();
        }
    }
    table.Finish();
}

void WriteGlobalLoadingTable(const CpuUsageLog& log, CsvTable& table) {
    table.Cell("happen_time");
    table.Cell("total");
    table.EndLine();
    SeriesCursor idle(&log.summary[kCpuIdle]);
    for (std::size_t sample = 0; sample < log.head.timeStamps.size(); ++sample) {
        if (const double* value = idle.At(sample)) {
            table.TimeCell(log.head.timeStamps[sample]);
            LoadCell(value, table);
            table.EndLine();
        }
    }
    table.Finish();
}

void WriteCoresLoadingTable(const CpuUsageLog& usage, const CpuCoresLog& cores, long processors,
                            CsvTable& table) {
    table.Cell("happen_time");
    table.Cell("total");
    std::vector<SeriesCursor> coreIdle;
    for (long core = 0; core < processors; ++core) {
        const std::string name = "Cpu" + std::to_string(core);
        table.Cell(name);
        coreIdle.emplace_back(IdleOf(cores, name));
    }
    table.EndLine();
    SeriesCursor idle(&usage.summary[kCpuIdle]);
    for (std::size_t sample = 0; sample < cores.head.timeStamps.size(); ++sample) {
        const double* total = idle.At(sample);
        if (total == nullptr) {
            continue;
        }
        table.TimeCell(cores.head.timeStamps[sample]);
        LoadCell(total, table);
        for (SeriesCursor& core : coreIdle) {
            LoadCell(core.At(sample), table);
        }
        table.EndLine();
    }
    table.Finish();
}

}  // namespace zarn
