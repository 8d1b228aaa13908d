#include "comparators/mem/mem_comparison_tables.h"

#include <functional>

#include "kit/csv_table.h"

namespace zarn {
namespace {

using ColumnOfVersion = std::function<const MemColumn&(const MemVersionInfo&)>;

void AddHead(const char* label, const std::vector<std::string>& titles, CsvTable& table) {
    table.Cell(label);
    for (const std::string& title : titles) {
        for (const std::string_view cell :
             {std::string_view(title), std::string_view(), std::string_view()}) {
            table.Cell(cell);
        }
    }
    table.EndLine();
    table.Cell("");
    for (std::size_t i = 0; i < titles.size(); ++i) {
        for (const char* cell : {"min", "avg", "max"}) {
            table.Cell(cell);
        }
    }
    table.EndLine();
}

void AddFigures(const MemColumn& column, std::size_t field, CsvTable& table) {
    if (field < column.size() && column[field]) {
        table.FixedCell(column[field]->min);
        table.FixedCell(column[field]->average);
        table.FixedCell(column[field]->max);
        return;
    }
    table.MissingCell();
    table.MissingCell();
    table.MissingCell();
}

template <typename Fields>
void AddRows(const Fields& fields, const MemVersions& versions, const ColumnOfVersion& columnOf,
             CsvTable& table) {
    for (std::size_t field = 0; field < fields.size(); ++field) {
        table.Cell(fields.at(field));
        for (const auto& [version, info] : versions) {
            AddFigures(columnOf(info), field, table);
        }
        table.EndLine();
    }
}

const MemColumn& ProcessColumn(const MemVersionInfo& info, const std::string& command) {
    static const MemColumn none;
    const auto found = info.processes.find(command);
    return found == info.processes.end() ? none : found->second;
}

}  // namespace

std::string MemSystemTable(const MemVersions& versions) {
    std::vector<std::string> titles;
    for (const auto& [version, info] : versions) {
        titles.push_back(version);
    }
    CsvTable table;
    AddHead("project", titles, table);
    AddRows(
        kMemSystemFields, versions,
        [](const MemVersionInfo& info) -> const MemColumn& { return info.system; }, table);
    return table.TakeText();
}

std::string MemProcessTable(const MemVersions& versions, const std::vector<std::string>& commands) {
    CsvTable table;
    for (const std::string& command : commands) {
        const std::string behind = "(" + command + ")";
        std::vector<std::string> titles;
        for (const auto& [version, info] : versions) {
            titles.push_back(version + behind);
        }
        AddHead("process", titles, table);
        AddRows(
            kMemProcessFields, versions,
            [&command](const MemVersionInfo& info) -> const MemColumn& {
                return ProcessColumn(info, command);
            },
            table);
    }
    return table.TakeText();
}

}  // namespace zarn
