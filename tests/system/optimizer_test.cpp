#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>

#include "formats/ddr.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/board_runner.h"
#include "tests/system/support/programs.h"

// The optimizer of the built program on the virtual board, with the board's stress benchmark.
namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kYaml = "work/virtual_node/config/Config.yaml";

std::string Config(const std::string& section) {
    ConfigText config;
    config.optimize = R"(["DdrOptimizer"])";
    return config.Text({{"DdrOptimizer", section}});
}

// A search of `particles` in `iterations`, the CPU's bounds within `cpu`.
std::string Auto(int particles, int iterations, const std::string& cpu = "[8, 18]") {
    return Config(R"({"mode": "auto", "autoMode": {"stressLevel": {"cpu": 5}, "stressNode": "n",
        "omModel": "m", "optAlg": "pso"}, "psoConf": {
        "psoSpaceBounds": {"aic": [18, 34], "imgp": [8, 24], "cpu": )" +
                  cpu + R"(},
        "psoVelBounds": {"aic": [-8, 8], "cpu": [-8, 8], "imgp": [-8, 8]},
        "psoParams": {"numSize": )" +
                  std::to_string(particles) + R"(, "perTime": 1, "numIterate": )" +
                  std::to_string(iterations) + R"(, "w_v": 0.8, "w_p": 0.5, "w_g": 0.5},
        "psoIndexs": {"beliefProb": 0.05, "aiWorseRate": 0.1, "camFpsBound": 28}}})");
}

class OptimizerOnBoard : public testing::Test {
protected:
    OptimizerOnBoard() { board_.Files().Write(kYaml, "pace_ms: 0\n"); }

    // Runs the program on `config` in the folder "work" of the board, which is kept from run to
    // run. `before` and `watcher` are scripts for that folder.
    void Run(const std::string& config, const std::string& options = "",
             const std::string& before = "", const std::string& watcher = "") {
        status_ = board_.Run(config, {kKept + " --workdir work " + options, before, watcher});
        out_ = board_.Out();
        err_ = board_.Err();
    }

    // What the device holds, as the optimizer reads it back in manual mode.
    std::string Held() {
        EXPECT_EQ(board_.Shell(BoardLauncher() + kKept +
                               " -- sh -c 'for p in 5 0 3; do " ZARN_BUILD_DIR
                               "/bin/board_probe get 13 0 $p 48; done' > held"),
                  0);
        return board_.Files().Read("held");
    }

    inline static const std::string kKept = " --board board";

    BoardRunner board_;
    int status_ = -1;
    std::string out_;
    std::string err_;  // without the manager's lines about the run directory
};

TEST_F(OptimizerOnBoard, ManualModeSetsWhatTheDeviceReadsBack) {
    Run(Config(R"({"mode": "manual", "manualMode": {"mpamName": ["aic_dat", "cpu"],
        "bwLow": [4, 60], "bwHigh": [34, 18], "hardLimit": [0, 1]}})"));
    EXPECT_EQ(status_, 0);
    EXPECT_EQ(err_,
              "[DdrOptimizer] Warning! The bwLow setting of cpu is 60, which cannot be larger than "
              "bwHigh: 18. The bwLow will be set to: 18\n");
    EXPECT_THAT(out_,
                EndsWith("[ZarnManager] optimizers mode DdrOptimizer start ...\n"
                         "[DdrOptimizer] DdrOptimizer Start.\n"
                         "[DdrOptimizer] Start to init qos Config. \n"
                         "[DdrOptimizer] DdrOptimizer mode is : manual.\n"
                         "Successfully set: mpamid: 5 aic_dat , bw_low: 4, bw_high: 34, hardlimit: "
                         "0\n"
                         "Successfully set: mpamid: 0 cpu , bw_low: 18, bw_high: 18, hardlimit: 1\n"
                         "[DdrOptimizer] Successfully set new qos conf! DdrOptimizer finished!\n"
                         "[Main] Collection jobs finished.\n"));
    EXPECT_EQ(Held(), "0 48 34 4 0\n0 48 18 18 1\n0 48 51 0 1\n");
}

