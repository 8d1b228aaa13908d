#include "comparators/hot_fun/hot_fun_comparator.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/amounts.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/key_check.h"
#include "tests/support/memory_limit.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

constexpr const char* kDiff =
    "# Event 'cycles'\n#\n# Baseline  Delta Abs  Shared Object  Symbol  \n# ........  "
    ".........\n#\n"
    "    64.15%    -23.25%  app            [.] main\n"
    "               +8.84%  app            [.] OnlyHere\n\n";

// A run in a tree and a working directory of its own. Commands are recorded; diffs and `rm` on them
// are done as the shell would.
class HotFunComparatorTest : public testing::Test {
protected:
    HotFunComparatorTest() : before_(fs::current_path()) {
        fs::create_directories(dir.Path() + "env_info");
        fs::create_directories(dir.Path() + "work");
        fs::current_path(dir.Path() + "work");
        host.runner.Before("perf diff", [this](const std::string& command) {
            std::ofstream(command.substr(command.rfind(' ') + 1)) << diff;
        });
        host.runner.Before("rm ",
                           [](const std::string& command) { fs::remove(command.substr(3)); });
    }
    ~HotFunComparatorTest() override { fs::current_path(before_); }

    // A version whose tree holds these recordings, by their names up to ".data".
    void AddVersion(const std::string& name, const std::vector<std::string>& recordings) {
        fs::create_directories(dir.Path() + name + "/raw_data/hotFun");
        for (const std::string& recording : recordings) {
            dir.Write(name + "/raw_data/hotFun/" + recording + ".data", "");
        }
        versions[name] = dir.Path() + name;
    }

    // Jobs as JSON texts; `more` is what their lists are.
    Captured Run(const std::string& jobs, const std::string& more = "") {
        return Capture([&] { RunUncaptured(jobs, more); });
    }
    void RunUncaptured(const std::string& jobs, const std::string& more = "") {
        JsonDocument config;
        ASSERT_TRUE(ParseJson(R"({"HotFunComparator":{"job":[)" + jobs + "]" +
                                  (more.empty() ? "" : "," + more) + "}}",
                              config));
        HotFunComparator comparator(HotFunComparator::kName, versions, host.Get());
        ASSERT_TRUE(comparator.CheckOptions(config, "comparator"));
        result = comparator.Start(config, dir.Path(), &stopFlag);
    }

