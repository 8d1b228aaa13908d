#include "analyzers/correlation/time_digits.h"

#include <algorithm>

#include "analyzers/correlation/digit_arithmetic.h"

namespace zarn {
namespace {

constexpr std::string_view kMicroseconds = "000";  // a stamp ends in milliseconds
constexpr std::size_t kStampDigits = kTimeDigits - kMicroseconds.size();

}  // namespace

bool ReadStamp(std::string_view stamp, TimeDigits& time) {
    if (stamp.size() != kStampDigits || !IsNumber(stamp)) {
        return false;
    }
    std::array<char, kTimeDigits> digits{};
    std::copy(stamp.begin(), stamp.end(), digits.begin());
    std::copy(kMicroseconds.begin(), kMicroseconds.end(), digits.begin() + kStampDigits);
    time = TimeDigits::At(digits.data());
    return true;
}

bool ReadQuotedStamp(std::string_view cell, TimeDigits& time) {
    return !cell.empty() && cell.front() == '\'' && ReadStamp(cell.substr(1), time);
}

BootClock::BootClock(const std::string& boot) {
    AddDigits(boot + "000000", "", boot_);
}

bool BootClock::Read(std::string_view seconds, TimeDigits& time) {
    const std::size_t point = seconds.find('.');
    digits_.assign(seconds.substr(0, point));
    if (point != std::string_view::npos) {
        digits_.append(seconds.substr(point + 1));
    }
    if (!IsNumber(digits_) || boot_.size() > kTimeDigits) {
        return false;
    }
    AddDigits(boot_, digits_, sum_);
    if (sum_.size() != kTimeDigits) {
        return false;
    }
    time = TimeDigits::At(sum_.data());
    return true;
}

}  // namespace zarn
