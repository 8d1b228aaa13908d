#include "tests/system/support/sandbox.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/manager_texts.h"

namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

// The tracer runs programs of this processor, and not those of the thread sanitizer, which lay out
// their memory themselves.
#ifdef __SANITIZE_THREAD__
constexpr bool kTraceable = false;
#else
constexpr bool kTraceable = std::string_view(ZARN_EMULATOR).empty();
#endif

// What the rest of the system tests stand on, for both ways of making a private /opt/usr.
class SandboxTest : public testing::TestWithParam<SandboxKind> {
protected:
    void SetUp() override {
        if (GetParam() == SandboxKind::Namespace && !CanMount()) {
            GTEST_SKIP() << "a mount namespace needs root or a user namespace";
        }
        if (GetParam() == SandboxKind::Proot && !kTraceable) {
            GTEST_SKIP() << "these programs cannot be traced";
        }
    }
    Sandbox sandbox{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Kinds, SandboxTest,
                         testing::Values(SandboxKind::Namespace, SandboxKind::Proot),
                         [](const auto& kind) {
                             return kind.param == SandboxKind::Proot ? "Proot" : "Namespace";
                         });

const std::string kNoMissions = ConfigText().Text();

TEST_P(SandboxTest, OptUsrIsPrivateAndCanBeReadAfterwards) {
    const std::string mark = "mark-of-" + std::to_string(::getpid());
    EXPECT_EQ(sandbox.Write(mark, ""), "/opt/usr/" + mark);
    sandbox.Tool("rungate", "ls /opt/usr; sandbox-event look\n");
    sandbox.On("look", [&](pid_t) { EXPECT_FALSE(fs::exists("/opt/usr/" + mark)); });
    const RunResult run = sandbox.Run(kNoMissions);
    EXPECT_TRUE(run.Succeeded()) << run.out << run.err;
    EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
    EXPECT_THAT(sandbox.RunNames(), testing::SizeIs(1));
    EXPECT_EQ(sandbox.Read("env_info/zarn_config.json"), kNoMissions);
    EXPECT_EQ(sandbox.Read("env_info/qvt_tool_upgrade_display_version"),
              "config.json\n" + mark + "\nmnt\n");
}

TEST_P(SandboxTest, TheMachineIsSeenBesideIt) {
    const RunResult run = sandbox.RunCommand(
        {"/bin/sh", "-c", "stat -c %F /opt/usr/ /etc/passwd && ls -d /opt/usr/ /etc/ /proc/self/"});
    EXPECT_EQ(run.out, "directory\nregular file\n/etc/\n/opt/usr/\n/proc/self/\n") << run.err;
}

TEST_P(SandboxTest, FakeToolsComeFirstAndCanBeAllThereIs) {
    sandbox.Tool("cat", "echo \"fake $*\"\n");
    EXPECT_EQ(sandbox.RunCommand({"cat", "a", "b c"}).out, "fake a b c\n");
    sandbox.ToolPrinting("top", std::string("1\0 2\n", 5));
    EXPECT_EQ(sandbox.RunCommand({"top", "-b"}).out, std::string("1\0 2\n", 5));
    sandbox.OnlyTools({"wc"});
    EXPECT_EQ(sandbox.RunCommand({"/bin/sh", "-c", "echo x | wc -l; id || echo none"}).out,
              "1\nnone\n");
}

TEST_P(SandboxTest, StreamsAndStatusAreTheProgramsOwn) {
    const std::vector<std::string> command{"/bin/sh", "-c", "echo a; echo b >&2; echo c; exit 3"};
    RunResult run = sandbox.RunCommand(command);
    EXPECT_EQ(run.out, "a\nc\n");
    EXPECT_EQ(run.err, "b\n");
    EXPECT_EQ(run.waitStatus, 3 << 8);
    EXPECT_FALSE(run.Aborted());
    sandbox.MergeStreams();
    EXPECT_EQ(sandbox.RunCommand(command).out, "a\nb\nc\n");
    EXPECT_TRUE(sandbox.RunCommand({"/bin/sh", "-c", "kill -ABRT $$"}).Aborted());
}

TEST_P(SandboxTest, AToolCanHaveTheProgramInterruptedAndTheTestCalled) {
    int calls = 0;
    sandbox.On("count", [&calls](pid_t) { ++calls; });
    sandbox.Tool("rungate",
                 "sandbox-event count; sandbox-event interrupt; sandbox-event interrupt\n"
                 "sandbox-event count; echo version\n");
    const RunResult run = sandbox.Run(kNoMissions);
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
    EXPECT_EQ(sandbox.Read("env_info/qvt_tool_upgrade_display_version"), "version\n");
}

TEST_P(SandboxTest, FilesAppearWhereTheyAreBound) {
    sandbox.BindVersionFiles();
    EXPECT_TRUE(sandbox.Run(kNoMissions).Succeeded());
    EXPECT_THAT(sandbox.Files("env_info"),
                ElementsAre("orlo-latest", "qvt_tool_upgrade_display_version", "qvt_version",
                            "sys_version_tepa.conf", "zarn_config.json"));
    EXPECT_EQ(sandbox.Read("env_info/qvt_version"), "qvt_version\n");
}

TEST_P(SandboxTest, SpaceCanBeShort) {
    if (!sandbox.LimitSpace(64 * 1024)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    const RunResult run =
        sandbox.RunCommand({"/bin/sh", "-c", "head -c 100000 /dev/zero > /opt/usr/file"});
    EXPECT_NE(run.waitStatus, 0);
    EXPECT_LE(std::filesystem::file_size(sandbox.UsrDir() + "file"), 64U * 1024);
}

}  // namespace
}  // namespace zarn::test
