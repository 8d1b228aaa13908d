#include "foundation/commands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/amounts.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_runner.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

using Lines = std::vector<std::string>;
using test::Capture;
using test::Captured;
using test::FakeRunner;

TEST(ExecuteCommand, ReplacesTheOutputAndKeepsItsNewlines) {
    std::string output = "before";
    EXPECT_TRUE(ExecuteCommand("printf 'a\\n\\nb\\n\\n'; exit 3", output));
    EXPECT_EQ(output, "a\n\nb\n\n");
    EXPECT_TRUE(ExecuteCommand("true", output));
    EXPECT_EQ(output, "");
}

TEST(ExecuteCommand, SaysThatACommandCannotBeStarted) {
    FakeRunner runner;
    runner.Refuse("tool");
    std::string output = "before";
    const Captured captured =
        Capture([&] { EXPECT_FALSE(ExecuteCommand("tool", output, runner)); });
    EXPECT_EQ(captured.err, "[zarn_utils] Failed to popen command!\n");
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(output, "");
}

TEST(StreamCommand, HandsOutputOnOrSaysThatACommandCannotBeStarted) {
    FakeRunner runner;
    runner.On("tool", "output\n").Refuse("no such");
    std::string output;
    const auto take = [&output](std::string_view piece) { output += piece; };
    EXPECT_TRUE(StreamCommand("tool", take, runner));
    const Captured captured =
        Capture([&] { EXPECT_FALSE(StreamCommand("no such", take, runner)); });
    EXPECT_EQ(captured.err, "[zarn_utils] Failed to popen command!\n");
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(output, "output\n");
}

TEST(ExecuteCommandLines, SaysThatACommandCannotBeStarted) {
    FakeRunner runner;
    runner.Refuse("tool");
    Lines lines{"before"};
    const Captured captured =
        Capture([&] { EXPECT_FALSE(ExecuteCommandLines("tool", lines, runner)); });
    EXPECT_EQ(captured.err, "[zarn_utils]: execute command failed.\n");
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(lines, Lines{"before"});
}

TEST(StreamCommandLines, HandsLinesOnOrSaysThatACommandCannotBeStarted) {
    FakeRunner runner;
    runner.On("tool", "a\n\n" + std::string(600, 'x') + "\nend").Refuse("no such");
    Lines lines;
    const auto take = [&lines](std::string_view line) { lines.emplace_back(line); };
    EXPECT_TRUE(StreamCommandLines("tool", take, runner));
    EXPECT_EQ(lines, (Lines{"a", "", std::string(511, 'x'), std::string(89, 'x'), "end"}));
    const Captured captured =
        Capture([&] { EXPECT_FALSE(StreamCommandLines("no such", take, runner)); });
    EXPECT_EQ(captured.err, "[zarn_utils]: execute command failed.\n");
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(lines.size(), 5U);
}

TEST(StreamCommandLines, ALineThatCannotBeTakenFailsIt) {
    const auto take = [](std::string_view /*line*/) { throw std::bad_alloc(); };
    for (const char* command : {"printf 'a line\\n'", "printf 'a last one'"}) {
        const Captured captured =
            Capture([&] { EXPECT_FALSE(StreamCommandLines(command, take)) << command; });
        EXPECT_EQ(captured.err, "[zarn_utils]: execute command failed.\n") << command;
    }
}

TEST(StreamCommandLines, GivesTheLinesOfAProcess) {
    Lines lines;
    EXPECT_TRUE(StreamCommandLines("seq 20000; printf last",
                                   [&lines](std::string_view line) { lines.emplace_back(line); }));
    ASSERT_EQ(lines.size(), 20001U);
    EXPECT_EQ(lines[12345], "12346");
    EXPECT_EQ(lines.back(), "last");
}

// What fgets would give for the text, by a buffer of one byte more than a piece.
Lines PiecesOfFgets(const std::string& text) {
    const test::TempDir directory;
    std::FILE* file = std::fopen(directory.Write("text", text).c_str(), "r");
    Lines lines;
    char buffer[kCommandLinePiece + 1];
    while (std::fgets(buffer, sizeof(buffer), file) != nullptr) {
        std::string piece = buffer;
        if (!piece.empty() && piece.back() == '\n') {
            piece.pop_back();
        }
        lines.push_back(piece);
    }
    std::fclose(file);
    return lines;
}

