#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "foundation/files.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

std::vector<std::string> LinesOf(const std::string& path) {
    LineFile file(path);
    std::vector<std::string> lines;
    std::string_view line;
    while (file.Next(line)) {
        lines.emplace_back(line);
    }
    return lines;
}

TEST(LineFileTest, CutsAsTheCursorDoes) {
    const std::string longLine(3000001, 'x');
    const std::string texts[] = {"",
                                 "\n",
                                 "a",
                                 "a\n",
                                 "a\r\n\nb",
                                 "a\n\n",
                                 std::string("a\0b\nc\n", 6),
                                 longLine,
                                 "a\n" + longLine + "\n" + longLine + "\nrest"};
    const test::TempDir dir;
    for (const std::string& text : texts) {
        std::vector<std::string> expected;
        LineCursor cursor(text);
        std::string_view line;
        while (cursor.Next(line)) {
            expected.emplace_back(line);
        }
        EXPECT_EQ(LinesOf(dir.Write("file", text)), expected) << text.size();
    }
}

TEST(LineFileTest, WantsARegularFile) {
    const test::TempDir dir;
    const std::string fifo = dir.Path() + "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string& path : {fifo, dir.Path(), dir.Path() + "none"}) {
        LineFile file(path);
        std::string_view line;
        EXPECT_FALSE(file.IsOpen()) << path;
        EXPECT_FALSE(file.Next(line)) << path;
    }
}

}  // namespace
}  // namespace zarn
