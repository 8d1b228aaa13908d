#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "report/family.h"
#include "report/samples.h"
#include "report/series.h"

// What analyzers say of a series of samples: mean, greatest, least, peaks and troughs.
namespace zarn::report {

// How a family calls them.
struct StatisticsNames {
    std::string_view mean;
    std::string_view greatest;
    std::string_view least;
    std::string_view peaks;
    std::string_view troughs;
    MarkNames marks;
};

// A table for such figures, with a column for what they are about.
[[nodiscard]] TableBlock StatisticsTable(BlockHead head, const std::string& subject,
                                         const std::string& unit);

// Where a block of figures stands.
struct FoundAt {
    const JsonValue* figures;
    Source source;
};

void AddStatistics(const std::string& subject, const FoundAt& at, const StatisticsNames& names,
                   TableBlock& table);

// Marks the mean of a row that begins with such figures, from the one at `mean` on. Of no sample at
// all there is neither a greatest nor a least value: analyzers write a number nevertheless.
void MarkMean(const SampleCount& samples, std::size_t mean, std::vector<Cell>& row,
              FewSamples& few);

// Marks of all its peaks and troughs, on that line of a chart.
void AddPeaksAndTroughs(const FoundAt& at, const StatisticsNames& names,
                        std::optional<std::size_t> line, std::vector<Mark>& marks);

// The greatest peak and the least trough, for the first page.
void TellExtremes(const std::string& subject, const FoundAt& at, const StatisticsNames& names,
                  const std::string& unit, std::vector<Finding>& findings);

}  // namespace zarn::report
