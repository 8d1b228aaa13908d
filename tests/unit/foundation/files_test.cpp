#include "foundation/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/amounts.h"
#include "tests/support/ordinary_rights.h"
#include "tests/support/process_state.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

std::string ReadBack(const std::string& path) {
    std::string text;
    EXPECT_EQ(ReadFile(path, text), FileResult::Ok);
    return text;
}

class FilesTest : public testing::Test {
protected:
    test::TempDir directory_;
};

using ReadFileTest = FilesTest;

TEST_F(ReadFileTest, ReplacesTheTextByEveryByte) {
    const std::string bytes("a\0\r\n\xff\n", 6);
    std::string text = "before";
    EXPECT_EQ(ReadFile(directory_.Write("bytes", bytes), text), FileResult::Ok);
    EXPECT_EQ(text, bytes);
    EXPECT_EQ(ReadFile(directory_.Write("empty", ""), text), FileResult::Ok);
    EXPECT_EQ(text, "");
}

TEST_F(ReadFileTest, ReadsSizesAroundItsSteps) {
    for (const std::size_t size : {1U, 4096U, 262143U, 262144U, 262145U, 524288U, 1000001U}) {
        std::string bytes(size, 'x');
        bytes.back() = 'y';
        EXPECT_EQ(ReadBack(directory_.Write("file", bytes)), bytes);
    }
}

TEST_F(ReadFileTest, NeedsNoMoreMemoryThanTheFile) {
    const std::size_t size = std::size_t{16} << 20;
    std::string text;
    ASSERT_EQ(ReadFile(directory_.Write("line", std::string(size, 'x')), text), FileResult::Ok);
    EXPECT_EQ(text.size(), size);
    EXPECT_LE(text.capacity(), size + 4096);
}

TEST_F(ReadFileTest, ReadsFilesOfTheKernelThatSayTheyAreEmpty) {
    struct stat status {};
    ASSERT_EQ(::stat("/proc/self/status", &status), 0);
    ASSERT_EQ(status.st_size, 0);
    const std::string text = ReadBack("/proc/self/status");
    EXPECT_NE(text.find("Pid:\t" + std::to_string(::getpid()) + "\n"), std::string::npos);
}

TEST_F(ReadFileTest, FollowsLinks) {
    std::filesystem::create_symlink(directory_.Write("file", "text"), directory_.Path() + "link");
    EXPECT_EQ(ReadBack(directory_.Path() + "link"), "text");
}

// Paths that are no regular file, none of which may block.
std::vector<std::string> OddPaths(const test::TempDir& directory) {
    const std::string fifo = directory.Path() + "fifo";
    EXPECT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::filesystem::create_symlink(fifo, directory.Path() + "link");
    return {directory.Path(),
            fifo,
            directory.Path() + "link",
            "/dev/null",
            "/dev/zero",
            directory.Path() + "missing/file",
            ""};
}

TEST_F(FilesTest, NothingButARegularFileIsOpened) {
    for (const std::string& path : OddPaths(directory_)) {
        std::string text = "before";
        EXPECT_EQ(ReadFile(path, text), FileResult::CannotOpen) << path;
        EXPECT_EQ(text, "");
        EXPECT_EQ(ReadWritableFile(path, text), FileResult::CannotOpen) << path;
        EXPECT_EQ(ReadFileHead(path, 1, text), FileResult::CannotOpen) << path;
        EXPECT_EQ(WriteFile(path, "text"), FileResult::CannotOpen) << path;
        EXPECT_EQ(AppendFile(path, "text"), FileResult::CannotOpen) << path;
    }
    std::string text;
    EXPECT_EQ(ReadFile(directory_.Path() + "missing", text), FileResult::CannotOpen);
}

using ClosedInputDeathTest = FilesTest;

// Whether a file is written and read in every way as usual.
bool WorksAsUsual(const std::string& path) {
    std::string whole;
    std::string writable;
    std::string head;
    const bool opened = WriteFile(path, "one\n") == FileResult::Ok &&
                        AppendFile(path, "two\n") == FileResult::Ok &&
                        ReadFile(path, whole) == FileResult::Ok &&
                        ReadWritableFile(path, writable) == FileResult::Ok &&
                        ReadFileHead(path, 1, head) == FileResult::Ok;
    LineFile lines(path);
    std::string_view line;
    return opened && whole == "one\ntwo\n" && writable == whole && head == "one\n" &&
           lines.Next(line) && line == "one";
}

