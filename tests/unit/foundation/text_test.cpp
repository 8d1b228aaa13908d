#include "foundation/text.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "foundation/numbers.h"
#include "foundation/regex_guard.h"
#include "tests/support/captured_streams.h"

namespace zarn {
namespace {

using Tokens = std::vector<std::string>;
using test::Capture;
using test::Captured;

TEST(IsDigitString, TakesDigitsAndLineEnds) {
    for (const char* text : {"1", "0123456789", "123\n", "\r\n", "1\n2"}) {
        EXPECT_TRUE(IsDigitString(text)) << text;
    }
    for (const char* text : {"", "1 2", " 1", "-1", "1.0", "a", "\xb2", "1\t"}) {
        EXPECT_FALSE(IsDigitString(text)) << text;
    }
    EXPECT_FALSE(IsDigitString(std::string_view("1\0", 2)));
}

TEST(StartsWith, ComparesTheBytesAtTheFront) {
    EXPECT_TRUE(StartsWith("cpu0", "cpu"));
    EXPECT_TRUE(StartsWith("cpu", "cpu"));
    EXPECT_TRUE(StartsWith("", ""));
    EXPECT_TRUE(StartsWith("cpu", ""));
    EXPECT_FALSE(StartsWith("cp", "cpu"));
    EXPECT_FALSE(StartsWith("", "cpu"));
    EXPECT_FALSE(StartsWith("a cpu", "cpu"));
    EXPECT_FALSE(StartsWith("Cpu", "cpu"));
    EXPECT_FALSE(StartsWith("a", std::string_view("a\0", 2)));
}

TEST(EndsWith, ComparesTheBytesAtTheBack) {
    EXPECT_TRUE(EndsWith("run.log", ".log"));
    EXPECT_TRUE(EndsWith(".log", ".log"));
    EXPECT_TRUE(EndsWith("", ""));
    EXPECT_TRUE(EndsWith("run", ""));
    EXPECT_FALSE(EndsWith("log", ".log"));
    EXPECT_FALSE(EndsWith("", ".log"));
    EXPECT_FALSE(EndsWith("run.log ", ".log"));
    EXPECT_FALSE(EndsWith("run.LOG", ".log"));
}

TEST(IsDecimalString, TakesDigitsAndOnePoint) {
    for (const char* text : {"1", "1.5", ".5", "5.", ".", "00.00"}) {
        EXPECT_TRUE(IsDecimalString(text)) << text;
    }
    for (const char* text : {"", "1.2.3", "..", "-1", "1,5", "1e5", "1\n", " 1"}) {
        EXPECT_FALSE(IsDecimalString(text)) << text;
    }
}

TEST(EqualsIgnoreCase, ComparesByteByByte) {
    EXPECT_TRUE(EqualsIgnoreCase("", ""));
    EXPECT_TRUE(EqualsIgnoreCase("AbC1_z", "aBc1_Z"));
    EXPECT_FALSE(EqualsIgnoreCase("abc", "abcd"));
    EXPECT_FALSE(EqualsIgnoreCase("abc", "abd"));
    EXPECT_FALSE(EqualsIgnoreCase("@", "`"));
    EXPECT_FALSE(EqualsIgnoreCase("[", "{"));
}

Tokens Split(std::string_view text, std::string_view delimiter) {
    Tokens tokens;
    SplitString(text, delimiter, tokens);
    return tokens;
}

TEST(SplitString, DropsEmptyPieces) {
    EXPECT_EQ(Split(",a,,b,", ","), (Tokens{"a", "b"}));
    EXPECT_EQ(Split("", ","), Tokens{});
    EXPECT_EQ(Split(",,", ","), Tokens{});
    EXPECT_EQ(Split("a", ","), Tokens{"a"});
    EXPECT_EQ(Split("a::b:c::", "::"), (Tokens{"a", "b:c"}));
    EXPECT_EQ(Split("a:::b", "::"), (Tokens{"a", ":b"}));
    EXPECT_EQ(Split("a b", ""), Tokens{"a b"});
}

TEST(SplitString, AppendsToTheList) {
    Tokens tokens{"before"};
    SplitString("a b", " ", tokens);
    EXPECT_EQ(tokens, (Tokens{"before", "a", "b"}));
}

TEST(SplitByRegex, DropsEmptyPieces) {
    Tokens tokens{"before"};
    SplitByRegex("  a \t b  ", std::regex("\\s+"), tokens);
    EXPECT_EQ(tokens, (Tokens{"before", "a", "b"}));
    tokens.clear();
    SplitByRegex("", std::regex(","), tokens);
    EXPECT_EQ(tokens, Tokens{});
    SplitByRegex(",,", std::regex(","), tokens);
    EXPECT_EQ(tokens, Tokens{});
}

TEST(SplitByRegex, ATextBeyondTheLimitStaysWhole) {
    Tokens tokens;
    const std::string longest = "a " + std::string(kMaxRegexText - 2, 'b');
    SplitByRegex(longest, std::regex(" "), tokens);
    EXPECT_EQ(tokens, (Tokens{"a", longest.substr(2)}));
    tokens.clear();
    SplitByRegex(longest + "b", std::regex(" "), tokens);
    EXPECT_EQ(tokens, Tokens{longest + "b"});
}

TEST(TrimSpaces, RemovesBlanksOnly) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"  a  b  ", "a  b"}, {"a", "a"}, {"", ""}, {"   ", ""}, {" \ta\n ", "\ta\n"}};
    for (const auto& [text, expected] : cases) {
        std::string trimmed = text;
        TrimSpaces(trimmed);
        EXPECT_EQ(trimmed, expected);
        EXPECT_EQ(TrimSpacesView(text), expected);
    }
}

