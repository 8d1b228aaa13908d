#include <gmock/gmock.h>

#include <set>

#include "tests/support/manager_texts.h"
#include "tests/system/support/recorded_tools.h"

// The analysis of an earlier run by the built program, interrupted at each file it opens, and on a
// full disk.
namespace zarn::test {
namespace {

using testing::EndsWith;

const std::string kPreload = std::string(ZARN_BUILD_DIR) + "/lib/libzarn_faults.so";
constexpr const char* kStopLine =
    "[CpuAnalyzer] Failed to process cpu analyzer because of stopFlag!\n"
    "[CpuAnalyzer] Failed to process cpu info!\n";

// A letter per result, in the order of the stages: global, process sets, cores, loading.
const std::vector<std::pair<char, std::vector<std::string>>>& StageResults() {
    static const std::vector<std::pair<char, std::vector<std::string>>> results = {
        {'g',
         {"json/soc_cpu_ana_global_", "json/soc_cpu_ana_all_procs_usage_info_",
          "raw_data/cpu/cpu_ana_global_rawdata_"}},
        {'p',
         {"json/soc_cpu_ana_selected_process_",
          "raw_data/cpu/soc_cpu_ana_selected_process_rawdata_"}},
        {'c', {"json/soc_cpu_ana_core_", "raw_data/cpu/soc_cpu_ana_core_rawdata_"}},
        {'l', {"raw_data/cpu/soc_cpu_ana_loading_rawdata_"}}};
    return results;
}

class CpuAnalyzerFaults : public testing::Test {
protected:
    // Collects a tree of three samples for the runs that follow.
    void Collect() {
        AddRecordedCpuTools(sandbox_);
        ConfigText collect;
        collect.parallel = R"(["CpuCollector"])";
        const RunResult run = sandbox_.Run(collect.Text({{"CpuCollector", R"({
            "job": ["global", "core", "selected_process"], "interval": 1.0, "count": 3,
            "process": ["planner_node"], "thread_collector": false, "json_output": true})"}}));
        ASSERT_EQ(ErrorsOfMissions(run), "");
        tree_ = sandbox_.Tree();
        ConfigText analyze;
        analyze.analyze = R"(["CpuAnalyzer"])";
        analyze.more = R"(, "historyDataPath": ")" + sandbox_.RunDirInside() + "\"";
        config_ = analyze.Text({{"CpuAnalyzer", R"({"job": ["global", "core", "process_set"],
            "peak_trought_threshold": 0.2, "process_set": {"planner": ["planner_node"]}})"}});
    }

    // The stages that left all their results, by letter; '?' for one that left some.
    [[nodiscard]] static std::string StagesDone(const std::map<std::string, std::string>& files) {
        std::string done;
        for (const auto& [letter, prefixes] : StageResults()) {
            std::size_t found = 0;
            for (const std::string& prefix : prefixes) {
                const auto file = files.lower_bound(prefix);
                found += file != files.end() && file->first.rfind(prefix, 0) == 0 ? 1U : 0U;
            }
            done += found == prefixes.size() ? std::string(1, letter) : found == 0 ? "" : "?";
        }
        return done;
    }

    Sandbox sandbox_;
    RunTree tree_;
    std::string config_;
};

TEST_F(CpuAnalyzerFaults, AnInterruptEndsTheAnalysisBetweenTwoStages) {
    ASSERT_NO_FATAL_FAILURE(Collect());
    const auto collected = tree_.Texts();
    sandbox_.SetEnvironment("LD_PRELOAD", kPreload);
    sandbox_.SetEnvironment("ASAN_OPTIONS", "verify_asan_link_order=0");
    std::set<std::string> seen;
    constexpr int kMoreThanItOpens = 200;
    for (int call = 1; call < kMoreThanItOpens; ++call) {
        sandbox_.SetEnvironment("ZARN_FAULT", "open:" + std::to_string(call) + ":interrupt");
        const RunResult run = sandbox_.Run(config_);
        ASSERT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
        auto files = tree_.Texts();
        const std::string done = StagesDone(files);
        EXPECT_EQ(std::string("gpcl").substr(0, done.size()), done) << "call " << call;
        const bool saidSo = run.err.find(kStopLine) != std::string::npos;
        EXPECT_TRUE(!saidSo || done.empty());
        seen.insert(saidSo ? "stopped at the beginning" : done);
        for (const auto& [name, text] : collected) {
            EXPECT_EQ(files[name], text) << name;
            files.erase(name);
        }
        for (const auto& [name, text] : files) {
            tree_.Remove(name);
        }
        if (run.out.find("Signal Interactive attention received") == std::string::npos) {
            break;
        }
    }
    EXPECT_THAT(seen,
                testing::ElementsAre("", "g", "gp", "gpc", "gpcl", "stopped at the beginning"));
}

TEST_F(CpuAnalyzerFaults, AFullDiskTakesTheResultsAndNothingElse) {
    if (!sandbox_.LimitSpace(std::size_t{1} << 20U)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    ASSERT_NO_FATAL_FAILURE(Collect());
    const auto collected = tree_.Texts();
    // Two pages stay free, for what the manager saves of the run itself.
    (void)sandbox_.RunCommand({"sh", "-c",
                               "cat /dev/zero > /opt/usr/filler 2> /dev/null; "
                               "truncate -s -8192 /opt/usr/filler"});
    const RunResult run = sandbox_.Run(config_);
    EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.") << run.out << run.err;
    const std::string noDocument = "[zarn_utils] Cannot open outfile, check your filePath.\n";
    const std::string fault = "[CpuAnalyzer] Error occurs when writing ";
    const std::string why = " rawdata: the file cannot be written to its end\n";
    EXPECT_THAT(run.err, EndsWith(noDocument + noDocument + noDocument + noDocument + fault +
                                  "cpuglobal" + why + noDocument + fault + "process set" + why +
                                  noDocument + fault + "cpu cores" + why +
                                  "[CpuAnalyzer] Failed to Write Cores RawData.\n"
                                  "[CpuAnalyzer] Failed to analyze Cores.\n" +
                                  fault + "cpuLoading" + why +
                                  "[CpuAnalyzer] Failed to Write cores CpuLoading RawData.\n"
                                  "[CpuAnalyzer] Failed to process cpu info!\n"
                                  "[ZarnManager] analyzers mode CpuAnalyzer failed!\n"
                                  "[ZarnManager] Some Analyzer missions failed to start!\n"));
    const auto files = tree_.Texts();
    for (const auto& [name, text] : collected) {
        const auto file = files.find(name);
        ASSERT_NE(file, files.end()) << name;
        EXPECT_EQ(file->second, text) << name;
    }
}

}  // namespace
}  // namespace zarn::test