TEST_F(OptimizerOnBoard, ABoardThatWasNeverConfiguredGetsTheDefaults) {
    Run(Config(R"({"mode": "manual", "manualMode": {"mpamName": [], "bwLow": [], "bwHigh": [],
        "hardLimit": []}})"),
        "--scenario never_configured");
    const std::string line =
        "[DdrOptimizer] Sys has not yet set Qos conf, using default settings. \n";
    std::size_t count = 0;
    for (std::size_t at = out_.find(line); at != std::string::npos; at = out_.find(line, at + 1)) {
        ++count;
    }
    // imgp_vpc was configured; imgp_venc is found so, since the CPU took its master number.
    EXPECT_EQ(count, 8U);
    EXPECT_EQ(err_,
              "[DdrOptimizer] Warning! The mpamName is empty! Keep the default qos setting!\n");
    EXPECT_EQ(Held(), "0 48 51 0 1\n0 48 51 0 1\n0 48 40 2 1\n");
}

TEST_F(OptimizerOnBoard, TheSearchRaisesTheCpuAndLeavesItsBoundsOnTheDevice) {
    // 18 GB/s are more than the CPU asks for. Reserved, they give it three quarters of that or
    // more, whatever is drawn for the others, so that no candidate comes out near the board's own
    // rate.
    Run(Auto(3, 2, "[18, 24]"), "--scenario memory_hungry");
    EXPECT_EQ(err_, "");
    const std::string log = board_.Tree().Read(ddr_files::kOptimizerLog);
    EXPECT_THAT(log, StartsWith("[DdrOptimizer] ======= start to collect bencharmk perf =======\n"
                                "[DdrOptimizer] ======= start to init pso =======\n"));
    EXPECT_THAT(log, HasSubstr("[DdrOptimizer] ======= pso num: 3 =======, cpu t-value: "));
    EXPECT_THAT(log, HasSubstr("[DdrOptimizer] ======= update pso num: 3 =======,cpu t-value: "));
    EXPECT_THAT(log, HasSubstr("[DdrOptimizer] ======= iter num: 2 ======= \n"));
    const auto cpuRate = [&log](const std::string& label) {
        const std::size_t line = log.find("[DdrOptimizer] " + label + " : ");
        return std::stod(log.substr(log.find("cpu : ", line) + 6));
    };
    EXPECT_GT(cpuRate("benchmark"), 1.2 * cpuRate("optimized")) << "the labels are swapped";
    EXPECT_NEAR(cpuRate("optimized"), 35.2, 1.0) << "what the memory model gives the CPU untouched";

    const std::size_t last = log.rfind("best bwLow setting: ");
    std::istringstream best(log.substr(last));
    std::string bounds;
    std::getline(best, bounds);
    EXPECT_EQ(board_.Tree().Read(ddr_files::kStressLog).substr(0, 38),
              "stress_benchmark of the virtual board\n");
    // "0 48 <high> <low> 0" of the CPU is the second of three.
    const std::string held = Held();
    std::istringstream lines(held.substr(held.find('\n') + 1));
    std::string code, size, high, low, hard;
    lines >> code >> size >> high >> low >> hard;
    EXPECT_THAT(bounds, StartsWith("best bwLow setting: 0 : " + low + ",  3 : "));
    EXPECT_EQ(hard, "0");
}

constexpr const char* kEnd =
    "[DdrOptimizer] Failed to update qos config!\n"
    "[ZarnManager] optimizers mode DdrOptimizer failed!\n"
    "[ZarnManager] Some Optimizer missions failed to start!\n";
const std::string kNoBase = std::string("[DdrOptimizer] Failed to get base perf data.\n") + kEnd;
const std::string kNoInit = std::string(
                                "[DdrOptimizer] Failed to get pref datas.\n"
                                "[DdrOptimizer] Failed to init pso state.\n") +
                            kEnd;
constexpr const char* kNoRun = "[DdrOptimizer] Failed to run stress benchmark!\n";
constexpr const char* kNoPerf = "[DdrOptimizer] Failed to get stress perfs.\n";
constexpr const char* kNoCamera =
    "[DdrOptimizer] Failed to compare perf resuls. Error: no frame rate of isp\n";
constexpr const char* kFewer =
    "[DdrOptimizer] Warning! Insufficient perf data collection when perf analyzing. Pleass enlarge "
    "collect times.\n";
constexpr const char* kFewerCamera =
    "[DdrOptimizer] Warning! Insufficient perf data collection when comparing. Pleass enlarge "
    "collect times.\n";

