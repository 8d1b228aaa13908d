#include "foundation/regex_guard.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace zarn {
namespace {

#if defined(__SANITIZE_THREAD__)
// The thread sanitizer's own stack of calls holds 65536 of them.
constexpr std::size_t kDeepText = 1024;
#else
constexpr std::size_t kDeepText = kMaxRegexText;
#endif

std::vector<std::string> Groups(const ViewMatch& match) {
    std::vector<std::string> groups;
    for (const auto& group : match) {
        groups.push_back(group.matched ? group.str() : "<none>");
    }
    return groups;
}

TEST(SearchGuarded, GivesTheWholeMatchAndTheGroups) {
    const std::string text = "cpu 12.5 us, 3.0 sy";
    ViewMatch match;
    ASSERT_TRUE(SearchGuarded(text, std::regex(R"((\d+)\.(\d+) (us|sy)(x)?)"), match));
    EXPECT_EQ(Groups(match), (std::vector<std::string>{"12.5 us", "12", "5", "us", "<none>"}));
    EXPECT_EQ(match.prefix().str(), "cpu ");
    EXPECT_TRUE(SearchGuarded(text, std::regex("sy$")));
    EXPECT_FALSE(SearchGuarded(text, std::regex("^sy")));
}

TEST(SearchGuarded, AnEmptyTextMatchesWhatNeedsNothing) {
    ViewMatch match;
    EXPECT_TRUE(SearchGuarded("", std::regex("a*"), match));
    EXPECT_TRUE(SearchGuarded(std::string_view(), std::regex("^$")));
    EXPECT_FALSE(SearchGuarded("", std::regex("a"), match));
}

TEST(MatchGuarded, WantsTheWholeText) {
    ViewMatch match;
    const std::regex pattern(R"((\d+)\.log)");
    EXPECT_TRUE(MatchGuarded("12.log", pattern, match));
    EXPECT_EQ(Groups(match), (std::vector<std::string>{"12.log", "12"}));
    EXPECT_FALSE(MatchGuarded("x12.log", pattern, match));
    EXPECT_FALSE(MatchGuarded("12.logx", pattern, match));
}

// The verdict and the groups of the standard library, on the caller's stack and on a thread's own.
TEST(SearchGuarded, AgreesWithTheStandardLibraryAtEveryLengthThatIsNotRefused) {
    const std::vector<std::regex> patterns = {
        std::regex(R"((\d+)%\s+(\w+))"), std::regex(R"(^(a|ab)*(b?)$)"), std::regex(R"((.*)b(.*))"),
        std::regex(R"([ab%]+?\s)"), std::regex(R"(\bab\b)")};
    std::mt19937 random(7);
    const std::string alphabet = "aabb %12_";
    for (const std::size_t size : {0U, 1U, 17U, 255U, 256U, 257U, 600U}) {
        for (int round = 0; round < 8; ++round) {
            std::string text(size, ' ');
            for (char& c : text) {
                c = alphabet[random() % alphabet.size()];
            }
            for (const std::regex& pattern : patterns) {
                std::smatch expected;
                const bool found = std::regex_search(text, expected, pattern);
                ViewMatch match;
                ASSERT_EQ(SearchGuarded(text, pattern, match), found) << text;
                ASSERT_EQ(match.size(), expected.size());
                for (std::size_t i = 0; i < match.size(); ++i) {
                    EXPECT_EQ(match.str(i), expected.str(i)) << text;
                }
                ViewMatch whole;
                EXPECT_EQ(MatchGuarded(text, pattern, whole), std::regex_match(text, pattern));
            }
        }
    }
}

class DeepPattern : public testing::TestWithParam<const char*> {};

// Each of these takes kilobytes of stack per byte; on a default stack they would end the process.
TEST_P(DeepPattern, MatchesTheLongestText) {
    const std::string text(kDeepText, 'a');
    const std::regex pattern(GetParam());
    ViewMatch match;
    EXPECT_TRUE(MatchGuarded(text, pattern, match));
    EXPECT_EQ(match.length(), static_cast<std::ptrdiff_t>(text.size()));
    EXPECT_TRUE(SearchGuarded(text, pattern));
}

INSTANTIATE_TEST_SUITE_P(Patterns, DeepPattern,
                         testing::Values(".*", "(.*)", "((a)|(b))*", "(((((a)))))*",
                                         "(a?b?c?d?e?f?g?h?i?)*", "(((((((((a)?)?)?)?)?)?)?)?)*"));

TEST(SearchGuarded, RefusesLongerTextsOfAnyBytes) {
    const std::string longest(kMaxRegexText, 'a');
    EXPECT_TRUE(SearchGuarded(longest, std::regex("a")));
    EXPECT_FALSE(SearchGuarded(longest + "a", std::regex("a")));
    for (const char fill : {'a', ' ', '\0', '\xff'}) {
        const std::string line(std::size_t{16} << 20, fill);
        ViewMatch match;
        EXPECT_FALSE(SearchGuarded(line, std::regex("(.|\\s)*"), match));
        EXPECT_FALSE(MatchGuarded(line, std::regex("(.|\\s)*"), match));
        std::vector<std::string_view> pieces;
        SplitGuarded(line, std::regex(std::string(1, 'a')), pieces);
        EXPECT_EQ(pieces, std::vector<std::string_view>{line});
    }
}

TEST(SplitGuarded, GivesThePiecesBetweenMatchesEmptyOnesToo) {
    const std::regex blanks(" +");
    const auto split = [&blanks](std::string_view text) {
        std::vector<std::string_view> pieces;
        SplitGuarded(text, blanks, pieces);
        return pieces;
    };
    using Pieces = std::vector<std::string_view>;
    EXPECT_EQ(split("a  b c"), (Pieces{"a", "b", "c"}));
    EXPECT_EQ(split(" a "), (Pieces{"", "a"}));
    EXPECT_EQ(split(""), (Pieces{""}));
    const std::string half(300, 'x');
    EXPECT_EQ(split(half + " " + half), (Pieces{half, half}));
}

TEST(CompileGuarded, SaysWhyNot) {
    std::string error;
    EXPECT_TRUE(CompileGuarded("a(b)?", error));
    EXPECT_EQ(error, "");
    EXPECT_FALSE(CompileGuarded("a(b", error));
    EXPECT_NE(error, "");
    EXPECT_FALSE(CompileGuarded(std::string(kMaxRegexText + 1, 'a'), error));
    EXPECT_EQ(error, "too long");
}

TEST(CompileGuarded, TakesTheDeepestPatternThatIsNotRefused) {
    std::string error;
    const std::size_t depth = kDeepText / 2;
    EXPECT_TRUE(CompileGuarded(std::string(depth, '(') + std::string(depth, ')'), error));
    EXPECT_FALSE(CompileGuarded(std::string(kDeepText, '('), error));
    EXPECT_FALSE(CompileGuarded("(a{999}){999}", error)) << "states beyond the library's limit";
}

TEST(CompileGuarded, PassesTheFlags) {
    std::string error;
    const auto pattern = CompileGuarded("LOG", error, std::regex::ECMAScript | std::regex::icase);
    ASSERT_TRUE(pattern);
    EXPECT_TRUE(SearchGuarded("a.log", *pattern));
}

// Each of these takes years by backtracking.
TEST(CompileWithoutBacktracking, NoStarTakesTimeWithoutEnd) {
    const std::string text = std::string(kDeepText - 1, 'x') + "!";
    for (const char* pattern : {"^(x+x+)+y", "^(x*)*$", "^((x?){60})+$", "^(x|xx|x.)*y$"}) {
        std::string error;
        const auto compiled = CompileWithoutBacktracking(pattern, error);
        ASSERT_TRUE(compiled) << pattern << error;
        EXPECT_FALSE(SearchGuarded(text, *compiled)) << pattern;
    }
}

TEST(CompileWithoutBacktracking, FindsWhatIsThere) {
    std::string error;
    const auto compiled = CompileWithoutBacktracking("^[0-9]+,(a|b.)*,[0-9]+$", error);
    ASSERT_TRUE(compiled);
    EXPECT_TRUE(SearchGuarded("12,abxa,7", *compiled));
    EXPECT_FALSE(SearchGuarded("12,abxc,7", *compiled));
    EXPECT_FALSE(CompileWithoutBacktracking("(a)\\1", error)) << "a back-reference";
    EXPECT_NE(error, "");
}

}  // namespace
}  // namespace zarn
