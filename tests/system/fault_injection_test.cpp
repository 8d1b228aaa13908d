#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "benchmarks/support/correlation_generator.h"
#include "formats/mem.h"
#include "tests/support/manager_texts.h"
#include "tests/support/mem_lines.h"
#include "tests/support/run_tree.h"
#include "tests/system/support/board_runner.h"
#include "tests/system/support/program_lock.h"
#include "tests/system/support/programs.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// The fallible calls of the program fail in turn, with each plausible error, and the program is
// interrupted at random calls: each run ends as it is meant to and leaves documents that can be
// read. The walk draws a sample of the faults, or tries all (faults/fault_walk.cpp says how).
namespace zarn::test {
namespace {

using testing::HasSubstr;

const std::string kWalk = std::string(ZARN_BUILD_DIR) + "/bin/fault_walk";
const std::string kPreload = std::string(ZARN_BUILD_DIR) + "/lib/libzarn_faults.so";
const std::string kJudge = std::string(ZARN_SOURCE_DIR) + "/tests/system/faults/judge_documents.py";

// The calls of each run: a fault of each kind must happen. Interrupts: their number.
const std::vector<std::string> kCpuCalls = {"close",   "localtime", "mkdir", "open",
                                            "opendir", "pipe",      "read",  "spawn",
                                            "thread",  "truncate",  "write"};
const std::vector<std::string> kDdrCalls = {"close", "device_get", "device_set", "localtime",
                                            "mkdir", "open",       "opendir",    "read",
                                            "spawn", "truncate",   "write"};
const std::vector<std::string> kMemCalls = {"close",   "localtime", "mkdir",    "open",
                                            "opendir", "read",      "truncate", "write"};
const std::vector<std::string> kMemBoardCalls = {
    "close", "localtime", "mkdir", "open", "pipe", "opendir", "read", "spawn", "truncate", "write"};
const std::vector<std::string> kDeviceCalls = {"close", "device_get", "device_set", "localtime",
                                               "mkdir", "open",       "opendir",    "pipe",
                                               "read",  "spawn",      "truncate",   "write"};
const std::vector<std::string> kTopdownCalls = {"close", "localtime", "mkdir",    "open", "pipe",
                                                "read",  "spawn",     "truncate", "write"};
const std::vector<std::string> kHotFunCalls = {"close", "localtime", "mkdir", "open",     "opendir",
                                               "pipe",  "read",      "spawn", "truncate", "write"};
const std::vector<std::string> kSchedCalls = {"close", "localtime", "mkdir",    "open", "pipe",
                                              "read",  "spawn",     "truncate", "write"};
const std::vector<std::string> kMicroscopeCalls = {"close",   "localtime", "mkdir", "open",
                                                   "opendir", "pipe",      "read",  "spawn",
                                                   "thread",  "truncate",  "write"};
const std::vector<std::string> kPeakCalls = {"close", "localtime", "mkdir",    "open", "read",
                                             "spawn", "thread",    "truncate", "write"};
const std::vector<std::string> kCorrelationCalls = {
    "close", "localtime", "mkdir", "open", "opendir", "read", "spawn", "truncate", "write"};
const std::vector<std::string> kInterrupts = {"200"};

std::string CpuConfig() {
    ConfigText config;
    config.parallel = R"(["CpuCollector"])";
    config.analyze = R"(["CpuAnalyzer"])";
    config.compare = R"(["CpuComparator"])";
    config.versionMap = R"({"v": "/opt/usr/"})";
    return config.Text(
        {{"CpuCollector", R"({"job": ["global", "core", "selected_process"], "interval": 1,
             "process": ["zarn"], "count": 2, "thread_collector": false, "json_output": true})"},
         {"CpuAnalyzer", R"({"job": ["global", "core", "process_set"],
             "peak_trought_threshold": 0.2, "process_set": {"all": ["zarn"]}})"},
         {"CpuComparator", R"({"job": ["global"], "process": []})"}});
}

std::string DdrConfig() {
    ConfigText config;
    config.serial = R"(["DdrCollector"])";
    config.analyze = R"(["DdrAnalyzer"])";
    config.compare = R"(["DdrComparator"])";
    config.versionMap = R"({"v": "/opt/usr/"})";
    return config.Text({{"DdrCollector", R"({"job": ["global"], "count": 2, "interval": 1})"},
                        {"DdrAnalyzer", R"({"job": ["global"]})"},
                        {"DdrComparator", R"({"job": ["global"]})"}});
}

