#include "collectors/device/aicpu/core_set_parser.h"

#include <gtest/gtest.h>

namespace zarn {
namespace {

using Verdict = CoreSet::Verdict;

TEST(CoreSetParserTest, ReadsACoreOrARange) {
    const struct {
        const char* text;
        std::int32_t min;
        std::int32_t max;
    } rows[] = {
        {"3", 3, 3},      {"3\n", 3, 3},
        {"0-3\n", 0, 3},  {" \t1-2 9-\n", 1, 2},
        {"0\n-\n", 0, 0}, {"1-3,5\n", 1, 3},
        {"2,4\n", 2, 2},  {"5-5", 5, 5},
        {"+1-+2", 1, 2},  {"1-2147483647", 1, 2147483647},
    };
    for (const auto& [text, min, max] : rows) {
        const CoreSet cores = ParseCoreSet(text);
        EXPECT_EQ(cores.verdict, Verdict::Ok) << text;
        EXPECT_EQ(cores.min, min) << text;
        EXPECT_EQ(cores.max, max) << text;
    }
}

TEST(CoreSetParserTest, SaysWhatIsWrong) {
    const std::pair<std::string, Verdict> rows[] = {
        {"", Verdict::Empty},
        {"\n", Verdict::Empty},
        {" \t \v\f\r\n", Verdict::Empty},
        {"-", Verdict::BadFormat},
        {"-3", Verdict::BadFormat},
        {"3-", Verdict::BadFormat},
        {"none", Verdict::NoInteger},
        {"1-x", Verdict::NoInteger},
        {"x-1", Verdict::NoInteger},
        {std::string("\0\0", 2), Verdict::NoInteger},
        {"2147483648", Verdict::OutOfRange},
        {"0-99999999999999999999", Verdict::OutOfRange},
        {"3-1", Verdict::IllegalRange},
        {"1--1", Verdict::IllegalRange},
        {std::string(1 << 20, '9'), Verdict::OutOfRange},
        {std::string(1 << 20, 'x'), Verdict::NoInteger},
    };
    for (const auto& [text, verdict] : rows) {
        EXPECT_EQ(ParseCoreSet(text).verdict, verdict) << text.substr(0, 40);
    }
    EXPECT_EQ(ParseCoreSet("x").reason, "stoi");
    EXPECT_EQ(ParseCoreSet("1-2147483648").reason, "stoi");
    EXPECT_EQ(ParseCoreSet("3-1").min, 3);
    EXPECT_EQ(ParseCoreSet("3-1").max, 1);
    EXPECT_EQ(ParseCoreSet("").min, -1);
}

}  // namespace
}  // namespace zarn