    // What the shell finds a version's recordings by.
    [[nodiscard]] std::string Glob(const std::string& version, const std::string& name) const {
        return dir.Path() + version + "/raw_data/hotFun/" + name;
    }
    [[nodiscard]] std::string Missing(const std::string& version,
                                      const std::string& pattern) const {
        return "[HotFunComparator] Target file: " + pattern +
               " does not exist under path: " + Glob(version, "") + "!\n";
    }
    [[nodiscard]] std::vector<std::string> Files(const std::string& folder) const {
        std::vector<std::string> files;
        for (const auto& entry : fs::directory_iterator(dir.Path() + folder)) {
            files.push_back(entry.path().filename());
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    TempDir dir;
    FakeHost host;
    std::map<std::string, std::string> versions;
    StopFlag stopFlag{0};
    bool result = false;
    std::string diff = kDiff;

private:
    fs::path before_;
};

constexpr const char* kRows =
    "\"64.15%\",\"-23.25%\",\"app\",\"main\"\n\" \",\"+8.84%\",\"app\",\"OnlyHere\"\n";

constexpr const char* kAllJobs = R"("global","process","core")";
constexpr const char* kAllLists = R"("core":[3,0],"process":["planner","camera"])";
const std::vector<std::string> kAllRecordings = {
    "hotfun_core_core3_20230101120000000", "hotfun_core_core0_20230101120000001",
    "hotfun_process_planner_417_20230101120000002", "hotfun_process_camera_512_20230101120000003",
    "hotfun_global_20230101120000004"};

TEST_F(HotFunComparatorTest, ComparesCoresThenProcessesThenTheSystem) {
    AddVersion("v2", kAllRecordings);
    AddVersion("v1", kAllRecordings);
    const Captured captured = Run(kAllJobs, kAllLists);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    std::vector<std::string> expected;
    for (const char* tag :
         {"core_core3", "core_core0", "process_planner", "process_camera", "global"}) {
        const std::string name = std::string("hotfun_") + tag + "*.data ";
        expected.push_back("perf diff " + Glob("v1", name) + Glob("v2", name) + "> " + tag +
                           ".temp");
        expected.push_back(std::string("rm ") + tag + ".temp");
    }
    EXPECT_THAT(host.runner.Commands(), testing::ElementsAreArray(expected));
    EXPECT_THAT(Files("csv/hotFun"),
                ElementsAre("hotfun_core_core0_info.csv", "hotfun_core_core3_info.csv",
                            "hotfun_global_info.csv", "hotfun_process_camera_info.csv",
                            "hotfun_process_planner_info.csv"));
    EXPECT_EQ(dir.Read("csv/hotFun/hotfun_process_planner_info.csv"),
              std::string("v1,v2,Shared Object,Symbol\n") + kRows);
    EXPECT_THAT(Files("work"), IsEmpty());
    EXPECT_THAT(dir.Read("env_info/time_cost.log"),
                MatchesRegex("\\[HotFunComparator\\] cost time: [0-9.]+s\n"));
}

TEST_F(HotFunComparatorTest, TwoVersionsOfOneDirectoryAreComparedToo) {
    AddVersion("v1", kAllRecordings);
    versions["v2"] = versions["v1"];
    (void)Run(R"("global")");
    const std::string recordings = Glob("v1", "hotfun_global*.data ");
    EXPECT_EQ(host.runner.Commands()[0], "perf diff " + recordings + recordings + "> global.temp");
    EXPECT_EQ(dir.Read("csv/hotFun/hotfun_global_info.csv"),
              std::string("v1,v2,Shared Object,Symbol\n") + kRows);
}

TEST_F(HotFunComparatorTest, AVersionWithoutARecordingIsToldAndLeftOut) {
    AddVersion("v1", kAllRecordings);
    AddVersion("v2", {"hotfun_core_core33_1", "hotfun_core_core3_x", "hotfun_core_core3_"});
    AddVersion("v3", kAllRecordings);
    const Captured captured = Run(R"("core")", R"("core":[3])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out,
              "[HotFunComparator] Missing core data in version:v2, skipping this version in core3 "
              "comparison!\n");
    EXPECT_EQ(captured.err, Missing("v2", "hotfun_core_core3_[0-9]+\\.data"));
    EXPECT_THAT(host.runner.Commands()[0], Not(HasSubstr("/v2/")));
    EXPECT_EQ(dir.Read("csv/hotFun/hotfun_core_core3_info.csv"),
              std::string("v1,v3,Shared Object,Symbol\n") + kRows);
}

TEST_F(HotFunComparatorTest, OneVersionOrNoneIsNothingToCompare) {
    AddVersion("v1", {"hotfun_process_planner_417_20230101120000002"});
    AddVersion("v2", {});
    const Captured captured = Run(R"("process","global")", R"("process":["planner","camera"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out,
              "[HotFunComparator] Missing process data in version:v2, skipping this version in "
              "process planner comparison!\n"
              "[HotFunComparator] Missing process data in version:v1, skipping this version in "
              "process camera comparison!\n"
              "[HotFunComparator] Missing process data in version:v2, skipping this version in "
              "process camera comparison!\n"
              "[HotFunComparator] Missing global data in version:v1, skipping this version in "
              "global comparison!\n"
              "[HotFunComparator] Missing global data in version:v2, skipping this version in "
              "global comparison!\n");
    EXPECT_EQ(captured.err,
              Missing("v2", "hotfun_process_planner_[0-9]+_[0-9]+\\.data") +
                  Missing("v1", "hotfun_process_camera_[0-9]+_[0-9]+\\.data") +
                  Missing("v2", "hotfun_process_camera_[0-9]+_[0-9]+\\.data") +
                  Missing("v1", "hotfun_global_[0-9]+\\.data") +
                  Missing("v2", "hotfun_global_[0-9]+\\.data") +
                  "[HotFunComparator] Only one process_planner data file valid, please check "
                  "package contents!\n"
                  "[HotFunComparator] No valid process_camera data file to compare, please check "
                  "the package contents!\n"
                  "[HotFunComparator] No valid global data file to compare, please check the "
                  "package contents!\n");
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
    EXPECT_THAT(Files("csv/hotFun"), IsEmpty());
}

// A directory of a version that ends in a slash has two then.
TEST_F(HotFunComparatorTest, TheSlashBehindAVersionsDirectoryIsTheComparators) {
    AddVersion("v1", kAllRecordings);
    versions["v2"] = versions["v1"] + "/";
    (void)Run(R"("global")");
    EXPECT_THAT(host.runner.Commands()[0],
                HasSubstr("v1/raw_data/hotFun/hotfun_global*.data " + dir.Path() +
                          "v1//raw_data/hotFun/hotfun_global*.data > global.temp"));
}

// The shell's pattern of a process finds those that begin with its name, too.
TEST_F(HotFunComparatorTest, AProcessWhoseNameBeginsAnotherIsFoundApartAndComparedWithIt) {
    AddVersion("v1", {"hotfun_process_ab_1_1"});
    AddVersion("v2", {"hotfun_process_a_1_1", "hotfun_process_ab_1_1"});
    AddVersion("v3", {"hotfun_process_a_1_1"});
    (void)Run(R"("process")", R"("process":["a"])");
    EXPECT_THAT(host.runner.Commands()[0], "perf diff " + Glob("v2", "hotfun_process_a*.data ") +
                                               Glob("v3", "hotfun_process_a*.data ") +
                                               "> process_a.temp");
}

TEST_F(HotFunComparatorTest, AnInterruptEndsTheComparisonBeforeTheNextJob) {
    AddVersion("v1", kAllRecordings);
    AddVersion("v2", kAllRecordings);
    struct Row {
        const char* during;
        std::size_t tables;
        const char* words;
    };
    for (const Row& row :
         {Row{"core_core3.temp", 2,
              "[HotFunComparator] Received stop signal, process job & following job (global) is "
              "not compared!\n"},
          Row{"process_planner.temp", 4,
              "[HotFunComparator] Received stop signal, global job is not compared!\n"}}) {
        fs::remove_all(dir.Path() + "csv");
        stopFlag = 0;
        host.runner.Before(row.during, [this](const std::string&) { stopFlag = 1; });
        const Captured captured = Run(kAllJobs, kAllLists);
        EXPECT_FALSE(result);
        EXPECT_EQ(captured.out, row.words);
        EXPECT_EQ(captured.err, "[HotFunComparator] Failed to compare hotFun!\n");
        EXPECT_EQ(Files("csv/hotFun").size(), row.tables);
        if (row.tables == 2) {
            host.runner.Before(row.during, [this](const std::string&) { stopFlag = 0; });
        }
    }
    EXPECT_FALSE(fs::exists(dir.Path() + "env_info/time_cost.log"));
}

TEST_F(HotFunComparatorTest, AnInterruptBeforeTheFirstJobLeavesNothing) {
    AddVersion("v1", kAllRecordings);
    AddVersion("v2", kAllRecordings);
    stopFlag = 1;
    const Captured captured = Run(kAllJobs, kAllLists);
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out,
              "[HotFunComparator] Received stop signal, core job & following jobs (process, "
              "global) are not compared!\n");
    EXPECT_EQ(captured.err, "[HotFunComparator] Failed to compare hotFun!\n");
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
    EXPECT_THAT(Files("csv/hotFun"), IsEmpty());
}

TEST_F(HotFunComparatorTest, ADiffThatFailsIsToldAndTheOthersGoOn) {
    AddVersion("v1", kAllRecordings);
    AddVersion("v2", kAllRecordings);
    host.runner.On("perf diff", "", 256);
    const Captured captured = Run(kAllJobs, kAllLists);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[HotFunComparator] Fail to compare core 3 info!\n"
              "[HotFunComparator] Fail to compare core 0 info!\n"
              "[HotFunComparator] Fail to compare process planner info!\n"
              "[HotFunComparator] Fail to compare process camera info!\n"
              "[HotFunComparator] Fail to compare global info!\n");
    EXPECT_THAT(Files("work"), IsEmpty());
    EXPECT_THAT(Files("csv/hotFun"), IsEmpty());
}

