#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace zarn {

// Stands for a value that a version does not have.
inline constexpr double kNoValue = -1.0;
inline constexpr const char* kNoValueText = "N/A";

// Row name to one value per version, in the order of the versions.
using ComparisonRows = std::map<std::string, std::vector<double>>;

// The text of a value in a table: the stream's default number format, or "N/A" for anything within
// the epsilon of a single-precision float of kNoValue, a measured -1 included.
[[nodiscard]] std::string CellText(double value);

// The table as text, every line ending in ",": the head line of "version" and the versions' names,
// then the rows in increasing byte order of their names. Rows that are shorter than the versions
// are filled with kNoValue. `stop` is asked before each row; true ends the table there.
[[nodiscard]] std::string ComparisonTable(const std::vector<std::string>& versions,
                                          const ComparisonRows& rows,
                                          const std::function<bool()>& stop);

}  // namespace zarn
