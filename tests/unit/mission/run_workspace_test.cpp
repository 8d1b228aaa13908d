#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/unit/mission/manager_fixture.h"

namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::StartsWith;

class RunWorkspaceTest : public ManagerTest {
protected:
    const std::string config_ = ConfigText().Text();
    const std::string command_ = "rungate qvt-tool upgrade display version > " + DataPath() +
                                 "env_info/qvt_tool_upgrade_display_version";

    // Has the command leave its output, as the shell does even when it cannot run the command.
    void WriteToolVersion(const std::string& text) {
        runner.Before("rungate", [this, text](const std::string&) {
            (void)root.Write(
                "runs/zarn_data_20230101120000123/env_info/qvt_tool_upgrade_display_version", text);
        });
    }
};

TEST_F(RunWorkspaceTest, TheTreeHoldsTheConfigurationAndTheVersions) {
    WriteToolVersion("1.2\n");
    versionFiles = {root.Write("etc/qvt_version", "q"), root.Write("etc/orlo-latest", "o")};
    const Captured run = Run(config_);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(run.out, ListLines({{}, {}, {}, {}, {}}));
    EXPECT_EQ(run.err, CreationLines(DataPath()));
    EXPECT_THAT(runner.Commands(), ElementsAre(command_));
    const std::string env = "runs/zarn_data_20230101120000123/env_info/";
    EXPECT_EQ(root.Read(env + "zarn_config.json"), config_);
    EXPECT_EQ(root.Read(env + "qvt_tool_upgrade_display_version"), "1.2\n");
    EXPECT_EQ(root.Read(env + "qvt_version"), "q");
    EXPECT_EQ(root.Read(env + "orlo-latest"), "o");
    for (const char* folder : {"raw_data", "json", "csv"}) {
        EXPECT_TRUE(fs::is_directory(DataPath() + folder)) << folder;
        EXPECT_TRUE(fs::is_empty(DataPath() + folder)) << folder;
    }
}

TEST_F(RunWorkspaceTest, MissingVersionsAreToldAndTheRunGoesOn) {
    runner.On("rungate", "", 127 << 8);
    versionFiles = {"/nowhere/qvt_version", root.Write("etc/orlo-latest", "o"),
                    "/nowhere/sys_version_tepa.conf"};
    const Captured run = Run(config_);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(run.err,
              CreationLines(DataPath()) +
                  "[ZarnManager] Fail to execute: rungate qvt-tool upgrade display version\n" +
                  NoToolVersionLine(DataPath()) +
                  "[ZarnManager] The env file /nowhere/qvt_version does not exist! \n"
                  "[ZarnManager] The env file /nowhere/sys_version_tepa.conf does not exist! \n");
    EXPECT_EQ(root.Read("runs/zarn_data_20230101120000123/env_info/orlo-latest"), "o");
}

TEST_F(RunWorkspaceTest, AFailedCommandThatLeftItsOutputIsToldOnce) {
    runner.On("rungate", "", 127 << 8);
    WriteToolVersion("");
    EXPECT_EQ(Run(config_).err,
              CreationLines(DataPath()) +
                  "[ZarnManager] Fail to execute: rungate qvt-tool upgrade display version\n");
    EXPECT_EQ(result, 1);
}

TEST_F(RunWorkspaceTest, WithoutATimeThereIsNoDirectory) {
    times = {""};
    const Captured run = Run(config_);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(run.err,
              "[ZarnManager] Failed to get time stamp!\n"
              "[ZarnManager] Output directory not exist!\n"
              "[ZarnManager] Failed to handle public affairs!\n");
    EXPECT_FALSE(fs::exists(root.Path() + "runs"));
}

TEST_F(RunWorkspaceTest, ADirectoryThatCannotBeMadeEndsTheRun) {
    (void)root.Write("runs", "a file in its place");
    const Captured run = Run(config_);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(run.err, StartsWith("[zarn_utils] Failed to create directory : " + DataPath() +
                                    "env_info, error code:"));
    EXPECT_THAT(run.err, testing::EndsWith("\n[ZarnManager] Output directory not exist!\n"
                                           "[ZarnManager] Failed to handle public affairs!\n"));
}

TEST_F(RunWorkspaceTest, WhatWasMadeBeforeAFailureStays) {
    fs::create_directories(DataPath());
    fs::create_symlink("/nowhere/at/all", DataPath() + "json");
    const Captured run = Run(config_);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(run.err,
                StartsWith("[ZarnManager] Create env info directory successfully: " + DataPath() +
                           "env_info\n[ZarnManager] Create raw data directory "
                           "successfully: " +
                           DataPath() +
                           "raw_data\n[zarn_utils] Failed to create "
                           "directory : " +
                           DataPath() + "json"));
    EXPECT_TRUE(fs::is_directory(DataPath() + "raw_data"));
    EXPECT_FALSE(fs::exists(DataPath() + "csv"));
}

TEST_F(RunWorkspaceTest, ARunOfTheSameMillisecondReusesTheTree) {
    (void)Run(config_);
    const Captured second = Run(config_ + " ");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(second.err, CreationLines(DataPath()) + NoToolVersionLine(DataPath()));
    EXPECT_EQ(root.Read("runs/zarn_data_20230101120000123/env_info/zarn_config.json"),
              config_ + " ");
}

TEST_F(RunWorkspaceTest, AConfigurationThatIsGoneIsToldAndTheRunGoesOn) {
    ManagerSeams seams = Seams();
    seams.host.clock.currentTime = [this](std::string& time) {
        time = times.front();
        fs::remove(ConfigPath());
        return true;
    };
    const Captured run = Run(config_, seams);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(run.err, CreationLines(DataPath()) + "[ZarnManager] The configFile does not exist! " +
                           ConfigPath() + "\n" + NoToolVersionLine(DataPath()));
    EXPECT_EQ(run.out,
              ListLines({{}, {}, {}, {}, {}}) +
                  "[ZarnManager] Warning: Failed to save config file to output directory!\n");
}

TEST_F(RunWorkspaceTest, AFolderOfRecordsThatIsGoneIsToldAndTheRunGoesOn) {
    ManagerSeams seams = Seams();
    seams.createDirectory = [this](const std::string& path) {
        const bool made = CreateDirectory(path);
        if (path == DataPath() + "csv") {  // the last one
            fs::remove(DataPath() + "env_info");
        }
        return made;
    };
    const Captured run = Run(config_, seams);
    EXPECT_EQ(result, 1);
    const std::string gone =
        "[ZarnManager] The envDir does not exist! " + DataPath() + "env_info\n";
    EXPECT_EQ(run.err, CreationLines(DataPath()) + gone + gone);
    EXPECT_EQ(run.out,
              ListLines({{}, {}, {}, {}, {}}) +
                  "[ZarnManager] Warning: Failed to save config file to output directory!\n"
                  "[ZarnManager] Warning: Failed to save environment file to output directory!\n");
    EXPECT_THAT(runner.Commands(), ElementsAre());
}

TEST_F(RunWorkspaceTest, AFailedCopyIsNotCaught) {
    versionFiles = {root.Path() + "fifo"};
    ASSERT_EQ(::mkfifo(versionFiles.front().c_str(), 0600), 0);
    (void)Capture([this] { EXPECT_THROW(RunUncaptured(config_), fs::filesystem_error); });
}

TEST(RootOfRuns, IsFixed) {
    EXPECT_EQ(RootOfRuns(), "/opt/usr/mnt/zarn/");
}

}  // namespace
}  // namespace zarn::test
