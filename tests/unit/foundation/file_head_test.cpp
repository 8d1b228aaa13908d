#include <gtest/gtest.h>

#include <string>

#include "foundation/files.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

using test::TempDir;

TEST(ReadFileHeadTest, StopsBehindTheLastLineAskedFor) {
    struct Case {
        std::string file;
        std::size_t lines;
        std::string head;
    };
    const std::string longLine(200000, 'x');
    const Case cases[] = {
        {"a\nb\nc\n", 2, "a\nb\n"},
        {"a\nb\nc\n", 3, "a\nb\nc\n"},
        {"a\nb", 2, "a\nb"},
        {"a\nb", 7, "a\nb"},
        {"", 3, ""},
        {"a\nb\n", 0, ""},
        {"\n\n\n", 2, "\n\n"},
        {longLine + "\n" + longLine + "\nrest", 2, longLine + "\n" + longLine + "\n"},
        {longLine, 1, longLine},
    };
    const TempDir dir;
    for (const Case& one : cases) {
        std::string text = "old";
        EXPECT_EQ(ReadFileHead(dir.Write("file", one.file), one.lines, text), FileResult::Ok);
        EXPECT_EQ(text, one.head);
    }
}

TEST(ReadFileHeadTest, WantsARegularFile) {
    const TempDir dir;
    std::string text = "old";
    EXPECT_EQ(ReadFileHead(dir.Path() + "none", 1, text), FileResult::CannotOpen);
    EXPECT_EQ(ReadFileHead(dir.Path(), 1, text), FileResult::CannotOpen);
    EXPECT_EQ(ReadFileHead("/dev/zero", 1, text), FileResult::CannotOpen);
    EXPECT_EQ(text, "");
}

}  // namespace
}  // namespace zarn