// The text `count` times.
std::string Times(int count, const std::string& text) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

TEST_F(OptimizerOnBoard, ABenchmarkThatCannotRunEndsTheSearch) {
    for (const char* before : {"rm virtual_node/bin/stress_benchmark", "rm -r virtual_node"}) {
        Run(Auto(1, 0), "", before);
        EXPECT_THAT(err_, HasSubstr("chmod: cannot access"));
        EXPECT_THAT(err_, EndsWith(kNoRun + kNoBase));
        EXPECT_EQ(status_, 0);
    }
}

// The command's status is that of the program that writes the log: what ends badly shows in the
// log.
TEST_F(OptimizerOnBoard, ABenchmarkWithoutResultsMakesNoCandidateAcceptable) {
    for (const char* bench :
         {"echo 'fault: fail' >", "echo 'fault: silent' >", "echo 'fault: kill' >",
          "rm virtual_node/config/Config.yaml #", "echo 'no yaml' >"}) {
        std::filesystem::remove_all(board_.Files().Path() + "usr/mnt");
        Run(Auto(1, 0), "", bench + std::string(" virtual_node/config/Config.yaml"));
        std::string lines;
        std::istringstream all(err_);
        for (std::string line; std::getline(all, line);) {
            lines += line.substr(0, 14) == "[DdrOptimizer]" ? line + "\n" : "";
        }
        EXPECT_EQ(lines, Times(4, kNoCamera)) << bench;
        EXPECT_THAT(out_, HasSubstr("Successfully set: mpamid: 0  , bw_low: 0, bw_high: 51,"));
        EXPECT_EQ(status_, 0);
    }
    Run(Auto(1, 0), "", "echo text > virtual_node/bin/stress_benchmark");
    EXPECT_THAT(err_, HasSubstr(kNoCamera)) << "a file that is no program";
}

TEST_F(OptimizerOnBoard, ALogThatDiffersIsDealtWith) {
    const std::pair<std::string, std::string> cases[] = {
        {"fault: malformed", kNoPerf + kNoBase},
        {"fault: malformed\nfault_skip: 1", kNoPerf + kNoInit},
        {"fault: short\nfault_skip: 1", Times(4, Times(3, kFewer) + kFewerCamera)},
        {"fault: long\nfault_skip: 1", ""},
        {"periods: 1000", ""},
    };
    for (const auto& [yaml, errors] : cases) {
        std::filesystem::remove_all(board_.Files().Path() + "board");
        board_.Files().Write(kYaml, "pace_ms: 0\n" + yaml + "\n");
        Run(Auto(1, 0), "--scenario memory_hungry");
        EXPECT_EQ(err_, errors) << yaml;
        EXPECT_EQ(status_, 0);
    }
}

TEST_F(OptimizerOnBoard, AnInterruptedBenchmarkEndsTheSearch) {
    for (const char* fault : {"hang", "endless"}) {
        std::filesystem::remove_all(board_.Files().Path() + "usr/mnt");
        board_.Files().Write(kYaml, std::string("pace_ms: 0\nfault: ") + fault + "\n");
        // As the terminal does it: the whole process group is interrupted.
        Run(Auto(1, 0), "", "",
            "until grep -q start /opt/usr/mnt/zarn/*/raw_data/ddr/*stress* 2>/dev/null || "
            "! kill -0 $zarn; do :; done\nkill -INT -$zarn");
        EXPECT_EQ(err_, kNoRun + kNoBase) << fault;
        EXPECT_THAT(out_, HasSubstr("[ZarnManager] Signal Interactive attention received.\n"));
        EXPECT_EQ(status_, 0) << "137: the interrupt did not end it";
    }
}

// A benchmark that interrupts the program alone, at its run number `run`, and goes on.
std::string InterruptAt(int run) {
    return "mv virtual_node/bin/stress_benchmark bench\n"
           "cat > virtual_node/bin/stress_benchmark <<'END'\n"
           "#!/bin/bash\n"
           "echo run >> runs\n"
           "read -r _ _ _ parent _ < /proc/$PPID/stat\n"  // the shell's parent is the program
           "[ $(wc -l < runs) != " +
           std::to_string(run) +
           " ] || kill -INT $parent\n"
           "exec ./bench \"$@\"\n"
           "END";
}

