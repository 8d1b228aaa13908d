#include "foundation/paths.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "foundation/files.h"
#include "foundation/json.h"
#include "kit/event_writer.h"
#include "tests/support/captured_streams.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

namespace fs = std::filesystem;
using test::Capture;
using test::Captured;

class PathTest : public testing::Test {
protected:
    test::TempDir directory_;
};

// Runs a check that must fail and gives its line.
template <typename Check>
std::string LineOf(Check check) {
    const Captured captured = Capture([&check] { EXPECT_FALSE(check()); });
    EXPECT_EQ(captured.out, "");
    return captured.err;
}

TEST_F(PathTest, ResolvesAsTheCLibrary) {
    const std::string root = directory_.Path();
    directory_.Write("folder/file", "text");
    fs::create_symlink("folder", root + "link");
    fs::create_symlink("nowhere", root + "dangling");
    fs::create_symlink("loop", root + "loop");
    for (const std::string& path :
         {std::string(), std::string("/"), std::string("//"), std::string("."), root + "folder",
          root + "folder/", root + "folder//", root + "link", root + "link/", root + "link/file",
          root + "link/../folder/./file", root + "folder/file/", root + "missing",
          root + "missing/", root + "dangling", root + "dangling/", root + "loop",
          "/" + std::string(5000, 'x')}) {
        char* const expected = ::realpath(path.c_str(), nullptr);
        EXPECT_EQ(ResolvePath(path),
                  expected == nullptr ? std::nullopt : std::optional<std::string>(expected))
            << path;
        std::free(expected);
    }
}

using CheckFilePathTest = PathTest;

TEST_F(CheckFilePathTest, RefusesWhatIsEmptyOrMissing) {
    EXPECT_EQ(LineOf([] { return CheckFilePath(""); }), "input filePath empty. \n");
    const std::string missing = directory_.Path() + "missing";
    EXPECT_EQ(LineOf([&] { return CheckFilePath(missing); }),
              "Invalid file path: " + missing + "\n");
    const std::string tooLong = "/" + std::string(5000, 'x');
    EXPECT_EQ(LineOf([&] { return CheckFilePath(tooLong); }),
              "Invalid file path: " + tooLong + "\n");
}

TEST_F(CheckFilePathTest, ShowsTheRealPathIfItIsShort) {
    EXPECT_EQ(LineOf([] { return CheckFilePath("/"); }), "/ not a single file in /opt/usr/\n");
    EXPECT_EQ(LineOf([] { return CheckFilePath("/usr/../proc//"); }),
              "/proc not a single file in /opt/usr/\n");
    fs::create_symlink("/proc", directory_.Path() + "link");
    EXPECT_EQ(LineOf([this] { return CheckFilePath(directory_.Path() + "link"); }),
              "/proc not a single file in /opt/usr/\n");
}

TEST_F(CheckFilePathTest, ShowsTheGivenPathIfItIsElsewhere) {
    const std::string file = directory_.Write("file", "text");
    EXPECT_EQ(LineOf([&] { return CheckFilePath(file); }),
              "File path illegal: " + file + ", file path should under /opt/usr/\n");
    const std::string nested = directory_.Write("opt/usr/file", "text");
    EXPECT_EQ(LineOf([&] { return CheckFilePath(nested); }),
              "File path illegal: " + nested + ", file path should under /opt/usr/\n");
    EXPECT_EQ(LineOf([] { return CheckFilePath("/usr/bin/../bin/env"); }),
              "File path illegal: /usr/bin/../bin/env, file path should under /opt/usr/\n");
}

TEST_F(CheckFilePathTest, TheChecksOfPermissionBeginWithIt) {
    EXPECT_EQ(LineOf([] { return CheckFileReadable(""); }), "input filePath empty. \n");
    EXPECT_EQ(LineOf([] { return CheckFileWritable("/"); }), "/ not a single file in /opt/usr/\n");
}

using CreateDirectoryTest = PathTest;

TEST_F(CreateDirectoryTest, MakesMissingParents) {
    for (const char* name : {"a", "b/", "c/d/e", "f//g", "h//"}) {
        EXPECT_TRUE(CreateDirectory(directory_.Path() + name)) << name;
        EXPECT_TRUE(fs::is_directory(directory_.Path() + name)) << name;
    }
}

TEST_F(CreateDirectoryTest, WhatExistsIsASuccessWhateverItIs) {
    EXPECT_TRUE(CreateDirectory(directory_.Path()));
    EXPECT_TRUE(CreateDirectory(directory_.Write("file", "text")));
    EXPECT_TRUE(CreateDirectory("/dev/null"));
    EXPECT_TRUE(CreateDirectory("/"));
}

