#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <regex>

#include "tests/support/manager_texts.h"
#include "tests/system/support/sandbox.h"

// The course of a run as a user meets it: lines, streams, order, the tree, the status.
namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kFinished = "[Main] Collection jobs finished.\n";
constexpr const char* kInterruptTold =
    "[ZarnManager] Signal Interactive attention received.\n"
    "[ZarnManager] Wait until the execution is complete.\n";
const std::vector<std::vector<std::string>> kNoNames(5);

class MissionSystemTest : public testing::Test {
protected:
    // The run ended before it had a directory, with these lines on the error stream.
    void ExpectRejected(const RunResult& run, const std::string& errorLines) {
        EXPECT_TRUE(run.Succeeded());
        EXPECT_EQ(run.out, kFinished);
        EXPECT_EQ(run.err, errorLines + "[ZarnManager] Failed to load json config file!\n");
        EXPECT_THAT(sandbox.RunNames(), IsEmpty());
    }

    Sandbox sandbox;
    const std::string noMissions = ConfigText().Text();
};

TEST_F(MissionSystemTest, OneArgumentIsWanted) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{}, {"a", "b"}, {"a", "b", "c"}}) {
        const RunResult run = sandbox.RunWith(arguments);
        EXPECT_TRUE(run.Succeeded());
        EXPECT_EQ(run.out, "[Main] Please input the config file path!\n");
        EXPECT_EQ(run.err, "");
    }
    EXPECT_THAT(sandbox.RunNames(), IsEmpty());
}

TEST_F(MissionSystemTest, ARunWithoutMissionsFillsItsTree) {
    sandbox.BindVersionFiles();
    sandbox.MergeStreams();
    const RunResult run = sandbox.Run(noMissions);
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(run.out, ListLines(kNoNames) + CreationLines(sandbox.RunDirInside()) + kFinished);
    EXPECT_TRUE(std::regex_match(sandbox.RunDirInside(),
                                 std::regex("/opt/usr/mnt/zarn/zarn_data_20\\d{15}/")));
    EXPECT_EQ(sandbox.Read("env_info/zarn_config.json"), noMissions);
    EXPECT_EQ(sandbox.Read("env_info/qvt_tool_upgrade_display_version"),
              "{\"version\": \"sandbox\"}\n");
    EXPECT_EQ(sandbox.Read("env_info/qvt_version"), "qvt_version\n");
    EXPECT_EQ(sandbox.Read("env_info/orlo-latest"), "orlo-latest\n");
    EXPECT_EQ(sandbox.Read("env_info/sys_version_tepa.conf"), "sys_version_tepa.conf\n");
    EXPECT_THAT(sandbox.Files("env_info"), SizeIs(5));
    EXPECT_THAT(sandbox.Files(""), ElementsAre("csv", "env_info", "json", "raw_data"));
    for (const char* folder : {"raw_data", "json", "csv"}) {
        EXPECT_THAT(sandbox.Files(folder), IsEmpty());
    }
}

TEST_F(MissionSystemTest, ADevelopmentBoardLacksTheVersions) {
    sandbox.OnlyTools({"cat"});
    sandbox.RemoveTool("rungate");
    const RunResult run = sandbox.Run(noMissions);
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(run.out, ListLines(kNoNames) + kFinished);
    EXPECT_EQ(run.err,
              CreationLines(sandbox.RunDirInside()) +
                  "sh: 1: rungate: not found\n"
                  "[ZarnManager] Fail to execute: rungate qvt-tool upgrade display version\n"
                  "[ZarnManager] The env file /etc/qvt_version does not exist! \n"
                  "[ZarnManager] The env file /etc/orlo-latest does not exist! \n"
                  "[ZarnManager] The env file /etc/sys_version_tepa.conf does not exist! \n");
    EXPECT_EQ(sandbox.Read("env_info/qvt_tool_upgrade_display_version"), "");
}

TEST_F(MissionSystemTest, TheLauncherGetsItsCommand) {
    sandbox.Tool("rungate", "echo \"$# $*\"\necho \"locale $LC_ALL\"\n");
    sandbox.SetEnvironment("LC_ALL", "de_DE.UTF-8");
    (void)sandbox.Run(noMissions);
    EXPECT_EQ(sandbox.Read("env_info/qvt_tool_upgrade_display_version"),
              "4 qvt-tool upgrade display version\nlocale C\n");
}

TEST_F(MissionSystemTest, EveryRunHasATreeOfItsOwn) {
    (void)sandbox.Run(noMissions);
    const std::vector<std::string> first = sandbox.RunNames();
    (void)sandbox.Run(noMissions + "\n");
    ASSERT_THAT(sandbox.RunNames(), SizeIs(2));
    EXPECT_EQ(sandbox.RunNames().front(), first.front());
    EXPECT_EQ(sandbox.Read("env_info/zarn_config.json"), noMissions + "\n");
    EXPECT_EQ(
        ReadText(sandbox.UsrDir() + "mnt/zarn/" + first.front() + "/env_info/zarn_config.json"),
        noMissions);
}

TEST_F(MissionSystemTest, UnknownNamesLeaveAnEmptyTree) {
    ConfigText config;
    config.parallel = R"(["NoCollector"])";
    const RunResult run = sandbox.Run(config.Text());
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.err, EndsWith("[ZarnManager] Not a supported collector type: NoCollector\n"
                                  "[ZarnManager] Failed to create mission object!\n"));
    EXPECT_THAT(run.out, EndsWith(kFinished));
    EXPECT_EQ(sandbox.Read("env_info/zarn_config.json"), config.Text());
    EXPECT_THAT(sandbox.Files("json"), IsEmpty());
}

