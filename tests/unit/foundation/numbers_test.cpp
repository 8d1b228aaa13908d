#include "foundation/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace zarn {
namespace {

TEST(AppendNumberTest, WritesAsAStreamDoes) {
    const double values[] = {0.0,
                             -0.0,
                             0.1,
                             12.5,
                             100.0,
                             99.95,
                             1234567,
                             123456,
                             1e-5,
                             0.0001,
                             1e300,
                             -3.25,
                             1.0 / 3,
                             99999.95,
                             312.4,
                             0.1 + 0.2,
                             std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::denorm_min()};
    for (const double value : values) {
        std::ostringstream stream;
        stream << "x" << value;
        std::string text = "x";
        AppendNumber(text, value);
        EXPECT_EQ(text, stream.str());
    }
}

// The short way for one decimal gives what the long way gives.
TEST(AppendNumberTest, WritesEveryTenthAsAStreamDoes) {
    for (unsigned tenths = 0; tenths < 1200000; tenths += tenths < 11000 ? 1 : 997) {
        for (const double value : {tenths / 10.0, std::nextafter(tenths / 10.0, 1e9)}) {
            std::ostringstream stream;
            stream << value;
            std::string text;
            AppendNumber(text, value);
            ASSERT_EQ(text, stream.str());
        }
    }
}

// Numbers of every size near those of the tables, and the ties between two texts.
std::vector<double> ManyNumbers() {
    std::mt19937_64 random(20240101);
    std::vector<double> values;
    for (int i = 0; i < 40000; ++i) {
        const double fraction = static_cast<double>(random()) / 1.8446744073709552e19;
        const double value = fraction * std::pow(10.0, static_cast<double>(random() % 20) - 8);
        values.push_back(random() % 4 == 0 ? -value : value);
    }
    for (int i = 0; i < 4000; ++i) {
        const auto odd = static_cast<double>(2 * (random() % 1000000) + 1);
        values.push_back(odd / 2);        // ties of whole numbers
        values.push_back(odd / 128);      // and of decimals that end in 5
        values.push_back(odd / 2000000);  // near ties
    }
    for (double power = 1e-12; power < 1e15; power *= 10) {
        values.insert(values.end(), {power, std::nextafter(power, 0), std::nextafter(power, 1e99)});
        values.insert(values.end(), {power * 0.9999995, power * 0.99999949, power * 9.999995});
    }
    return values;
}

TEST(AppendNumberTest, AgreesWithTheStreamOnManyNumbers) {
    for (const double value : ManyNumbers()) {
        std::ostringstream stream;
        stream << value;
        std::string text;
        AppendNumber(text, value);
        ASSERT_EQ(text, stream.str());
    }
}

TEST(AppendFixedTest, AgreesWithTheDefaultConversion) {
    std::vector<double> values = ManyNumbers();
    values.insert(values.end(), {0.0, -0.0, -1e-9, 1e9, 999999999.9999999, 1e300, HUGE_VAL,
                                 -HUGE_VAL, std::numeric_limits<double>::denorm_min(),
                                 std::numeric_limits<double>::quiet_NaN()});
    for (const double value : values) {
        std::string text = "x";
        AppendFixed(text, value);
        ASSERT_EQ(text, "x" + std::to_string(value));
    }
}

// Of any text it says what the standard conversion says, but for what cannot be ordered.
TEST(NumberInTest, AgreesWithTheStandardConversion) {
    const std::string many(400, '7');
    for (const std::string& text :
         {std::string("12.5"), std::string("0.000"), std::string("16418.440755"), std::string("-3"),
          std::string("+1e3x"), std::string(" 4"), std::string("inf"), std::string("-inf"),
          std::string("0x10"), std::string("1.2.3"), std::string("5\r"), std::string(40, '7'),
          std::string(300, '7'), std::string("1\0002", 3)}) {
        EXPECT_EQ(NumberIn(text), std::stod(text)) << text;
    }
    for (const std::string& text :
         {std::string(), std::string("x1"), std::string("."), many, "-" + many, std::string("nan"),
          std::string("-nan(1)"), std::string("\0001", 2), std::string("--------")}) {
        EXPECT_EQ(NumberIn(text), std::nullopt) << text;
    }
}

TEST(PlainDecimalTest, TakesDigitsWithAtMostOnePoint) {
    double value = -1.0;
    for (const auto& [text, expected] : {std::pair{"0", 0.0},
                                         {"12.5", 12.5},
                                         {"1.", 1.0},
                                         {".25", 0.25},
                                         {"1234567890.0625", 1234567890.0625}}) {
        EXPECT_TRUE(PlainDecimal(text, value)) << text;
        EXPECT_EQ(value, expected);
    }
    for (const char* text : {"", ".", "-1", "+1", "1e3", " 1", "1 ", "1.2.3", "nan", "1,5"}) {
        value = -1.0;
        EXPECT_FALSE(PlainDecimal(text, value)) << text;
        EXPECT_EQ(value, -1.0);
    }
}

}  // namespace
}  // namespace zarn
