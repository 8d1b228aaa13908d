#include "comparators/cpu/cpu_sample_reader.h"

#include <gtest/gtest.h>

namespace zarn {
namespace {

using Samples = std::vector<std::vector<std::string>>;

Samples Cut(std::string_view text) {
    Samples samples;
    std::vector<std::string_view> lines;
    SampleCursor cursor(text);
    while (cursor.Next(lines)) {
        samples.emplace_back(lines.begin(), lines.end());
    }
    EXPECT_FALSE(cursor.Next(lines));
    return samples;
}

struct CutCase {
    std::string text;
    Samples samples;
};

class SampleCursorTest : public testing::TestWithParam<CutCase> {};

TEST_P(SampleCursorTest, CutsAtBlankLines) {
    EXPECT_EQ(Cut(GetParam().text), GetParam().samples);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SampleCursorTest,
    testing::Values(CutCase{"", {}}, CutCase{"\n\n\n", {}}, CutCase{"\r\n \n", {}},
                    CutCase{"a\nb\n\nc\n\n", {{"a", "b"}, {"c"}}},
                    CutCase{"a\nb\n\nc", {{"a", "b"}, {"c"}}},
                    CutCase{"\n\na\n\n\n\nb\n", {{"a"}, {"b"}}},
                    CutCase{"a\r\nb\r\n\r\nc\r\n", {{"a", "b"}, {"c"}}},
                    CutCase{"  a b  \n   \nc", {{"a b"}, {"c"}}},
                    CutCase{"\ta\t\n\t\nb", {{"\ta\t", "\t", "b"}}},
                    CutCase{std::string("a\0b\n\0\n\nc", 8),
                            {{std::string("a\0b", 3), std::string("\0", 1)}, {"c"}}}));

std::vector<std::string> Lines(const ProcessRows& rows) {
    return {rows.lines.begin(), rows.lines.end()};
}

TEST(FindProcessRows, TakesTheLinesThatEndInTheName) {
    const std::vector<std::string> texts = {"time\n 1 x app\n2 y app2\nother app\n\n1 x app \n",
                                            "3 x app\r\n"};
    const auto rows = FindProcessRows(texts, {"absent", "app2", "x"});
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_TRUE(rows[0].unique);
    EXPECT_TRUE(rows[0].lines.empty());
    EXPECT_EQ(Lines(rows[1]), (std::vector<std::string>{"2 y app2"}));
    EXPECT_TRUE(rows[2].lines.empty());
}

TEST(FindProcessRows, KeepsTheOrderOfTextsAndSamples) {
    const std::vector<std::string> texts = {"t\n1 app\n\nt\n2 app", "t\n3 app\n\nt\n\nt\n4 app\n"};
    const auto rows = FindProcessRows(texts, {"app"});
    EXPECT_TRUE(rows[0].unique);
    EXPECT_EQ(Lines(rows[0]), (std::vector<std::string>{"1 app", "2 app", "3 app", "4 app"}));
}

TEST(FindProcessRows, TwoOfANameInOneSampleAreNotUnique) {
    const std::vector<std::string> texts = {"t\n1 app\n2 lib\n\nt\n2 app\napp\n"};
    const auto rows = FindProcessRows(texts, {"app", "lib"});
    EXPECT_FALSE(rows[0].unique);
    EXPECT_TRUE(rows[1].unique);
}

TEST(FindProcessRows, HeadersCountAsTheyStand) {
    const std::vector<std::string> texts = {"20260102104244123\nPID USER COMMAND\n"};
    const auto rows = FindProcessRows(texts, {"20260102104244123", "COMMAND", ""});
    EXPECT_EQ(rows[0].lines.size(), 1U);
    EXPECT_EQ(Lines(rows[1]), (std::vector<std::string>{"PID USER COMMAND"}));
    EXPECT_TRUE(rows[2].lines.empty());
}

}  // namespace
}  // namespace zarn
