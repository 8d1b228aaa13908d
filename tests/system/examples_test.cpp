#include "tests/system/support/examples.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "formats/hot_fun.h"
#include "formats/mem.h"
#include "foundation/json.h"
#include "tests/support/manager_texts.h"
#include "tests/support/mem_lines.h"
#include "tests/support/run_tree.h"
#include "tests/system/support/recorded_tools.h"

// Every configuration of docs/examples that needs no board is run as a user would run it.
namespace zarn::test {
namespace {

namespace fs = std::filesystem;

class ExampleTest : public testing::TestWithParam<std::string> {
protected:
    ExampleTest() {
        AddRecordedCpuTools(sandbox);
        AddRecordedPerf(sandbox);
        AddSchedTools(sandbox);
        if (Names("HotFun") || Names("LibCollector") || Names("CallGrind") || Names("CpuPeak")) {
            AddRecordedProfiler(sandbox);
        }
        if (Names("ProcessRunSetting")) {
            AddFakeValgrind(sandbox);
            sandbox.Tool("counted_work", "[ \"$WORK_NAME\" = example ]\n");
        }
        if (Names("SysCallCollector")) {
            AddRecordedTracer(sandbox);
        }
        if (Names("BenchCollector")) {
            AddRecordedBench(sandbox);
        }
    }

    // Whether the example names a mission that begins so.
    static bool Names(const std::string& mission) {
        return ExampleText(GetParam()).find("\"" + mission) != std::string::npos;
    }

    // Puts a collected tree where the example looks for one.
    void CollectInto(const std::string& directory) {
        ConfigText collect;
        collect.parallel = R"(["CpuCollector"])";
        const RunResult run = sandbox.Run(collect.Text({{"CpuCollector", R"({
            "job": ["global", "core", "selected_process"], "interval": 1.0, "count": 3,
            "process": ["planner_node"], "thread_collector": true, "json_output": true})"}}));
        ASSERT_EQ(ErrorsOfMissions(run), "");
        ASSERT_EQ(directory.rfind("/opt/usr/", 0), 0U) << directory;
        const fs::path target = sandbox.UsrDir() + directory.substr(9);
        fs::create_directories(target.parent_path().parent_path());
        fs::rename(sandbox.RunDir(), target.parent_path());
        AddMemory(directory.substr(9));
        AddRecordings(directory.substr(9));
    }

    // The documents that a collection of the memory leaves in a tree below /opt/usr/.
    void AddMemory(const std::string& tree) {
        const RunTree measured(sandbox.UsrDir() + tree);
        measured.Write(RunTree::NameOf(mem_files::kSystemSamples), MemSystemLine(FakeHost::kStart));
        measured.Write(RunTree::NameOf(mem_files::kProcessSamples),
                       MemProcessLine(FakeHost::kStart, {{"9", "planner_node", {}}}));
        measured.MakeFolder(mem_files::kRawFolder);
    }

    // The recordings of hot functions.
    void AddRecordings(const std::string& tree) {
        for (const std::string& tag :
             {hot_fun_files::CoreTag("0"), hot_fun_files::ProcessTag("planner_node", "14"),
              std::string(hot_fun_files::kGlobal)}) {
            sandbox.Write(tree + hot_fun_files::kRawDir +
                              hot_fun_files::RawName(tag, "20240101120000000") +
                              hot_fun_files::kRecordingSuffix,
                          "recording");
        }
    }

    // The trees of earlier runs that the configuration names.
    static std::vector<std::string> TreesNeeded(const std::string& config) {
        JsonDocument document;
        EXPECT_TRUE(ParseJson(config, document));
        const JsonValue& param = document["ManagerParam"];
        std::vector<std::string> trees;
        for (const auto& version : param["compareMode"]["versionMap"].GetObject()) {
            trees.emplace_back(version.value.GetString());
        }
        if (param.HasMember("historyDataPath")) {
            trees.emplace_back(param["historyDataPath"].GetString());
        }
        return trees;
    }

    Sandbox sandbox;
};

TEST_P(ExampleTest, RunsWithoutAnError) {
    const std::string config = ExampleText(GetParam());
    for (const std::string& tree : TreesNeeded(config)) {
        ASSERT_NO_FATAL_FAILURE(CollectInto(tree));
    }
    const RunResult run = sandbox.Run(config);
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
    EXPECT_EQ(ErrorsOfMissions(run), "");
    EXPECT_EQ(sandbox.Read("env_info/zarn_config.json"), config);
}

INSTANTIATE_TEST_SUITE_P(Docs, ExampleTest, testing::ValuesIn(ExamplesForAnyMachine()),
                         [](const auto& example) {
                             return fs::path(example.param).stem().string();
                         });

}  // namespace
}  // namespace zarn::test
