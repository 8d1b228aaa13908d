#include <gmock/gmock.h>

#include <string>

#include "formats/topdown.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/board_runner.h"
#include "tests/system/support/board_truth.h"
#include "tests/system/support/program_lock.h"

// Measurements of the pipelines of the virtual board, which knows what holds its programs up.
namespace zarn::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* kScenario = "scenario.json";
constexpr const char* kBoardOptions = "--perf model --scenario scenario.json";

// The memory serves a quarter of what the CPU asks for. One program waits for it, one for
// instructions, one does nothing.
constexpr const char* kScenarioText = R"({
    "masters": {"cpu": {"demand": 8192, "noise": 0, "qos": {"bw_high": 2}}},
    "programs": [
        {"name": "td_waits", "pipeline": {"load": 0.2, "cores": [0], "retiring": 0.5,
         "frontend": 0.2, "load_stall": 0.02, "ddr_wait": 0.2, "ddr_overlap": 0.1}},
        {"name": "td_fetches", "pipeline": {"load": 0.2, "cores": [1], "retiring": 0.2,
         "frontend": 0.5, "fetch_latency": 0.2, "ddr_wait": 0, "ddr_overlap": 0}},
        {"name": "td_lazy"}]})";

class TopdownOnBoard : public testing::Test {
protected:
    TopdownOnBoard() { board_.Files().Write(kScenario, kScenarioText); }

    [[nodiscard]] static std::string Config(const std::string& jobs, const std::string& core,
                                            const std::string& process, int duration) {
        ConfigText config;
        config.serial = R"(["TopdownCollector"])";
        return config.Text(
            {{"TopdownCollector", R"({"job": [)" + jobs + R"(], "core": [)" + core +
                                      R"(], "process": [)" + process + R"(], "duration": )" +
                                      std::to_string(duration) + "}"}});
    }

    // The metrics of the one document of a kind.
    [[nodiscard]] JsonDocument Document(const topdown_files::Kind& kind,
                                        const std::string& element) const {
        const std::string prefix = std::string(kind.documentPrefix) + element + "_1_";
        const RunTree tree = board_.Tree();
        auto documents = DocumentsIn(tree.Read(tree.OnlyFile("json", prefix)));
        EXPECT_EQ(documents.size(), 1U);
        return std::move(documents.front());
    }

    void ExpectTruth(const topdown_files::Kind& kind, const std::string& element,
                     const std::string& target) const {
        SCOPED_TRACE(target);
        const BoardTruth truth = TruthOf(board_, kScenario, target);
        const JsonDocument document = Document(kind, element);
        const JsonValue& content = document["content"][0];
        EXPECT_EQ(content[topdown_files::kBottleneckMember].GetString(), truth.bottleneck);
        EXPECT_EQ(content.MemberCount(), 1 + truth.metrics.size());
        for (const char* name :
             {"Frontend_Bound", "Bad_Speculation", "Retiring", "Backend_Bound"}) {
            EXPECT_NEAR(std::stod(content[name].GetString()), truth.metrics.at(name), 0.01) << name;
        }
    }

    const ProgramLock lock_;
    const BoardRunner board_;
};

TEST_F(TopdownOnBoard, NamesTheBottlenecksThatTheBoardKnows) {
    const std::string config =
        Config(R"("global", "core", "process")", "0", R"("td_waits", "td_fetches")", 1);
    ASSERT_EQ(board_.Run(config, {kBoardOptions}), 0);
    // What perf itself says of each process that is measured with -a.
    EXPECT_EQ(board_.Err(), "PID/TID switch overriding SYSTEM\nPID/TID switch overriding SYSTEM\n");
    ExpectTruth(topdown_files::kGlobal, "", "-a");
    ExpectTruth(topdown_files::kCore, "0", "-C 0");
    ExpectTruth(topdown_files::kProcess, "td_waits", "-p td_waits");
    ExpectTruth(topdown_files::kProcess, "td_fetches", "-p td_fetches");
    const auto bottleneck = [this](const char* process) -> std::string {
        const JsonDocument document = Document(topdown_files::kProcess, process);
        return document["content"][0][topdown_files::kBottleneckMember].GetString();
    };
    EXPECT_EQ(bottleneck("td_waits"), "Backend_Bound.Memory_Bound.DRAM_Bound");
    EXPECT_EQ(bottleneck("td_fetches"), "Frontend_Bound.Fetch_Bandwidth");
}

TEST_F(TopdownOnBoard, AProcessThatSleepsHasNoBottleneck) {
    ASSERT_EQ(board_.Run(Config(R"("process")", "", R"("td_lazy")", 0), {kBoardOptions}), 0);
    EXPECT_EQ(board_.Err(),
              "PID/TID switch overriding SYSTEM\n"
              "[TopdownCollector] Frontend Bound zero division !\n"
              "[TopdownCollector] Bad Speculation zero division !\n"
              "[TopdownCollector] Retiring zero division !\n"
              "[TopdownCollector] Backend Bound zero division !\n");
    const JsonDocument document = Document(topdown_files::kProcess, "td_lazy");
    ASSERT_EQ(document["content"][0].MemberCount(), 1U);
    EXPECT_STREQ(document["content"][0][topdown_files::kBottleneckMember].GetString(), "");
}

// As from a terminal: perf is interrupted with the program, once it has counted for an interval.
TEST_F(TopdownOnBoard, AnInterruptKeepsWhatWasCounted) {
    const std::string raw = std::string("usr/mnt/zarn/*/") + topdown_files::kRawDir + "*.log";
    const std::string watcher =
        "until grep -qs ';r200d;' " + raw + " || ! kill -0 $zarn; do :; done\nkill -INT -- -$zarn";
    ASSERT_EQ(board_.Run(Config(R"("global", "process")", "", R"("td_waits")", 100),
                         {kBoardOptions, "", watcher}),
              0);
    EXPECT_THAT(board_.Out(), HasSubstr("[TopdownCollector] Recieved stop signal, (process) job "
                                        "not collected!\n"));
    EXPECT_THAT(board_.Err(), StartsWith("[TopdownCollector] Fail to collect global info!\n"
                                         "[TopdownCollector] Failed to collect topdown!\n"));
    const RunTree tree = board_.Tree();
    const std::string counters =
        tree.Read(tree.OnlyFile(topdown_files::kRawDir, topdown_files::kGlobal.rawPrefix));
    // The head, a blank line, and 35 counters of an interval and of what was left; of more
    // intervals on a machine that is slow.
    const std::size_t lines = LinesIn(counters).size();
    EXPECT_GE(lines, 2U + 2 * 35);
    EXPECT_EQ(lines % 35, 2U);
    for (const std::string& name : tree.NamesIn("json")) {
        EXPECT_EQ(name.find("soc_topdown"), std::string::npos) << name;
    }
}

}  // namespace
}  // namespace zarn::test
