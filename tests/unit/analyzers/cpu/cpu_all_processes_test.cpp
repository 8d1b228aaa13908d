#include "analyzers/cpu/cpu_all_processes.h"

#include <gtest/gtest.h>

#include <utility>

#include "foundation/numbers.h"
#include "foundation/text.h"
#include "tests/support/amounts.h"

namespace zarn {
namespace {

struct RowCase {
    std::string line;
    std::string row;  // empty: no process row
};

class RewriteProcessRowTest : public testing::TestWithParam<RowCase> {};

TEST_P(RewriteProcessRowTest, PutsTheUserFirst) {
    std::string row = "before ";
    EXPECT_EQ(RewriteProcessRow(GetParam().line, row), !GetParam().row.empty());
    EXPECT_EQ(row, "before " + GetParam().row);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RewriteProcessRowTest,
    testing::Values(
        RowCase{"    1 root      20   0   51944  20256   6520 S  10.0   0.1   0:02.70 init",
                "root 1 20 0 51944 20256 6520 S 10.0 0.1 0:02.70 init"},
        RowCase{"1 u 3 4 5 6 7 8 9 10 11 12", "u 1 3 4 5 6 7 8 9 10 11 12"},
        RowCase{"1 u 3 4 5 6 7 8 9 10 11 12   13  ", "u 1 3 4 5 6 7 8 9 10 11 12 13"},
        RowCase{"1 u 3 4 5 6 7 8 9 10 11", ""}, RowCase{"x u 3 4 5 6 7 8 9 10 11 12", ""},
        RowCase{"-1 u 3 4 5 6 7 8 9 10 11 12", ""}, RowCase{"", ""}, RowCase{"    ", ""},
        RowCase{"1 u 3 4 1.5g 6 7 8 9 10 11 12", "u 1 3 4 1572864.0 6 7 8 9 10 11 12"},
        RowCase{"1 u 3 4 10.2g 6 7 8 9 10 11 12", "u 1 3 4 10695475.2 6 7 8 9 10 11 12"},
        RowCase{"1 u 3 4 g 6g 7 8 9 10 11 12", "u 1 3 4 g 6g 7 8 9 10 11 12"},
        RowCase{"1 u 3 4 xg 6 7 8 9 10 11 12", "u 1 3 4 xg 6 7 8 9 10 11 12"},
        RowCase{"1 u 3 4 1t 6 7 8 9 10 11 12g", "u 1 3 4 1t 6 7 8 9 10 11 12g"},
        RowCase{"1 u 3 4 5 6 7 8 9 10 11\t12", ""},
        RowCase{"1 a-user-of-more-than-sixteen-bytes 3 4 5 6 7 8 9 10 11 a-command-of-some-length",
                "a-user-of-more-than-sixteen-bytes 1 3 4 5 6 7 8 9 10 11 a-command-of-some-length"},
        RowCase{"1 u 3 4 " + std::string(300, '9') + "g 6 7 8 9 10 11 " + std::string(300, 'x'),
                "u 1 3 4 " + FloatToString(std::stod(std::string(300, '9')) * 1048576, 1) +
                    " 6 7 8 9 10 11 " + std::string(300, 'x')}));

// The words of a line, cut in the plain way.
std::string Plainly(const std::string& line) {
    std::vector<std::string> words;
    SplitString(line, " ", words);
    if (words.size() < 12 || !IsDigitString(words[0])) {
        return "";
    }
    std::swap(words[0], words[1]);
    std::string row;
    for (const std::string& word : words) {
        row += (row.empty() ? "" : " ") + word;
    }
    return row;
}

TEST(RewriteProcessRowTest, CutsLinesOfAnyLengthAtTheirBlanks) {
    std::string line = "12";
    for (std::size_t length = 0; length < 400; ++length) {
        // Words and runs of blanks of all small lengths at all places of the blocks.
        line += (length * 7 + length / 5) % 3 == 0 ? " " : "w";
        std::string row;
        EXPECT_EQ(RewriteProcessRow(line, row), !Plainly(line).empty());
        EXPECT_EQ(row, Plainly(line));
    }
}

// The document with the rows of `lines` added, or "refused".
std::string Extended(const std::string& document, const std::vector<std::string_view>& lines) {
    rapidjson::StringBuffer out;
    const std::string_view* const first = lines.data();
    if (!AddAllProcesses(document, {first, first + lines.size()}, out)) {
        return "refused";
    }
    return out.GetString();
}

constexpr const char* kLine = "1 u 3 4 5 6 7 8 9 10 11 12";

TEST(AddAllProcessesTest, AddsTheRowsAtTheEndOfTheContent) {
    EXPECT_EQ(Extended(R"( {"a":1, "content": {"b": [true,null,-2.5]}, "content":{}} )",
                       {kLine, "no row", kLine}),
              R"({"a":1,"content":{"b":[true,null,-2.5],"allProcsInfo":[)"
              R"({"procInfo":"u 1 3 4 5 6 7 8 9 10 11 12"},)"
              R"({"procInfo":"u 1 3 4 5 6 7 8 9 10 11 12"}]},"content":{}})");
    EXPECT_EQ(Extended(R"({"content":{}})", {}), R"({"content":{"allProcsInfo":[]}})");
    EXPECT_EQ(Extended(R"({"x":{"content":[{}]},"content":{"content":{}}})", {}),
              R"({"x":{"content":[{}]},"content":{"content":{},"allProcsInfo":[]}})");
}

TEST(AddAllProcessesTest, PassesNumbersOfEverySizeOn) {
    const std::string numbers =
        "[0,-1,2147483647,-2147483648,2147483648,4294967295,4294967296,-2147483649,"
        "9223372036854775807,-9223372036854775808,9223372036854775808,18446744073709551615,"
        "0.1,-2.5e-300]";
    EXPECT_EQ(
        Extended(R"({"eventId":)" + numbers + R"(,"content":{"a":)" + numbers + "}}", {}),
        R"({"eventId":)" + numbers + R"(,"content":{"a":)" + numbers + R"(,"allProcsInfo":[]}})");
}

TEST(AddAllProcessesTest, EscapesWhatJsonDoesNotTake) {
    const std::string line = std::string("1 u 3 4 5 6 7 8 9 10 11 \"a\\\t\x01") + '\0' + "\xff";
    EXPECT_EQ(Extended(R"({"content":{}})", {kLine, line, kLine}),
              R"({"content":{"allProcsInfo":[{"procInfo":"u 1 3 4 5 6 7 8 9 10 11 12"},)"
              R"({"procInfo":"u 1 3 4 5 6 7 8 9 10 11 \"a\\\t\u0001\u0000)"
              "\xff"
              R"("},{"procInfo":"u 1 3 4 5 6 7 8 9 10 11 12"}]}})");
}

TEST(AddAllProcessesTest, RefusesWhatHasNoContentObject) {
    for (const char* document :
         {"", "{", "[]", "7", "\"content\"", "{}", R"({"content":[]})", R"({"content":null})",
          R"({"content":"{}"})", R"({"content":1,"content":{}})", R"([{"content":{}}])",
          R"({"Content":{}})", R"({"content":{}} x)", R"({"content":{})", R"({"content":{}}})"}) {
        EXPECT_EQ(Extended(document, {kLine}), "refused") << document;
    }
}

TEST(AddAllProcessesTest, TakesAnyNesting) {
    const std::size_t depth = test::Amount(1000000);
    const std::string deep = std::string(depth, '[') + std::string(depth, ']');
    EXPECT_EQ(Extended(R"({"content":{"a":)" + deep + "}}", {}),
              R"({"content":{"a":)" + deep + R"(,"allProcsInfo":[]}})");
}

}  // namespace
}  // namespace zarn
