#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "benchmarks/support/mem_generator.h"
#include "formats/mem.h"
#include "foundation/json.h"
#include "tests/support/manager_texts.h"
#include "tests/support/mem_lines.h"
#include "tests/support/run_tree.h"
#include "tests/system/support/examples.h"
#include "tests/system/support/sandbox.h"

// The analysis of a collected tree by the built program.
namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

constexpr const char* kTree = "mnt/zarn/baseline/";
constexpr const char* kTime = "20240101120000000";
const std::string kSystemFile = RunTree::NameOf(mem_files::kSystemSamples, kTime);
const std::string kProcessFile = RunTree::NameOf(mem_files::kProcessSamples, kTime);
const std::string kSystemResult = RunTree::NameOf(mem_files::kSystemAnalysis, kTime);
const std::string kProcessResult = RunTree::NameOf(mem_files::kProcessAnalysis, kTime);

std::string Analysis(const std::string& threshold = "0.15") {
    ConfigText config;
    config.analyze = R"(["MemAnalyzer"])";
    config.more = R"(, "historyDataPath": "/opt/usr/mnt/zarn/baseline/")";
    return config.Text({{"MemAnalyzer", R"({"job": ["system_mem", "process_mem"],
        "peak_trought_threshold": )" + threshold +
                                            R"(, "system_field": "used",
        "process_field": "PSS", "process": []})"}});
}

class MemAnalyzerSystemTest : public testing::Test {
protected:
    void WriteTree(const std::string& system, const std::string& processes) {
        tree_.Write(kSystemFile, system);
        tree_.Write(kProcessFile, processes);
        tree_.Write(run_tree::kCostLog, "");
    }

    [[nodiscard]] std::string Result(const std::string& name) const { return tree_.Read(name); }

    Sandbox sandbox_;
    const RunTree tree_{sandbox_.UsrDir() + kTree};
};

// Extremes by other code: each value is compared with what the documents hold.
struct Expected {
    std::vector<std::pair<std::string, int>> frames;

    [[nodiscard]] double Mean() const {
        double sum = 0.0;
        for (const auto& frame : frames) {
            sum += frame.second;
        }
        return sum / static_cast<double>(frames.size());
    }
    // The frames that lie beyond their neighbours and the mean on the side of `sign`.
    [[nodiscard]] std::vector<std::string> Beyond(int sign, double threshold) const {
        std::vector<std::string> beyond;
        const double limit = Mean() * (1.0 + sign * threshold);
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const int value = frames[i].second;
            const bool left = i == 0 || sign * value > sign * frames[i - 1].second;
            const bool right = i + 1 == frames.size() || sign * value > sign * frames[i + 1].second;
            if (left && right && sign * value > sign * limit) {
                beyond.push_back(frames[i].first + "=" + std::to_string(value));
            }
        }
        return beyond;
    }
};

std::vector<std::string> FramesOf(const JsonValue& list) {
    std::vector<std::string> frames;
    for (const JsonValue& frame : list.GetArray()) {
        frames.push_back(std::string(frame["timeStamp"].GetString()) + "=" +
                         frame["memValue"].GetString());
    }
    return frames;
}

void ExpectFindings(const JsonValue& found, const Expected& expected) {
    const auto [least, greatest] =
        std::minmax_element(expected.frames.begin(), expected.frames.end(),
                            [](const auto& a, const auto& b) { return a.second < b.second; });
    EXPECT_EQ(found["minMemValue"].GetString(), std::to_string(least->second));
    EXPECT_EQ(found["maxMemValue"].GetString(), std::to_string(greatest->second));
    const double mean = expected.Mean();
    EXPECT_NEAR(std::stod(found["meanMemValue"].GetString()), mean, mean * 1e-6);
    EXPECT_EQ(FramesOf(found["peak"]), expected.Beyond(1, 0.15));
    EXPECT_EQ(FramesOf(found["trought"]), expected.Beyond(-1, 0.15));
}

// Adds the samples of a text of documents, by the JSON library alone.
std::map<std::string, Expected> SamplesOf(const std::string& text, const std::string& column) {
    std::map<std::string, Expected> samples;
    for (std::size_t begin = 0; begin < text.size(); begin = text.find('\n', begin) + 1) {
        JsonDocument document;
        EXPECT_TRUE(ParseJson(text.substr(begin, text.find('\n', begin) - begin), document));
        const std::string time = document["happenTime"].GetString();
        const JsonValue& content = document["content"][0];
        if (content.HasMember("memInfo")) {
            const JsonValue& value = content["memInfo"][column.c_str()];
            samples["system"].frames.emplace_back(time, std::stoi(value.GetString()));
            continue;
        }
        for (const JsonValue& row : content["process"].GetArray()) {
            samples[row["COMMAND"].GetString()].frames.emplace_back(
                time, std::stoi(row[column.c_str()].GetString()));
        }
    }
    return samples;
}

