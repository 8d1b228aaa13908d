#include "foundation/file_search.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/regex_guard.h"
#include "tests/support/amounts.h"
#include "tests/support/captured_streams.h"
#include "tests/support/ordinary_rights.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

namespace fs = std::filesystem;
using List = std::vector<std::string>;
using test::Capture;
using test::Captured;

// A directory that holds files, and beside them what is none.
class FileSearchTest : public testing::Test {
protected:
    FileSearchTest() {
        for (const char* name : {"soc_a_1.log", "SOC_A_22.LOG", "soc_a_.log", "soc_a_3.logx",
                                 "xsoc_a_4.log", "soc_a_5xlog", "b.csv"}) {
            directory_.Write(name, "text");
        }
        fs::create_directories(Path() + "soc_a_6.log");
        directory_.Write("sub/soc_a_7.log", "text");
        fs::create_symlink(Path() + "b.csv", Path() + "soc_a_8.log");
        fs::create_symlink(Path() + "missing", Path() + "soc_a_9.log");
        EXPECT_EQ(::mkfifo((Path() + "soc_a_10.log").c_str(), 0600), 0);
    }

    [[nodiscard]] const std::string& Path() const { return directory_.Path(); }

    // The names behind the directory, sorted: the directory's own order is any.
    [[nodiscard]] List Names(const List& paths) const {
        List names;
        for (const std::string& path : paths) {
            EXPECT_EQ(path.substr(0, Path().size()), Path());
            names.push_back(path.substr(Path().size()));
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    test::TempDir directory_;
};

TEST_F(FileSearchTest, ListFilesGivesRegularFilesOnly) {
    EXPECT_EQ(Names(ListFiles(Path())),
              (List{"SOC_A_22.LOG", "b.csv", "soc_a_.log", "soc_a_1.log", "soc_a_3.logx",
                    "soc_a_5xlog", "soc_a_8.log", "xsoc_a_4.log"}));
}

TEST_F(FileSearchTest, FindIndexedFilesWantsTheWholeNameInAnyCase) {
    EXPECT_EQ(Names(FindIndexedFiles(Path(), "soc_a_", "log")),
              (List{"SOC_A_22.LOG", "soc_a_1.log", "soc_a_8.log"}));
    EXPECT_EQ(FindIndexedFiles(Path(), "soc_", "log"), List{});
}

TEST_F(FileSearchTest, FindIndexedFilesTakesPartsOfARegularExpression) {
    EXPECT_EQ(Names(FindIndexedFiles(Path(), "x?soc_[ab]_", "logx?")),
              (List{"SOC_A_22.LOG", "soc_a_1.log", "soc_a_3.logx", "soc_a_8.log", "xsoc_a_4.log"}));
}

TEST_F(FileSearchTest, SaysThatADirectoryCannotBeOpened) {
    const std::string missing = Path() + "missing/";
    Captured captured = Capture([&] { EXPECT_EQ(ListFiles(missing), List{}); });
    EXPECT_EQ(captured.err, "Can not open " + missing + "\n");
    EXPECT_EQ(captured.out, "");
    captured = Capture([&] { EXPECT_EQ(FindIndexedFiles(missing, "a", "b"), List{}); });
    EXPECT_EQ(captured.err, "Can not open " + missing + "\n");
    captured = Capture([&] { EXPECT_FALSE(FileExistsByRegex(missing, "a", "Tag")); });
    EXPECT_EQ(captured.err, "[Tag] Can not open " + missing + "\n");
    EXPECT_EQ(captured.out, "");
}

TEST_F(FileSearchTest, FileExistsByRegexSearchesInTheName) {
    const Captured captured = Capture([this] {
        EXPECT_TRUE(FileExistsByRegex(Path(), "a_1", "Tag"));
        EXPECT_TRUE(FileExistsByRegex(Path(), R"(^b\.csv$)", "Tag"));
        EXPECT_TRUE(FileExistsByRegex(Path(), "", "Tag"));
    });
    EXPECT_EQ(captured.err + captured.out, "");
}

TEST_F(FileSearchTest, FileExistsByRegexSaysThatThereIsNone) {
    for (const std::string pattern : {"A_1", "soc_a_6", "soc_a_7", "soc_a_9", "soc_a_10", "sub"}) {
        const Captured captured =
            Capture([&] { EXPECT_FALSE(FileExistsByRegex(Path(), pattern, "Tag")); });
        EXPECT_EQ(captured.err, "[Tag] Target file: " + pattern +
                                    " does not exist under path: " + Path() + "!\n");
        EXPECT_EQ(captured.out, "");
    }
}

TEST_F(FileSearchTest, APatternThatIsNoneThrowsNothing) {
    const std::string path = directory_.Path() + "b.csv";
    const std::string nested(kMaxRegexText * 1000, '(');
    for (const std::string& pattern : {std::string("("), std::string("a{2,1}"), nested}) {
        List matches{"before"};
        const List errors = {
            Capture([&] { EXPECT_EQ(FindIndexedFiles(Path(), pattern, "log"), List{}); }).err,
            Capture([&] { EXPECT_FALSE(FileExistsByRegex(Path(), pattern, "Tag")); }).err,
            Capture([&] {
                EXPECT_FALSE(GetRegexMatchesFromFile(path, pattern, matches, {}, -1));
            }).err};
        for (const std::string& error : errors) {
            EXPECT_EQ(error.substr(0, 28), "[zarn_utils] Error occurs: " + error.substr(27, 1));
            EXPECT_EQ(error.find('\n'), error.size() - 1);
            EXPECT_GT(error.size(), 28U);
        }
        EXPECT_EQ(matches, List{});
    }
}

struct MatchCase {
    const char* text;
    const char* pattern;
    std::vector<char> skipped;
    int maxCount;
    List matches;
};

class RegexMatchesTest : public testing::TestWithParam<MatchCase> {};

TEST_P(RegexMatchesTest, GivesTheWholeMatchOfEachLine) {
    const test::TempDir directory;
    List matches{"before"};
    EXPECT_TRUE(GetRegexMatchesFromFile(directory.Write("file", GetParam().text),
                                        GetParam().pattern, matches, GetParam().skipped,
                                        GetParam().maxCount));
    EXPECT_EQ(matches, GetParam().matches);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RegexMatchesTest,
    testing::Values(MatchCase{"", "a", {}, -1, {}},
                    MatchCase{"a1\nb2 b3\nc\n4", R"([a-z]?(\d))", {}, -1, {"a1", "b2", "4"}},
                    MatchCase{"#1\n2\n;3\n4\n", R"(\d)", {'#', ';'}, -1, {"2", "4"}},
                    MatchCase{"#1\n", R"(\d)", {}, -1, {"1"}},
                    MatchCase{"1\nx\n2\n3\n", R"(\d)", {}, 2, {"1", "2"}},
                    MatchCase{"1\n2\n", R"(\d)", {}, 0, {}},
                    MatchCase{"1\n2\n", R"(\d)", {}, 9, {"1", "2"}},
                    MatchCase{"\n\nx\n", "^$", {'x'}, -1, {"", ""}},
                    MatchCase{"1\r\n2\r\n", R"(\d\s$)", {}, -1, {"1\r", "2\r"}}));

TEST(GetRegexMatchesFromFile, LinesBeyondTheLimitHaveNoMatch) {
    const test::TempDir directory;
    const std::string text = std::string(kMaxRegexText, '1') + "\n" +
                             std::string(kMaxRegexText + 1, '2') + "\n" +
                             std::string(test::Amount(16U << 20U), '3') + "\n4";
    List matches;
    EXPECT_TRUE(
        GetRegexMatchesFromFile(directory.Write("file", text), R"(^(\d)+)", matches, {}, -1));
    EXPECT_EQ(matches, (List{std::string(kMaxRegexText, '1'), "4"}));
}

TEST(GetRegexMatchesFromFile, SaysThatTheFileCannotBeOpened) {
    const test::TempDir directory;
    const std::string readOnly = directory.Write("file", "text");
    ASSERT_EQ(::chmod(readOnly.c_str(), 0400), 0);
    const test::OrdinaryRights rights;
    for (const std::string& path : {directory.Path() + "missing", directory.Path(), readOnly}) {
        List matches{"before"};
        const Captured captured =
            Capture([&] { EXPECT_FALSE(GetRegexMatchesFromFile(path, "a", matches, {}, -1)); });
        EXPECT_EQ(captured.err, "[zarn_utils] Cannot find input file!\n");
        EXPECT_EQ(captured.out, "");
        EXPECT_EQ(matches, List{});
    }
}

TEST_P(RegexMatchesTest, AMatcherOfTheCallersTakesTheSameLines) {
    const test::TempDir directory;
    const std::regex pattern(GetParam().pattern);
    List matches;
    const auto accept = [&](std::string_view line) {
        ViewMatch match;
        const bool found = SearchGuarded(line, pattern, match);
        if (found) {
            matches.push_back(match.str());
        }
        return found;
    };
    EXPECT_TRUE(TakeMatchingLinesOfFile(directory.Write("file", GetParam().text),
                                        GetParam().skipped,
                                        static_cast<std::size_t>(GetParam().maxCount), accept));
    EXPECT_EQ(matches, GetParam().matches);
}

TEST(TakeMatchingLinesOfFile, ALineMayHaveAnyLength) {
    const test::TempDir directory;
    const std::string longest(test::Amount(16U << 20U), '3');
    List lines;
    EXPECT_TRUE(TakeMatchingLinesOfFile(directory.Write("file", "1\n" + longest + "\n4"), {'1'},
                                        static_cast<std::size_t>(-1), [&](std::string_view line) {
                                            lines.emplace_back(line);
                                            return true;
                                        }));
    EXPECT_EQ(lines, (List{longest, "4"}));
}

TEST(TakeMatchingLinesOfFile, SaysThatTheFileCannotBeOpened) {
    const test::TempDir directory;
    const std::string readOnly = directory.Write("file", "text");
    ASSERT_EQ(::chmod(readOnly.c_str(), 0400), 0);
    const test::OrdinaryRights rights;
    for (const std::string& path : {directory.Path() + "missing", directory.Path(), readOnly}) {
        const Captured captured = Capture([&] {
            EXPECT_FALSE(TakeMatchingLinesOfFile(path, {}, 1, [](std::string_view /*line*/) {
                ADD_FAILURE() << "a line";
                return true;
            }));
        });
        EXPECT_EQ(captured.err, "[zarn_utils] Cannot find input file!\n");
        EXPECT_EQ(captured.out, "");
    }
}

TEST(SanitizeProcessName, ChangesNamesWithASlashOrABracket) {
    EXPECT_EQ(SanitizeProcessName("kworker/0:1"), "kworker_0:1");
    EXPECT_EQ(SanitizeProcessName("(sd-pam)"), "[sd-pam]");
    EXPECT_EQ(SanitizeProcessName("a/b)c/d"), "a_b]c_d");
    EXPECT_EQ(SanitizeProcessName("only)"), "only)");
    EXPECT_EQ(SanitizeProcessName("plain"), "plain");
    EXPECT_EQ(SanitizeProcessName(""), "");
}

}  // namespace
}  // namespace zarn
