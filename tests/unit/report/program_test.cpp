#include "report/program.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "report/options.h"
#include "report/page_template.h"
#include "tests/support/captured_streams.h"
#include "tests/support/run_tree.h"
#include "tests/support/temp_dir.h"

namespace zarn::report {
namespace {

using test::Captured;
using test::RunTree;
using test::TempDir;

class ReportProgramTest : public testing::Test {
protected:
    // What a call gives, with the folder's page as its output.
    Captured Run(std::vector<std::string> words, int expectedStatus) const {
        int status = -1;
        const std::string page = "<head>" + std::string(kPayloadMark) + "<body>";
        const Captured said = test::Capture([&] { status = RunProgram(words, page); });
        EXPECT_EQ(status, expectedStatus);
        return said;
    }
    // Whether there is such a file in the folder.
    [[nodiscard]] bool Has(const std::string& name) const {
        struct stat status {};
        return ::stat((dir.Path() + name).c_str(), &status) == 0;
    }

    TempDir dir;
    RunTree tree;
    std::string output = dir.Path() + "out.html";
};

TEST_F(ReportProgramTest, WritesThePageWithTheDataInIt) {
    tree.Write("env_info/qvt_version", "</script>\n");
    const Captured said = Run({tree.Path(), "-o", output}, 0);
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err, "");
    const std::string page = dir.Read("out.html");
    EXPECT_THAT(page,
                testing::StartsWith(
                    R"(<head><script type="application/json" id="zarn-report">{"format":2,)"));
    EXPECT_THAT(page, testing::EndsWith("}</script><body>"));
    EXPECT_EQ(page.find("</script>"), page.rfind("</script>"));
}

TEST_F(ReportProgramTest, NamesRunsAsTheUserDid) {
    tree.Write("env_info/qvt_version", "1\n");
    const std::string path = tree.Path();
    (void)Run({path, path + "/", "-o", output}, 0);
    const std::string name = path.substr(path.rfind('/', path.size() - 2) + 1);
    const std::string label = name.substr(0, name.size() - 1);
    EXPECT_THAT(dir.Read("out.html"), testing::HasSubstr("\"label\":\"" + label + " (1)\""));
    EXPECT_THAT(dir.Read("out.html"), testing::HasSubstr("\"label\":\"" + label + " (2)\""));
}

TEST_F(ReportProgramTest, HasNothingToShowOfAnEmptyTree) {
    EXPECT_EQ(Run({tree.Path(), "-o", output}, 1).err,
              "zarn-report: nothing to show: no file of a run is there\n");
    EXPECT_FALSE(Has("out.html"));
}

TEST_F(ReportProgramTest, WantsDirectories) {
    const std::string file = dir.Write("file", "");
    for (const std::string& run : {file, dir.Path() + "none", std::string()}) {
        EXPECT_EQ(Run({tree.Path(), run, "-o", output}, 1).err,
                  "zarn-report: " + run + ": no such directory\n");
        EXPECT_FALSE(Has("out.html"));
    }
}

TEST_F(ReportProgramTest, SaysThatThePageCannotBeWritten) {
    tree.Write("env_info/qvt_version", "1\n");
    const std::string nowhere = dir.Path() + "none/out.html";
    EXPECT_EQ(Run({tree.Path(), "-o", nowhere}, 1).err,
              "zarn-report: cannot write " + nowhere + ": No such file or directory\n");
    EXPECT_EQ(Run({tree.Path(), "-o", dir.Path()}, 1).err,
              "zarn-report: cannot write " + dir.Path() + ": it is no regular file\n");
}

TEST_F(ReportProgramTest, TellsATerminalHowFarItIs) {
    tree.Write("env_info/qvt_version", "1\n");
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    ASSERT_TRUE(terminal >= 0 && ::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
    const int theirs = ::open(::ptsname(terminal), O_RDWR | O_NOCTTY);
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(theirs, STDERR_FILENO);
    const int status = RunProgram({tree.Path(), "-o", output}, kPayloadMark);
    ::dup2(saved, STDERR_FILENO);
    std::string said(65536, '\0');
    const ssize_t size = ::read(terminal, said.data(), said.size());
    for (const int descriptor : {terminal, theirs, saved}) {
        ::close(descriptor);
    }
    EXPECT_EQ(status, 0);
    ASSERT_GT(size, 0);
    said.resize(static_cast<std::size_t>(size));
    EXPECT_THAT(said, testing::StartsWith("zarn-report: reading "));
    EXPECT_THAT(said, testing::HasSubstr(": CPU\r\nzarn-report: reading "));
}

TEST_F(ReportProgramTest, TellsOfItself) {
    EXPECT_EQ(Run({"--help"}, 0).out, std::string(kUsage) + "\n");
    EXPECT_EQ(Run({"--version"}, 0).out, "zarn-report 0.1.0\n");
    EXPECT_EQ(Run({}, 2).err, "zarn-report: no run is named\n" + std::string(kUsage) + "\n");
}

}  // namespace
}  // namespace zarn::report