TEST_F(HotFunComparatorTest, ADiffThatLeavesNoFileIsTold) {
    AddVersion("v1", kAllRecordings);
    AddVersion("v2", kAllRecordings);
    host.runner.Before("perf diff", [](const std::string& command) {
        fs::remove(command.substr(command.rfind(' ') + 1));
    });
    host.runner.On("rm ", "", 256);
    const Captured captured = Run(R"("global","core")", R"("core":[3])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[HotFunComparator] Cannot find resultFile file of: core, file path is: "
              "core_core3.temp!\n"
              "[HotFunComparator] Fail to generate core 3 comparasion CSV file!\n"
              "[HotFunComparator] Fail to remove temporary file: core_core3.temp\n"
              "[HotFunComparator] Cannot find resultFile file of: global, file path is: "
              "global.temp!\n"
              "[HotFunComparator] Fail to generate global  comparasion CSV file!\n"
              "[HotFunComparator] Fail to remove temporary file: global.temp\n");
}

TEST_F(HotFunComparatorTest, ATableThatCannotBeWrittenIsTold) {
    AddVersion("v1", kAllRecordings);
    AddVersion("v2", kAllRecordings);
    fs::create_directories(dir.Path() + "csv/hotFun/hotfun_global_info.csv");
    const Captured captured = Run(R"("global")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[HotFunComparator] Write to CSV file failed! Cannot open file path: " + dir.Path() +
                  "csv/hotFun/hotfun_global_info.csv\n"
                  "[HotFunComparator] Fail to generate global  comparasion CSV file!\n");
    EXPECT_THAT(Files("work"), IsEmpty());
}

