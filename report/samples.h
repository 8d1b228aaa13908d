#pragma once

#include <cstdint>
#include <optional>

#include "report/blocks.h"

namespace zarn::report {

// A mean, a share or a count of fewer samples than this is grey: of 30 samples the share of one
// half is told to nine points either way, as a rule, and of fewer it says less and less.
inline constexpr std::uint64_t kFewestSamples = 30;

// How many samples a figure rests on; none where the files do not tell.
using SampleCount = std::optional<std::uint64_t>;

// Makes figures of a block grey that rest on too few samples, and tells how many these are.
class FewSamples {
public:
    // A figure of that many samples. One of no sample at all is none.
    void Mark(const SampleCount& samples, Cell& cell);

    // Says in the block's note of how many samples the grey figures are; nothing if none is.
    void TellIn(BlockHead& head) const;

private:
    std::optional<std::uint64_t> least_;  // samples of those that are grey
    std::uint64_t greatest_ = 0;
};

// The count that stands in a cell.
[[nodiscard]] SampleCount SamplesIn(const Cell& count);

// The values of a chart's line, where it holds all that was measured.
[[nodiscard]] SampleCount SamplesOf(const SeriesBlock& chart, std::size_t line);

}  // namespace zarn::report
