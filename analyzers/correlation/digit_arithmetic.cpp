#include "analyzers/correlation/digit_arithmetic.h"

#include <algorithm>
#include <cstddef>

namespace zarn {
namespace {

// The digit that stands `place` digits before the end; 0 before the number's beginning.
int DigitAt(std::string_view number, std::size_t place) {
    return place < number.size() ? number[number.size() - 1 - place] - '0' : 0;
}

// "0" is what is left of nothing but zeros, and of nothing.
void StripZeros(std::string& number) {
    if (number.empty()) {
        number = "0";
    } else if (number.front() == '0') {
        number.erase(0, std::min(number.find_first_not_of('0'), number.size() - 1));
    }
}

}  // namespace

bool IsNumber(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(),
                                        [](char byte) { return byte >= '0' && byte <= '9'; });
}

// Where the shorter number has ended and nothing is carried the rest is as it was: sums of long
// moments and short times are made by the million.
void AddDigits(std::string_view a, std::string_view b, std::string& sum) {
    const std::string_view longer = a.size() < b.size() ? b : a;
    const std::string_view shorter = a.size() < b.size() ? a : b;
    sum = longer;
    int carry = 0;
    for (std::size_t place = 0; place < sum.size(); ++place) {
        if (place >= shorter.size() && carry == 0) {
            break;
        }
        char& at = sum[sum.size() - 1 - place];
        const int digit = (at - '0') + DigitAt(shorter, place) + carry;
        carry = digit >= 10 ? 1 : 0;
        at = static_cast<char>('0' + digit - 10 * carry);
    }
    if (carry != 0) {
        sum.insert(sum.begin(), '1');
    }
    StripZeros(sum);
}

void SubtractDigits(std::string_view a, std::string_view b, std::string& difference) {
    const std::size_t size = std::max(a.size(), b.size());
    difference.resize(size);
    int borrow = 0;
    for (std::size_t place = 0; place < size; ++place) {
        const int digit = DigitAt(a, place) - DigitAt(b, place) - borrow;
        borrow = digit < 0 ? 1 : 0;
        difference[size - 1 - place] = static_cast<char>('0' + digit + 10 * borrow);
    }
    if (borrow != 0) {
        difference = "0";
    }
    StripZeros(difference);
}

}  // namespace zarn
