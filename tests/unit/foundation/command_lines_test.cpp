#include <gmock/gmock.h>

#include <array>
#include <cstdio>

#include "foundation/commands.h"

namespace zarn {
namespace {

// What fgets into a buffer of one piece and its NUL gives, final newlines removed.
std::vector<std::string> ReadByFgets(std::string text) {
    std::vector<std::string> lines;
    std::array<char, kCommandLinePiece + 1> buffer{};
    std::FILE* file = ::fmemopen(text.data(), text.size(), "r");
    while (std::fgets(buffer.data(), static_cast<int>(buffer.size()), file) != nullptr) {
        lines.emplace_back(buffer.data());
        if (lines.back().back() == '\n') {
            lines.back().pop_back();
        }
    }
    std::fclose(file);
    return lines;
}

TEST(CutCommandLines, CutsAsFgetsDoes) {
    std::vector<std::string> texts = {"\n", "a", "a\n", "\n\na\r\n\n", "a\nb"};
    for (const std::size_t size : {510U, 511U, 512U, 1021U, 1022U, 1023U, 3000U}) {
        texts.emplace_back(size, 'x');
        texts.push_back(std::string(size, 'x') + "\n");
        texts.push_back(std::string(size, 'x') + "\n\ny\n" + std::string(size, 'z') + "\n");
    }
    for (const std::string& text : texts) {
        std::vector<std::string_view> lines;
        CutCommandLines(text, lines);
        EXPECT_THAT(lines, testing::ElementsAreArray(ReadByFgets(text))) << text;
    }
}

TEST(CutCommandLines, AnEmptyTextHasNoLine) {
    std::vector<std::string_view> lines;
    CutCommandLines("", lines);
    EXPECT_THAT(lines, testing::IsEmpty());
}

TEST(CommandLineCursor, GivesTheSameLinesOneByOne) {
    const std::string text = "a\n" + std::string(600, 'x') + "\n\nb";
    std::vector<std::string_view> expected;
    CutCommandLines(text, expected);
    CommandLineCursor cursor(text);
    std::vector<std::string_view> lines;
    for (std::string_view line; cursor.Next(line);) {
        lines.push_back(line);
    }
    EXPECT_EQ(lines, expected);
    std::string_view line;
    EXPECT_FALSE(cursor.Next(line));
}

std::vector<std::string> Split(const std::string& text, std::size_t pieceSize) {
    std::vector<std::string> lines;
    const auto take = [&lines](std::string_view line) { lines.emplace_back(line); };
    CommandLineSplitter splitter;
    for (std::size_t i = 0; i < text.size(); i += pieceSize) {
        splitter.Feed(std::string_view(text).substr(i, pieceSize), take);
    }
    splitter.Finish(take);
    splitter.Finish(take);  // nothing is left
    return lines;
}

TEST(CommandLineSplitter, GivesTheSameLinesWhereverThePiecesEnd) {
    std::string text = "a\n\n\nbc\r\n";
    for (const std::size_t size : {509U, 510U, 511U, 512U, 1022U, 1023U}) {
        text += std::string(size, 'x') + "\n" + std::string(size, 'y') + "\n\n";
    }
    for (const std::string& whole : {text, text + "torn", std::string(), std::string("\n")}) {
        std::vector<std::string_view> lines;
        CutCommandLines(whole, lines);
        const std::vector<std::string> expected(lines.begin(), lines.end());
        for (const std::size_t pieceSize : {1U, 2U, 3U, 7U, 510U, 511U, 512U, 1000U, 100000U}) {
            EXPECT_EQ(Split(whole, pieceSize), expected) << pieceSize;
        }
    }
}

}  // namespace
}  // namespace zarn