// Starts the threads of each round together, so that several see that the directory is missing.
TEST_F(CreateDirectoryTest, ThreadsThatMakeTheSameOneAllSucceed) {
    constexpr int kThreads = 8;
    constexpr int kRounds = 200;
    std::atomic<int> round{0};
    std::atomic<int> ready{0};
    std::atomic<int> failures{0};
    const auto makeOneARound = [&] {
        for (int mine = 1; mine <= kRounds; ++mine) {
            ++ready;
            while (round.load() < mine) {
                std::this_thread::yield();
            }
            const std::string path = directory_.Path() + std::to_string(mine) + "/a/b/c/";
            failures += CreateDirectory(path) && fs::is_directory(path) ? 0 : 1;
        }
    };
    const Captured captured = Capture([&] {
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back(makeOneARound);
        }
        for (int next = 1; next <= kRounds; ++next) {
            while (ready.load() < next * kThreads) {
                std::this_thread::yield();
            }
            round = next;
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    });
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(captured.err, "");
}

TEST_F(CreateDirectoryTest, SaysWhatFails) {
    EXPECT_EQ(LineOf([] { return CreateDirectory(""); }),
              "[zarn_utils] Illegal path, failed to create directory.\n");
    const std::string file = directory_.Write("file", "text");
    // Behind a final slash a file does not exist; without the slash it stands in the way.
    for (const std::string& path : {file + "/below", file + "/"}) {
        const std::string line = LineOf([&] { return CreateDirectory(path); });
        const std::string head =
            "[zarn_utils] Failed to create directory : " + path + ", error code:";
        EXPECT_EQ(line.substr(0, head.size()), head);
        EXPECT_GT(line.size(), head.size() + 1);
        EXPECT_EQ(line.find('\n'), line.size() - 1);
    }
}

TEST(GetDirectoryOfPath, EndsInTheLastSlash) {
    EXPECT_EQ(GetDirectoryOfPath("/a/b/c.json"), "/a/b/");
    EXPECT_EQ(GetDirectoryOfPath("/a/b/"), "/a/b/");
    EXPECT_EQ(GetDirectoryOfPath("/a"), "/");
    EXPECT_EQ(GetDirectoryOfPath("a"), "./");
    EXPECT_EQ(GetDirectoryOfPath(""), "./");
}

using ReadTest = PathTest;

TEST_F(ReadTest, ReadFileToStringGivesEveryByte) {
    const std::string bytes("a\0\r\n\n", 5);
    std::string text = "before";
    EXPECT_TRUE(ReadFileToString(directory_.Write("file", bytes), text));
    EXPECT_EQ(text, bytes);
}

TEST_F(ReadTest, SayThatAFileCannotBeOpened) {
    for (const std::string& path : {directory_.Path() + "missing", directory_.Path()}) {
        std::string text;
        std::vector<std::string> lines;
        EXPECT_EQ(LineOf([&] { return ReadFileToString(path, text); }),
                  "Could not open json file - '" + path + "'\n");
        EXPECT_EQ(LineOf([&] { return ReadFileLines(path, lines); }), "open file failed.\n");
        EXPECT_TRUE(lines.empty());
    }
}

TEST_F(ReadTest, ReadFileLinesRemovesBlanksAtBothEndsOnly) {
    std::vector<std::string> lines{"before"};
    EXPECT_TRUE(
        ReadFileLines(directory_.Write("file", "  a  b \n\tc\t\n\n   \n d\r\nlast "), lines));
    EXPECT_EQ(lines, (std::vector<std::string>{"before", "a  b", "\tc\t", "", "", "d\r", "last"}));
}

using SaveJsonToFileTest = PathTest;

TEST_F(SaveJsonToFileTest, AppendsCompactDocumentsOnePerLine) {
    const std::string path = directory_.Path() + "documents.data";
    JsonDocument document;
    ASSERT_TRUE(ParseJson(R"( { "a" : [ 1, "x\ny" ], "b" : 0.5 } )", document));
    SaveJsonToFile(path, document);
    SaveJsonToFile(path, document["a"]);
    EXPECT_EQ(directory_.Read("documents.data"),
              "{\"a\":[1,\"x\\ny\"],\"b\":0.5}\n[1,\"x\\ny\"]\n");
}

TEST_F(SaveJsonToFileTest, AHugeDocumentLeavesNothingBehind) {
    const std::string path = directory_.Path() + "documents.data";
    const std::string huge(3 << 20, 'x');
    SaveJsonToFile(path, JsonValue(rapidjson::StringRef(huge.data(), huge.size())));
    SaveJsonToFile(path, JsonValue(1));
    EXPECT_EQ(directory_.Read("documents.data"), "\"" + huge + "\"\n1\n");
}

TEST_F(SaveJsonToFileTest, SaysThatTheFileCannotBeOpened) {
    const Captured captured =
        Capture([this] { SaveJsonToFile(directory_.Path() + "missing/file", JsonValue(1)); });
    EXPECT_EQ(captured.err, "[zarn_utils] Cannot open outfile, check your filePath.\n");
    EXPECT_EQ(captured.out, "");
}

}  // namespace
}  // namespace zarn
