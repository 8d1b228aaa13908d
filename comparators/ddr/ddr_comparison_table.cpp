#include "comparators/ddr/ddr_comparison_table.h"

#include <functional>
#include <vector>

namespace zarn {
namespace {

constexpr const char* kNoCell = "N/A";

// What one row of a name shows of a version.
struct RowKind {
    const char* label;  // after the name
    std::function<std::string(const DdrBwUsage&, const DdrBwLimits&)> cell;
    bool isBound = false;
};

const std::vector<RowKind>& RowKinds() {
    static const std::vector<RowKind> kinds = {
        {"_mean(%)", [](const auto& usage, const auto&) { return std::to_string(usage.mean); }},
        {"_max(%)", [](const auto& usage, const auto&) { return std::to_string(usage.max); }},
        {"_min(%)", [](const auto& usage, const auto&) { return std::to_string(usage.min); }},
        {"_over(%)", [](const auto& usage, const auto&) { return std::to_string(usage.over); }},
        {"_bwHigh(GB/s)",
         [](const auto&, const auto& limits) { return std::to_string(limits.bwHigh); }, true},
        {"_bwLow(GB/s)",
         [](const auto&, const auto& limits) { return std::to_string(limits.bwLow); }, true},
    };
    return kinds;
}

template <typename Record>
Record Lookup(const std::map<std::string, Record>& records, const std::string& name) {
    const auto found = records.find(name);
    return found == records.end() ? Record() : found->second;
}

std::string Cell(const DdrVersionInfo& version, const std::string& name, const RowKind& kind) {
    if (!version.loaded || (kind.isBound && name == kDdrTotal)) {
        return kNoCell;
    }
    return kind.cell(Lookup(version.bwUsage, name), Lookup(version.bwLimits, name));
}

}  // namespace

std::string DdrComparisonTable(const std::map<std::string, DdrVersionInfo>& versions) {
    std::string table = "version_id,";
    for (const auto& [id, version] : versions) {
        table.append(id).push_back(',');
    }
    table.push_back('\n');
    for (const std::string& name : ddrCompNameList) {
        for (const RowKind& kind : RowKinds()) {
            table.append(name).append(kind.label).push_back(',');
            for (const auto& [id, version] : versions) {
                table.append(Cell(version, name, kind)).push_back(',');
            }
            table.push_back('\n');
        }
    }
    return table;
}

}  // namespace zarn
