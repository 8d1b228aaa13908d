#include <algorithm>
#include <string>

#include "analyzers/correlation/digit_arithmetic.h"
#include "fuzz/fuzz_input.h"

namespace zarn::fuzz {
namespace {

__extension__ using Integer = unsigned __int128;

constexpr std::size_t kMostDigits = 37;  // that a sum of two fits the integer

Integer ValueOf(const std::string& digits) {
    Integer value = 0;
    for (const char digit : digits) {
        value = value * 10 + static_cast<Integer>(digit - '0');
    }
    return value;
}

std::string DigitsOf(Integer value) {
    std::string digits;
    do {
        digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(value % 10)));
        value /= 10;
    } while (value != 0);
    return digits;
}

// A digit for each byte.
std::string Digits(std::string_view bytes) {
    std::string digits(bytes.substr(0, kMostDigits));
    for (char& digit : digits) {
        digit = static_cast<char>('0' + static_cast<unsigned char>(digit) % 10);
    }
    return digits;
}

void Check(const std::string& a, const std::string& b) {
    const Integer left = ValueOf(a);
    const Integer right = ValueOf(b);
    std::string result = "what was there";
    AddDigits(a, b, result);
    Require(result == DigitsOf(left + right), "a sum is that of integers");
    SubtractDigits(a, b, result);
    Require(result == DigitsOf(left - std::min(left, right)), "so is a difference");
}

}  // namespace
}  // namespace zarn::fuzz

// Sums and differences of digits against those of long integers: two numbers of the input, and the
// longer one with itself.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = zarn::fuzz::AsText(data, size);
    const std::string a = zarn::fuzz::Digits(text.substr(0, text.size() / 2));
    const std::string b = zarn::fuzz::Digits(text.substr(text.size() / 2));
    zarn::fuzz::Check(a, b);
    zarn::fuzz::Check(b, a);
    zarn::fuzz::Check(b, b);
    return 0;
}
