#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/support/manager_texts.h"
#include "tests/system/support/examples.h"
#include "tests/system/support/sandbox.h"

// The comparison of run trees by the built program.
namespace zarn::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kTable = "csv/cpu/cpu_comparator_result.csv";
constexpr const char* kStopLine =
    "[CpuComparator] StopFlag received, CPU comparator has stopped.\n";

// The configuration of a comparison of `versions`, the text of the version map's members.
std::string Comparison(const std::string& versions, const std::string& collectors = "") {
    ConfigText config;
    config.parallel = "[" + collectors + "]";
    config.compare = R"(["CpuComparator"])";
    config.versionMap = "{" + versions + "}";
    return config.Text(
        {{"CpuCollector", R"({"job": ["global", "core"], "interval": 1.0, "process": [], "count": 2,
             "thread_collector": false, "json_output": false})"},
         {"CpuComparator",
          R"({"job": ["global", "selected_process"], "process": ["app", "lib"]})"}});
}

// One sample as top prints it: `tasks` in all, `app` of `cpu` percent, and as many of `lib`.
std::string TopSample(int tasks, const std::string& cpu, int libs) {
    std::string sample =
        "top - 20:20:06 up 4 min,  0 user,  load average: 0.69, 0.22, 0.07\n"
        "Tasks:  " +
        std::to_string(tasks) +
        " total,   1 running,  68 sleeping,   0 stopped,   0 zombie\n"
        "%Cpu(s): 12.5 us,  2.0 sy,  0.0 ni, 85.5 id,  0.0 wa,  0.0 hi,  0.0 si,  0.0 st \n"
        "MiB Mem :  24105.6 total,  23266.1 free,    567.1 used,    520.4 buff/cache     \n"
        "MiB Swap:      0.0 total,      0.0 free,      0.0 used.  23538.5 avail Mem \n"
        "\n"
        "  PID USER      PR  NI    VIRT    RES    SHR S  %CPU  %MEM     TIME+ COMMAND\n"
        "    7 root      20   0  148124 120420  19348 R  " +
        cpu + "   0.5   1:00.50 app\n";
    for (int i = 0; i < libs; ++i) {
        sample += "   1" + std::to_string(i) +
                  " root      20   0     100     50     25 S   1.0   0.0   0:01.00 lib\n";
    }
    return sample;
}

// The lines of the error stream that are not the manager's.
std::string MissionErrors(const RunResult& run) {
    std::istringstream stream(run.err);
    std::string errors;
    for (std::string line; std::getline(stream, line);) {
        if (line.rfind("[ZarnManager]", 0) != 0) {
            errors += line + "\n";
        }
    }
    return errors;
}

class CpuComparatorSystemTest : public testing::Test {
protected:
    // Collects with a top that prints `text` and returns the tree as the program calls it.
    std::string Collect(const std::string& text) {
        sandbox_.ToolPrinting("top", text);
        sandbox_.ToolPrinting("ps", "");
        ConfigText config;
        config.parallel = R"(["CpuCollector"])";
        const RunResult run = sandbox_.Run(config.Text({{"CpuCollector", R"({
            "job": ["global"], "interval": 1.0, "process": [], "count": 2,
            "thread_collector": false, "json_output": false})"}}));
        EXPECT_TRUE(run.Succeeded()) << run.out << run.err;
        return sandbox_.RunDirInside();
    }

    // The cells of a row of the last run's table.
    std::string Row(const std::string& name) {
        const std::string table = "\n" + sandbox_.Read(kTable);
        const std::size_t start = table.find("\n" + name + ",");
        if (start == std::string::npos) {
            return "no row " + name;
        }
        const std::size_t cells = start + name.size() + 2;
        return table.substr(cells, table.find('\n', cells) - cells);
    }

    Sandbox sandbox_;
};

TEST_F(CpuComparatorSystemTest, SetsCollectedTreesSideBySide) {
    const std::string first = Collect(TopSample(96, "50.0", 1) + TopSample(112, "70.0", 1));
    const std::string second = Collect(TopSample(10, " 8.0", 1) + TopSample(20, " 9.0", 2));
    ASSERT_NE(first, second);
    const RunResult run =
        sandbox_.Run(Comparison(R"("v2": ")" + second + R"(", "v1": ")" + first + "\""));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.out,
                HasSubstr("[ZarnManager] Options check for comparator mode CpuComparator passed!\n"
                          "[ZarnManager] comparator mode CpuComparator start ...\n"
                          "[CpuComparator] Warning: The process lib is not unique in this version, "
                          "will skip it.\n"
                          "[Main] Collection jobs finished.\n"));
    EXPECT_EQ(MissionErrors(run), "");
    EXPECT_EQ(Row("version"), "v1,v2,");
    EXPECT_EQ(Row("tasks_total_max"), "112,20,");
    EXPECT_EQ(Row("tasks_total_avg"), "104,15,");
    EXPECT_EQ(Row("cpu_us_min"), "12.5,12.5,");
    EXPECT_EQ(Row("swap_avail_avg"), "23538.5,23538.5,");
    EXPECT_EQ(Row("app_cpu_avg"), "60,8.5,");
    EXPECT_EQ(Row("app_time_max"), "60500,60500,");
    EXPECT_EQ(Row("lib_virt_max"), "100,N/A,");
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"),
                testing::MatchesRegex("\\[CpuComparator\\] cost time: [0-9.e-]+s\n"));
}