TEST(ExecuteCommandLines, CutsAsFgetsDoes) {
    Lines texts = {"", "\n", "\n\n", "a", "a\n", "a\n\nb", "a\r\n"};
    for (const std::size_t size : {509U, 510U, 511U, 512U, 513U, 1021U, 1022U, 1023U, 5110U}) {
        for (const std::string end : {"", "\n", "\n\n", "\nb", "\nb\n"}) {
            texts.push_back(std::string(size, 'x') + end);
        }
    }
    for (const std::string& text : texts) {
        FakeRunner runner;
        runner.On("tool", text);
        Lines lines;
        EXPECT_TRUE(ExecuteCommandLines("tool", lines, runner));
        EXPECT_EQ(lines, PiecesOfFgets(text)) << text.size();
    }
}

TEST(ExecuteCommandLines, AppendsToTheList) {
    Lines lines{"before"};
    EXPECT_TRUE(ExecuteCommandLines("printf 'a\\n\\n b '", lines));
    EXPECT_EQ(lines, (Lines{"before", "a", "", " b "}));
}

TEST(ExecuteCommandLines, TakesALineOfMegabytes) {
    FakeRunner runner;
    runner.On("tool", std::string(test::Amount(16U << 20U), 'x') + "\nlast");
    Lines lines;
    EXPECT_TRUE(ExecuteCommandLines("tool", lines, runner));
    ASSERT_EQ(lines.size(), test::Amount(16U << 20U) / kCommandLinePiece + 2);
    EXPECT_EQ(lines.back(), "last");
}

struct KillCase {
    const char* pids;
    int killStatus;
    bool result;
    Lines commands;
    const char* line;
};

class KillProcessByNameTest : public testing::TestWithParam<KillCase> {};

TEST_P(KillProcessByNameTest, FollowsThePidText) {
    FakeRunner runner;
    runner.On("pidof tool", GetParam().pids).On("kill", "", GetParam().killStatus);
    const Captured captured = Capture(
        [&] { EXPECT_EQ(KillProcessByName("tool", "Tag", "-2", runner), GetParam().result); });
    EXPECT_EQ(runner.Commands(), GetParam().commands);
    EXPECT_EQ(captured.err, GetParam().line);
    EXPECT_EQ(captured.out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, KillProcessByNameTest,
    testing::Values(
        KillCase{"12\n", 0, true, {"pidof tool", "kill -2 12"}, ""},
        KillCase{
            "12\n", 256, false, {"pidof tool", "kill -2 12"}, "[Tag] Fail to kill process:tool\n"},
        KillCase{
            "12\n", -1, false, {"pidof tool", "kill -2 12"}, "[Tag] Fail to kill process:tool\n"},
        KillCase{"", 256, true, {"pidof tool"}, ""}, KillCase{"\n", 256, true, {"pidof tool"}, ""},
        KillCase{"12 34\n", 256, true, {"pidof tool"}, ""},
        KillCase{"abc\n", 256, true, {"pidof tool"}, ""},
        // The last byte goes, newline or not.
        KillCase{"123", 0, true, {"pidof tool", "kill -2 12"}, ""}));

TEST(KillProcessByName, SaysThatPidofCannotBeStarted) {
    FakeRunner runner;
    runner.Refuse("pidof");
    const Captured captured =
        Capture([&] { EXPECT_FALSE(KillProcessByName("tool", "Tag", "-9", runner)); });
    EXPECT_EQ(captured.err,
              "[zarn_utils] Failed to popen command!\n"
              "[Tag] Failed to get process id of tool! Skipping this process!\n");
}

TEST(GetProcessIds, LeavesOutWhatIsUnknown) {
    FakeRunner runner;
    runner.On("pidof one", "1\n").On("pidof two", "2 22 222\n").Refuse("pidof broken");
    std::vector<std::pair<std::string, std::string>> ids{{"before", "0"}};
    const Captured captured = Capture([&] {
        EXPECT_TRUE(GetProcessIds("Tag", {"one", "gone", "two", "broken"}, ids, runner));
    });
    EXPECT_EQ(ids, (std::vector<std::pair<std::string, std::string>>{
                       {"before", "0"}, {"one", "1"}, {"two", "2 22 222"}}));
    EXPECT_EQ(captured.err,
              "[Tag] Failed to get process id of gone, Skipped it!\n"
              "[zarn_utils] Failed to popen command!\n"
              "[Tag] Failed to get process id of broken, Skipped it!\n");
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(runner.Commands(), (Lines{"pidof one", "pidof gone", "pidof two", "pidof broken"}));
}

TEST(RunCommandThenKill, InterruptsTheToolAndWaitsForIt) {
    FakeRunner runner;
    runner.On("pidof", "12\n").On("kill", "").On("measure", "");
    const Captured captured =
        Capture([&] { EXPECT_TRUE(RunCommandThenKill("measure", 0, "Tag", "tool", runner)); });
    EXPECT_EQ(captured.err, "");
    const Lines commands = runner.Commands();
    ASSERT_EQ(commands.size(), 3U) << "the tool has been joined";
    EXPECT_EQ(std::count(commands.begin(), commands.end(), "measure"), 1);
    EXPECT_EQ(std::count(commands.begin(), commands.end(), "pidof tool"), 1);
    EXPECT_EQ(commands[commands[2] == "measure" ? 1 : 2], "kill -2 12");
}

TEST(RunCommandThenKill, AToolThatIsGoneIsNoFailure) {
    FakeRunner runner;
    EXPECT_TRUE(RunCommandThenKill("measure", 0, "Tag", "tool", runner));
    EXPECT_EQ(runner.Commands().size(), 2U);
}

TEST(RunCommandThenKillDeathTest, AFailedKillEndsTheProcess) {
    if (!std::string_view(ZARN_EMULATOR).empty()) {
        GTEST_SKIP() << "an emulated program cannot start itself";
    }
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            FakeRunner runner;
            runner.On("pidof", "12\n").On("kill", "", 256);
            (void)RunCommandThenKill("measure", 0, "Tag", "tool", runner);
            std::exit(0);
        },
        testing::KilledBySignal(SIGABRT), "\\[Tag\\] Fail to kill process:tool\n");
}

