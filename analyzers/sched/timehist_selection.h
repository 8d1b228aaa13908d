#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "formats/sched_timehist.h"

// Choice of the rows of a history that stand out, in one pass.
namespace zarn {

// A row that outlives its line.
class KeptTimehistRow {
public:
    explicit KeptTimehistRow(const TimehistRow& row);

    // Views that hold as long as this one.
    [[nodiscard]] TimehistRow Row() const;

private:
    std::string text_;                   // the columns without what parts them
    std::array<std::size_t, 5> ends_{};  // of all but the last, in text_
};

// The `most` rows with the greatest numbers in one column, the greatest first; equal ones keep
// their order, those whose number cannot be read come last. Memory is that of the rows it keeps.
class TimehistSelection {
public:
    using Column = std::string_view TimehistRow::*;

    TimehistSelection(Column column, std::size_t most) : column_(column), most_(most) {}

    // Takes the next row.
    void Offer(const TimehistRow& row);

    // Judges the number of a row that is not to be chosen.
    void PassOver(const TimehistRow& row);

    // Whether a row had no number that can be ordered.
    [[nodiscard]] bool MetNoNumber() const { return metNoNumber_; }

    // Gives away the rows.
    [[nodiscard]] std::vector<KeptTimehistRow> Take();

private:
    struct Candidate {
        bool hasNumber;
        double number;        // 0 without one
        std::uint64_t place;  // in the order of the rows
        KeptTimehistRow row;
    };

    // Whether `a` stands before `b`: the heap's top is the last of those kept.
    static bool StandsBefore(const Candidate& a, const Candidate& b);

    Column column_;
    std::size_t most_;
    bool metNoNumber_ = false;
    std::uint64_t offered_ = 0;
    std::vector<Candidate> kept_;
};

}  // namespace zarn
