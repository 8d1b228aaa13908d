#include "kit/shell_words.h"

#include <gtest/gtest.h>

namespace zarn {
namespace {

TEST(ShellWordsTest, OrdinaryWordsStandAsTheyAre) {
    EXPECT_EQ(ShellWord("kworker/0:1+a@b%c=d-e_F.9"), "kworker/0:1+a@b%c=d-e_F.9");
    EXPECT_EQ(ShellPath("/a/b_[1].log"), "/a/b_[1].log");
}

TEST(ShellWordsTest, OthersAreQuoted) {
    EXPECT_EQ(ShellWord(""), "''");
    EXPECT_EQ(ShellWord("a b"), "'a b'");
    EXPECT_EQ(ShellWord("$(id)|x"), "'$(id)|x'");
    EXPECT_EQ(ShellWord("it's"), R"('it'\''s')");
    EXPECT_EQ(ShellWord("a[1]"), "'a[1]'");
    EXPECT_EQ(ShellPath("a b[1]"), "'a b[1]'");
    EXPECT_EQ(QuotedWord("a"), "'a'");
}

TEST(ShellWordsTest, APatternWithADashIsNoOption) {
    EXPECT_EQ(PatternWord("-v", "'-v'"), "-e '-v'");
    EXPECT_EQ(PatternWord("v-", "v-"), "v-");
    EXPECT_EQ(PatternWord("", "''"), "''");
}

}  // namespace
}  // namespace zarn
