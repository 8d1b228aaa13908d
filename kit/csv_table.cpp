#include "kit/csv_table.h"

#include <cmath>
#include <limits>
#include <sstream>

namespace zarn {
namespace {

constexpr double kTolerance = std::numeric_limits<float>::epsilon();

}  // namespace

std::string CellText(double value) {
    if (std::fabs(value - kNoValue) <= kTolerance) {
        return kNoValueText;
    }
    std::ostringstream text;
    text << value;
    return text.str();
}

std::string ComparisonTable(const std::vector<std::string>& versions, const ComparisonRows& rows,
                            const std::function<bool()>& stop) {
    std::string table = "version,";
    for (const std::string& version : versions) {
        table += version + ",";
    }
    table += '\n';
    for (const auto& [name, values] : rows) {
        if (stop()) {
            break;
        }
        table += name + ",";
        for (std::size_t i = 0; i < versions.size(); ++i) {
            table += CellText(i < values.size() ? values[i] : kNoValue) + ",";
        }
        table += '\n';
    }
    return table;
}

}  // namespace zarn
