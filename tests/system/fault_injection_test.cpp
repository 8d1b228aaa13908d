#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "foundation/command_runner.h"
#include "tests/support/mem_lines.h"
#include "tests/support/temp_dir.h"
#include "tests/system/support/program_lock.h"
#include "tests/system/support/programs.h"
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
const std::vector<std::string> kDeviceCalls = {"close",    "device_get", "localtime", "mkdir",
                                               "open",     "pipe",       "read",      "spawn",
                                               "truncate", "write"};
const std::vector<std::string> kInterrupts = {"200"};

constexpr const char* kCpuConfig = R"({"ManagerParam": {"parallelCollectMode": ["CpuCollector"],
    "collectMode": [], "analyzeMode": ["CpuAnalyzer"], "optimizeMode": [],
    "compareMode": {"comparatorName": ["CpuComparator"], "versionMap": {"v": "/opt/usr/"}}},
    "CpuCollector": {"job": ["global", "core", "selected_process"], "interval": 1, "process": ["zarn"],
    "count": 2, "thread_collector": false, "json_output": true},
    "CpuAnalyzer": {"job": ["global", "core", "process_set"], "peak_trought_threshold": 0.2,
    "process_set": {"all": ["zarn"]}},
    "CpuComparator": {"job": ["global"], "process": []}})";

constexpr const char* kDdrConfig = R"({"ManagerParam": {"parallelCollectMode": [],
    "collectMode": ["DdrCollector"], "analyzeMode": ["DdrAnalyzer"], "optimizeMode": [],
    "compareMode": {"comparatorName": ["DdrComparator"], "versionMap": {"v": "/opt/usr/"}}},
    "DdrCollector": {"job": ["global"], "count": 2, "interval": 1},
    "DdrAnalyzer": {"job": ["global"]}, "DdrComparator": {"job": ["global"]}})";

// On the documents of an earlier collection.
constexpr const char* kMemConfig =
    R"({"ManagerParam": {"parallelCollectMode": [], "collectMode": [],
    "analyzeMode": ["MemAnalyzer"], "optimizeMode": [],
    "compareMode": {"comparatorName": ["MemComparator"], "versionMap": {"v": "/opt/usr/old/"}},
    "historyDataPath": "/opt/usr/old/"},
    "MemAnalyzer": {"job": ["system_mem", "process_mem"], "peak_trought_threshold": 0.1,
    "system_field": "used", "process_field": "PSS", "process": []},
    "MemComparator": {"job": ["system_mem", "process_mem"], "process": ["app"]}})";

// On the board, from the collection on.
constexpr const char* kMemBoardConfig = R"({"ManagerParam": {"parallelCollectMode": [],
    "collectMode": ["MemCollector"], "analyzeMode": ["MemAnalyzer"], "optimizeMode": [],
    "compareMode": {"comparatorName": ["MemComparator"], "versionMap": {"v": "/opt/usr/"}}},
    "MemCollector": {"job": ["system_mem", "process_mem"], "count": 1, "interval": 1,
    "process": ["logger"]},
    "MemAnalyzer": {"job": ["system_mem", "process_mem"], "peak_trought_threshold": 0.1,
    "system_field": "used", "process_field": "USS", "process": []},
    "MemComparator": {"job": ["system_mem", "process_mem"], "process": ["logger"]}})";

// What the board's devices tell.
constexpr const char* kDeviceConfig = R"({"ManagerParam": {"parallelCollectMode": [],
    "collectMode": ["AiCoreCollector", "ImgpCollector"], "analyzeMode": [], "optimizeMode": [],
    "compareMode": {"comparatorName": [], "versionMap": {}}},
    "AiCoreCollector": {"job": ["usage"], "count": 2, "interval": 1},
    "ImgpCollector": {"job": ["global", "app", "umap", "vpc", "venc", "vdec"],
    "global": {"duration": 0},
    "app": {"path": "/usr/bin", "library": "", "appName": "true", "params": []}}})";

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
    sandbox.Write("config.json", kCpuConfig);
    WalkIn(sandbox, more);
}

void WalkMem() {
    Sandbox sandbox;
    const MemRow app = {"9", "app", {}};
    sandbox.Write("old/json/soc_gea_memory_info_1_1.data", MemSystemLines("used", {"9", "5"}));
    sandbox.Write("old/raw_data/mem/soc_gea_process_mem_rawdata_info_1_1.data",
                  MemProcessLines(app, "PSS", {"9K", "5K"}));
    sandbox.Write("old/json/soc_gea_process_mem_rawdata_info_1_1.data",
                  MemProcessLines(app, "PSS", {"9K", "5K"}));
    sandbox.Write("old/env_info/time_cost.log", "");
    sandbox.Write("config.json", kMemConfig);
    WalkIn(sandbox, kMemCalls);
}

// On the virtual board, whose settings stay from run to run.
void WalkOnBoard(const std::string& scenario, const char* config,
                 const std::vector<std::string>& more) {
    const TempDir directory;
    directory.Write("usr/config.json", config);
    std::string words;
    for (const std::string& word : more) {
        words += " " + word;
    }
    std::string out;
    ASSERT_TRUE(SystemCommandRunner().Capture(
        "cd '" + directory.Path() +
            "' && mkdir -p tmp && TMPDIR=$PWD/tmp ASAN_OPTIONS=detect_leaks=0 " + BoardLauncher() +
            " --scenario " + scenario + " --board board --opt-usr usr -- '" + kWalk + "' '" +
            ProgramPath() + "' '" + kPreload + "' '" + kJudge + "' /opt/usr/config.json" + words +
            " && echo done",
        out));
    ExpectNothingAtFault(out, out.find("\ndone\n") != std::string::npos);
}

void WalkDdr(const std::vector<std::string>& more) {
    WalkOnBoard("camera_pipeline", kDdrConfig, more);
}

void WalkDevices(const std::vector<std::string>& more) {
    WalkOnBoard("camera_pipeline", kDeviceConfig, more);
}

void WalkMemOnBoard(const std::vector<std::string>& more) {
    const ProgramLock lock;
    WalkOnBoard("memory_leak", kMemBoardConfig, more);
}

TEST(FaultInjection, EveryCallOfACpuRunFailsInTurn) {
    WalkCpu(kCpuCalls);
}

TEST(FaultInjection, ACpuRunIsInterruptedAtRandomCalls) {
    WalkCpu(kInterrupts);
}

TEST(FaultInjection, EveryCallOfAMemoryAnalysisFailsInTurn) {
    WalkMem();
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
