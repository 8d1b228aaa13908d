#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/numbers.h"

// Tables as CSV text. Every cell, the last of a line too, is followed by ",".
namespace zarn {

// A table in the making: its text is gathered whole or, for one that need not fit into memory,
// handed on in large pieces of whole lines.
class CsvTable {
public:
    using Take = std::function<bool(std::string_view)>;

    CsvTable() = default;
    // `take` says whether it could take the piece; after one that it could not it is not called
    // again.
    explicit CsvTable(Take take) : take_(std::move(take)) {}

    // Makes room for a table of about so many bytes.
    void Reserve(std::size_t bytes) { text_.reserve(bytes); }

    void Cell(std::string_view text) { text_.append(text).push_back(','); }
    // In a stream's default format: six significant digits, no zeros at their end.
    void Cell(double value) {
        AppendNumber(text_, value);
        text_.push_back(',');
    }
    // The number, or an empty cell for nullptr.
    void Cell(const double* value) {
        if (value == nullptr) {
            text_.push_back(',');
        } else {
            Cell(*value);
        }
    }
    // In fixed notation with six decimals.
    void FixedCell(double value);
    // "N/A", for a value that is not known.
    void MissingCell();
    // A time stamp, behind a "'" that keeps spreadsheets from reading it as a number.
    void TimeCell(std::string_view timeStamp);
    void EndLine();

    // Hands on what is left, the empty piece of an empty table too.
    void Finish();

    // Gives away what was gathered and not handed on.
    [[nodiscard]] std::string TakeText() { return std::move(text_); }

private:
    void HandOn();

    Take take_;
    std::string text_;
    bool taken_ = true;
};

// Stands for a value that a version does not have.
inline constexpr double kNoValue = -1.0;

// Row name to one value per version, in the order of the versions.
using ComparisonRows = std::map<std::string, std::vector<double>>;

// The table as text: the head line of "version" and the versions' names, then the rows in
// increasing byte order of their names. Rows that are shorter than the versions are filled with
// kNoValue. Anything within the epsilon of a single-precision float of kNoValue, a measured -1
// included, is a missing cell. `stop` is asked before each row; true ends the table there.
[[nodiscard]] std::string ComparisonTable(const std::vector<std::string>& versions,
                                          const ComparisonRows& rows,
                                          const std::function<bool()>& stop);

}  // namespace zarn
