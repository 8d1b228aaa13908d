#include "collectors/device/mbuf/mbuf_names.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "collectors/device/mbuf/mbuf_groups.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_runner.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

constexpr const char* kNoGroups = "[MbufCollector] Failed to get group name!\n";

struct Summary {
    const char* what;
    const char* count;  // what the pipeline for the count prints
    const char* words;  // and the one for the groups
    const char* groups;
    const char* errors;
};

void PrintTo(const Summary& summary, std::ostream* out) {
    *out << summary.what;
}

class MbufGroupsTest : public testing::TestWithParam<Summary> {};

TEST_P(MbufGroupsTest, AreThoseThatAreCounted) {
    test::FakeRunner runner;
    runner.On("grep cnt", GetParam().count).On("awk '{print$1}'", GetParam().words);
    MbufNames names(runner);
    std::string groups;
    const test::Captured captured = test::Capture([&] { groups = names.GroupsOf(7); });
    EXPECT_EQ(groups, GetParam().groups);
    EXPECT_EQ(captured.err, GetParam().errors);
    EXPECT_EQ(captured.out, "");
    const test::Captured again = test::Capture([&] { EXPECT_EQ(names.GroupsOf(7), groups); });
    EXPECT_EQ(again.err, "");
}

INSTANTIATE_TEST_SUITE_P(
    Summaries, MbufGroupsTest,
    testing::Values(Summary{"two", "2\n", "0:default_dm(\n1:vboard(\n", "default_dm,vboard,", ""},
                    Summary{"none", "0\n", "", "", ""},
                    Summary{"more than counted", "1\n", "0:a(\n1:b(\n", "a,", ""},
                    Summary{"fewer than counted", "3\n", "0:a(\n1:b(\n", "a,b,", kNoGroups},
                    Summary{"far fewer", "2147483647\n", "0:a(\n", "a,", kNoGroups},
                    Summary{"below none", "-1\n", "0:a(\n", "", ""},
                    Summary{"from the tenth on", "1\n", "10:late(\n", ":late,", ""},
                    Summary{"short words", "4\n", "(\n1(\n\n0:(\n", ",,,,", ""},
                    Summary{"a word without an end", "1\n", "0:cut", "cu,", ""},
                    Summary{"more behind the count", "2)\n", "0:a(\n1:b(\n", "a,b,", ""},
                    Summary{"several counts", "1\n9\n", "0:a(\n", "a,", ""},
                    Summary{"no count", "", "0:a(\n", "",
                            "[MbufCollector] Invalidargument. stoi\n"
                            "[MbufCollector] Failed to get group name!\n"},
                    Summary{"a count without a line end", "2", "0:a(\n", "",
                            "[MbufCollector] Invalidargument. stoi\n"
                            "[MbufCollector] Failed to get group name!\n"},
                    Summary{"a word for a count", "many\n", "0:a(\n", "",
                            "[MbufCollector] Invalidargument. stoi\n"
                            "[MbufCollector] Failed to get group name!\n"},
                    Summary{"a count beyond all integers", "2147483648\n", "0:a(\n", "",
                            "[MbufCollector] Out of range. stoi\n"
                            "[MbufCollector] Failed to get group name!\n"}));

// The pipelines as the shell runs them, on a summary that a `cat` of the test's prints.
class MbufNamesInShell : public testing::Test {
public:
    MbufNamesInShell() : path_(std::getenv("PATH")) {
        const std::string tool =
            tools_.Write("cat", "#!/bin/sh\nexec /bin/cat '" + tools_.Path() + "summary'\n");
        std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
        ::setenv("PATH", (tools_.Path() + ":" + path_).c_str(), 1);
    }
    MbufNamesInShell(const MbufNamesInShell&) = delete;
    MbufNamesInShell& operator=(const MbufNamesInShell&) = delete;
    ~MbufNamesInShell() override { ::setenv("PATH", path_.c_str(), 1); }

protected:
    std::string GroupsOf(const std::string& summary, const std::string& errors = "") {
        tools_.Write("summary", summary);
        MbufNames names(SystemCommandRunner());
        std::string groups;
        const test::Captured captured = test::Capture([&] { groups = names.GroupsOf(7); });
        EXPECT_EQ(captured.err, errors);
        return groups;
    }

private:
    test::TempDir tools_;
    std::string path_;
};

