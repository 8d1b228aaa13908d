#include "report/thinner.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace zarn::report {
namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kLeastOpen = 64;
constexpr std::size_t kNoRow = std::numeric_limits<std::size_t>::max();

}  // namespace

Thinner::Thinner(std::size_t columns, std::size_t rows)
    : columns_(columns), most_(std::max(rows, 3 * columns)) {}

void Thinner::Add(Moment moment, const std::optional<double>* values, std::size_t count,
                  std::uint64_t line) {
    if (taken_ > 0 && moment < last_) {
        ++backward_;
        return;
    }
    last_ = moment;
    if (!BelongsToOpen(taken_)) {
        CloseBucket(open_);
        if (heads_.size() > most_) {
            Widen();
        }
        if (!BelongsToOpen(taken_)) {
            open_ = heads_.size();
            mostOpen_ = kLeastOpen;
        }
    }
    const bool mustStay = !moments_.empty() && moments_.count(moment) != 0;
    heads_.push_back({taken_++, moment, line, mustStay});
    for (std::size_t column = 0; column < columns_; ++column) {
        const bool hasValue = column < count && values[column];
        values_.push_back(hasValue ? *values[column] : kNone);
        measured_.push_back(hasValue ? Measured{1, *values[column]} : Measured());
    }
    // A bucket that is still open need not wait with what it will leave out: the rows of hundreds
    // of columns stay in the cache then.
    if (heads_.size() - open_ > mostOpen_) {
        CloseBucket(open_);
        mostOpen_ = kLeastOpen + 2 * (heads_.size() - open_);
    }
}

std::vector<Thinner::Row> Thinner::Rows() {
    if (heads_.size() > most_) {
        CloseBucket(open_);
        Widen();
    }
    std::vector<Row> rows;
    rows.reserve(heads_.size());
    for (std::size_t i = 0; i < heads_.size(); ++i) {
        const Head& head = heads_[i];
        Row& row = rows.emplace_back(Row{head.index, head.moment, head.line, {}, {}});
        for (std::size_t column = 0; column < columns_; ++column) {
            const double value = values_[i * columns_ + column];
            row.values.push_back(std::isnan(value) ? std::nullopt : std::optional(value));
            row.measured.push_back(measured_[i * columns_ + column]);
        }
    }
    return rows;
}

bool Thinner::BelongsToOpen(std::uint64_t sample) const {
    return open_ < heads_.size() && heads_[open_].index >> bucketBits_ == sample >> bucketBits_;
}

void Thinner::CloseBucket(std::size_t begin) {
    if (heads_.size() - begin > 1) {
        Resize(KeepOf(begin, heads_.size(), begin));
    }
}

void Thinner::Widen() {
    constexpr unsigned kMostBits = 63;
    while (heads_.size() > most_ && bucketBits_ < kMostBits) {
        ++bucketBits_;
        std::size_t kept = 0;
        std::size_t last = 0;  // where what is left of the last bucket begins
        for (std::size_t begin = 0; begin < heads_.size();) {
            const std::uint64_t bucket = heads_[begin].index >> bucketBits_;
            std::size_t end = begin + 1;
            while (end < heads_.size() && heads_[end].index >> bucketBits_ == bucket) {
                ++end;
            }
            last = kept;
            kept = KeepOf(begin, end, kept);
            begin = end;
        }
        Resize(kept);
        // The last bucket may go on with the next sample.
        open_ = last;
    }
}

std::size_t Thinner::KeepOf(std::size_t begin, std::size_t end, std::size_t kept) {
    chosen_.clear();
    for (std::size_t column = 0; column < columns_; ++column) {
        std::size_t least = kNoRow;
        std::size_t greatest = kNoRow;
        std::size_t without = kNoRow;
        double low = 0.0;
        double high = 0.0;
        for (std::size_t row = begin; row < end; ++row) {
            const double value = values_[row * columns_ + column];
            if (std::isnan(value)) {
                without = std::min(without, row);
                continue;
            }
            if (least == kNoRow || value < low) {
                least = row;
                low = value;
            }
            if (greatest == kNoRow || value > high) {
                greatest = row;
                high = value;
            }
        }
        for (const std::size_t row : {least, greatest, without}) {
            Choose(row);
        }
    }
    for (std::size_t row = begin; row < end && chosen_.size() < most_; ++row) {
        if (heads_[row].mustStay) {
            Choose(row);
        }
    }
    std::sort(chosen_.begin(), chosen_.end());
    StandForOthers(begin, end);
    for (const std::size_t row : chosen_) {
        Move(row, kept++);
    }
    return kept;
}

void Thinner::StandForOthers(std::size_t begin, std::size_t end) {
    std::size_t next = 0;  // those behind the last one count to that
    for (std::size_t row = begin; row < end && !chosen_.empty(); ++row) {
        if (row == chosen_[next]) {
            next = std::min(next + 1, chosen_.size() - 1);
            continue;
        }
        for (std::size_t column = 0; column < columns_; ++column) {
            Measured& own = measured_[chosen_[next] * columns_ + column];
            const Measured& other = measured_[row * columns_ + column];
            own.count += other.count;
            own.sum += other.sum;
        }
    }
}

void Thinner::Choose(std::size_t row) {
    if (row != kNoRow && std::find(chosen_.begin(), chosen_.end(), row) == chosen_.end()) {
        chosen_.push_back(row);
    }
}

void Thinner::Move(std::size_t from, std::size_t to) {
    if (from == to) {
        return;
    }
    heads_[to] = heads_[from];
    std::copy_n(values_.begin() + static_cast<std::ptrdiff_t>(from * columns_), columns_,
                values_.begin() + static_cast<std::ptrdiff_t>(to * columns_));
    std::copy_n(measured_.begin() + static_cast<std::ptrdiff_t>(from * columns_), columns_,
                measured_.begin() + static_cast<std::ptrdiff_t>(to * columns_));
}

void Thinner::Resize(std::size_t rows) {
    heads_.resize(rows);
    values_.resize(rows * columns_);
    measured_.resize(rows * columns_);
}

}  // namespace zarn::report