// A collection, and a comparison of two versions that hold recordings.
std::string HotFunConfig() {
    ConfigText config;
    config.serial = R"(["HotFunCollector"])";
    config.compare = R"(["HotFunComparator"])";
    config.versionMap = R"({"v": "/opt/usr/old/", "w": "/opt/usr/old/"})";
    return config.Text(
        {{"HotFunCollector", R"({"job": ["global", "core", "process", "function_set"],
             "json_output": true, "duration": 0, "top": 3, "core": [0], "process": ["planner_node"],
             "function_set": {"planner": ["planner_.*"]}})"},
         {"HotFunComparator", R"({"job": ["global", "core", "process"], "core": [0],
             "process": ["planner_node"]})"}});
}

ConfigText MemAnalysis(const std::string& version) {
    ConfigText config;
    config.analyze = R"(["MemAnalyzer"])";
    config.compare = R"(["MemComparator"])";
    config.versionMap = R"({"v": ")" + version + "\"}";
    return config;
}

std::string MemAnalyzerSection(const std::string& field) {
    return R"({"job": ["system_mem", "process_mem"], "peak_trought_threshold": 0.1,
        "system_field": "used", "process_field": ")" +
           field + R"(", "process": []})";
}

std::string MemComparatorSection(const std::string& process) {
    return R"({"job": ["system_mem", "process_mem"], "process": [")" + process + "\"]}";
}

// On the documents of an earlier collection.
std::string MemConfig() {
    ConfigText config = MemAnalysis("/opt/usr/old/");
    config.more = R"(, "historyDataPath": "/opt/usr/old/")";
    return config.Text({{"MemAnalyzer", MemAnalyzerSection("PSS")},
                        {"MemComparator", MemComparatorSection("app")}});
}

// On the board, from the collection on.
std::string MemBoardConfig() {
    ConfigText config = MemAnalysis("/opt/usr/");
    config.serial = R"(["MemCollector"])";
    return config.Text({{"MemCollector", R"({"job": ["system_mem", "process_mem"], "count": 1,
                            "interval": 1, "process": ["logger"]})"},
                        {"MemAnalyzer", MemAnalyzerSection("USS")},
                        {"MemComparator", MemComparatorSection("logger")}});
}

// What the board's devices tell.
constexpr const char* kDeviceConfig = R"({"ManagerParam": {"parallelCollectMode": [],
    "collectMode": ["AiCoreCollector", "AicpuCollector", "ImgpCollector", "MbufCollector"],
    "analyzeMode": ["AicpuAnalyzer"], "optimizeMode": [],
    "compareMode": {"comparatorName": [], "versionMap": {}}},
    "AicpuCollector": {"aicpu_job": ["core", "event", "abnormal"], "aicpu_process": ["perception"],
    "aicpu_cid": [1], "interval": 1, "count": 1},
    "AicpuAnalyzer": {"aicpu_job": ["core", "event", "abnormal"]},
    "AiCoreCollector": {"job": ["usage"], "count": 2, "interval": 1},
    "MbufCollector": {"count": 1, "interval": 1},
    "ImgpCollector": {"job": ["global", "app", "umap", "vpc", "venc", "vdec"],
    "global": {"duration": 0},
    "app": {"path": "/usr/bin", "library": "", "appName": "true", "params": []}}})";

