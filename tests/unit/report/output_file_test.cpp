#include "report/output_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "foundation/file_search.h"
#include "tests/support/temp_dir.h"

namespace zarn::report {
namespace {

class OutputFileTest : public testing::Test {
protected:
    // How many files there are, under whatever name.
    std::size_t FileCount() const { return ListFiles(dir.Path()).size(); }

    test::TempDir dir;
    std::string path = dir.Path() + "report.html";
};

TEST_F(OutputFileTest, AppearsWhenItIsKept) {
    OutputFile file(path);
    file.Write("one ");
    file.Write("two");
    EXPECT_NE(::access(path.c_str(), F_OK), 0);
    EXPECT_TRUE(file.Keep());
    EXPECT_EQ(dir.Read("report.html"), "one two");
    EXPECT_EQ(FileCount(), 1U);
}

TEST_F(OutputFileTest, TakesThePlaceOfAnOlderOne) {
    dir.Write("report.html", "an older and longer one");
    OutputFile file(path);
    file.Write("new");
    EXPECT_EQ(dir.Read("report.html"), "an older and longer one");
    EXPECT_TRUE(file.Keep());
    EXPECT_EQ(dir.Read("report.html"), "new");
}

TEST_F(OutputFileTest, LeavesNothingBehindUnlessItIsKept) {
    dir.Write("report.html", "older");
    {
        OutputFile file(path);
        file.Write("half");
        EXPECT_EQ(FileCount(), 2U);
    }
    EXPECT_EQ(FileCount(), 1U);
    EXPECT_EQ(dir.Read("report.html"), "older");
}

TEST_F(OutputFileTest, LeavesNothingBehindWhenASignalEndsTheProgram) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        EXPECT_EXIT(
            {
                OutputFile file(path);
                file.Write("half");
                (void)::raise(number);
            },
            testing::KilledBySignal(number), "");
        EXPECT_EQ(FileCount(), 0U);
    }
}

TEST_F(OutputFileTest, IsReadableAsOtherFilesAre) {
    const mode_t mask = ::umask(027);
    OutputFile file(path);
    EXPECT_TRUE(file.Keep());
    ::umask(mask);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST_F(OutputFileTest, FollowsALink) {
    const std::string target = dir.Write("target", "old");
    ASSERT_EQ(::symlink(target.c_str(), path.c_str()), 0);
    OutputFile file(path);
    file.Write("new");
    EXPECT_TRUE(file.Keep());
    EXPECT_EQ(dir.Read("target"), "new");
    struct stat status {};
    ASSERT_EQ(::lstat(path.c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST_F(OutputFileTest, SaysWhyItCannotBe) {
    OutputFile folder(dir.Path());
    EXPECT_EQ(folder.Error(), "it is no regular file");
    EXPECT_FALSE(folder.Keep());
    OutputFile nowhere(dir.Path() + "none/report.html");
    EXPECT_EQ(nowhere.Error(), "No such file or directory");
    nowhere.Write("lost");
    EXPECT_FALSE(nowhere.Keep());
    OutputFile device("/dev/null");
    EXPECT_EQ(device.Error(), "it is no regular file");
    OutputFile endless(std::string(10000, 'x'));
    EXPECT_EQ(endless.Error(), "File name too long");
    EXPECT_EQ(FileCount(), 0U);
}

TEST_F(OutputFileTest, LeavesNothingBehindWhereItsNameCannotBeHad) {
    OutputFile file(path);
    file.Write("whole");
    ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);
    EXPECT_FALSE(file.Keep());
    EXPECT_EQ(file.Error(), "Is a directory");
    EXPECT_EQ(FileCount(), 0U);
}

}  // namespace
}  // namespace zarn::report
