#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <limits>

#include "foundation/console.h"
#include "foundation/regex_guard.h"
#include "foundation/zarn_utils.h"

namespace zarn {
namespace {

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// 10^n, exact.
constexpr std::array<double, 16> kPowersOfTen = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
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
    value = static_cast<double>(digits) / kPowersOfTen[decimals];
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

bool IsDigitString(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return IsDigit(c) || c == '\n' || c == '\r';
    });
}

bool IsDecimalString(std::string_view text) {
    return !text.empty() && std::count(text.begin(), text.end(), '.') <= 1 &&
           std::all_of(text.begin(), text.end(), [](char c) { return IsDigit(c) || c == '.'; });
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(),
                      [&lower](char x, char y) { return lower(x) == lower(y); });
}

void SplitViews(std::string_view text, std::string_view delimiter,
                std::vector<std::string_view>& tokens) {
    while (!text.empty()) {
        const std::size_t end = delimiter.empty() ? std::string_view::npos : text.find(delimiter);
        const std::string_view token = text.substr(0, end);
        if (!token.empty()) {
            tokens.push_back(token);
        }
        if (end == std::string_view::npos) {
            return;
        }
        text.remove_prefix(end + delimiter.size());
    }
}

void SplitString(std::string_view text, std::string_view delimiter,
                 std::vector<std::string>& tokens) {
    std::vector<std::string_view> views;
    SplitViews(text, delimiter, views);
    tokens.insert(tokens.end(), views.begin(), views.end());
}

bool PieceCursor::Next(std::string_view& piece) {
    while (!rest_.empty()) {
        const std::size_t end = rest_.find(delimiter_);
        piece = rest_.substr(0, end);
        rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
        if (!piece.empty()) {
            return true;
        }
    }
    return false;
}

void SplitByRegex(const std::string& text, const std::regex& pattern,
                  std::vector<std::string>& tokens) {
    std::vector<std::string_view> pieces;
    SplitGuarded(text, pattern, pieces);
    for (const std::string_view piece : pieces) {
        if (!piece.empty()) {
            tokens.emplace_back(piece);
        }
    }
}

std::string_view TrimSpacesView(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

void TrimSpaces(std::string& text) {
    text = std::string(TrimSpacesView(text));
}

void CollapseSpaces(std::string& text) {
    TrimSpaces(text);
    const auto bothBlank = [](char a, char b) { return a == ' ' && b == ' '; };
    text.erase(std::unique(text.begin(), text.end(), bothBlank), text.end());
}

std::string ReplaceAll(const std::string& text, const std::string& from, const std::string& to) {
    // One pass gives what starting over from the front each time gives: the first occurrence is the
    // one that ends first, and only what is put in its place can complete another with what lies
    // before. `pending` is what is still to be looked at, its next byte at the end.
    std::string pending(text.rbegin(), text.rend());
    std::string result;
    result.reserve(text.size());
    while (!pending.empty()) {
        result.push_back(pending.back());
        pending.pop_back();
        if (result.back() == from.back() && result.size() >= from.size() &&
            result.compare(result.size() - from.size(), from.size(), from) == 0) {
            result.resize(result.size() - from.size());
            pending.append(to.rbegin(), to.rend());
        }
    }
    return result;
}

std::size_t FindNthOccurrence(const std::string& text, const std::string& pattern, std::size_t n) {
    std::size_t at = 0;
    for (std::size_t i = 0; i < n; ++i) {
        at = text.find(pattern, i == 0 ? 0 : at + 1);
        if (at == std::string::npos) {
            return at;
        }
    }
    return at;
}

bool StringToDouble(const std::string& text, double& value) {
    return Convert(text, value, [](const std::string& digits) { return std::stod(digits); });
}

bool TextToDouble(std::string_view text, double& value) {
    double plain = 0.0;
    if (text.size() < kPowersOfTen.size() && ShortDecimal(text, plain)) {
        value = plain;
        return true;
    }
    if (text.size() <= kMaxPlainDecimal && IsDecimalString(text)) {
        double parsed = 0.0;
        const char* const end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, parsed);
        if (error == std::errc() && stop == end) {
            value = parsed;
            return true;
        }
    }
    return StringToDouble(std::string(text), value);
}

bool StringToUint32(const std::string& text, std::uint32_t& value) {
    return Convert(text, value, [](const std::string& digits) { return std::stoul(digits); });
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

void AddJsonString(const std::string& key, const std::string& value, JsonDocument& document) {
    JsonAllocator& allocator = document.GetAllocator();
    document.AddMember(JsonValue(key, allocator), JsonValue(value, allocator), allocator);
}

}  // namespace zarn
