#include "collectors/profiling/topdown/topdown_stat_parser.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <system_error>

#include "foundation/text.h"

namespace zarn {
namespace {

constexpr char kSeparator = ';';
constexpr char kComment = '#';

// More digits than this need not fit 64 bits.
constexpr std::size_t kMostWholeDigits = 19;

// What counters are: digits alone, rounded to the nearest float once.
std::optional<float> WholeNumber(std::string_view text) {
    if (text.size() > kMostWholeDigits) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    for (const char byte : text) {
        const unsigned digit = static_cast<unsigned char>(byte) - unsigned{'0'};
        if (digit > 9) {
            return std::nullopt;
        }
        number = number * 10 + digit;
    }
    return static_cast<float>(number);
}

float CountOf(std::string_view text) {
    if (const std::optional<float> whole = WholeNumber(text)) {
        return *whole;
    }
    text = TrimSpacesView(text);
    float count = 0.0F;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    return error == std::errc() && std::isfinite(count) ? count : 0.0F;
}

}  // namespace

void TopdownTotals::Add(std::string_view line) {
    line = TrimSpacesView(line);
    if (line.empty() || line.front() == kComment) {
        return;
    }
    PieceCursor fields(line, kSeparator);
    std::string_view time;
    std::string_view count;
    std::string_view event;
    if (!fields.Next(time) || !fields.Next(count) || !fields.Next(event)) {
        return;
    }
    if (const std::optional<std::size_t> place = FindTopdownEvent(event)) {
        totals_[*place].count += CountOf(count);
        totals_[*place].isThere = true;
    }
}

std::unordered_map<std::string, float> TopdownTotals::Events() const {
    std::unordered_map<std::string, float> events;
    for (std::size_t place = 0; place < totals_.size(); ++place) {
        if (totals_[place].isThere) {
            events.emplace(TopdownEventName(place), totals_[place].count);
        }
    }
    return events;
}

}  // namespace zarn
