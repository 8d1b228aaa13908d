#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Numbers to and from text.
namespace zarn {

// Standard conversions (stod, stoul, stoull); the output is untouched on failure. StringToUint32
// truncates the unsigned long to 32 bits.
[[nodiscard]] bool StringToDouble(const std::string& text, double& value);
// TextToDouble is StringToDouble for views: the same verdict, value and line, and no copy for plain
// decimals such as "12.5".
[[nodiscard]] bool TextToDouble(std::string_view text, double& value);
// Digits with at most one point, as tools print most, such as "12.5"; false, and nothing, for any
// other text and for long ones.
[[nodiscard]] bool PlainDecimal(std::string_view text, double& value);
// The value of TextToDouble without a line, where there is one that can be ordered: "nan" has none.
[[nodiscard]] std::optional<double> NumberIn(std::string_view text);
[[nodiscard]] bool StringToUint32(const std::string& text, std::uint32_t& value);
// StringToUint32 for views, without a copy for plain digits.
[[nodiscard]] bool TextToUint32(std::string_view text, std::uint32_t& value);
[[nodiscard]] bool StringToUint64(const std::string& text, std::uint64_t& value);

// Fixed notation with that many decimals.
[[nodiscard]] std::string FloatToString(double value, int precision);

// Appends the number in a stream's default format: six significant digits, no zeros at their end.
void AppendNumber(std::string& text, double value);

// Appends the number in fixed notation with six decimals, as std::to_string gives it.
void AppendFixed(std::string& text, double value);

}  // namespace zarn
