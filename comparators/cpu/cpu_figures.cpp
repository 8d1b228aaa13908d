#include "comparators/cpu/cpu_figures.h"

#include "foundation/statistics.h"

namespace zarn {
namespace {

void AddFigure(const std::string& figure, const std::vector<double>& values, ComparisonRows& rows) {
    double maximum = kNoValue;
    double minimum = kNoValue;
    double average = kNoValue;
    if (!values.empty()) {
        GetMaxMinAverage(values, maximum, minimum, average);
    }
    rows[figure + "_max"].push_back(maximum);
    rows[figure + "_min"].push_back(minimum);
    rows[figure + "_avg"].push_back(average);
}

}  // namespace

void AddVersionToRows(const CpuComparisonSettings& settings, const VersionFigures& figures,
                      ComparisonRows& rows) {
    if (settings.Has(CpuComparisonSettings::kGlobalJob)) {
        for (std::size_t i = 0; i < kSystemFigures.size(); ++i) {
            AddFigure(std::string(kSystemFigures[i].name), figures.system[i], rows);
        }
    }
    if (settings.Has(CpuComparisonSettings::kSelectedProcessJob)) {
        for (std::size_t p = 0; p < settings.processes.size(); ++p) {
            for (std::size_t i = 0; i < kProcessFigures.size(); ++i) {
                AddFigure(settings.processes[p] + std::string(kProcessFigures[i].suffix),
                          figures.processes[p][i], rows);
            }
        }
    }
}

}  // namespace zarn