TEST_F(MbufNamesInShell, ASummaryGivesItsGroups) {
    EXPECT_EQ(GroupsOf("task pid 7 group cnt: 2\n0:default_dm( pool_id 1 )\n1:cam( pool_id 2 )\n"),
              "default_dm,cam,");
    // A group whose name holds the word makes an empty line behind the count.
    EXPECT_EQ(GroupsOf("task pid 7 group cnt: 1\n0:cnt_pool( pool_id 1 )\n"), "cnt_pool,");
    EXPECT_EQ(GroupsOf("task pid 7 group cnt: 0\n"), "");
}

TEST_F(MbufNamesInShell, ASummaryOfAHundredThousandLinesIsReadToItsEnd) {
    std::string summary = "task pid 7 group cnt: 100000\n";
    std::string groups;
    for (int i = 0; i < 99999; ++i) {
        summary += std::to_string(i % 10) + ":g" + std::to_string(i) + "( pool_id 1 )\n";
        groups += "g" + std::to_string(i) + ",";
    }
    EXPECT_TRUE(GroupsOf(summary, kNoGroups) == groups);
    EXPECT_TRUE(GroupsOf(summary + "0:last( pool_id 2 )\n") == groups + "last,");
}

TEST_F(MbufNamesInShell, ASummaryOfAnythingElseHasNoGroups) {
    const std::string noCount = std::string("[MbufCollector] Invalidargument. stoi\n") + kNoGroups;
    EXPECT_EQ(GroupsOf("", noCount), "");
    EXPECT_EQ(GroupsOf("0:cam( pool_id 1 )\n", noCount), "");
    EXPECT_EQ(GroupsOf("cnt\n", noCount), "");
    EXPECT_EQ(GroupsOf("task pid 7 group cnt: 99999999999\n",
                       std::string("[MbufCollector] Out of range. stoi\n") + kNoGroups),
              "");
    EXPECT_EQ(GroupsOf("task pid 7 group cnt: 1\n" + std::string(1000000, 'x') + "\n", kNoGroups),
              "");
}

TEST(MbufNamesTest, AShellThatCannotBeStartedIsAskedAgain) {
    for (const char* command : {"grep cnt", "awk '{print$1}'|"}) {
        test::FakeRunner runner;
        runner.Refuse(command).On("grep cnt", "1\n").On("awk '{print$1}'", "0:a(\n");
        MbufNames names(runner);
        for (int i = 0; i < 2; ++i) {
            const test::Captured captured =
                test::Capture([&] { EXPECT_EQ(names.GroupsOf(7), ""); });
            EXPECT_TRUE(captured.err ==
                            std::string("[zarn_utils] Failed to popen command!\n") + kNoGroups ||
                        captured.err ==
                            std::string("[zarn_utils]: execute command failed.\n") + kNoGroups)
                << captured.err;
        }
    }
}

TEST(MbufNamesTest, AProcessIsCalledWhatPsPrints) {
    test::FakeRunner runner;
    runner.On("ps -p 1 ", "camera\n")
        .On("ps -p 2 ", "two words")
        .On("ps -p 3 ", "")
        .On("ps -p 4 ", "\n");
    runner.Refuse("ps -p 5 ");
    MbufNames names(runner);
    EXPECT_EQ(names.ProcessOf(1), "camera");
    EXPECT_EQ(names.ProcessOf(2), "two words");
    EXPECT_EQ(names.ProcessOf(3), "");
    EXPECT_EQ(names.ProcessOf(4), "");
    EXPECT_EQ(names.ProcessOf(1), "camera");
    EXPECT_EQ(runner.Commands().size(), 4U);
    const test::Captured captured = test::Capture([&] {
        EXPECT_EQ(names.ProcessOf(5), "");
        EXPECT_EQ(names.ProcessOf(5), "");
    });
    EXPECT_EQ(captured.err,
              "[zarn_utils] Failed to popen command!\n[zarn_utils] Failed to popen command!\n");
}

TEST(MbufNamesTest, TheGreatestPidIsANumber) {
    EXPECT_EQ(MbufProcessCommand(4294967295), "ps -p 4294967295 -o comm=");
}

}  // namespace
}  // namespace zarn