TEST_F(CpuComparatorSystemTest, RunsTheExample) {
    for (const char* version : {"baseline", "candidate"}) {
        (void)Collect(TopSample(96, "50.0", 1));
        std::filesystem::rename(sandbox_.RunDir(), sandbox_.UsrDir() + "mnt/zarn/" + version);
    }
    const RunResult run = sandbox_.Run(ExampleText("cpu_compare.json"));
    EXPECT_EQ(MissionErrors(run), "");
    EXPECT_EQ(Row("version"), "baseline,candidate,");
    EXPECT_EQ(Row("tasks_total_max"), "96,96,");
    EXPECT_EQ(Row("zarn_cpu_max"), "N/A,N/A,");
}

TEST_F(CpuComparatorSystemTest, DirectoriesAreTakenAsWritten) {
    const std::string tree = Collect(TopSample(96, "50.0", 1));
    std::filesystem::create_directories(sandbox_.UsrDir() + "empty");
    const std::string withoutSlash = tree.substr(0, tree.size() - 1);
    const RunResult run =
        sandbox_.Run(Comparison(R"("a": ")" + tree + R"(", "b": ")" + tree + R"(", "c": ")" +
                                withoutSlash + R"(", "d": "/opt/usr/empty/")"));
    for (const char* prefix : {"cpu_global_1_", "soc_gea_cpu_usage_info_1_"}) {
        for (const char* version : {"c", "d"}) {
            EXPECT_THAT(run.out, HasSubstr(std::string("[CpuComparator] Missing valid ") + prefix +
                                           "xxx files in " + version + ", will skip it.\n"));
        }
    }
    const std::string inEmpty = "Can not open /opt/usr/empty/raw_data/cpu/\n";
    const std::string inTorn = "Can not open " + withoutSlash + "raw_data/cpu/\n";
    EXPECT_EQ(MissionErrors(run), inTorn + inTorn + inEmpty + inEmpty);
    EXPECT_EQ(Row("tasks_total_max"), "96,96,N/A,N/A,");
    EXPECT_EQ(Row("app_cpu_max"), "50,50,N/A,N/A,");
}

TEST_F(CpuComparatorSystemTest, InterruptBeforeItLeavesTheHeadLine) {
    const std::string tree = Collect(TopSample(96, "50.0", 1));
    sandbox_.Tool("rungate", "sandbox-event interrupt\necho version\n");
    const RunResult run = sandbox_.Run(Comparison(R"("v1": ")" + tree + "\""));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.out, HasSubstr("[ZarnManager] comparator mode CpuComparator start ...\n" +
                                   std::string(kStopLine)));
    EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
    EXPECT_EQ(sandbox_.Read(kTable), "version,v1,\n");
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"), HasSubstr("[CpuComparator] cost time: "));
}

TEST_F(CpuComparatorSystemTest, FullDiskFailsTheWritingAndHarmsNoVersion) {
    if (!sandbox_.LimitSpace(1 << 20)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    const std::string tree = Collect(TopSample(96, "50.0", 1));
    const std::string log = sandbox_.OnlyFile("raw_data/cpu", "cpu_global_1_");
    const std::string before = sandbox_.Read(log);
    const std::string versionDir = sandbox_.RunDir();
    sandbox_.On("fill", [this](pid_t) {
        std::ofstream filler(sandbox_.UsrDir() + "filler");
        while (filler << std::string(4096, 'x') && filler.flush()) {
        }
    });
    sandbox_.Tool("top", "sandbox-event fill\n");
    const RunResult run = sandbox_.Run(Comparison(R"("v1": ")" + tree + "\"", "\"CpuCollector\""));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.err,
                testing::EndsWith("[CpuComparator] Failed to write cpu info!\n"
                                  "[CpuComparator] Failed to process cpu comparator!\n"
                                  "[ZarnManager] comparators mode CpuComparator failed!\n"
                                  "[ZarnManager] Some Comparator missions failed to start!\n"));
    EXPECT_EQ(ReadText(versionDir + log), before);
}

TEST_F(CpuComparatorSystemTest, IllegalSectionStopsTheRunBeforeAnyMission) {
    ConfigText config;
    config.compare = R"(["CpuComparator"])";
    const RunResult run = sandbox_.Run(config.Text({{"CpuComparator", R"({"job": ["global"]})"}}));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.err,
                HasSubstr("[CpuComparator] Failed to parse config file, at least one of the field "
                          "CpuComparator, job, or process does not exist.\n"
                          "[CpuComparator] Error occurs: Invalid CpuComparator param type\n"
                          "[ZarnManager] Options check for comparator mode CpuComparator "
                          "failed!\n"));
    EXPECT_THAT(run.out, Not(HasSubstr("comparator mode CpuComparator start")));
    EXPECT_FALSE(sandbox_.Tree().Has(kTable));
}

}  // namespace
}  // namespace zarn::test