TEST_F(HotFunComparatorTest, ATableTakesThePlaceOfAnOlderOne) {
    AddVersion("v1", kAllRecordings);
    AddVersion("v2", kAllRecordings);
    dir.Write("csv/hotFun/hotfun_global_info.csv", std::string(1000, 'x'));
    (void)Run(R"("global")");
    EXPECT_EQ(dir.Read("csv/hotFun/hotfun_global_info.csv"),
              std::string("v1,v2,Shared Object,Symbol\n") + kRows);
}

TEST_F(HotFunComparatorTest, HeadingsCountWhereverTheyStand) {
    AddVersion("v1", kAllRecordings);
    AddVersion("v2", kAllRecordings);
    diff =
        "               +8.84%  app            [.] OnlyHere\n"
        "# Baseline  Delta Abs  Shared Object  Symbol  \n";
    (void)Run(R"("global")");
    EXPECT_EQ(dir.Read("csv/hotFun/hotfun_global_info.csv"),
              "v1,v2,Shared Object,Symbol\n\" \",\"+8.84%\",\"app\",\"OnlyHere\"\n");
}

TEST_F(HotFunComparatorTest, HostileDiffsBecomeWhatCellsTheyHold) {
    AddVersion("v1", kAllRecordings);
    AddVersion("v2", kAllRecordings);
    const std::string longest(test::Amount(16U << 20U), 's');
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"#", ""},
        {"\n\n#\r\n", ""},
        {"1% torn", "\"1%\",\"torn\","},
        {std::string("\0\xff\r\n", 4), std::string("\"\0\xff\r\",", 6)},
        {"# " + longest + "\n1 2 3 " + longest + "\n", "\"1\",\"2\",\"3\",\"" + longest + "\"\n"},
    };
    for (const auto& [text, cells] : rows) {
        diff = text;
        EXPECT_EQ(Run(R"("global")").err, "");
        EXPECT_TRUE(dir.Read("csv/hotFun/hotfun_global_info.csv") ==
                    "v1,v2,Shared Object,Symbol\n" + cells)
            << cells.substr(0, 100);
    }
}

// Between the check and the start.
TEST_F(HotFunComparatorTest, AVersionThatIsGoneByThenIsStillAskedFor) {
    AddVersion("v1", kAllRecordings);
    AddVersion("v2", kAllRecordings);
    JsonDocument config;
    ASSERT_TRUE(ParseJson(R"({"HotFunComparator":{"job":["global"]}})", config));
    host.runner.On("perf diff", "", 256);
    const Captured captured = Capture([&] {
        HotFunComparator comparator(HotFunComparator::kName, versions, host.Get());
        ASSERT_TRUE(comparator.CheckOptions(config, "comparator"));
        fs::remove_all(dir.Path() + "v1");
        EXPECT_TRUE(comparator.Start(config, dir.Path(), &stopFlag));
    });
    EXPECT_THAT(host.runner.Commands()[0], HasSubstr("/v1/raw_data/hotFun/hotfun_global*.data "));
    EXPECT_EQ(captured.err, "[HotFunComparator] Fail to compare global info!\n");
}

TEST_F(HotFunComparatorTest, AVersionWithoutItsFolderIsToldSo) {
    versions["gone"] = dir.Path() + "gone/";
    const Captured captured = Run(R"("global")");
    EXPECT_EQ(captured.err,
              "[HotFunComparator] Can not open " + dir.Path() +
                  "gone//raw_data/hotFun/\n"
                  "[HotFunComparator] No valid global data file to compare, please check the "
                  "package contents!\n");
    EXPECT_THAT(captured.out, HasSubstr("Missing global data in version:gone, skipping"));
}

TEST_F(HotFunComparatorTest, ANameThatIsNoRegularExpressionIsFoundNowhere) {
    AddVersion("v1", kAllRecordings);
    const Captured captured = Run(R"("process")", R"("process":["a("])");
    EXPECT_TRUE(result);
    EXPECT_THAT(captured.err, testing::StartsWith("[zarn_utils] Error occurs: "));
    EXPECT_THAT(captured.err, EndsWith("[HotFunComparator] No valid process_a( data file to "
                                       "compare, please check the package contents!\n"));
}

TEST_F(HotFunComparatorTest, ADirectoryThatCannotBeMadeFailsTheMission) {
    dir.Write("csv", "a file");
    const Captured captured = Run(R"("core")", R"("core":[])");
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err,
                EndsWith("[HotFunComparator] Cannot create hotFun comparator directory!\n"));
}

