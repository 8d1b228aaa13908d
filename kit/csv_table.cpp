#include "kit/csv_table.h"

#include <cmath>
#include <limits>

namespace zarn {
namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20U;
constexpr double kTolerance = std::numeric_limits<float>::epsilon();

void AddVersionCell(double value, CsvTable& table) {
    if (std::fabs(value - kNoValue) <= kTolerance) {
        table.MissingCell();
    } else {
        table.Cell(value);
    }
}

}  // namespace

void CsvTable::FixedCell(double value) {
    AppendFixed(text_, value);
    text_.push_back(',');
}

void CsvTable::MissingCell() {
    Cell(std::string_view("N/A"));
}

void CsvTable::TimeCell(std::string_view timeStamp) {
    text_.push_back('\'');
    Cell(timeStamp);
}

void CsvTable::EndLine() {
    text_.push_back('\n');
    if (take_ && text_.size() >= kPiece) {
        HandOn();
    }
}

void CsvTable::Finish() {
    if (take_) {
        HandOn();
    }
}

void CsvTable::HandOn() {
    taken_ = taken_ && take_(text_);
    text_.clear();
}

std::string ComparisonTable(const std::vector<std::string>& versions, const ComparisonRows& rows,
                            const std::function<bool()>& stop) {
    CsvTable table;
    table.Cell("version");
    for (const std::string& version : versions) {
        table.Cell(version);
    }
    table.EndLine();
    for (const auto& [name, values] : rows) {
        if (stop()) {
            break;
        }
        table.Cell(name);
        for (std::size_t i = 0; i < versions.size(); ++i) {
            AddVersionCell(i < values.size() ? values[i] : kNoValue, table);
        }
        table.EndLine();
    }
    return table.TakeText();
}

}  // namespace zarn
