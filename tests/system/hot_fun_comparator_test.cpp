#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/manager_texts.h"
#include "tests/system/support/programs.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// Comparisons of recordings by the built program, with a recorded perf, or worse ones.
namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class HotFunComparatorRunTest : public testing::Test {
protected:
    HotFunComparatorRunTest() {
        AddRecordedProfiler(sandbox_);
        for (const char* version : {"v1", "v2", "v3"}) {
            AddVersion(version);
        }
    }

    void AddVersion(const std::string& version) {
        const std::string raw = "mnt/zarn/" + version + "/raw_data/hotFun/hotfun_";
        for (const char* tag : {"core_core0", "process_planner_node_417", "global"}) {
            sandbox_.Write(raw + tag + "_20230101120000123.data", "recording");
        }
    }

    [[nodiscard]] static std::string Config(const std::vector<std::string>& versions) {
        ConfigText config;
        config.compare = R"(["HotFunComparator"])";
        config.versionMap = "{";
        for (const std::string& version : versions) {
            config.versionMap.append(config.versionMap.size() > 1 ? ",\"" : "\"");
            config.versionMap.append(version).append("\":\"/opt/usr/mnt/zarn/");
            config.versionMap.append(version).append("/\"");
        }
        config.versionMap += "}";
        return config.Text({{"HotFunComparator", R"({"job":["core","process","global"],"core":[0],
            "process":["planner_node"]})"}});
    }

    // The run directories are told from the versions by their names.
    [[nodiscard]] std::string Table(const std::string& tag) const {
        return ReadText(RunDir() + "csv/hotFun/hotfun_" + tag + "_info.csv");
    }
    [[nodiscard]] std::string RunDir() const {
        std::string last;
        for (const std::string& name : sandbox_.RunNames()) {
            last = name.rfind("zarn_data_", 0) == 0 ? name : last;
        }
        return sandbox_.UsrDir() + "mnt/zarn/" + last + "/";
    }
    [[nodiscard]] std::size_t Tables() const {
        const fs::path folder = RunDir() + "csv/hotFun";
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }

    Sandbox sandbox_;
};

TEST_F(HotFunComparatorRunTest, SetsTwoVersionsSideBySide) {
    const RunResult run = sandbox_.Run(Config({"v1", "v2"}));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(ErrorsOfMissions(run), "");
    EXPECT_EQ(Tables(), 3U);
    EXPECT_THAT(Table("process_planner_node"), StartsWith("v1,v2,Shared Object,Symbol\n\"6"));
    EXPECT_THAT(Table("process_planner_node"), HasSubstr("\"planner_node\",\"PlanRoute\"\n"));
    EXPECT_THAT(Table("core_core0"), HasSubstr("\n\" \",\"+"));
    EXPECT_EQ(Table("global"), Table("core_core0"));
}

TEST_F(HotFunComparatorRunTest, SetsThreeVersionsSideBySide) {
    EXPECT_EQ(ErrorsOfMissions(sandbox_.Run(Config({"v3", "v1", "v2"}))), "");
    EXPECT_THAT(Table("global"), StartsWith("v1,v2,v3,Shared Object,Symbol\n\"6"));
}

TEST_F(HotFunComparatorRunTest, APerfThatFailsOrIsMissingIsTold) {
    const std::string words =
        "[HotFunComparator] Fail to compare core 0 info!\n"
        "[HotFunComparator] Fail to compare process planner_node info!\n"
        "[HotFunComparator] Fail to compare global info!\n";
    sandbox_.Tool("perf", "echo '1% 2% a b'; exit 1\n");
    EXPECT_EQ(ErrorsOfMissions(sandbox_.Run(Config({"v1", "v2"}))), words);
    EXPECT_EQ(Tables(), 0U);
    sandbox_.Tool("perf", "kill -9 $$\n");
    EXPECT_THAT(ErrorsOfMissions(sandbox_.Run(Config({"v1", "v2"}))),
                HasSubstr("[HotFunComparator] Fail to compare global info!\n"));
    sandbox_.RemoveTool("perf");
    sandbox_.OnlyTools({"cat", "rm", "cp", "mkdir"});
    const RunResult run = sandbox_.Run(Config({"v1", "v2"}));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.err, HasSubstr("sh: 1: perf: not found\n"
                                   "[HotFunComparator] Fail to compare global info!\n"));
}

