#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>

#include "report/options.h"
#include "report/page_template.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/programs.h"
#include "tests/system/support/sandbox.h"

// zarn-report as it is built, or installed by the package: its page, what it says, its statuses.
namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kName = "zarn-report";

std::string InstalledPrefix() {
    const char* prefix = std::getenv("ZARN_PREFIX");
    return prefix == nullptr ? "" : prefix;
}

class ReportSystemTest : public testing::Test {
protected:
    void SetUp() override {
        // An installation has to hold what was built.
        if (!fs::exists(std::string(ZARN_BUILD_DIR "/bin/") + kName)) {
            GTEST_SKIP() << "zarn-report was not built, which takes node 18 or later and npm";
        }
        ASSERT_TRUE(fs::exists(ProgramPath(kName))) << ProgramPath(kName);
        tree_.Write("env_info/qvt_version", "1\n");
        usr_.MakeFolder("pages");
    }

    // What a call in the scratch folder gives, which ends with a status.
    RunResult Run(const std::vector<std::string>& arguments, int expectedStatus) {
        std::vector<std::string> command = ProgramStart(kName);
        command.insert(command.end(), arguments.begin(), arguments.end());
        RunResult run = sandbox_.RunCommand(command);
        EXPECT_TRUE(WIFEXITED(run.waitStatus));
        EXPECT_EQ(WEXITSTATUS(run.waitStatus), expectedStatus);
        return run;
    }

    void ExpectFailure(const std::vector<std::string>& arguments, const std::string& words) {
        const RunResult run = Run(arguments, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "zarn-report: " + words + "\n");
    }

    static void ExpectWholePage(const std::string& page) {
        EXPECT_THAT(page.substr(0, 100), StartsWith("<!DOCTYPE html>"));
        EXPECT_THAT(page, HasSubstr(R"( id="zarn-report">)"));
        EXPECT_THAT(page, Not(HasSubstr(std::string(report::kPayloadMark))));
        EXPECT_THAT(page.substr(page.size() - 100), EndsWith("</html>\n"));
    }

    Sandbox sandbox_;
    RunTree usr_{sandbox_.UsrDir()};
    RunTree tree_{usr_.PathOf("mnt/zarn/zarn_data_1/")};
    const std::string run_ = "/opt/usr/mnt/zarn/zarn_data_1/";
    const std::string page_ = "/opt/usr/pages/page.html";
};

TEST_F(ReportSystemTest, WritesThePageOfARun) {
    const RunResult run = Run({run_, "-o", page_}, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(usr_.NamesIn("pages"), ElementsAre("page.html"));
    ExpectWholePage(usr_.Read("pages/page.html"));
    EXPECT_THAT(tree_.Names(), ElementsAre("env_info/qvt_version"));
}

TEST_F(ReportSystemTest, WritesThePageOfWhatZarnHasJustLeft) {
    tree_.Remove("");
    ASSERT_TRUE(sandbox_.Run(ConfigText().Text()).Succeeded());
    const RunResult run = Run({sandbox_.RunDirInside()}, 0);
    EXPECT_EQ(run.out + run.err, "");
    ExpectWholePage(sandbox_.ReadScratch("report.html"));
}

TEST_F(ReportSystemTest, APageStaysWhereThereIsNothingToShow) {
    usr_.Write("pages/page.html", "an older page");
    tree_.Remove("env_info/qvt_version");
    ExpectFailure({run_, "-o", page_}, "nothing to show: no file of a run is there");
    ExpectFailure({run_, "/opt/usr/none", "-o", page_}, "/opt/usr/none: no such directory");
    EXPECT_THAT(usr_.NamesIn("pages"), ElementsAre("page.html"));
    EXPECT_EQ(usr_.Read("pages/page.html"), "an older page");
}

TEST_F(ReportSystemTest, LeavesNoPieceOfAPage) {
    Sandbox small;
    if (!small.LimitSpace(std::size_t{1} << 16U)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    const RunTree usr(small.UsrDir());
    usr.Write("run/env_info/qvt_version", "1\n");
    usr.Write("pages/page.html", "an older page");
    std::vector<std::string> command = ProgramStart(kName);
    command.insert(command.end(), {"/opt/usr/run", "-o", page_});
    const RunResult run = small.RunCommand(command);
    EXPECT_EQ(WEXITSTATUS(run.waitStatus), 1);
    EXPECT_EQ(run.err, "zarn-report: cannot write " + page_ + ": No space left on device\n");
    EXPECT_THAT(usr.NamesIn("pages"), ElementsAre("page.html"));
    EXPECT_EQ(usr.Read("pages/page.html"), "an older page");
}

TEST_F(ReportSystemTest, RefusesWrongCalls) {
    const std::string usage = std::string(report::kUsage) + "\n";
    EXPECT_EQ(Run({}, 2).err, "zarn-report: no run is named\n" + usage);
    EXPECT_EQ(Run({run_, "--fast"}, 2).err, "zarn-report: unknown option --fast\n" + usage);
    EXPECT_EQ(Run({"--help"}, 0).out, usage);
    EXPECT_THAT(usr_.NamesIn("pages"), IsEmpty());
}

TEST_F(ReportSystemTest, ThePackageHoldsItsManualAndItsCompletion) {
    const std::string prefix = InstalledPrefix();
    if (prefix.empty()) {
        GTEST_SKIP() << "the program under test is not an installed one";
    }
    const std::string manual = prefix + "/share/man/man1/zarn-report.1.gz";
    EXPECT_EQ(sandbox_.RunCommand({"gzip", "-dc", manual}).out,
              ReadText(ZARN_SOURCE_DIR "/docs/man/zarn-report.1"));
    EXPECT_EQ(ReadText(prefix + "/share/bash-completion/completions/zarn-report"),
              ReadText(ZARN_SOURCE_DIR "/packaging/completions/zarn-report"));
}

}  // namespace
}  // namespace zarn::test
