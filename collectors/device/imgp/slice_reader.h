#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kit/csv_table.h"

// The profiling tool's slices as a table. Accepts lines of cells parted by commas. The first line
// that is not blank is the head of a record, and so is every later one with a heading that is known
// below; the other lines are the record's rows.
//
//   heading                                     cells of the head
//   In W*H, Out W*H                             InWidth,InHeight  OutWidth,OutHeight
//   TimeStamp                                   TimeStamp(s),TimeStamp(ns)
//   with "us,Max Min Ave" or "max min avg"      <name>_MAX(us),<name>_MIN(us),<name>_AVG(us)
//   with "us,avg:min:max"                       <name>_AVG(us),<name>_MIN(us),<name>_MAX(us)
//   any other                                   as it is
//
// A comma within brackets, or within one of the three forms, belongs to its heading; it becomes a
// blank. <name> is the rest of the heading without the brackets around the form, "Time" where
// nothing is left. A row has as many cells as its head: what it lacks is empty, what is too much is
// left out. Refuses nothing.
namespace zarn {

// What a cell of a record's rows holds.
enum class SliceCell {
    Plain,
    Size,        // width*height
    TimeStamp,   // seconds, then a point or blanks, then nanoseconds
    ThreeTimes,  // parted by blanks or ":"
};

// A column of a record: what its cells hold, and the names of the table's columns that they become.
struct SliceColumn {
    SliceCell cell = SliceCell::Plain;
    std::vector<std::string> names;
};

[[nodiscard]] std::vector<SliceColumn> ParseSliceHead(std::string_view line);

// Reads the lines of one file.
class SliceReader {
public:
    explicit SliceReader(CsvTable& table) : table_(table) {}

    void Take(std::string_view line);

private:
    // False if the line is no head.
    bool TakeHead(std::string_view line);
    void TakeRow(std::string_view line);

    CsvTable& table_;
    std::vector<SliceColumn> columns_;  // of the record in hand, at least one
    std::size_t valueCount_ = 0;        // of all its columns
    std::string row_;                   // room for one
};

}  // namespace zarn
