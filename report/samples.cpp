#include "report/samples.h"

#include <algorithm>
#include <string>

namespace zarn::report {

void FewSamples::Mark(const SampleCount& samples, Cell& cell) {
    if (!samples || *samples >= kFewestSamples || !std::holds_alternative<double>(cell.value)) {
        return;
    }
    if (*samples == 0) {
        cell.value = Reason::TooFewSamples;
        return;
    }
    cell.grey = true;
    least_ = std::min(least_.value_or(*samples), *samples);
    greatest_ = std::max(greatest_, *samples);
}

void FewSamples::TellIn(BlockHead& head) const {
    if (!least_) {
        return;
    }
    head.note += head.note.empty() ? "" : " ";
    head.note += "Grey: of " + std::to_string(*least_);
    head.note += *least_ == greatest_ ? "" : " to " + std::to_string(greatest_);
    head.note += greatest_ == 1 ? " sample, too few to trust." : " samples, too few to trust.";
}

SampleCount SamplesIn(const Cell& count) {
    const auto* number = std::get_if<double>(&count.value);
    if (number == nullptr || *number < 0.0) {
        return std::nullopt;
    }
    constexpr auto kEnough = static_cast<double>(kFewestSamples);
    return static_cast<std::uint64_t>(std::min(*number, kEnough));
}

SampleCount SamplesOf(const SeriesBlock& chart, std::size_t line) {
    if (chart.total != 0 || line >= chart.series.size()) {
        return std::nullopt;
    }
    const auto& values = chart.series[line].values;
    return static_cast<std::uint64_t>(
        std::count_if(values.begin(), values.end(), [](const auto& value) { return !!value; }));
}

}  // namespace zarn::report
