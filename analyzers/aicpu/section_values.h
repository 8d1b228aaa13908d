#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the readers of sections find their values with, and keep them in.
namespace zarn {

// The number that a text is: digits alone, at most 64 bits.
[[nodiscard]] std::optional<std::uint64_t> WholeNumber(std::string_view text);

// Whether a text is digits with at most one point, as counters are printed.
[[nodiscard]] bool IsPrintedNumber(std::string_view text);

// Texts without line ends, one of each pass, in little more than their own memory.
class ValueSeries {
public:
    void Add(std::string_view value);
    [[nodiscard]] std::size_t Size() const { return size_; }

    // Calls take(value) for each, in order.
    template <typename Take>
    void ForEach(Take take) const {
        std::string_view rest = text_;
        while (!rest.empty()) {
            const std::size_t end = rest.find('\n');
            take(rest.substr(0, end));
            rest.remove_prefix(end + 1);
        }
    }

private:
    std::string text_;  // each with a newline
    std::size_t size_ = 0;
};

// Numbers, each at most once, in at most 32 bytes for each of them.
class NumberSet {
public:
    NumberSet() : slots_(kFirstSlots) {}

    [[nodiscard]] bool Holds(std::uint64_t number) const;
    void Add(std::uint64_t number);
    [[nodiscard]] std::size_t Size() const { return used_ + (holdsZero_ ? 1 : 0); }

private:
    static constexpr std::size_t kFirstSlots = 64;  // a power of two, as all sizes

    [[nodiscard]] std::size_t SlotOf(std::uint64_t number) const;

    std::vector<std::uint64_t> slots_;  // 0: free
    std::size_t used_ = 0;
    bool holdsZero_ = false;
};

}  // namespace zarn
