#include "analyzers/aicpu/section_values.h"

#include <charconv>
#include <system_error>
#include <utility>

#include "foundation/text.h"

namespace zarn {

std::optional<std::uint64_t> WholeNumber(std::string_view text) {
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional<std::uint64_t>(number)
                                               : std::nullopt;
}

bool IsPrintedNumber(std::string_view text) {
    return IsDecimalString(text) && text != ".";
}

void ValueSeries::Add(std::string_view value) {
    text_.append(value).push_back('\n');
    ++size_;
}

bool NumberSet::Holds(std::uint64_t number) const {
    return number == 0 ? holdsZero_ : slots_[SlotOf(number)] == number;
}

void NumberSet::Add(std::uint64_t number) {
    if (number == 0) {
        holdsZero_ = true;
        return;
    }
    std::uint64_t& slot = slots_[SlotOf(number)];
    if (slot == number) {
        return;
    }
    slot = number;
    if (++used_ * 2 > slots_.size()) {
        const std::vector<std::uint64_t> old =
            std::exchange(slots_, std::vector<std::uint64_t>(slots_.size() * 2));
        for (const std::uint64_t kept : old) {
            if (kept != 0) {
                slots_[SlotOf(kept)] = kept;
            }
        }
    }
}

// Its own slot, or the one that it would get.
std::size_t NumberSet::SlotOf(std::uint64_t number) const {
    constexpr std::uint64_t kGolden = 0x9E3779B97F4A7C15;
    const std::size_t last = slots_.size() - 1;
    std::uint64_t mixed = number * kGolden;
    mixed ^= mixed >> 32U;
    std::size_t slot = mixed & last;
    while (slots_[slot] != 0 && slots_[slot] != number) {
        slot = (slot + 1) & last;
    }
    return slot;
}

}  // namespace zarn
