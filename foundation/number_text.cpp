#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

#include "foundation/zarn_utils.h"

// Numbers as text, in the two formats that tables and documents use.
namespace zarn {
namespace {

constexpr std::array<std::uint64_t, 10> kPowersOfTen = {
    1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};

// Below it ScaledInteger's result fits 64 bits whatever the decimals.
constexpr double kScalableBound = 1e9;

__extension__ using Uint128 = unsigned __int128;

// value * 10^decimals, rounded to the nearest integer, ties to even: exactly as printf rounds,
// since the 53 bits of a double times 10^9 fit 128 bits. `value` is from 0 to kScalableBound.
std::uint64_t ScaledInteger(double value, std::size_t decimals) {
    constexpr std::uint64_t kFractionBits = 52;
    constexpr std::uint64_t kHiddenBit = std::uint64_t{1} << kFractionBits;
    constexpr int kBias = 1023 + 52;
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    // The value is mantissa / 2^shift; a subnormal one is as good as 0, like all that are far too
    // small.
    const std::uint64_t mantissa = (bits & (kHiddenBit - 1)) | kHiddenBit;
    const int shift = kBias - static_cast<int>(bits >> kFractionBits);
    if (shift > 100) {
        return 0;
    }
    const Uint128 product = Uint128{mantissa} * kPowersOfTen[decimals];
    const Uint128 rest = product & ((Uint128{1} << shift) - 1);
    const Uint128 half = Uint128{1} << (shift - 1);
    const auto quotient = static_cast<std::uint64_t>(product >> shift);
    const bool up = rest > half || (rest == half && quotient % 2 == 1);
    return quotient + (up ? 1 : 0);
}

// Appends `number` with zeros before it, up to `width` digits, which suffice for it.
void AppendPadded(std::string& text, std::uint64_t number, std::size_t width) {
    text.append(width, '0');
    for (std::size_t end = text.size(); number != 0; number /= 10) {
        text[--end] = static_cast<char>('0' + number % 10);
    }
}

// Appends a number that a stream writes without an exponent, with at most six significant digits;
// false, and nothing, for any other.
bool AppendSixDigits(std::string& text, double value) {
    const double magnitude = std::abs(value);
    if (!(magnitude >= 1e-4 && magnitude < 999999.5)) {
        return false;
    }
    // Decimals that leave six digits: 5 from 1 on, one less for each digit more before the point.
    std::size_t decimals = 5;
    for (double power = 10; magnitude >= power; power *= 10) {
        --decimals;
    }
    // None of these is below the decimal it stands for, so the comparisons are exact.
    for (const double bound : {1.0, 1e-1, 1e-2, 1e-3}) {
        decimals += magnitude < bound ? 1 : 0;
    }
    std::uint64_t scaled = ScaledInteger(magnitude, decimals);
    while (decimals > 0 && scaled % 10 == 0) {
        scaled /= 10;
        --decimals;
    }
    if (value < 0) {
        text.push_back('-');
    }
    text += std::to_string(scaled / kPowersOfTen[decimals]);
    if (decimals > 0) {
        text.push_back('.');
        AppendPadded(text, scaled % kPowersOfTen[decimals], decimals);
    }
    return true;
}

// Appends a number that has at most one decimal and no more than five digits before it; false, and
// nothing, for any other. It is the quickest way for what tools print most.
bool AppendTenths(std::string& text, double value) {
    constexpr double kLimit = 1e5;
    if (!(value > 0.0 && value < kLimit)) {
        return false;
    }
    const double nearest = value * 10.0 + 0.5;
    const auto tenths = static_cast<unsigned>(nearest);
    if (tenths / 10.0 != value) {
        return false;
    }
    std::array<char, 16> digits{};
    const auto whole = std::to_chars(digits.data(), digits.data() + digits.size(), tenths / 10);
    char* end = whole.ptr;
    if (tenths % 10 != 0) {
        *end++ = '.';
        *end++ = static_cast<char>('0' + tenths % 10);
    }
    text.append(digits.data(), end);
    return true;
}

}  // namespace

void AppendNumber(std::string& text, double value) {
    if (AppendTenths(text, value) || AppendSixDigits(text, value)) {
        return;
    }
    constexpr int kSignificantDigits = 6;
    std::array<char, 32> digits{};
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                       std::chars_format::general, kSignificantDigits);
    text.append(digits.data(), written.ptr);
}

void AppendFixed(std::string& text, double value) {
    constexpr std::size_t kDecimals = 6;
    if (!(std::abs(value) < kScalableBound)) {  // nor is a NaN
        text += std::to_string(value);
        return;
    }
    if (std::signbit(value)) {
        text.push_back('-');
    }
    const std::uint64_t scaled = ScaledInteger(std::abs(value), kDecimals);
    text += std::to_string(scaled / kPowersOfTen[kDecimals]);
    text.push_back('.');
    AppendPadded(text, scaled % kPowersOfTen[kDecimals], kDecimals);
}

}  // namespace zarn