TEST_F(HotFunComparatorRunTest, APerfThatSaysNothingLeavesHeadLines) {
    sandbox_.Tool("perf", "");
    EXPECT_EQ(ErrorsOfMissions(sandbox_.Run(Config({"v1", "v2"}))), "");
    EXPECT_EQ(Table("global"), "v1,v2,Shared Object,Symbol\n");
}

TEST_F(HotFunComparatorRunTest, AnInterruptInAnyStepLeavesTheTablesThatAreDone) {
    struct Step {
        const char* tag;
        std::size_t tables;
    };
    for (const Step& step :
         {Step{"core_core0", 1}, Step{"process_planner_node", 2}, Step{"global", 3}}) {
        sandbox_.Tool("perf-step", std::string("case $* in *") + step.tag +
                                       "*) sandbox-event interrupt ;; esac\n");
        const RunResult run = sandbox_.Run(Config({"v1", "v2"}));
        EXPECT_EQ(Tables(), step.tables) << step.tag;
        EXPECT_EQ(run.out.find("[HotFunComparator] Received stop signal, ") == std::string::npos,
                  step.tables == 3);
        EXPECT_EQ(
            run.err.find("[HotFunComparator] Failed to compare hotFun!\n") == std::string::npos,
            step.tables == 3);
    }
}

// A recording that is gone by the time it is compared: perf is given the shell's pattern as it is.
TEST_F(HotFunComparatorRunTest, AVersionThatVanishesMeanwhileFailsTheComparisonAlone) {
    sandbox_.Tool("perf-step",
                  "case $* in *core_core0*) sandbox-event vanish ;; esac\n"
                  "for file in \"$@\"; do case $file in */*)\n"
                  "    [ -e \"$file\" ] || exit 254 ;; esac; done\n");
    sandbox_.On("vanish",
                [this](pid_t /*zarn*/) { fs::remove_all(sandbox_.UsrDir() + "mnt/zarn/v2"); });
    const RunResult run = sandbox_.Run(Config({"v1", "v2"}));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(ErrorsOfMissions(run),
              "[HotFunComparator] Fail to compare core 0 info!\n"
              "[HotFunComparator] Fail to compare process planner_node info!\n"
              "[HotFunComparator] Fail to compare global info!\n");
}

TEST_F(HotFunComparatorRunTest, AFullWorkingDirectoryFailsTheComparison) {
    Sandbox small;
    if (!small.LimitSpace(1U << 19U)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    small.Tool("perf", "yes '1% 2% a b' | head -c 1000000 2>/dev/null\n");
    for (const char* version : {"v1", "v2"}) {
        small.Write(std::string("mnt/zarn/") + version + "/raw_data/hotFun/hotfun_global_1.data",
                    "recording");
    }
    ConfigText config;
    config.compare = R"(["HotFunComparator"])";
    config.versionMap = R"({"v1": "/opt/usr/mnt/zarn/v1", "v2": "/opt/usr/mnt/zarn/v2"})";
    small.Write("config.json", config.Text({{"HotFunComparator", R"({"job":["global"]})"}}));
    const RunResult run = small.RunCommand(
        {"/bin/sh", "-c", "cd /opt/usr && exec " + ProgramPath() + " /opt/usr/config.json"});
    EXPECT_TRUE(run.Succeeded()) << run.err;
    EXPECT_EQ(ErrorsOfMissions(run), "[HotFunComparator] Fail to compare global info!\n");
    EXPECT_FALSE(fs::exists(small.UsrDir() + "global.temp"));
}

// Diffs are gathered in the working directory. Nobody can write to this one.
TEST_F(HotFunComparatorRunTest, AReadOnlyWorkingDirectoryFailsAllComparisons) {
    sandbox_.Write("config.json", Config({"v1", "v2"}));
    const RunResult run = sandbox_.RunCommand(
        {"/bin/sh", "-c", "cd /proc && exec " + ProgramPath() + " /opt/usr/config.json"});
    EXPECT_TRUE(run.Succeeded()) << run.err;
    EXPECT_THAT(run.err, HasSubstr("[HotFunComparator] Fail to compare global info!\n"));
    EXPECT_THAT(run.err,
                HasSubstr("[HotFunComparator] Fail to remove temporary file: global.temp\n"));
    EXPECT_EQ(Tables(), 0U);
}

}  // namespace
}  // namespace zarn::test
