#include "comparators/ddr/ddr_comparison_table.h"

#include <array>

#include "kit/csv_table.h"

namespace zarn {
namespace {

// What one row of a name shows of a version.
struct RowKind {
    const char* label;  // after the name
    void (*addCell)(const DdrBwUsage& usage, const DdrBwLimits& limits, CsvTable& table);
    bool isBound;
};

constexpr std::array<RowKind, 6> kRowKinds = {{
    {"_mean(%)",
     [](const auto& usage, const auto&, CsvTable& table) { table.FixedCell(usage.mean); }, false},
    {"_max(%)", [](const auto& usage, const auto&, CsvTable& table) { table.FixedCell(usage.max); },
     false},
    {"_min(%)", [](const auto& usage, const auto&, CsvTable& table) { table.FixedCell(usage.min); },
     false},
    {"_over(%)",
     [](const auto& usage, const auto&, CsvTable& table) { table.FixedCell(usage.over); }, false},
    {"_bwHigh(GB/s)",
     [](const auto&, const auto& limits, CsvTable& table) {
         table.Cell(std::to_string(limits.bwHigh));
     },
     true},
    {"_bwLow(GB/s)",
     [](const auto&, const auto& limits, CsvTable& table) {
         table.Cell(std::to_string(limits.bwLow));
     },
     true},
}};

template <typename Record>
Record Lookup(const std::map<std::string, Record>& records, const std::string& name) {
    const auto found = records.find(name);
    return found == records.end() ? Record() : found->second;
}

void AddCell(const DdrVersionInfo& version, const std::string& name, const RowKind& kind,
             CsvTable& table) {
    if (!version.loaded || (kind.isBound && name == kDdrTotal)) {
        table.MissingCell();
    } else {
        kind.addCell(Lookup(version.bwUsage, name), Lookup(version.bwLimits, name), table);
    }
}

}  // namespace

std::string DdrComparisonTable(const std::map<std::string, DdrVersionInfo>& versions) {
    CsvTable table;
    table.Cell("version_id");
    for (const auto& [id, version] : versions) {
        table.Cell(id);
    }
    table.EndLine();
    for (const std::string& name : ddrCompNameList) {
        for (const RowKind& kind : kRowKinds) {
            table.Cell(name + kind.label);
            for (const auto& [id, version] : versions) {
                AddCell(version, name, kind, table);
            }
            table.EndLine();
        }
    }
    return table.TakeText();
}

}  // namespace zarn