TEST_F(MissionSystemTest, VersionDirectoriesAreScreenedFirst) {
    ConfigText config;
    config.compare = R"(["NoComparator"])";
    config.versionMap = R"({"v1": "/opt/usr/a&b/"})";
    const RunResult run = sandbox.Run(config.Text());
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(run.err,
              "[ZarnManager] Hazardous symbol \"&\" detected!\n"
              "[ZarnManager] Potential command injection risk! Please check config file!\n");
    EXPECT_EQ(run.out, kFinished);
    EXPECT_THAT(sandbox.RunNames(), IsEmpty());
}

TEST_F(MissionSystemTest, AnInterruptAtTheLauncherIsToldAndTheRunEndsInOrder) {
    sandbox.Tool("rungate", "sandbox-event interrupt\necho version\n");
    const RunResult run = sandbox.Run(noMissions);
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(run.out, ListLines(kNoNames) + kInterruptTold + kFinished);
    EXPECT_EQ(sandbox.Read("env_info/qvt_tool_upgrade_display_version"), "version\n");
    EXPECT_EQ(sandbox.Read("env_info/zarn_config.json"), noMissions);
}

// The second one comes while another tool runs, so that the two are never held back together.
TEST_F(MissionSystemTest, AnInterruptThatComesAgainIsToldAgain) {
    sandbox.Tool("rungate", "sandbox-event interrupt\necho version\n");
    sandbox.Tool("ps", "sandbox-event interrupt\n");
    sandbox.Tool("top", "");
    ConfigText config;
    config.serial = R"(["CpuCollector"])";
    const RunResult run = sandbox.Run(
        config.Text({{"CpuCollector", R"({"job": [], "interval": 1, "process": [], "count": 1,
                             "thread_collector": false, "json_output": false})"}}));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(run.out, ListLines({{}, {"CpuCollector"}, {}, {}, {}}) + kInterruptTold +
                           "[ZarnManager] Options check for collector mode CpuCollector passed!\n"
                           "[ZarnManager] collector mode CpuCollector start ...\n" +
                           kInterruptTold +
                           "[CpuCollector] StopFlag received, CPU collector has stopped.\n" +
                           kFinished);
}

// ---- Paths of the configuration

TEST_F(MissionSystemTest, PathsOutsideOptUsrAreRefused) {
    const std::string outside = sandbox.WriteScratch("config.json", noMissions);
    ExpectRejected(sandbox.RunWith({outside}),
                   "File path illegal: " + outside + ", file path should under /opt/usr/\n" +
                       "[ZarnManager] The input config file: [" + outside + "] is invalid!\n");
    fs::create_symlink(outside, sandbox.UsrDir() + "link.json");
    ExpectRejected(sandbox.RunWith({"/opt/usr/link.json"}),
                   "File path illegal: /opt/usr/link.json, file path should under /opt/usr/\n"
                   "[ZarnManager] The input config file: [/opt/usr/link.json] is invalid!\n");
    ExpectRejected(sandbox.RunWith({"/opt/usr/none.json"}),
                   "Invalid file path: /opt/usr/none.json\n"
                   "[ZarnManager] The input config file: [/opt/usr/none.json] is invalid!\n");
    ExpectRejected(sandbox.RunWith({"/opt/usr"}),
                   "/opt/usr not a single file in /opt/usr/\n"
                   "[ZarnManager] The input config file: [/opt/usr] is invalid!\n");
    ExpectRejected(sandbox.RunWith({""}),
                   "input filePath empty. \n"
                   "[ZarnManager] The input config file: [] is invalid!\n");
}

TEST_F(MissionSystemTest, PathsThatEndUnderOptUsrAreTaken) {
    (void)sandbox.Write("deep/config.json", noMissions);
    const std::string link = sandbox.WriteScratch("unused", "") + ".link";
    fs::create_symlink("/opt/usr/deep/config.json", link);
    const std::vector<std::string> paths{link, "/opt/usr/deep/config.json",
                                         "/opt/usr/../usr/deep/config.json"};
    for (const std::string& path : paths) {
        const RunResult run = sandbox.RunWith({path});
        EXPECT_THAT(run.out, StartsWith("[ZarnManager] parallelCollectMode: \n")) << run.err;
    }
    EXPECT_THAT(sandbox.RunNames(), SizeIs(paths.size()));
}

TEST_F(MissionSystemTest, AFolderOrAFifoIsNoConfiguration) {
    fs::create_directory(sandbox.UsrDir() + "folder");
    ASSERT_EQ(::mkfifo((sandbox.UsrDir() + "fifo").c_str(), 0600), 0);
    for (const std::string& path : {std::string("/opt/usr/folder"), std::string("/opt/usr/fifo")}) {
        ExpectRejected(sandbox.RunWith({path}),
                       "[ZarnManager] Could not open the file - '" + path + "'\n");
    }
}

TEST_F(MissionSystemTest, AConfigurationNeedsTheRightToBeRead) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "root may read everything";
    }
    const std::string path = sandbox.Write("secret.json", noMissions);
    ASSERT_EQ(::chmod((sandbox.UsrDir() + "secret.json").c_str(), 0), 0);
    ExpectRejected(sandbox.RunWith({path}), "Don`t have read permission: " + path +
                                                "\n[ZarnManager] The input config file: [" + path +
                                                "] is invalid!\n");
}

}  // namespace
}  // namespace zarn::test
