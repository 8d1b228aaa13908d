#include "report/json_out.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "foundation/json.h"

namespace zarn::report {
namespace {

std::string Escaped(std::string_view text) {
    std::string out;
    AppendHtmlJson(text, out);
    return out;
}

TEST(JsonOutTest, WritesTextsThatNoPageTakesForMarkup) {
    EXPECT_EQ(Escaped("</script><!--"), R"("\u003c/script>\u003c!--")");
    EXPECT_EQ(Escaped("\"\\"), R"("\"\\")");
    EXPECT_EQ(Escaped(std::string("\0\n\x1b\x7f", 4)), R"("\u0000\u000a\u001b\u007f")");
    EXPECT_EQ(Escaped("a\u2028b\u2029c"), R"("a\u2028b\u2029c")");
    EXPECT_EQ(Escaped("\u00e4\u20ac\U0001f600"), "\"\u00e4\u20ac\U0001f600\"");
}

TEST(JsonOutTest, ReplacesEachByteThatIsNoUtf8) {
    const std::string_view broken[] = {
        "\xff",          // no first byte
        "\x80",          // only a later byte
        "\xc3",          // torn
        "\xc0\xaf",      // overlong
        "\xe0\x80\x80",  // overlong
        "\xed\xa0\x80",  // a surrogate
        "\xf4\x90\x80\x80",
    };
    for (const std::string_view text : broken) {
        std::string expected = "\"";
        for (std::size_t i = 0; i < text.size(); ++i) {
            expected += "\\ufffd";
        }
        EXPECT_EQ(Escaped(text), expected + "\"");
    }
    EXPECT_EQ(Escaped("a\xe2\x82z"), R"("a\ufffd\ufffdz")");
}

TEST(JsonOutTest, CutsBetweenSequences) {
    EXPECT_EQ(CutUtf8("abc", 3), "abc");
    EXPECT_EQ(CutUtf8("abc", 2), "ab");
    EXPECT_EQ(CutUtf8("a\u20acb", 4), "a\u20ac");
    EXPECT_EQ(CutUtf8("a\u20acb", 3), "a");
    EXPECT_EQ(CutUtf8("a\u20acb", 2), "a");
    EXPECT_EQ(CutUtf8("\xff\xff\xff\xff\xff", 4), "\xff\xff\xff\xff");
}

TEST(JsonOutTest, WritesNumbersThatReadAsTheSame) {
    std::string text;
    JsonOut out([&text](std::string_view piece) { text += piece; });
    out.BeginArray();
    for (const double value : {0.1, -3.0, 1795363839315.0, 1e300}) {
        out.Number(value);
    }
    out.Number(std::numeric_limits<double>::infinity());
    out.Number(std::numeric_limits<double>::quiet_NaN());
    out.Integer(18446744073709551615U);
    out.EndArray();
    out.Finish();
    EXPECT_EQ(text, "[0.1,-3,1795363839315,1e+300,null,null,18446744073709551615]");
}

TEST(JsonOutTest, HandsOnPiecesOfOneValidText) {
    std::string text;
    std::size_t pieces = 0;
    JsonOut out([&](std::string_view piece) {
        text += piece;
        ++pieces;
    });
    out.BeginObject();
    for (const char* name : {"a", "b"}) {
        out.Key(name);
        out.BeginArray();
        for (int i = 0; i < 3; ++i) {
            out.Text(std::string(50000, 'x'));
        }
        out.EndArray();
    }
    out.EndObject();
    out.Finish();
    JsonDocument document;
    ASSERT_TRUE(ParseJson(text, document));
    EXPECT_EQ(document["b"].Size(), 3U);
    EXPECT_GT(pieces, 2U);
}

}  // namespace
}  // namespace zarn::report
