#include "analyzers/aicpu/section_values.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <unordered_set>
#include <vector>

namespace zarn {
namespace {

TEST(SectionValuesTest, WholeNumbersAreDigitsAlone) {
    EXPECT_EQ(WholeNumber("0"), 0U);
    EXPECT_EQ(WholeNumber("007"), 7U);
    EXPECT_EQ(WholeNumber("18446744073709551615"), 18446744073709551615U);
    for (const char* text : {"", " 1", "1 ", "-1", "+1", "1.0", "x", "18446744073709551616"}) {
        EXPECT_FALSE(WholeNumber(text)) << text;
    }
}

TEST(SectionValuesTest, PrintedNumbersMayHaveAPoint) {
    for (const char* text : {"0", "12.5", "1.", ".5"}) {
        EXPECT_TRUE(IsPrintedNumber(text)) << text;
    }
    for (const char* text : {"", ".", "1.2.3", "-1", "1e5", "1 2", "\xff"}) {
        EXPECT_FALSE(IsPrintedNumber(text)) << text;
    }
}

TEST(SectionValuesTest, ASeriesKeepsItsValuesInOrder) {
    ValueSeries series;
    for (const char* value : {"1", "", "22"}) {
        series.Add(value);
    }
    std::vector<std::string> values;
    series.ForEach([&values](std::string_view value) { values.emplace_back(value); });
    EXPECT_EQ(series.Size(), 3U);
    EXPECT_EQ(values, (std::vector<std::string>{"1", "", "22"}));
}

TEST(SectionValuesTest, ASetOfNumbersAgreesWithTheLibrarys) {
    std::mt19937_64 random(5);
    NumberSet numbers;
    std::unordered_set<std::uint64_t> expected;
    for (int i = 0; i < 20000; ++i) {
        // Near one another, as moments are, and of all sizes.
        const std::uint64_t number = i % 2 == 0 ? random() % 5000 : random() << (random() % 60);
        EXPECT_EQ(numbers.Holds(number), expected.count(number) != 0) << number;
        numbers.Add(number);
        expected.insert(number);
    }
    EXPECT_EQ(numbers.Size(), expected.size());
    EXPECT_TRUE(numbers.Holds(0));
    for (const std::uint64_t number : expected) {
        EXPECT_TRUE(numbers.Holds(number));
    }
}

}  // namespace
}  // namespace zarn
