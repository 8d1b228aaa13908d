#include "analyzers/correlation/digit_arithmetic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "benchmarks/support/generator.h"

namespace zarn::test {
namespace {

std::string Sum(const std::string& a, const std::string& b) {
    std::string sum = "what was there";
    AddDigits(a, b, sum);
    return sum;
}

std::string Difference(const std::string& a, const std::string& b) {
    std::string difference = "what was there";
    SubtractDigits(a, b, difference);
    return difference;
}

TEST(DigitArithmetic, SumsAreAlignedAtTheRightAndCarried) {
    EXPECT_EQ(Sum("1", "2"), "3");
    EXPECT_EQ(Sum("999", "1"), "1000");
    EXPECT_EQ(Sum("20230101120059999000", "1000"), "20230101120060000000");
    EXPECT_EQ(Sum("7", "20230101120000000000"), "20230101120000000007");
    EXPECT_EQ(Sum("99999999999999999999", "99999999999999999999"), "199999999999999999998");
}

TEST(DigitArithmetic, DifferencesBorrow) {
    EXPECT_EQ(Difference("1000", "1"), "999");
    EXPECT_EQ(Difference("20230101120000000000", "1000"), "20230101119999999000");
    EXPECT_EQ(Difference("20230101120000000000", "20230101120000000000"), "0");
    EXPECT_EQ(Difference("5", "7"), "0");
    EXPECT_EQ(Difference("5", "17"), "0");
}

TEST(DigitArithmetic, LeadingZerosAreStripped) {
    EXPECT_EQ(Sum("0007", "00"), "7");
    EXPECT_EQ(Sum("", ""), "0");
    EXPECT_EQ(Sum("000", "0"), "0");
    EXPECT_EQ(Difference("0100", "000001"), "99");
    EXPECT_EQ(Difference("", ""), "0");
}

TEST(DigitArithmetic, IsThatOfIntegers) {
    bench::Generator generator(1);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t a = generator.Below(std::uint64_t{1} << generator.Below(63));
        const std::uint64_t b = generator.Below(std::uint64_t{1} << generator.Below(63));
        const std::string left = std::to_string(a);
        const std::string right = std::to_string(b);
        ASSERT_EQ(Sum(left, right), std::to_string(a + b));
        ASSERT_EQ(Difference(left, right), std::to_string(a - std::min(a, b)));
    }
}

TEST(DigitArithmetic, NumbersAreDigitsAlone) {
    EXPECT_TRUE(IsNumber("0123456789"));
    for (const char* text : {"", "1 ", "-1", "1.5", "12\n", "1a", "\xb2"}) {
        EXPECT_FALSE(IsNumber(text)) << text;
    }
}

}  // namespace
}  // namespace zarn::test
