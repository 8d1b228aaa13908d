#pragma once

#include <endian.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

// Moments as the correlation's table has them: YYYYMMDDHHMMSS, milliseconds and microseconds, 20
// digits. In the table they stand behind a "'", as 21 characters.
namespace zarn {

inline constexpr std::size_t kTimeDigits = 20;

// Nothing but digits, ordered as texts.
class TimeDigits {
public:
    // `digits`: kTimeDigits of them.
    static TimeDigits At(const char* digits) {
        TimeDigits time;
        std::memcpy(time.digits_.data(), digits, kTimeDigits);
        return time;
    }

    [[nodiscard]] std::string_view Text() const { return {digits_.data(), kTimeDigits}; }

    friend bool operator<(const TimeDigits& a, const TimeDigits& b) {
        for (const std::size_t place : {kTimeDigits - 20, kTimeDigits - 12}) {
            if (a.Eight(place) != b.Eight(place)) {
                return a.Eight(place) < b.Eight(place);
            }
        }
        return a.Eight(kTimeDigits - 8) < b.Eight(kTimeDigits - 8);
    }
    friend bool operator==(const TimeDigits& a, const TimeDigits& b) {
        return std::memcmp(a.digits_.data(), b.digits_.data(), kTimeDigits) == 0;
    }

private:
    // Eight digits as a number in their order: moments are compared by the million.
    [[nodiscard]] std::uint64_t Eight(std::size_t place) const {
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, digits_.data() + place, sizeof(bytes));
        return be64toh(bytes);
    }

    std::array<char, kTimeDigits> digits_ = {};
};

// Of a sample's time stamp, which has 17 digits: milliseconds are its last. False for any other
// text.
[[nodiscard]] bool ReadStamp(std::string_view stamp, TimeDigits& time);

// The same for a stamp behind a "'", as tables have it.
[[nodiscard]] bool ReadQuotedStamp(std::string_view cell, TimeDigits& time);

// The moments of a log that counts seconds from the moment of booting. They are sums of digits: no
// minute is carried into an hour, so that they are those of a clock only within the minute in which
// the machine came up.
class BootClock {
public:
    // `boot`: the moment of booting, YYYYMMDDHHMMSS, nothing but digits.
    explicit BootClock(const std::string& boot);

    // `seconds`: digits with a point before the microseconds. False for any other text, and for a
    // sum that is no moment of 20 digits.
    [[nodiscard]] bool Read(std::string_view seconds, TimeDigits& time);

private:
    std::string boot_;
    std::string digits_;  // these two keep their memory from one moment to the next
    std::string sum_;
};

}  // namespace zarn
