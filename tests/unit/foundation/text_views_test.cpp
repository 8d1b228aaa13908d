#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/numbers.h"
#include "foundation/text.h"
#include "tests/support/captured_streams.h"

namespace zarn {
namespace {

TEST(PieceCursor, GivesThePiecesOfSplitString) {
    for (const std::string_view text : {"", ",", ",a,,b,", "a", "a,b", ",,,a b,,", "a,"}) {
        std::vector<std::string> expected;
        SplitString(text, ",", expected);
        std::vector<std::string> pieces;
        PieceCursor cursor(text, ',');
        std::string_view piece;
        while (cursor.Next(piece)) {
            pieces.emplace_back(piece);
        }
        EXPECT_EQ(pieces, expected) << text;
    }
}

struct Conversion {
    std::optional<double> value;
    std::string line;

    bool operator==(const Conversion& other) const {
        return value == other.value && line == other.line;
    }
};

template <typename Convert>
Conversion Attempt(Convert convert) {
    Conversion result;
    double value = 0.0;
    result.line = test::Capture([&] {
                      if (convert(value)) {
                          result.value = value;
                      }
                  }).err;
    return result;
}

TEST(TextToDouble, AgreesWithStringToDouble) {
    const std::string longDigits(400, '9');
    const std::string tiny = "0." + std::string(320, '0') + "1";
    for (const std::string& text : {std::string("0"),
                                    std::string("12.5"),
                                    std::string("0.1"),
                                    std::string("100.0"),
                                    std::string("5."),
                                    std::string(".5"),
                                    std::string("."),
                                    std::string(""),
                                    std::string("-1"),
                                    std::string("+2"),
                                    std::string(" 3"),
                                    std::string("3 "),
                                    std::string("1.2g"),
                                    std::string("1e3"),
                                    std::string("0x10"),
                                    std::string("inf"),
                                    std::string("1.2.3"),
                                    std::string("0,5"),
                                    std::string("x"),
                                    std::string("1\0002", 3),
                                    std::string("123456789012345678901234567890.123456789"),
                                    longDigits,
                                    tiny}) {
        EXPECT_TRUE(Attempt([&text](double& value) { return TextToDouble(text, value); }) ==
                    Attempt([&text](double& value) { return StringToDouble(text, value); }))
            << text;
    }
}

TEST(TextToDouble, AgreesOnDecimalsOfEveryLength) {
    std::mt19937_64 random(20240101);
    for (int i = 0; i < 20000; ++i) {
        std::string text = std::to_string(random());
        text.resize(1 + random() % text.size());
        text.insert(random() % (text.size() + 1), ".");
        double ours = 0.0;
        ASSERT_TRUE(TextToDouble(text, ours));
        ASSERT_EQ(ours, std::stod(text)) << text;
    }
}

}  // namespace
}  // namespace zarn
