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
// least and its greatest value, the first row without a value, and all rows that must stay.
class Thinner {
public:
    // Keeps at most about `rows` rows, and not fewer than a bucket needs.
    Thinner(std::size_t columns, std::size_t rows);

    // A moment whose row has to stay, such as that of a peak. To be told before the rows.
    void MustKeep(Moment moment) { moments_.insert(moment); }

    // Takes the next sample. One whose moment lies before the last one's is left out and counted.
    void Add(Moment moment, const std::vector<std::optional<double>>& values, std::uint64_t line);

    struct Row {
        std::uint64_t index;  // of the sample
        Moment moment;
        std::uint64_t line;
        bool mustStay;
        std::vector<std::optional<double>> values;
    };

    // What is left, in the order of the samples.
    [[nodiscard]] const std::vector<Row>& Rows();

    // How many samples a bucket holds; 1 as long as nothing was left out.
    [[nodiscard]] std::uint64_t BucketSize() const { return std::uint64_t{1} << bucketBits_; }

    // Samples that were taken, and those that were left out.
    [[nodiscard]] std::uint64_t Taken() const { return taken_; }
    [[nodiscard]] std::uint64_t Backward() const { return backward_; }

private:
    void Shrink();
    void KeepOfBuckets();
    void KeepOfBucket(std::size_t begin, std::size_t end, std::vector<Row>& kept);

    std::size_t columns_;
    std::size_t most_;
    std::set<Moment> moments_;
    std::vector<Row> rows_;
    unsigned bucketBits_ = 0;  // buckets hold 2^bucketBits_ samples
    std::uint64_t taken_ = 0;
    std::uint64_t backward_ = 0;
    std::optional<Moment> last_;
};

}  // namespace zarn::report