TEST_F(MemAnalyzerSystemTest, FindsWhatTheDocumentsHold) {
    const bench::MemGenerator generator(7);
    const std::string system = generator.SystemDocuments(300);
    const std::string processes = generator.ProcessDocuments(300, 40);
    WriteTree(system, processes);
    const RunResult run = sandbox_.Run(Analysis());
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
    EXPECT_THAT(run.err, testing::Not(HasSubstr("MemAnalyzer")));
    JsonDocument document;
    ASSERT_TRUE(ParseJson(Result(kSystemResult), document));
    EXPECT_STREQ(document["happenTime"].GetString(), "20240101120000000");
    ExpectFindings(document["content"][0], SamplesOf(system, "used")["system"]);
    ASSERT_TRUE(ParseJson(Result(kProcessResult), document));
    auto expected = SamplesOf(processes, "PSS");
    ASSERT_EQ(document["content"].Size(), 40U);
    std::size_t peaks = 0;
    for (const JsonValue& found : document["content"].GetArray()) {
        ExpectFindings(found, expected[found["command"].GetString()]);
        peaks += found["peak"].Size();
    }
    EXPECT_GT(peaks, 40U);  // the samples have something to find
    EXPECT_THAT(Result("env_info/time_cost.log"),
                MatchesRegex("\\[MemAnalyzer\\] cost time: [0-9.e-]+s\n"));
}

// A leak is a trough at the first sample and a peak at the last one.
TEST_F(MemAnalyzerSystemTest, ALeakShowsFromTheFirstSampleToTheLast) {
    WriteTree(MemSystemLines("used", {"1000", "1200", "1400", "1600"}),
              MemProcessLines({"9", "leaky", {}}, "PSS", {"100K", "200K", "300K", "400K"}));
    EXPECT_TRUE(sandbox_.Run(Analysis("0.1")).Succeeded());
    EXPECT_THAT(Result(kProcessResult),
                EndsWith(R"("peak":[{"timeStamp":")" + MemMoment(3) +
                         R"(","memValue":"400"}],"trought":[{"timeStamp":")" + MemMoment(0) +
                         R"(","memValue":"100"}]}]})" + "\n"));
}

TEST_F(MemAnalyzerSystemTest, AnalysesTheExamplesTree) {
    WriteTree(MemSystemLine("20240101120000000"),
              MemProcessLine("20240101120000000", {{"9", "planner_node", {}}}));
    const RunResult run = sandbox_.Run(ExampleText("mem_analyze.json"));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.err, testing::Not(HasSubstr("MemAnalyzer")));
    EXPECT_THAT(Result(kProcessResult), HasSubstr(R"("command":"planner_node")"));
}

TEST_F(MemAnalyzerSystemTest, AFailedJobFailsTheMissionAndTheRunGoesOn) {
    WriteTree(MemSystemLine("20240101120000000") + "torn",
              MemProcessLine("20240101120000000", {{"9", "app", {}}}));
    const RunResult run = sandbox_.Run(Analysis());
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.err, HasSubstr("[MemAnalyzer]: Illegal json file: \"/opt/usr/" +
                                   std::string(kTree) + kSystemFile +
                                   "\"\n[MemAnalyzer]: Failed to analy system mem!\n"
                                   "[ZarnManager] analyzers mode MemAnalyzer failed!\n"));
    EXPECT_THAT(Result(kProcessResult), HasSubstr(R"("command":"app")"));
}

TEST_F(MemAnalyzerSystemTest, AValueThatIsNoTextEndsTheProcess) {
    WriteTree(With(MemSystemLine("20240101120000000"), R"("used":"1")", R"("used":1)"), "");
    const RunResult run = sandbox_.Run(Analysis());
    EXPECT_TRUE(run.Aborted()) << run.waitStatus;
    EXPECT_THAT(run.err, HasSubstr("JSON assertion `member.isText' failed.\n"));
}

TEST_F(MemAnalyzerSystemTest, AFullDiskLeavesWhatWasThere) {
    if (!sandbox_.LimitSpace(std::size_t{1} << 20U)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    WriteTree(MemSystemLine("20240101120000000"),
              MemProcessLine("20240101120000000", {{"9", "app", {}}}));
    ASSERT_TRUE(sandbox_.Run(Analysis()).Succeeded());
    const std::string before = Result(kProcessResult);
    // As many analyses of a process with a name of 100 KB as the disk holds, and one more.
    WriteTree(MemSystemLine("20240101120000000"),
              MemProcessLine("20240101120000000", {{"9", std::string(100000, 'x'), {}}}));
    RunResult run;
    int rounds = 0;
    do {
        run = sandbox_.Run(Analysis());
        EXPECT_TRUE(run.Succeeded());
    } while (run.err.find("[zarn_utils] Cannot open outfile") == std::string::npos &&
             ++rounds < 20);
    EXPECT_LT(rounds, 20);
    const std::string after = Result(kProcessResult);
    EXPECT_EQ(after.substr(0, before.size()), before);
    EXPECT_THAT(after, EndsWith("]}]}\n"));
}

}  // namespace
}  // namespace zarn::test