// With its standard input closed a process gets the descriptor 0 for the next file, and again for
// each one after that, if the one before was closed.
TEST_F(ClosedInputDeathTest, TheFirstDescriptorIsAsGoodAsAnother) {
    const std::string path = directory_.Path() + "file";
    EXPECT_EXIT(
        {
            ::close(STDIN_FILENO);
            const bool works = WorksAsUsual(path);
            const bool closed = ::open("/dev/null", O_RDONLY) == STDIN_FILENO;
            std::exit(works && closed ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

using ReadFileDeathTest = FilesTest;

[[noreturn]] void ReadBelowALimitOfMemory(const std::string& path) {
    rlimit limit{};
    limit.rlim_cur = limit.rlim_max = rlim_t{1} << 30;
    ::setrlimit(RLIMIT_AS, &limit);
    std::string text = "before";
    std::exit(ReadFile(path, text) == FileResult::Failed && text.empty() ? 0 : 1);
}

TEST_F(ReadFileDeathTest, AFileBeyondMemoryFails) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer's shadow does not fit below a limit of address space";
#endif
    if (!std::string_view(ZARN_EMULATOR).empty()) {
        GTEST_SKIP() << "an emulator of another processor knows no limit of memory";
    }
    const std::string path = directory_.Write("sparse", "text");
    ASSERT_EQ(::truncate(path.c_str(), off_t{1} << 33), 0);
    EXPECT_EXIT(ReadBelowALimitOfMemory(path), testing::ExitedWithCode(0), "");
}

TEST_F(FilesTest, ReadWritableFileWantsAWritableFile) {
    const std::string path = directory_.Write("file", "text");
    std::string text;
    EXPECT_EQ(ReadWritableFile(path, text), FileResult::Ok);
    EXPECT_EQ(text, "text");
    ASSERT_EQ(::chmod(path.c_str(), 0400), 0);
    const test::OrdinaryRights rights;
    EXPECT_EQ(ReadWritableFile(path, text), FileResult::CannotOpen);
}

using WriteFileTest = FilesTest;

TEST_F(WriteFileTest, CreatesAndReplaces) {
    const std::string path = directory_.Path() + "file";
    for (const std::string_view text : {"first", "a longer text", "short", "short", "", "again"}) {
        EXPECT_EQ(WriteFile(path, text), FileResult::Ok);
        EXPECT_EQ(ReadBack(path), text);
    }
}

TEST_F(WriteFileTest, AFullDiskLeavesWhatTheFileHeld) {
    const std::string path = directory_.Write("file", "saved before");
    {
        const test::ScopedFileSizeLimit limit(20);
        EXPECT_EQ(WriteFile(path, std::string(100, 'x')), FileResult::Failed);
        EXPECT_EQ(WriteFile(directory_.Path() + "new", std::string(100, 'x')), FileResult::Failed);
    }
    EXPECT_EQ(ReadBack(path), "saved before");
    EXPECT_EQ(ReadBack(directory_.Path() + "new"), "");
}

using AppendFileTest = FilesTest;

TEST_F(AppendFileTest, CreatesAndAppends) {
    const std::string path = directory_.Path() + "file";
    EXPECT_EQ(AppendFile(path, "one\n"), FileResult::Ok);
    EXPECT_EQ(AppendFile(path, ""), FileResult::Ok);
    EXPECT_EQ(AppendFile(path, "two\n"), FileResult::Ok);
    EXPECT_EQ(ReadBack(path), "one\ntwo\n");
}

TEST_F(AppendFileTest, AFullDiskTakesTheWholeTextOrNothing) {
    const std::string path = directory_.Write("file", "one\n");
    {
        const test::ScopedFileSizeLimit limit(10);
        EXPECT_EQ(AppendFile(path, "two, longer\n"), FileResult::Failed);
        EXPECT_EQ(AppendFile(path, "three\n"), FileResult::Ok);
        EXPECT_EQ(AppendFile(path, "4"), FileResult::Failed);
    }
    EXPECT_EQ(ReadBack(path), "one\nthree\n");
}

using FileAppenderTest = FilesTest;

TEST_F(FileAppenderTest, KeepsAllPiecesOrNone) {
    const std::string path = directory_.Write("file", "one\n");
    {
        FileAppender dropped(path);
        dropped.Append("two\n");
        dropped.Append("three\n");
        EXPECT_EQ(ReadBack(path), "one\ntwo\nthree\n");
    }
    EXPECT_EQ(ReadBack(path), "one\n");
    FileAppender kept(path);
    kept.Append("2");
    kept.Append("");
    kept.Append("\n");
    EXPECT_EQ(kept.Keep(), FileResult::Ok);
    EXPECT_EQ(ReadBack(path), "one\n2\n");
    EXPECT_EQ(kept.Keep(), FileResult::CannotOpen);
}

TEST_F(FileAppenderTest, WithoutKeepingThereIsNoNewFile) {
    const std::string path = directory_.Path() + "new";
    {
        FileAppender dropped(path);
        dropped.Append("text\n");
        EXPECT_EQ(ReadBack(path), "text\n");
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    (void)directory_.Write("new", "");
    { const FileAppender dropped(path); }
    EXPECT_TRUE(std::filesystem::exists(path));
    const std::string link = directory_.Path() + "link";
    std::filesystem::create_symlink("nothing_yet", link);
    { const FileAppender dropped(link); }
    EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST_F(FileAppenderTest, APieceThatFindsNoSpaceTakesTheOthersWithIt) {
    const std::string path = directory_.Write("file", "one\n");
    {
        const test::ScopedFileSizeLimit limit(10);
        FileAppender file(path);
        file.Append("two\n");
        file.Append("three\n");
        file.Append("4");
        EXPECT_EQ(file.Keep(), FileResult::Failed);
        FileAppender later(path);
        later.Append("five\n");
        EXPECT_EQ(later.Keep(), FileResult::Ok);
    }
    EXPECT_EQ(ReadBack(path), "one\nfive\n");
}

TEST_F(FileAppenderTest, OpensRegularFilesOnly) {
    FileAppender file(directory_.Path());
    file.Append("text");
    EXPECT_EQ(file.Keep(), FileResult::CannotOpen);
}

using FileReplacerTest = FilesTest;

TEST_F(FileReplacerTest, KeepsAllPiecesInTheOldTextsPlace) {
    for (const char* before : {"", "1\n", "one, longer\n"}) {
        const std::string path = directory_.Write("file", before);
        {
            FileReplacer dropped(path);
            dropped.Add("two\n");
        }
        EXPECT_EQ(ReadBack(path), before);
        FileReplacer kept(path);
        kept.Add("two\n");
        kept.Add("");
        kept.Add("3\n");
        EXPECT_EQ(kept.Keep(), FileResult::Ok);
        EXPECT_EQ(ReadBack(path), "two\n3\n");
    }
    FileReplacer made(directory_.Path() + "new");
    made.Add("text");
    EXPECT_EQ(made.Keep(), FileResult::Ok);
    EXPECT_EQ(directory_.Read("new"), "text");
}

TEST_F(FileReplacerTest, AFullDiskLeavesWhatTheFileHeld) {
    for (const char* before : {"", "one\n"}) {
        const std::string path = directory_.Write("file", before);
        const test::ScopedFileSizeLimit limit(10);
        FileReplacer file(path);
        file.Add("two\n");
        file.Add("three\n");
        file.Add("4");
        EXPECT_EQ(file.Keep(), FileResult::Failed);
        EXPECT_EQ(ReadBack(path), before);
    }
}

TEST_F(FileReplacerTest, OpensRegularFilesOnly) {
    FileReplacer file(directory_.Path());
    file.Add("text");
    EXPECT_EQ(file.Keep(), FileResult::CannotOpen);
}

std::vector<std::string> Lines(std::string_view text) {
    std::vector<std::string> lines;
    LineCursor cursor(text);
    std::string_view line;
    while (cursor.Next(line)) {
        lines.emplace_back(line);
    }
    return lines;
}

TEST(LineCursor, CutsAsGetlineDoes) {
    using List = std::vector<std::string>;
    EXPECT_EQ(Lines(""), List{});
    EXPECT_EQ(Lines("\n"), List{""});
    EXPECT_EQ(Lines("a"), List{"a"});
    EXPECT_EQ(Lines("a\n"), List{"a"});
    EXPECT_EQ(Lines("a\n\nb"), (List{"a", "", "b"}));
    EXPECT_EQ(Lines("a\r\nb\r\n"), (List{"a\r", "b\r"}));
    EXPECT_EQ(Lines(std::string_view("a\0b\nc", 5)), (List{std::string("a\0b", 3), "c"}));
    EXPECT_EQ(Lines(std::string(test::Amount(16U << 20U), 'x') + "\ny").size(), 2U);
}

}  // namespace
}  // namespace zarn
