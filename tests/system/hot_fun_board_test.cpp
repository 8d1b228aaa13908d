#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "formats/hot_fun.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/board_runner.h"
#include "tests/system/support/board_truth.h"
#include "tests/system/support/program_lock.h"

// Hot functions of the virtual board, which knows where its programs' cycles go: collections on an
// untouched and on a throttled board, and their comparison.
namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kServed = "served.json";
constexpr const char* kThrottled = "throttled.json";
constexpr const char* kWorker = "hf_worker";

// Two programs, whose functions wait for the memory in another measure. `qos`: how the CPU's share
// of it is bounded.
std::string Scenario(const std::string& qos) {
    return R"({"masters": {"cpu": {"demand": 8192, "noise": 0)" + qos + R"(}},
        "programs": [
            {"name": "hf_worker", "pipeline": {"load": 0.5, "cores": [0, 1], "ddr_wait": 0.2}},
            {"name": "hf_other", "pipeline": {"load": 0.2, "cores": [0]},
             "functions": {"plan_route": 1}}]})";
}

// "12.34%", "+1.20%" or "-1.20%" as a share.
double Share(const std::string& text) {
    EXPECT_THAT(text, EndsWith("%"));
    return std::stod(text) / 100;
}

class HotFunOnBoard : public testing::Test {
protected:
    HotFunOnBoard() {
        board_.Files().Write(kServed, Scenario(""));
        board_.Files().Write(kThrottled, Scenario(R"(, "qos": {"bw_high": 2})"));
    }

    void SetUp() override {
        if (board_.Shell("perf --version >/dev/null 2>&1") != 0) {
            GTEST_SKIP() << "there is no perf on this machine";
        }
    }

    void Run(const std::string& config, const std::string& scenario) {
        ASSERT_EQ(board_.Run(config, {"--perf model --scenario " + scenario}), 0);
        EXPECT_THAT(board_.Err(), Not(HasSubstr("[HotFun")));
        EXPECT_THAT(board_.Out(), EndsWith("[Main] Collection jobs finished.\n"));
        // Nothing stays in the working directory.
        EXPECT_EQ(board_.Shell("! ls *.log *.temp 2>/dev/null"), 0);
    }