std::string TopdownConfig() {
    ConfigText config;
    config.serial = R"(["TopdownCollector"])";
    return config.Text({{"TopdownCollector", R"({"job": ["global", "core", "process"],
        "core": [0], "process": ["frame_worker"], "duration": 1})"}});
}

// All jobs of the scheduler's collector, and the analysis of those that record. What the recorded
// perf tells has one row above the threshold.
std::string SchedConfig() {
    ConfigText config;
    config.serial = R"(["SchedCollector"])";
    config.analyze = R"(["SchedAnalyzer"])";
    return config.Text(
        {{"SchedCollector", R"({"job": ["global", "core", "process", "priority_affinity", "lite"],
             "sched": {"is_call_record": false, "duration": 1, "topN": 2, "sorted": "max",
                       "coreID": [0], "process": ["frame_worker"]},
             "priority_affinity": {"process": ["frame_worker"], "thread": ["frame_worker"]},
             "lite": {"lite_duration_second": 10, "lite_threshold_ms": 150}})"},
         {"SchedAnalyzer", R"({"job": ["global", "core", "process"],
             "runTimeThreshold": 2.05})"}});
}

// All four sources from the collection on.
constexpr const char* kCorrelatedRun = R"({"ManagerParam": {"parallelCollectMode": ["CpuCollector",
    "DdrCollector", "AiCoreCollector", "SchedCollector"], "collectMode": [],
    "analyzeMode": ["CpuAnalyzer", "DdrAnalyzer", "SchedAnalyzer", "CorrelationAnalyzer"],
    "optimizeMode": [], "compareMode": {"comparatorName": [], "versionMap": {}}},
    "CpuCollector": {"job": ["global", "core"], "interval": 0.1, "process": [], "count": 2,
    "thread_collector": false, "json_output": true},
    "DdrCollector": {"job": ["global"], "count": 1, "interval": 1},
    "AiCoreCollector": {"job": ["usage"], "count": 1, "interval": 1},
    "SchedCollector": {"job": ["global"], "sched": {"is_call_record": false, "duration": 1,
    "topN": 5, "sorted": "max"}},
    "CpuAnalyzer": {"job": ["global", "core"], "peak_trought_threshold": 0.05, "process_set": {}},
    "DdrAnalyzer": {"job": ["global"]},
    "SchedAnalyzer": {"job": ["global"], "runTimeThreshold": 1000.0},
    "CorrelationAnalyzer": {"peak_interval_us": 100000, "sched": "global"}})";

// All four sources of an earlier run.
std::string CorrelationConfig() {
    ConfigText config;
    config.analyze = R"(["CorrelationAnalyzer"])";
    config.more = R"(, "historyDataPath": "/opt/usr/old/")";
    return config.Text(
        {{"CorrelationAnalyzer", R"({"peak_interval_us": 1000000, "sched": "global"})"}});
}

// Both collectors and the comparator about one program of the board.
std::string ProfileConfig() {
    ConfigText config;
    config.serial = R"(["TopdownCollector", "HotFunCollector"])";
    config.compare = R"(["HotFunComparator"])";
    config.versionMap = R"({"v": "/opt/usr/old/", "w": "/opt/usr/old/"})";
    return config.Text(
        {{"TopdownCollector",
          R"({"job": ["process"], "core": [], "process": ["fault_worker"], "duration": 0})"},
         {"HotFunCollector", R"({"job": ["process"], "json_output": true, "duration": 0, "top": 3,
             "process": ["fault_worker"]})"},
         {"HotFunComparator", R"({"job": ["process"], "process": ["fault_worker"]})"}});
}

// One pass, since its recording is behind the time, and a peak, whatever this machine does: its
// cores are above a limit below nothing.
std::string PeakConfig() {
    ConfigText config;
    config.serial = R"(["CpuPeakCollector"])";
    return config.Text({{"CpuPeakCollector", R"({"scanDuration": 200, "scanPeriod": 200,
        "maxUsage": -1.0, "collectionDuration": 0.0, "collectionFrequency": 99})"}});
}

// All that looks at single programs, two of which the collectors start, and the benchmarks.
std::string MicroscopeConfig() {
    ConfigText config;
    config.serial = R"(["LibCollector", "SysCallCollector", "BenchCollector",
        "CacheGrindCollector", "MassifCollector", "CallGrindCollector"])";
    return config.Text(
        {{"LibCollector", R"({"process": ["planner_node"], "duration": 0})"},
         {"SysCallCollector",
          R"({"process": ["planner_node"], "duration": 60, "saveDetailsToJson": true})"},
         {"BenchCollector", R"({"job": ["pipe", "memset", "stat"],
             "stat": {"nodes": ["planner_node"], "sleep": 0}})"},
         {"CacheGrindCollector", R"({"process": ["first", "second"], "duration": 0})"},
         {"MassifCollector", R"({"process": ["first"], "duration": 0})"},
         {"CallGrindCollector", R"({"process": ["planner_node"], "duration": 0})"},
         {"ProcessRunSetting", R"({"first": {"bin_path": "true", "env_variables": {"A": "1"}},
             "second": {"bin_path": "true", "env_variables": {}}})"}});
}

// The walk's own words go to the test's output: they tell how many faults there were.
void ExpectNothingAtFault(const std::string& out, bool succeeded) {
    std::printf("%s", out.c_str());
    EXPECT_TRUE(succeeded);
    EXPECT_THAT(out, HasSubstr(", 0 runs at fault\n"));
}

void WalkIn(Sandbox& sandbox, const std::vector<std::string>& more) {
    std::vector<std::string> command{kWalk, ProgramPath(), kPreload, kJudge,
                                     "/opt/usr/config.json"};
    command.insert(command.end(), more.begin(), more.end());
    const RunResult run = sandbox.RunCommand(command);
    ExpectNothingAtFault(run.out, run.Succeeded());
}

