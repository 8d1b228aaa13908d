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

TEST(LineFileTest, CutsLongLinesWhereItIsToldTo) {
    const test::TempDir dir;
    // Shorter and longer than what is read at once, and about as long as the limit.
    for (const std::size_t most : {std::size_t{1}, std::size_t{100}, std::size_t{70000}}) {
        std::string text;
        std::vector<std::string> expected;
        for (const std::size_t size : {std::size_t{0}, most - 1, most, most + 1, most + 65535,
                                       most + 65536, most + 65537, std::size_t{3000000}}) {
            const std::string line(size, 'a');
            expected.push_back(line.substr(0, most) + (size > most ? " cut" : ""));
            text += line + "\n";
        }
        for (const char* end : {"", "b"}) {
            LineFile file(dir.Write("file", text + end));
            file.CutLines(most);
            std::vector<std::string> lines;
            for (std::string_view line; file.Next(line);) {
                lines.push_back(std::string(line) + (file.WasCut() ? " cut" : ""));
            }
            std::vector<std::string> all = expected;
            if (*end != '\0') {
                all.emplace_back(end);
            }
            EXPECT_EQ(lines == all, true) << most;
        }
        LineFile unended(dir.Write("file", std::string(3000000, 'a')));
        unended.CutLines(most);
        std::string_view line;
        EXPECT_TRUE(unended.Next(line));
        EXPECT_EQ(line.size(), most);
        EXPECT_TRUE(unended.WasCut());
        EXPECT_FALSE(unended.Next(line));
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

// The memory of a process is a regular file of which nothing lies at its beginning.
TEST(LineFileTest, TellsAReadErrorFromTheEnd) {
    LineFile broken("/proc/self/mem");
    ASSERT_TRUE(broken.IsOpen());
    std::string_view line;
    EXPECT_FALSE(broken.Next(line));
    EXPECT_TRUE(broken.HasFailed());
    const test::TempDir directory;
    LineFile whole(directory.Write("file", "a"));
    EXPECT_TRUE(whole.Next(line));
    EXPECT_FALSE(whole.Next(line));
    EXPECT_FALSE(whole.HasFailed());
}

}  // namespace
}  // namespace zarn
