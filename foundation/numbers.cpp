#include "foundation/numbers.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "foundation/console.h"
#include "foundation/text.h"

// Numbers as text, in the two formats that tables and documents use.
namespace zarn {
namespace {

constexpr std::array<std::uint64_t, 10> kPowersOfTen = {
    1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};

__extension__ using Uint128 = unsigned __int128;

// value * 10^decimals, rounded to the nearest integer, ties to even: exactly as printf rounds,
// since the 53 bits of a double times 10^9 fit 128 bits. `value` is not negative; the result has to
// fit 64 bits.
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

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// 10^n, exact.
constexpr std::array<double, 16> kExactPowersOfTen = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                      1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// Digits with at most one point in or around them, at most 15 bytes: both the digits and the power
// of ten to divide them by are exact then, so that the division rounds once, as it must.
bool ShortDecimal(std::string_view text, double& value) {
    std::uint64_t digits = 0;
    std::size_t count = 0;
    std::size_t point = text.size();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (IsDigit(text[i])) {
            digits = digits * 10 + static_cast<std::uint64_t>(text[i] - '0');
            ++count;
        } else if (text[i] == '.' && point == text.size()) {
            point = i;
        } else {
            return false;
        }
    }
    const std::size_t decimals = point == text.size() ? 0 : text.size() - point - 1;
    value = static_cast<double>(digits) / kExactPowersOfTen[decimals];
    return count > 0;
}

// Longer digits could leave the range of a double, where the conversions disagree on what is an
// error.
constexpr std::size_t kMaxPlainDecimal = 64;

// Runs a standard conversion; on failure prints its line and leaves `value` alone.
template <typename Value, typename Conversion>
bool Convert(const std::string& text, Value& value, Conversion conversion) {
    try {
        value = static_cast<Value>(conversion(text));
        return true;
    } catch (const std::invalid_argument&) {
        PrintError("[Utils] Invalid argument");
    } catch (const std::out_of_range&) {
        PrintError("[Utils] Out of range");
    }
    return false;
}

}  // namespace

bool PlainDecimal(std::string_view text, double& value) {
    double parsed = 0.0;
    if (text.size() < kPowersOfTen.size() && ShortDecimal(text, parsed)) {
        value = parsed;
        return true;
    }
    if (text.size() > kMaxPlainDecimal || !IsDecimalString(text)) {
        return false;
    }
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, parsed);
    if (error != std::errc() || stop != end) {
        return false;
    }
    value = parsed;
    return true;
}

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
    constexpr int kDecimals = 6;
    // A sign, the digits of the largest double before the point, the point, the decimals.
    std::array<char, std::numeric_limits<double>::max_exponent10 + 3 + kDecimals> digits;
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                       std::chars_format::fixed, kDecimals);
    text.append(digits.data(), written.ptr);
}

bool StringToDouble(const std::string& text, double& value) {
    return Convert(text, value, [](const std::string& digits) { return std::stod(digits); });
}

bool TextToDouble(std::string_view text, double& value) {
    return PlainDecimal(text, value) || StringToDouble(std::string(text), value);
}

std::optional<double> NumberIn(std::string_view text) {
    double value = 0.0;
    if (PlainDecimal(text, value)) {
        return value;
    }
    // What the standard conversion does, without its exceptions: rows without numbers may be many.
    const std::string copy(text);
    char* end = nullptr;
    errno = 0;
    value = std::strtod(copy.c_str(), &end);
    if (end == copy.c_str() || errno == ERANGE || std::isnan(value)) {
        return std::nullopt;
    }
    return value;
}

bool StringToUint32(const std::string& text, std::uint32_t& value) {
    return Convert(text, value, [](const std::string& digits) { return std::stoul(digits); });
}

bool TextToUint32(std::string_view text, std::uint32_t& value) {
    constexpr std::size_t kDigitsThatFit = std::numeric_limits<std::uint64_t>::digits10;
    std::uint64_t parsed = 0;
    const char* const end = text.data() + text.size();
    if (text.size() <= kDigitsThatFit && std::from_chars(text.data(), end, parsed).ptr == end &&
        !text.empty()) {
        value = static_cast<std::uint32_t>(parsed);
        return true;
    }
    return StringToUint32(std::string(text), value);
}

bool StringToUint64(const std::string& text, std::uint64_t& value) {
    return Convert(text, value, [](const std::string& digits) { return std::stoull(digits); });
}

std::string FloatToString(double value, int precision) {
    // The digits before the point and a sign, the point, and what is asked for.
    constexpr std::size_t kMostBeforePoint = std::numeric_limits<double>::max_exponent10 + 2;
    std::string text(kMostBeforePoint + 1 + static_cast<std::size_t>(std::max(precision, 6)), '\0');
    const auto written = std::to_chars(text.data(), text.data() + text.size(), value,
                                       std::chars_format::fixed, precision);
    text.resize(static_cast<std::size_t>(written.ptr - text.data()));
    return text;
}

}  // namespace zarn