TEST(CollapseSpaces, LeavesOneBlankOfEachRun) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"  a   b c  ", "a b c"}, {"   ", ""}, {"", ""}, {"a \t  b", "a \t b"}, {"ab", "ab"}};
    for (const auto& [text, expected] : cases) {
        std::string collapsed = text;
        CollapseSpaces(collapsed);
        EXPECT_EQ(collapsed, expected);
    }
}

// The plain form: the first occurrence, from the front each time.
std::string ReplaceFirstUntilNone(std::string text, const std::string& from,
                                  const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from)) {
        text.replace(at, from.size(), to);
    }
    return text;
}

TEST(ReplaceAll, StartsOverFromTheFront) {
    EXPECT_EQ(ReplaceAll("a b c", " ", "_"), "a_b_c");
    EXPECT_EQ(ReplaceAll("aabb", "ab", ""), "");
    EXPECT_EQ(ReplaceAll("aaab", "ab", "b"), "b");
    EXPECT_EQ(ReplaceAll("aaaaa", "aa", "a"), "a");
    EXPECT_EQ(ReplaceAll("", "a", "b"), "");
    for (unsigned bits = 0; bits < 1024; ++bits) {
        std::string text;
        for (unsigned i = 0; i < 10; ++i) {
            text += (bits >> i & 1U) != 0 ? 'a' : 'b';
        }
        for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
                 {"ab", "b"}, {"aa", "a"}, {"aba", "ab"}, {"abb", "bc"}, {"b", ""}, {"ab", "ba"}}) {
            EXPECT_EQ(ReplaceAll(text, from, to), ReplaceFirstUntilNone(text, from, to)) << text;
        }
    }
}

TEST(ReplaceAll, TakesALineOfMegabytes) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    constexpr std::size_t kMega = 1 << 16;  // sanitizers and counters take a hundred times as long
#else
    constexpr std::size_t kMega = 1 << 20;
#endif
    EXPECT_EQ(ReplaceAll(std::string(16 * kMega, ' '), " ", "").size(), 0U);
    EXPECT_EQ(ReplaceAll(std::string(4 * kMega, '/'), "/", "::").size(), 8 * kMega);
}

TEST(FindNthOccurrence, CountsFromOneAndStepsByOne) {
    const std::size_t none = std::string::npos;
    EXPECT_EQ(FindNthOccurrence("abcabc", "abc", 0), 0U);
    EXPECT_EQ(FindNthOccurrence("xabcabc", "abc", 1), 1U);
    EXPECT_EQ(FindNthOccurrence("xabcabc", "abc", 2), 4U);
    EXPECT_EQ(FindNthOccurrence("xabcabc", "abc", 3), none);
    EXPECT_EQ(FindNthOccurrence("aaaa", "aa", 3), 2U) << "occurrences may overlap";
    EXPECT_EQ(FindNthOccurrence("", "a", 1), none);
    EXPECT_EQ(FindNthOccurrence("", "a", 0), 0U);
}

