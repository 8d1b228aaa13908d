#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "report/blocks.h"

namespace zarn::report {

// Rows of samples that share a moment, one value in each column, thinned as they come, so that a
// file of any length takes no more memory than a picture needs. Samples are taken together in
// buckets of equal count, a power of two: of each bucket stay, for each column, the rows of its
// least and its greatest value, the first row without a value, and all rows that must stay. Each
// row that stays knows the mean of the values it stands for: its own, and those left out beside it.
class Thinner {
public:
    // Keeps at most about `rows` rows, and not fewer than a bucket needs.
    Thinner(std::size_t columns, std::size_t rows);

    // A moment whose row has to stay, such as that of a peak. To be told before the rows.
    void MustKeep(Moment moment) { moments_.insert(moment); }

    // Takes the next sample. One whose moment lies before the last one's is left out and counted.
    // Columns beyond the values have none.
    void Add(Moment moment, const std::vector<std::optional<double>>& values, std::uint64_t line) {
        Add(moment, values.data(), values.size(), line);
    }
    // The same of the first column.
    void Add(Moment moment, const std::optional<double>& value, std::uint64_t line) {
        Add(moment, &value, 1, line);
    }

    // Values of a column: how many, and their sum, which may be beyond all numbers.
    struct Measured {
        std::uint64_t count = 0;
        double sum = 0.0;

        // 0 of none.
        [[nodiscard]] double Mean() const {
            return count == 0 ? 0.0 : sum / static_cast<double>(count);
        }
    };
    struct Row {
        std::uint64_t index;  // of the sample
        Moment moment;
        std::uint64_t line;
        std::vector<std::optional<double>> values;
        std::vector<Measured> measured;
    };

    // What is left, in the order of the samples.
    [[nodiscard]] std::vector<Row> Rows();

    // How many samples a bucket holds; 1 as long as nothing was left out.
    [[nodiscard]] std::uint64_t BucketSize() const { return std::uint64_t{1} << bucketBits_; }

    // Samples that were taken, and those that were left out.
    [[nodiscard]] std::uint64_t Taken() const { return taken_; }
    [[nodiscard]] std::uint64_t Backward() const { return backward_; }

private:
    struct Head {
        std::uint64_t index;
        Moment moment;
        std::uint64_t line;
        bool mustStay;
    };

    void Add(Moment moment, const std::optional<double>* values, std::size_t count,
             std::uint64_t line);
    // Whether that sample goes into the bucket that is open.
    [[nodiscard]] bool BelongsToOpen(std::uint64_t sample) const;
    // Leaves of the rows from `begin` on, which belong to one bucket, what stays of them.
    void CloseBucket(std::size_t begin);
    void Widen();
    // Puts what stays of the rows [begin, end) behind the first `kept` rows; how many there are
    // then.
    std::size_t KeepOf(std::size_t begin, std::size_t end, std::size_t kept);
    void Choose(std::size_t row);
    // Lets the chosen rows of [begin, end) stand for the others.
    void StandForOthers(std::size_t begin, std::size_t end);
    void Move(std::size_t from, std::size_t to);
    void Resize(std::size_t rows);

    std::size_t columns_;
    std::size_t most_;
    std::set<Moment> moments_;
    std::vector<Head> heads_;
    std::vector<double> values_;       // of each row, not a number where there is none
    std::vector<Measured> measured_;   // what each row stands for
    std::vector<std::size_t> chosen_;  // rows of a bucket that stay, in their order
    std::size_t open_ = 0;             // where the rows of the last bucket begin
    std::size_t mostOpen_ = 0;         // of its rows, before what it will leave out goes
    unsigned bucketBits_ = 0;          // buckets hold 2^bucketBits_ samples
    Moment last_ = 0.0;                // of the last sample
    std::uint64_t taken_ = 0;
    std::uint64_t backward_ = 0;
};

}  // namespace zarn::report