    void Collect(const std::string& jobs, const std::string& scenario) {
        ConfigText config;
        config.serial = R"(["HotFunCollector"])";
        Run(config.Text({{"HotFunCollector",
                          R"({"job": [)" + jobs + R"(], "json_output": true, "duration": 1,
                              "top": 20, "core": [0], "process": ["hf_worker"],
                              "function_set": {"work": ["hf_worker"], "all": [".*"]}})"}}),
            scenario);
    }

    [[nodiscard]] JsonDocument Document(const std::string& prefix) const {
        const RunTree tree = board_.Tree();
        auto documents = DocumentsIn(tree.Read(tree.OnlyFile("json", prefix)));
        EXPECT_EQ(documents.size(), 1U);
        return std::move(documents.front());
    }

    // Three standard errors of a share in the samples whose script's name begins so.
    [[nodiscard]] double Error(const std::string& rawPrefix, double share) const {
        double samples = 0;
        const RunTree tree = board_.Tree();
        for (const std::string& name : tree.NamesIn(hot_fun_files::kRawDir)) {
            const bool isAsked = name.rfind(hot_fun_files::kRawPrefix + rawPrefix, 0) == 0 &&
                                 name.find(hot_fun_files::kScriptSuffix) != std::string::npos;
            for (const std::string& line :
                 LinesIn(isAsked ? tree.Read(hot_fun_files::kRawDir + name) : "")) {
                samples += line.find(" cycles:") == std::string::npos ? 0 : 1;
            }
        }
        EXPECT_GT(samples, 100) << rawPrefix;
        return 3 * std::sqrt(share * (1 - share) / samples);
    }

    // The rows have all functions of the truth, each with its share.
    void ExpectTruth(const JsonValue& rows, const std::string& rawPrefix,
                     const std::string& target) const {
        SCOPED_TRACE(target);
        std::map<std::string, double> found;
        for (const JsonValue& row : rows.GetArray()) {
            const std::string command = row["command"].GetString();
            if (command == "perf") {  // a tip below the report, drawn at random, of this form
                continue;
            }
            const bool isSystem = command == "system";
            EXPECT_STREQ(row["shared_object"].GetString(),
                         isSystem ? "[kernel.kallsyms]" : "frame_worker");
            const std::string symbol = isSystem ? "-" : row["symbol"].GetString();
            found[command + " " + symbol] = Share(row["percentage"].GetString());
        }
        for (const auto& [function, share] : TruthOf(board_, kServed, target).functions) {
            EXPECT_NEAR(found[function], share, Error(rawPrefix, share)) << function;
        }
    }

    const ProgramLock lock_;
    const BoardRunner board_;
};

TEST_F(HotFunOnBoard, HasTheSharesThatTheBoardKnows) {
    Collect(R"("global", "core", "process", "function_set")", kServed);
    ExpectTruth(Document("soc_hot_function_global_info")["content"], "global", "-a");
    ExpectTruth(Document("soc_hot_function_core_info_core0_1_")["content"], "core_core0", "-C 0");
    ExpectTruth(Document("soc_hot_function_process_info")["content"][kWorker], "process",
                "-p hf_worker");

    std::map<std::string, double> programs;
    for (const auto& [function, share] : TruthOf(board_, kServed, "-a").functions) {
        programs[function.substr(0, function.find(' '))] += share;
    }
    const JsonDocument document = Document("soc_hot_function_function_set_info");
    const JsonValue& all = document["content"]["all"];
    EXPECT_EQ(all.MemberCount(), 1 + programs.size());
    EXPECT_STREQ(all["SET_TOTAL"].GetString(), "100.00%");
    for (const auto& [program, share] : programs) {
        EXPECT_NEAR(Share(all[program.c_str()].GetString()), share, Error("function_set", share))
            << program;
    }
    const JsonValue& work = document["content"]["work"];
    EXPECT_EQ(work.MemberCount(), 2U);
    EXPECT_TRUE(work["SET_TOTAL"] == all[kWorker]);
}

TEST_F(HotFunOnBoard, TheComparisonShowsWhatWaitsOnAThrottledBoard) {
    Collect(R"("process")", kServed);
    ASSERT_EQ(board_.Shell("mv usr/mnt/zarn/* served"), 0);
    Collect(R"("process")", kThrottled);
    const double error = Error("process", 0.5);
    ASSERT_EQ(board_.Shell("mv usr/mnt/zarn/* throttled; mv served throttled usr/mnt/zarn/"), 0);
    ConfigText config;
    config.compare = R"(["HotFunComparator"])";
    config.versionMap =
        R"({"a_served": "/opt/usr/mnt/zarn/served/", "b_throttled": "/opt/usr/mnt/zarn/throttled"})";
    Run(config.Text({{"HotFunComparator", R"({"job": ["process"], "process": ["hf_worker"]})"}}),
        kServed);
    const std::vector<std::string> lines =
        LinesIn(board_.Tree().Read("csv/hotFun/hotfun_process_hf_worker_info.csv"));
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], "a_served,b_throttled,Shared Object,Symbol");

    const BoardTruth served = TruthOf(board_, kServed, "-p hf_worker");
    const BoardTruth throttled = TruthOf(board_, kThrottled, "-p hf_worker");
    EXPECT_EQ(lines.size(), 1 + served.functions.size());
    for (const auto& [function, share] : served.functions) {
        const std::string end =
            R"(","frame_worker",")" + function.substr(function.find(' ') + 1) + "\"";
        const auto row = std::find_if(lines.begin(), lines.end(), [&end](const std::string& line) {
            return line.size() > end.size() && line.substr(line.size() - end.size()) == end;
        });
        ASSERT_NE(row, lines.end()) << function;
        const std::size_t second = row->find("\",\"") + 3;
        EXPECT_NEAR(Share(row->substr(1, second - 4)), share, error) << *row;
        EXPECT_NEAR(Share(row->substr(second, row->size() - end.size() - second)),
                    throttled.functions.at(function) - share, 2 * error)
            << *row;
    }
}

// One that is torn, and one that is somebody else's, where this user may give files away.
TEST_F(HotFunOnBoard, RecordingsThatPerfRefusesFailTheirComparisonsAlone) {
    const std::string before = R"sh(
        cd usr
        for version in a b; do
            mkdir -p $version/raw_data/hotFun
            for tag in core_core0 process_hf_worker_7 global; do
                perf record -o $version/raw_data/hotFun/hotfun_${tag}_1.data -g \
                    -p $(pidof hf_worker) -- sleep 0.1
            done
        done
        cd b/raw_data/hotFun
        truncate -s 100 hotfun_core_core0_1.data
        chown 65534 hotfun_process_hf_worker_7_1.data || truncate -s 50 hotfun_process*.data
        cd ../../../..)sh";
    ConfigText config;
    config.compare = R"(["HotFunComparator"])";
    config.versionMap = R"({"a": "/opt/usr/a", "b": "/opt/usr/b/"})";
    const std::string text = config.Text(
        {{"HotFunComparator",
          R"({"job": ["core", "process", "global"], "core": [0], "process": ["hf_worker"]})"}});
    ASSERT_EQ(board_.Run(text, {"--perf model --scenario " + std::string(kServed),
                                "{" + before + "\n} 2>/dev/null"}),
              0);
    EXPECT_THAT(board_.Err(), HasSubstr("[HotFunComparator] Fail to compare core 0 info!\n"));
    EXPECT_THAT(board_.Err(),
                EndsWith("[HotFunComparator] Fail to compare process hf_worker info!\n"));
    EXPECT_THAT(board_.Tree().NamesIn("csv/hotFun"),
                testing::ElementsAre("hotfun_global_info.csv"));
    EXPECT_EQ(board_.Shell("! ls *.temp 2>/dev/null"), 0);
}

}  // namespace
}  // namespace zarn::test
