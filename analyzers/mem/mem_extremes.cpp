#include "analyzers/mem/mem_extremes.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "foundation/console.h"
#include "foundation/text.h"

namespace zarn {
namespace {

using Values = std::vector<std::int32_t>;

// As stoi reads it; texts that are no plain number are left to that.
bool ReadValue(std::string_view text, std::int32_t& value) {
    const char* const end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data(), end, value);
    if (error == std::errc() && at == end) {
        return true;
    }
    try {
        value = std::stoi(std::string(text));
        return true;
    } catch (const std::out_of_range&) {
        return PrintFailure("[MemAnalyzer]: mem key information out of int32 range. ");
    } catch (const std::invalid_argument&) {
        return PrintFailure("[MemAnalyzer]: mem key information doesn't contain an integer. ");
    }
}

bool ReadValues(const MemFrames& frames, Values& values) {
    values.reserve(frames.Size());
    for (std::size_t i = 0; i < frames.Size(); ++i) {
        if (!ReadValue(frames.Value(i), values.emplace_back())) {
            return false;
        }
    }
    return true;
}

bool ReadDigits(const MemFrames& frames, Values& values) {
    for (std::size_t i = 0; i < frames.Size(); ++i) {
        if (!IsDigitString(frames.Value(i))) {
            return false;
        }
    }
    return frames.Size() != 0 && ReadValues(frames, values);
}

float MeanOf(const Values& values) {
    std::int64_t sum = 0;
    for (const std::int32_t value : values) {
        sum += value;
    }
    return static_cast<float>(sum) / static_cast<float>(values.size());
}

// Cut to an integer; the nearest there is for what lies beyond, 0 for what is no number.
std::int64_t Cut(double value) {
    constexpr double kBound = 9.0e18;
    return std::isnan(value) ? 0 : static_cast<std::int64_t>(std::clamp(value, -kBound, kBound));
}

// `sign`: 1 for peaks; -1 turns everything over, so that troughs are peaks.
std::vector<std::size_t> FramesBeyond(const Values& values, std::int64_t limit, std::int64_t sign) {
    const auto at = [&](std::size_t i) { return sign * kMemFrameScale * values[i]; };
    const std::size_t count = values.size();
    std::vector<std::size_t> indexes;
    for (std::size_t i = 0; i < count; ++i) {
        const bool passesLast = i == 0 || at(i) > at(i - 1);
        const bool passesNext = i + 1 == count || at(i) > at(i + 1);
        if (passesLast && passesNext && at(i) > sign * limit) {
            indexes.push_back(i);
        }
    }
    return indexes;
}

bool LocalFrames(const MemFrames& frames, float threshold, std::int64_t sign, const char* words,
                 std::vector<std::size_t>& indexes) {
    if (frames.Size() == 1) {
        indexes = {0};
        return true;
    }
    Values values;
    if (!ReadDigits(frames, values)) {
        return PrintFailure(words);
    }
    const double share = 1.0 + static_cast<double>(sign) * static_cast<double>(threshold);
    const double limit = share * static_cast<double>(MeanOf(values)) * kMemFrameScale;
    indexes = FramesBeyond(values, Cut(limit), sign);
    return true;
}

}  // namespace

bool LocalMaxFrames(const MemFrames& frames, float threshold, std::vector<std::size_t>& indexes) {
    return LocalFrames(frames, threshold, 1,
                       "[MemAnalyzer] Invalid inputs when calculate local max frame.", indexes);
}

bool LocalMinFrames(const MemFrames& frames, float threshold, std::vector<std::size_t>& indexes) {
    return LocalFrames(frames, threshold, -1,
                       "[MemAnalyzer] Invalid inputs when calculate local min frame.", indexes);
}

bool SummarizeMemFrames(const MemFrames& frames, MemSummary& summary) {
    Values values;
    if (!ReadValues(frames, values)) {
        return false;
    }
    const auto [min, max] = std::minmax_element(values.begin(), values.end());
    summary = {*max, *min, MeanOf(values)};
    return true;
}

}  // namespace zarn
