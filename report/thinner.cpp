#include "report/thinner.h"

#include <algorithm>
#include <utility>

namespace zarn::report {
namespace {

using Row = Thinner::Row;

// The rows [begin, end) of one bucket that have the least and the greatest value of a column, and
// the first one without a value.
void AddExtremes(const std::vector<Row>& rows, std::size_t begin, std::size_t end,
                 std::size_t column, std::set<std::size_t>& indexes) {
    std::optional<std::size_t> least;
    std::optional<std::size_t> greatest;
    std::optional<std::size_t> without;
    for (std::size_t i = begin; i < end; ++i) {
        const std::optional<double>& value = rows[i].values[column];
        if (!value) {
            without = without ? without : i;
            continue;
        }
        if (!least || *value < *rows[*least].values[column]) {
            least = i;
        }
        if (!greatest || *value > *rows[*greatest].values[column]) {
            greatest = i;
        }
    }
    for (const auto& index : {least, greatest, without}) {
        if (index) {
            indexes.insert(*index);
        }
    }
}

}  // namespace

Thinner::Thinner(std::size_t columns, std::size_t rows)
    : columns_(columns), most_(std::max(rows, 3 * columns)) {}

void Thinner::Add(Moment moment, const std::vector<std::optional<double>>& values,
                  std::uint64_t line) {
    if (last_ && moment < *last_) {
        ++backward_;
        return;
    }
    last_ = moment;
    const bool mustStay = moments_.count(moment) != 0;
    rows_.push_back({taken_++, moment, line, mustStay, values});
    rows_.back().values.resize(columns_);
    // Shrinking to half and then growing again costs each row a constant share of work.
    if (rows_.size() >= 2 * most_) {
        Shrink();
    }
}

const std::vector<Row>& Thinner::Rows() {
    if (rows_.size() > most_) {
        Shrink();
    }
    return rows_;
}

void Thinner::Shrink() {
    constexpr unsigned kMostBits = 63;
    // Samples that came since the last time may fit by what their buckets keep.
    KeepOfBuckets();
    while (rows_.size() > most_ && bucketBits_ < kMostBits) {
        ++bucketBits_;
        KeepOfBuckets();
    }
}

void Thinner::KeepOfBuckets() {
    std::vector<Row> kept;
    for (std::size_t begin = 0; begin < rows_.size();) {
        const std::uint64_t bucket = rows_[begin].index >> bucketBits_;
        std::size_t end = begin + 1;
        while (end < rows_.size() && rows_[end].index >> bucketBits_ == bucket) {
            ++end;
        }
        KeepOfBucket(begin, end, kept);
        begin = end;
    }
    rows_ = std::move(kept);
}

void Thinner::KeepOfBucket(std::size_t begin, std::size_t end, std::vector<Row>& kept) {
    std::set<std::size_t> indexes;
    for (std::size_t column = 0; column < columns_; ++column) {
        AddExtremes(rows_, begin, end, column, indexes);
    }
    for (std::size_t i = begin; i < end; ++i) {
        if (rows_[i].mustStay && indexes.size() < most_) {
            indexes.insert(i);
        }
    }
    for (const std::size_t index : indexes) {
        kept.push_back(std::move(rows_[index]));
    }
}

}  // namespace zarn::report