void WalkCpu(const std::vector<std::string>& more) {
    Sandbox sandbox;
    sandbox.ToolPrinting("top", ReadText(DataPath("top-4.0.2/two_cores.txt")));
    sandbox.ToolPrinting("ps", ReadText(DataPath("ps-4.0.2/processes.txt")));
    sandbox.Write("config.json", CpuConfig());
    WalkIn(sandbox, more);
}

void WalkTopdown(const std::vector<std::string>& more) {
    Sandbox sandbox;
    AddRecordedPerf(sandbox);
    sandbox.Write("config.json", TopdownConfig());
    WalkIn(sandbox, more);
}

void WalkHotFun(const std::vector<std::string>& more) {
    Sandbox sandbox;
    AddRecordedProfiler(sandbox);
    for (const char* tag : {"core_core0", "process_planner_node_417", "global"}) {
        sandbox.Write(std::string("old/raw_data/hotFun/hotfun_") + tag + "_1.data", "recording");
    }
    sandbox.Write("config.json", HotFunConfig());
    WalkIn(sandbox, more);
}

void WalkSched(const std::vector<std::string>& more) {
    Sandbox sandbox;
    AddRecordedCpuTools(sandbox);
    AddRecordedPerf(sandbox);
    AddSchedTools(sandbox);
    sandbox.Write("config.json", SchedConfig());
    WalkIn(sandbox, more);
}

void WalkMicroscope(const std::vector<std::string>& more) {
    Sandbox sandbox;
    AddRecordedProfiler(sandbox);
    AddRecordedBench(sandbox);
    AddRecordedTracer(sandbox);
    AddFakeValgrind(sandbox);
    sandbox.Write("config.json", MicroscopeConfig());
    WalkIn(sandbox, more);
}

void WalkPeak(const std::vector<std::string>& more) {
    Sandbox sandbox;
    AddRecordedProfiler(sandbox);
    // The kernel's counts have to move between two readings.
    sandbox.SetEnvironment("ZARN_FAULT_SLEEPS", "1");
    sandbox.Write("config.json", PeakConfig());
    WalkIn(sandbox, more);
}

void WalkMem() {
    Sandbox sandbox;
    const MemRow app = {"9", "app", {}};
    const RunTree tree(sandbox.UsrDir() + "old/");
    const std::string processes = MemProcessLines(app, "PSS", {"9K", "5K"});
    tree.Write(RunTree::NameOf(mem_files::kSystemSamples), MemSystemLines("used", {"9", "5"}));
    tree.Write(RunTree::NameOf(mem_files::kRawProcessSamples), processes);
    tree.Write(RunTree::NameOf(mem_files::kProcessSamples), processes);
    tree.Write(run_tree::kCostLog, "");
    sandbox.Write("config.json", MemConfig());
    WalkIn(sandbox, kMemCalls);
}

void WalkCorrelation() {
    Sandbox sandbox;
    const std::string old = sandbox.UsrDir() + "old/";
    ASSERT_TRUE(bench::CorrelationGenerator(1).WriteBig(old, {20, 20, 3, 5}));
    RunTree(old).Write(run_tree::kCostLog, "");
    sandbox.Write("config.json", CorrelationConfig());
    WalkIn(sandbox, kCorrelationCalls);
}

// On the virtual board, whose settings stay from run to run. `before`: a script that runs there
// first.
void WalkOnBoard(const std::string& options, const std::string& config,
                 const std::vector<std::string>& more, const std::string& before = "") {
    const BoardRunner board;
    board.Files().Write("usr/config.json", config);
    std::string words;
    for (const std::string& word : more) {
        words += " " + word;
    }
    board.Files().Write("go", before + "\nexec '" + kWalk + "' '" + ProgramPath() + "' '" +
                                  kPreload + "' '" + kJudge + "' /opt/usr/config.json" + words);
    const int status = board.Shell(BoardLauncher() + " " + options +
                                   " --board board --opt-usr usr -- sh ./go >out");
    ExpectNothingAtFault(board.Out(), status == 0);
}

void WalkDdr(const std::vector<std::string>& more) {
    WalkOnBoard("--scenario camera_pipeline", DdrConfig(), more);
}

void WalkDevices(const std::vector<std::string>& more) {
    const ProgramLock lock;
    WalkOnBoard("--scenario device_trouble", kDeviceConfig, more);
}