TEST_F(OptimizerOnBoard, AnInterruptDuringInitLeavesTheBestSoFar) {
    Run(Auto(3, 2), "--scenario memory_hungry", InterruptAt(2));
    EXPECT_EQ(err_, "");
    const std::string log = board_.Tree().Read(ddr_files::kOptimizerLog);
    EXPECT_THAT(log, Not(HasSubstr("pso num: 2 =")));
    EXPECT_THAT(log, HasSubstr("======= iter num: 1 ======= \n"));
    EXPECT_THAT(log, HasSubstr("======= iter num: 2 ======= \n"));
    EXPECT_THAT(log, HasSubstr("[DdrOptimizer] ======= DDR Optimizer result =======\n"));
    EXPECT_THAT(out_, EndsWith("DdrOptimizer finished!\n[Main] Collection jobs finished.\n"));
}

TEST_F(OptimizerOnBoard, AnInterruptDuringTheIterationLeavesTheBestSoFar) {
    // One particle of at most four tries: run 6 falls into the iterations.
    Run(Auto(1, 50), "--scenario memory_hungry", InterruptAt(6));
    EXPECT_EQ(err_, "");
    const std::string log = board_.Tree().Read(ddr_files::kOptimizerLog);
    EXPECT_THAT(log, HasSubstr("======= pso num: 1 =======, cpu t-value: "));
    EXPECT_THAT(log, HasSubstr("======= iter num: 50 ======= \n"));
    EXPECT_THAT(log, HasSubstr("[DdrOptimizer] optimized : aic : "));
    std::istringstream runs(board_.Files().Read("work/runs"));
    EXPECT_EQ(std::count(std::istreambuf_iterator<char>(runs), {}, '\n'), 6);
}

TEST_F(OptimizerOnBoard, ADeviceThatLosesAnswersIsReported) {
    struct Case {
        const char* rule;
        const char* errors;
    };
    const std::string words = "[DdrOptimizer] Failed to init file path!\n";
    const Case cases[] = {
        {R"({"call": "tovi_get_device_info", "main": 13, "sub": 1, "key": 9, "code": -5})",
         "Check master config failed! Ret: -5\n[DdrOptimizer] Failed to get init qos mpamid!\n"},
        {R"({"call": "tovi_get_device_info", "main": 13, "sub": 0, "key": 7, "code": -6})",
         "Failed to get sdma qos config, ret = -6\n[DdrOptimizer] Failed to get init qos conf!\n"},
        {R"({"call": "tovi_get_device_info", "main": 13, "sub": 0, "key": 7, "size": 44})",
         "Failed to get sdma qos config, ret = 0\n[DdrOptimizer] Failed to get init qos conf!\n"},
    };
    for (const Case& one : cases) {
        std::filesystem::remove_all(board_.Files().Path() + "board");
        board_.Files().Write("plan.json", std::string(R"({"faults": [)") + one.rule + "]}");
        Run(Auto(1, 0), "--faults plan.json");
        EXPECT_THAT(err_, StartsWith(one.errors + words)) << one.rule;
    }
}

TEST_F(OptimizerOnBoard, ADeviceThatRefusesForeverIsTriedUntilTheInterrupt) {
    board_.Files().Write("plan.json", R"({"faults": [
        {"call": "tovi_set_device_info", "main": 13, "sub": 0, "code": -9}]})");
    Run(Auto(1, 1), "--faults plan.json", "",
        "until grep -q 'pso init' ../err || ! kill -0 $zarn; do :; done\nkill -INT $zarn");
    EXPECT_THAT(err_, StartsWith("[dev:0] set aic qos config failed, ret = -9\n"
                                 "[DdrOptimizer] Set new qos conf fail when pso init.\n"));
    EXPECT_THAT(err_, EndsWith("[dev:0] set  qos config failed, ret = -9\n"
                               "[DdrOptimizer] Failed to item qos conf.\n"
                               "[DdrOptimizer] Warning! Failed to enable the best qos Conf, you "
                               "can enable them manually.\n"));
    EXPECT_THAT(out_, EndsWith("DdrOptimizer finished!\n[Main] Collection jobs finished.\n"));
}

TEST_F(OptimizerOnBoard, ASectionThatIsNoObjectEndsTheProcess) {
    Run(Config("5"));
    EXPECT_EQ(status_, 134);
}

}  // namespace
}  // namespace zarn::test