using HotFunComparatorDeathTest = HotFunComparatorTest;

TEST_F(HotFunComparatorDeathTest, ALineBeyondMemoryFailsItsTable) {
    if (!WhyNoMemoryLimit().empty()) {
        GTEST_SKIP() << WhyNoMemoryLimit();
    }
    AddVersion("v1", kAllRecordings);
    AddVersion("v2", kAllRecordings);
    host.runner.Before("perf diff", [](const std::string& command) {
        fs::resize_file(command.substr(command.rfind(' ') + 1), 1U << 30U);
    });
    EXPECT_EXIT(
        ExitBelowAMemoryLimit([this] {
            RunUncaptured(R"("global")");
            return result && dir.Read("csv/hotFun/hotfun_global_info.csv").empty();
        }),
        testing::ExitedWithCode(0),
        testing::StrEq("[HotFunComparator] Fail to generate global  comparasion CSV file!\n"));
}

std::string Words(const std::string& text) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    bool taken = false;
    const Captured captured = Capture([&] {
        taken = HotFunComparator(HotFunComparator::kName, {}).CheckOptions(config, "comparator");
    });
    EXPECT_EQ(captured.out, "");
    return taken ? "taken" + captured.err : captured.err;
}

TEST(HotFunComparatorOptions, BadOptionsAreRefused) {
    const std::string jobs = "[HotFunComparator] Failed to check hotFun comparator job list!\n";
    const std::string options = "[HotFunComparator] Failed to check hotFun comparator option!\n";
    const std::string noJob = "[HotFunComparator] HotFunComparator job param not exist!\n" + jobs;
    const std::pair<std::string, std::string> rows[] = {
        {"{}", noJob},
        {R"({"HotFunComparator":{}})", noJob},
        {R"({"HotFunComparator":{"job":"core"}})",
         "[HotFunComparator] Invalid HotFunComparator param type! Should be array type!\n" + jobs},
        {R"({"HotFunComparator":{"job":[]}})", jobs},
        {R"({"HotFunComparator":{"job":["core",1]}})",
         "[HotFunComparator] Illegal job type! Should be string type!\n" + jobs},
        {R"({"HotFunComparator":{"job":["function_set"]}})",
         "[HotFunComparator] Illegal job! Should be chosen from [global, core, process]!\n" + jobs},
        {R"({"HotFunComparator":{"job":["core","process"]}})",
         "[HotFunComparator] HotFunComparator process param missing!\n" + options},
        {R"({"HotFunComparator":{"job":["process"],"process":"a"}})",
         "[HotFunComparator] Invalid HotFunComparator param type (process)! Should be array "
         "type!\n" +
             options},
        {R"({"HotFunComparator":{"job":["process"],"process":["a",1]}})",
         "[HotFunComparator] Invalid HotFunComparator process type! Should be string type!\n" +
             options},
        {R"({"HotFunComparator":{"job":["core"]}})",
         "[HotFunComparator] HotFunComparator core param missing!\n" + options},
        {R"({"HotFunComparator":{"job":["core"],"core":3}})",
         "[HotFunComparator] Invalid HotFunComparator param type (core)! Should be array type!\n" +
             options},
        {R"({"HotFunComparator":{"job":["core"],"core":[3,-1]}})",
         "[HotFunComparator] Invalid HotFunComparator core type! Should be uint type!\n" + options},
        {R"({"HotFunComparator":{"job":["global"],"core":3,"process":3}})", "taken"},
        {R"({"HotFunComparator":{"job":["core","process","core"],"core":[],"process":[]}})",
         "taken"},
    };
    for (const auto& [text, words] : rows) {
        EXPECT_EQ(Words(text), words) << text;
    }
}

TEST(HotFunComparatorOptions, TheCheckHoldsToTheDeclaredKeys) {
    ExpectKeysHold(
        "HotFunComparator", HotFunComparator::Keys(),
        R"({"HotFunComparator":{"job":["global","core","process"],"core":[1],"process":["a"]}})",
        [](const JsonDocument& config) {
            return HotFunComparator(HotFunComparator::kName, {}).CheckOptions(config, "comparator");
        });
}

}  // namespace
}  // namespace zarn::test