TEST(EscapeShellArgument, EscapesEachOf21CharactersAndDropsLineEnds) {
    EXPECT_EQ(EscapeShellArgument("a;b\n"), "a\\;b");
    EXPECT_EQ(EscapeShellArgument(""), "");
    EXPECT_EQ(EscapeShellArgument("\r\n"), "");
    EXPECT_EQ(EscapeShellArgument("plain text-1_2.3/4:\"'%@+=\t\xc3\xa4"),
              "plain text-1_2.3/4:\"'%@+=\t\xc3\xa4");
    const std::string special = "#&;,|*?~<>^()[]{}$`!\\";
    ASSERT_EQ(special.size(), 21U);
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        const bool dropped = text == "\n" || text == "\r";
        const bool escaped = special.find(text) != std::string::npos;
        EXPECT_EQ(EscapeShellArgument(text), dropped ? "" : escaped ? "\\" + text : text) << byte;
    }
}

struct CoreCase {
    const char* output;
    std::uint32_t core;
    bool result;
    const char* line;
};

class CheckCoreIdTest : public testing::TestWithParam<CoreCase> {};

TEST_P(CheckCoreIdTest, ComparesWithTheCount) {
    FakeRunner runner;
    runner.On("cpuinfo", GetParam().output);
    const Captured captured =
        Capture([&] { EXPECT_EQ(CheckCoreId(GetParam().core, runner), GetParam().result); });
    EXPECT_EQ(captured.err, GetParam().line);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(runner.Commands(), Lines{"cat /proc/cpuinfo| grep \"processor\"| wc -l"});
}

INSTANTIATE_TEST_SUITE_P(
    Cases, CheckCoreIdTest,
    testing::Values(
        CoreCase{"8\n", 0, true, ""}, CoreCase{"8\n", 7, true, ""},
        CoreCase{"8\n", 8, false,
                 "[zarn_utils] Invalid coreID value: 8, it should less than 8 !\n"},
        CoreCase{"12\n", 4294967295U, false,
                 "[zarn_utils] Invalid coreID value: 4294967295, it should less than 12 !\n"},
        CoreCase{"", 0, false, "[zarn_utils] Failed to get device core amount!\n"},
        CoreCase{"\n", 0, false, "[zarn_utils] Error occurs: stoul\n"},
        CoreCase{"none\n", 0, false, "[zarn_utils] Error occurs: stoul\n"},
        CoreCase{"99999999999999999999\n", 0, false, "[zarn_utils] Error occurs: stoul\n"}));

TEST(CheckCoreId, KnowsTheMachine) {
    EXPECT_TRUE(CheckCoreId(0));
}

}  // namespace
}  // namespace zarn
