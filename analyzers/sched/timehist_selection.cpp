#include "analyzers/sched/timehist_selection.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "foundation/numbers.h"

namespace zarn {

KeptTimehistRow::KeptTimehistRow(const TimehistRow& row) {
    std::size_t column = 0;
    for (const std::string_view text :
         {row.time, row.cpu, row.task, row.waitTime, row.schedDelay, row.runTime}) {
        text_ += text;
        if (column < ends_.size()) {
            ends_[column++] = text_.size();
        }
    }
}

TimehistRow KeptTimehistRow::Row() const {
    const std::string_view text = text_;
    const auto between = [text](std::size_t begin, std::size_t end) {
        return text.substr(begin, end - begin);
    };
    return {text.substr(0, ends_[0]),    between(ends_[0], ends_[1]), between(ends_[1], ends_[2]),
            between(ends_[2], ends_[3]), between(ends_[3], ends_[4]), text.substr(ends_[4])};
}

bool TimehistSelection::StandsBefore(const Candidate& a, const Candidate& b) {
    if (a.hasNumber != b.hasNumber) {
        return a.hasNumber;
    }
    return a.number != b.number ? a.number > b.number : a.place < b.place;
}

void TimehistSelection::Offer(const TimehistRow& row) {
    const std::optional<double> number = NumberIn(row.*column_);
    metNoNumber_ = metNoNumber_ || !number;
    const std::uint64_t place = offered_++;
    if (kept_.size() == most_) {
        // Of equal ones those that came before stay.
        if (most_ == 0 || !number || (kept_.front().hasNumber && *number <= kept_.front().number)) {
            return;
        }
        std::pop_heap(kept_.begin(), kept_.end(), StandsBefore);
        kept_.pop_back();
    }
    kept_.push_back({number.has_value(), number.value_or(0.0), place, KeptTimehistRow(row)});
    std::push_heap(kept_.begin(), kept_.end(), StandsBefore);
}

void TimehistSelection::PassOver(const TimehistRow& row) {
    metNoNumber_ = metNoNumber_ || !NumberIn(row.*column_);
}

std::vector<KeptTimehistRow> TimehistSelection::Take() {
    std::sort_heap(kept_.begin(), kept_.end(), StandsBefore);
    std::vector<KeptTimehistRow> rows;
    rows.reserve(kept_.size());
    for (Candidate& candidate : kept_) {
        rows.push_back(std::move(candidate.row));
    }
    kept_.clear();
    return rows;
}

}  // namespace zarn
