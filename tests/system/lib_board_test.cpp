#include <gmock/gmock.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "formats/lib.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/board_runner.h"
#include "tests/system/support/board_truth.h"
#include "tests/system/support/program_lock.h"

// Recordings of a program of the virtual board, whose perf samples misses by its model: hardly any
// machine that is another's guest has a counter of them.
namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::Gt;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kScenario = "worker.json";

// How often each function was sampled at an event.
using Samples = std::map<std::string, double>;

// The samples of a text, each a head "lib_worker PID [CPU] TIME: PERIOD EVENT:" above its calls,
// the innermost first, "ADDRESS FUNCTION+OFFSET (FILE)".
std::map<std::string, Samples> SamplesByEvent(const std::string& text) {
    std::map<std::string, Samples> samples;
    const std::vector<std::string> lines = LinesIn(text);
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        for (const char* event : {"cpu-clock", "cache-misses"}) {
            if (lines[i].find(std::string(" ") + event + ":") != std::string::npos) {
                const std::string& call = lines[i + 1];
                const std::size_t name = call.find(' ', call.find_first_not_of(" \t")) + 1;
                ++samples[event][call.substr(name, call.find('+') - name)];
            }
        }
    }
    return samples;
}

double SumOf(const Samples& samples) {
    double sum = 0;
    for (const auto& [function, count] : samples) {
        sum += count;
    }
    return sum;
}

TEST(LibOnBoard, BothEventsAreSampledInTheFunctionsThatTheBoardKnows) {
    const ProgramLock lock;
    const BoardRunner board;
    if (board.Shell("perf --version >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "there is no perf on this machine";
    }
    board.Files().Write(kScenario, R"({"programs": [{"name": "lib_worker",
        "pipeline": {"load": 0.5, "cores": [0, 1], "ddr_wait": 0.2}}]})");
    ConfigText config;
    config.serial = R"(["LibCollector"])";
    ASSERT_EQ(
        board.Run(config.Text({{"LibCollector", R"({"process": ["lib_worker"], "duration": 1})"}}),
                  {std::string("--perf model --scenario ") + kScenario}),
        0);
    EXPECT_THAT(board.Err(), Not(HasSubstr("[LibCollector]")));
    EXPECT_THAT(board.Out(), EndsWith("[Main] Collection jobs finished.\n"));

    const RunTree tree = board.Tree();
    std::string text;
    for (const std::string& name : tree.NamesIn(lib_files::kRawDir)) {
        EXPECT_EQ(name.rfind(std::string(lib_files::kRawPrefix) + "lib_worker_", 0), 0U) << name;
        const std::string suffix = lib_files::kTextSuffix;
        if (name.size() > suffix.size() &&
            name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
            text = tree.Read(lib_files::kRawDir + name);
        }
    }
    auto samples = SamplesByEvent(text);
    const double clocks = SumOf(samples["cpu-clock"]);
    ASSERT_THAT(clocks, Gt(500));
    EXPECT_THAT(SumOf(samples["cache-misses"]), Gt(100));
    const BoardTruth truth = TruthOf(board, kScenario, "-p lib_worker");
    for (const auto& [function, share] : truth.functions) {
        const std::string symbol = function.substr(function.find(' ') + 1);
        EXPECT_NEAR(samples["cpu-clock"][symbol] / clocks, share,
                    5 * std::sqrt(share * (1 - share) / clocks))
            << function;
    }
    for (const auto& [symbol, count] : samples["cache-misses"]) {
        EXPECT_EQ(truth.functions.count("lib_worker " + symbol), 1U) << symbol;
    }
}

}  // namespace
}  // namespace zarn::test