constexpr const char* kInvalid = "[Utils] Invalid argument\n";
constexpr const char* kRange = "[Utils] Out of range\n";

// Converts `text` into a value that was 7, and compares result, value and line.
template <typename Value, typename Conversion>
void ExpectConversion(Conversion conversion, const std::string& text, Value expected,
                      const std::string& line) {
    Value value = 7;
    bool result = false;
    const Captured captured = Capture([&] { result = conversion(text, value); });
    EXPECT_EQ(result, line.empty()) << text;
    EXPECT_EQ(value, expected) << text;
    EXPECT_EQ(captured.err, line) << text;
    EXPECT_EQ(captured.out, "");
}

TEST(StringToDouble, FollowsTheStandardConversion) {
    const auto expect = [](const std::string& text, double value, const std::string& line) {
        ExpectConversion<double>(StringToDouble, text, value, line);
    };
    expect("1.5", 1.5, "");
    expect(" -2e3xyz", -2000, "");
    expect("0x10", 16, "");
    expect("inf", std::numeric_limits<double>::infinity(), "");
    expect("", 7, kInvalid);
    expect("x1", 7, kInvalid);
    expect(".", 7, kInvalid);
    expect("1e999", 7, kRange);
    expect("1e-999", 7, kRange);
    expect(std::string(100000, '9'), 7, kRange);
}

TEST(StringToUint32, TruncatesTheUnsignedLong) {
    const auto expect = [](const std::string& text, std::uint32_t value, const std::string& line) {
        ExpectConversion<std::uint32_t>(StringToUint32, text, value, line);
        ExpectConversion<std::uint32_t>(TextToUint32, text, value, line);
    };
    expect("42", 42, "");
    expect(" 42 MB", 42, "");
    expect("4294967295", 4294967295U, "");
    expect("4294967296", 0, "");
    expect("4294967301", 5, "");
    expect("9999999999999999999", 2313682943U, "");
    expect("18446744073709551615", 4294967295U, "");
    expect("007", 7, "");
    expect("-1", 4294967295U, "");
    expect("010", 10, "");
    expect("0x10", 0, "");
    expect("", 7, kInvalid);
    expect("abc", 7, kInvalid);
    expect("18446744073709551616", 7, kRange);
}

TEST(StringToUint64, FollowsTheStandardConversion) {
    const auto expect = [](const std::string& text, std::uint64_t value, const std::string& line) {
        ExpectConversion<std::uint64_t>(StringToUint64, text, value, line);
    };
    expect("18446744073709551615", 18446744073709551615U, "");
    expect("-1", 18446744073709551615U, "");
    expect("1.9", 1, "");
    expect("", 7, kInvalid);
    expect("-", 7, kInvalid);
    expect("18446744073709551616", 7, kRange);
}

TEST(FloatToString, GivesFixedNotation) {
    EXPECT_EQ(FloatToString(1.005, 1), "1.0");
    EXPECT_EQ(FloatToString(2.5, 0), "2");
    EXPECT_EQ(FloatToString(-0.126, 2), "-0.13");
    EXPECT_EQ(FloatToString(1e20, 2), "100000000000000000000.00");
    EXPECT_EQ(FloatToString(0, 6), "0.000000");
    for (const double value : {0.5, 1.0 / 3, -1e300, 10695475.2, DBL_MAX, -0.0, 1e-7}) {
        for (const int precision : {0, 1, 2, 6, 17, 40}) {
            std::ostringstream stream;
            stream << std::fixed << std::setprecision(precision) << value;
            EXPECT_EQ(FloatToString(value, precision), stream.str());
        }
    }
}

TEST(AddJsonString, CopiesKeyAndValue) {
    JsonDocument document;
    document.SetObject();
    {
        std::string key = "key";
        std::string value("a\0b", 3);
        AddJsonString(key, value, document);
        key = "yek";
        value = "zzz";
    }
    ASSERT_TRUE(document.HasMember("key"));
    EXPECT_EQ(std::string(document["key"].GetString(), document["key"].GetStringLength()),
              std::string("a\0b", 3));
}

}  // namespace
}  // namespace zarn
