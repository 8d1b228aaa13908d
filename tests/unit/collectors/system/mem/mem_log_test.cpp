#include "collectors/system/mem/mem_log.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/process_state.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

const std::string kSeparator = std::string(80, '-') + " \n";

TEST(MemLogRowTest, PadsCellsToTwelveOrByOne) {
    std::string text;
    AppendLogRow(std::vector<std::string>{"11", "twelve_bytes", "eleven_byte", "thirteen_byte", ""},
                 text);
    EXPECT_EQ(text, "11          twelve_bytes eleven_byte thirteen_byte             \n");
    AppendLogRow(memSeparatorRow, text = "");
    EXPECT_EQ(text, kSeparator);
}

// The text of a log to which `pieces` of one program's output were appended.
std::string LogOf(const std::vector<std::string>& pieces) {
    const test::TempDir directory;
    const std::string path = directory.Write("log", "before\n");
    MemLogText log(path);
    for (const std::string& piece : pieces) {
        log.Append(piece);
    }
    EXPECT_EQ(log.Keep(), FileResult::Ok);
    return directory.Read("log");
}

TEST(MemLogTextTest, TheOutputStandsWithoutItsLastCharacterAsLines) {
    EXPECT_EQ(LogOf({"one\ntwo\n"}), "before\none\ntwo\n" + kSeparator);
    EXPECT_EQ(LogOf({"one\n", "", "t", "w", "o\n"}), "before\none\ntwo\n" + kSeparator);
    EXPECT_EQ(LogOf({"torn"}), "before\ntor\n" + kSeparator);
    EXPECT_EQ(LogOf({"\n"}), "before\n\n" + kSeparator);
}

TEST(MemLogTextTest, NoOutputIsTheSeparatorAlone) {
    EXPECT_EQ(LogOf({}), "before\n" + kSeparator);
    EXPECT_EQ(LogOf({""}), "before\n" + kSeparator);
}

TEST(MemLogTextTest, WhatIsNotKeptOrFindsNoSpaceIsGone) {
    const test::TempDir directory;
    const std::string path = directory.Write("log", "before\n");
    {
        MemLogText dropped(path);
        dropped.Append("one\n");
    }
    EXPECT_EQ(directory.Read("log"), "before\n");
    const test::ScopedFileSizeLimit limit(50);
    MemLogText log(path);
    log.Append("one\n");
    EXPECT_EQ(log.Keep(), FileResult::Failed);
    EXPECT_EQ(directory.Read("log"), "before\n");
}

}  // namespace
}  // namespace zarn