void WalkMemOnBoard(const std::vector<std::string>& more) {
    const ProgramLock lock;
    WalkOnBoard("--scenario memory_leak", MemBoardConfig(), more);
}

// Two versions' recordings are the same one. A duration of 0 is a moment, in which the program has
// counts and samples.
constexpr const char* kProfileBefore = R"sh(
    mkdir -p tools usr/old/raw_data/hotFun
    printf '#!/bin/sh\nexec /bin/sleep 0.02\n' >tools/sleep
    chmod +x tools/sleep
    export PATH="$PWD/tools:$PATH"
    perf record -o usr/old/raw_data/hotFun/hotfun_process_fault_worker_1_1.data -g \
        -p "$(pidof fault_worker)" -- sleep 0
)sh";

void WalkProfile(const std::vector<std::string>& more) {
    const ProgramLock lock;
    const TempDir directory;
    const std::string scenario = directory.Write("scenario.json", R"({"programs": [
        {"name": "fault_worker", "pipeline": {"load": 0.4, "cores": [0]}}]})");
    WalkOnBoard("--perf model --scenario " + scenario, ProfileConfig(), more, kProfileBefore);
}

TEST(FaultInjection, EveryCallOfACpuRunFailsInTurn) {
    WalkCpu(kCpuCalls);
}

TEST(FaultInjection, ACpuRunIsInterruptedAtRandomCalls) {
    WalkCpu(kInterrupts);
}

TEST(FaultInjection, EveryCallOfATopdownRunFailsInTurn) {
    WalkTopdown(kTopdownCalls);
}

TEST(FaultInjection, ATopdownRunIsInterruptedAtRandomCalls) {
    WalkTopdown(kInterrupts);
}

TEST(FaultInjection, EveryCallOfAMemoryAnalysisFailsInTurn) {
    WalkMem();
}

TEST(FaultInjection, EveryCallOfARunAboutHotFunctionsFailsInTurn) {
    WalkHotFun(kHotFunCalls);
}

TEST(FaultInjection, ARunAboutHotFunctionsIsInterruptedAtRandomCalls) {
    WalkHotFun(kInterrupts);
}

TEST(FaultInjection, EveryCallOfARunAboutTheSchedulerFailsInTurn) {
    WalkSched(kSchedCalls);
}

TEST(FaultInjection, ARunAboutTheSchedulerIsInterruptedAtRandomCalls) {
    WalkSched(kInterrupts);
}

TEST(FaultInjection, EveryCallOfACorrelationFailsInTurn) {
    WalkCorrelation();
}

TEST(FaultInjection, ACorrelatedRunIsInterruptedAtRandomCalls) {
    const ProgramLock lock;
    WalkOnBoard("--scenario shared_burst", kCorrelatedRun, kInterrupts);
}

TEST(FaultInjection, EveryCallOfAProfileFailsInTurn) {
    WalkProfile(kHotFunCalls);
}

TEST(FaultInjection, AProfileIsInterruptedAtRandomCalls) {
    WalkProfile(kInterrupts);
}

TEST(FaultInjection, EveryCallOfARunAboutSingleProgramsFailsInTurn) {
    WalkMicroscope(kMicroscopeCalls);
}

TEST(FaultInjection, ARunAboutSingleProgramsIsInterruptedAtRandomCalls) {
    WalkMicroscope(kInterrupts);
}

TEST(FaultInjection, EveryCallOfAPeakRunFailsInTurn) {
    WalkPeak(kPeakCalls);
}

TEST(FaultInjection, APeakRunIsInterruptedAtRandomCalls) {
    WalkPeak(kInterrupts);
}

TEST(FaultInjection, EveryCallOfADdrRunFailsInTurn) {
    WalkDdr(kDdrCalls);
}

TEST(FaultInjection, ADdrRunIsInterruptedAtRandomCalls) {
    WalkDdr(kInterrupts);
}

TEST(FaultInjection, EveryCallOfADeviceRunFailsInTurn) {
    WalkDevices(kDeviceCalls);
}

TEST(FaultInjection, ADeviceRunIsInterruptedAtRandomCalls) {
    WalkDevices(kInterrupts);
}

TEST(FaultInjection, EveryCallOfAMemRunFailsInTurn) {
    WalkMemOnBoard(kMemBoardCalls);
}

TEST(FaultInjection, AMemRunIsInterruptedAtRandomCalls) {
    WalkMemOnBoard(kInterrupts);
}

}  // namespace
}  // namespace zarn::test
