#pragma once

#include <string>
#include <string_view>

// Sums and differences of whole numbers in decimal digits. Moments in digits are too long for
// ordinary arithmetic. What is handed in holds nothing but digits; results have no leading zeros.
namespace zarn {

// Whether the text is a number of digits.
[[nodiscard]] bool IsNumber(std::string_view text);

// Replaces `sum`, whose memory is used again.
void AddDigits(std::string_view a, std::string_view b, std::string& sum);

// a - b; "0" if b is the greater one.
void SubtractDigits(std::string_view a, std::string_view b, std::string& difference);

}  // namespace zarn
