#include "report/moments.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <ctime>

#include "foundation/numbers.h"
#include "foundation/text.h"

namespace zarn::report {
namespace {

constexpr std::size_t kSecondsDigits = 14;
constexpr std::size_t kTimeDigits = 17;
constexpr double kMillisecondsPerSecond = 1000.0;

[[nodiscard]] int NumberAt(std::string_view digits, std::size_t at, std::size_t count) {
    int number = 0;
    for (const char c : digits.substr(at, count)) {
        number = number * 10 + (c - '0');
    }
    return number;
}

[[nodiscard]] bool IsLeapYear(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr std::array<int, 12> kDaysOfMonths = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

[[nodiscard]] int DaysOf(int year, int month) {
    return kDaysOfMonths[static_cast<std::size_t>(month - 1)] +
           (month == 2 && IsLeapYear(year) ? 1 : 0);
}

// Days from the first of 1970 to the first of that month.
[[nodiscard]] int DaysBefore(int year, int month) {
    const int before = year - 1;
    int days = (year - 1970) * 365 + (before / 4 - before / 100 + before / 400) - 477;
    for (int passed = 1; passed < month; ++passed) {
        days += DaysOf(year, passed);
    }
    return days;
}

[[nodiscard]] bool AllDigits(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

std::optional<Moment> MomentIn(std::string_view digits) {
    if ((digits.size() != kTimeDigits && digits.size() != kSecondsDigits) || !AllDigits(digits)) {
        return std::nullopt;
    }
    const int year = NumberAt(digits, 0, 4);
    const int month = NumberAt(digits, 4, 2);
    const int day = NumberAt(digits, 6, 2);
    const int hour = NumberAt(digits, 8, 2);
    const int minute = NumberAt(digits, 10, 2);
    const int second = NumberAt(digits, 12, 2);
    if (year < 1 || month < 1 || month > 12 || day < 1 || day > DaysOf(year, month) || hour > 23 ||
        minute > 59 || second > 59) {
        return std::nullopt;
    }
    const int milliseconds = digits.size() == kTimeDigits ? NumberAt(digits, kSecondsDigits, 3) : 0;
    const double seconds =
        ((DaysBefore(year, month) + day - 1) * 24.0 + hour) * 3600.0 + minute * 60.0 + second;
    return seconds * kMillisecondsPerSecond + milliseconds;
}

bool IsOnTheClock(Moment moment) {
    constexpr Moment kYear1 = -62135596800000.0;
    constexpr Moment kYear10000 = 253402300800000.0;
    return moment >= kYear1 && moment < kYear10000;
}

std::optional<double> MillisecondsIn(std::string_view seconds) {
    const auto number = WholeNumberIn(seconds);
    return number ? std::optional(*number * kMillisecondsPerSecond) : std::nullopt;
}

std::optional<double> WholeNumberIn(std::string_view text) {
    constexpr std::size_t kMostDigits = 400;  // of the least number there is
    text = TrimSpacesView(text);
    double number = 0.0;
    if (PlainDecimal(text, number)) {
        return number;
    }
    const bool hasPlus = !text.empty() && text.front() == '+';
    text.remove_prefix(hasPlus ? 1 : 0);
    const char* const end = text.data() + text.size();
    if (text.empty() || text.size() > kMostDigits || (hasPlus && text.front() == '-')) {
        return std::nullopt;
    }
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

std::string DateOf(Moment moment) {
    const double seconds = std::floor(moment / kMillisecondsPerSecond);
    const auto whole = static_cast<std::time_t>(seconds);
    std::tm time{};
    std::array<char, 32> text{};
    if (::gmtime_r(&whole, &time) == nullptr ||
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &time) == 0) {
        return "";
    }
    const auto rest = static_cast<int>(moment - seconds * kMillisecondsPerSecond);
    const std::string digits = std::to_string(1000 + rest);
    return std::string(text.data()) + "." + digits.substr(1);
}

}  // namespace zarn::report
