#include "report/moments.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <ctime>

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

[[nodiscard]] bool AllDigits(std::string_view text) {
    return text.find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace

std::optional<Moment> MomentIn(std::string_view digits) {
    if ((digits.size() != kTimeDigits && digits.size() != kSecondsDigits) || !AllDigits(digits)) {
        return std::nullopt;
    }
    std::tm time{};
    time.tm_year = NumberAt(digits, 0, 4) - 1900;
    time.tm_mon = NumberAt(digits, 4, 2) - 1;
    time.tm_mday = NumberAt(digits, 6, 2);
    time.tm_hour = NumberAt(digits, 8, 2);
    time.tm_min = NumberAt(digits, 10, 2);
    time.tm_sec = NumberAt(digits, 12, 2);
    const std::tm asked = time;
    // What is out of range is carried over, and then differs from what was asked for.
    const std::time_t seconds = ::timegm(&time);
    if (time.tm_mon != asked.tm_mon || time.tm_mday != asked.tm_mday ||
        time.tm_hour != asked.tm_hour || time.tm_min != asked.tm_min ||
        time.tm_sec != asked.tm_sec) {
        return std::nullopt;
    }
    const int milliseconds = digits.size() == kTimeDigits ? NumberAt(digits, kSecondsDigits, 3) : 0;
    return static_cast<Moment>(seconds) * kMillisecondsPerSecond + milliseconds;
}

std::optional<double> MillisecondsIn(std::string_view seconds) {
    const auto number = WholeNumberIn(seconds);
    return number ? std::optional(*number * kMillisecondsPerSecond) : std::nullopt;
}

std::optional<double> WholeNumberIn(std::string_view text) {
    constexpr std::size_t kMostDigits = 400;  // of the least number there is
    text = TrimSpacesView(text);
    const bool hasPlus = !text.empty() && text.front() == '+';
    text.remove_prefix(hasPlus ? 1 : 0);
    double number = 0.0;
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
