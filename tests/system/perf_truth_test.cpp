#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <sstream>
#include <string>

#include "board/perf/sampling.h"
#include "board/setup/scenario_parser.h"
#include "foundation/command_runner.h"
#include "foundation/files.h"
#include "tests/support/temp_dir.h"
#include "tests/system/support/programs.h"

// What the machine's perf makes of the samples that the board's model writes, held against the
// model.
namespace zarn::board {
namespace {

using testing::HasSubstr;

// The worker's file where it is built, as if it were mapped.
ProgramImage WorkerImage(int version) {
    const std::string path =
        ZARN_BUILD_DIR "/lib/zarn/board/programs/" + std::to_string(version) + "/frame_worker";
    ProgramImage image;
    image.functions = FunctionsOf(test::ReadText(path));
    const std::uint64_t offset = image.functions.at("work_loop").offset & ~std::uint64_t{0xFFFFF};
    image.process = {4711, "frame_worker", path, 0x555500000000, 0x200000, offset};
    return image;
}

class PerfTruth : public testing::Test {
protected:
    void SetUp() override {
        if (SystemCommandRunner().Run("perf --version >/dev/null 2>&1") != 0) {
            GTEST_SKIP() << "there is no perf on this machine";
        }
    }

    // A board whose worker asks for 8 GB/s and gets `granted` of them.
    void Have(std::uint64_t seed, int granted, int version) {
        state_ = std::make_unique<BoardState>();
        const std::string text =
            R"({"masters": {"cpu": {"demand": 8192, "qos": {"bw_high": )" +
            std::to_string(granted) + R"(}}}, "programs": [{"name": "frame_worker", "version": )" +
            std::to_string(version) + R"(, "pipeline": {"load": 0.6, "cores": [0, 1]}}]})";
        ASSERT_EQ(ParseScenario(text, *state_), std::nullopt);
        state_->seed = seed;
        version_ = version;
    }

    // Writes ten seconds of samples of the worker.
    void Write(const std::string& name) {
        const ProgramImages images{{0, WorkerImage(version_)}};
        work_ = WorkOf(*state_, {0, 1}, {2000, 12000});
        const auto samples = SamplesOf(*state_, {0, 1}, work_, images);
        ASSERT_EQ(WriteFile(directory_.Path() + name,
                            PerfDataBytes(ProcessesOf(images, {0, 1}), samples, true)),
                  FileResult::Ok);
    }

    [[nodiscard]] std::string Perf(const std::string& arguments) const {
        EXPECT_EQ(SystemCommandRunner().Run("cd '" + directory_.Path() + "' && perf " + arguments +
                                            " >out 2>err"),
                  0)
            << directory_.Read("err");
        return directory_.Read("out");
    }

    // The samples of each function, as perf tells them.
    [[nodiscard]] std::map<std::string, double> Counted() const {
        std::map<std::string, double> counts;
        std::istringstream rows(Perf("report -i data --no-children --stdio -g none -F sample,sym"));
        for (std::string line; std::getline(rows, line);) {
            std::istringstream row(line);
            double count = 0.0;
            std::string level;
            std::string name;
            if (row >> count >> level >> name) {
                counts[name] += count;
            }
        }
        return counts;
    }

    test::TempDir directory_;
    std::unique_ptr<BoardState> state_;
    std::vector<WorkPiece> work_;
    int version_ = 1;
};

TEST_F(PerfTruth, FindsTheFunctionsByTheirSharesOfTheCycles) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        Have(seed, seed % 2 == 0 ? 51 : 2, seed % 3 == 0 ? 2 : 1);
        Write("data");
        const auto counts = Counted();
        const double all =
            std::accumulate(counts.begin(), counts.end(), 0.0,
                            [](double sum, const auto& count) { return sum + count.second; });
        EXPECT_NEAR(all, 48000, 480);
        const PerFunction cycles = CyclesByFunction(*state_, work_)[0];
        const double whole = std::accumulate(cycles.begin(), cycles.end(), 0.0);
        for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
            const double share = cycles[i] / whole;
            const auto found = counts.find(kWorkFunctions[i].name);
            const double error = std::sqrt(share * (1 - share) / all);
            EXPECT_NEAR(found == counts.end() ? 0.0 : found->second / all, share, 3 * error)
                << kWorkFunctions[i].name << ", seed " << seed;
        }
    }
}

TEST_F(PerfTruth, HasSamplesOfCyclesWithTheirCallers) {
    Have(1, 51, 1);
    Write("data");
    const std::string script = Perf("script -i data");
    EXPECT_THAT(script, HasSubstr("     500000 cycles: \n"));
    EXPECT_THAT(script, HasSubstr("copy_frame+0x"));
    EXPECT_THAT(script, HasSubstr("work_loop+0x"));
    EXPECT_THAT(Perf("report -i data --max-stack 1"),
                HasSubstr("  frame_worker  frame_worker   [.] copy_frame"));
    EXPECT_EQ(directory_.Read("err"), "");
}

TEST_F(PerfTruth, FindsTheMissesInTheFunctionsThatWaitForThem) {
    Have(1, 51, 1);
    const ProgramImages images{{0, WorkerImage(1)}};
    work_ = WorkOf(*state_, {0, 1}, {2000, 12000});
    const std::vector<SampledEvent> events{SampledEvent::CacheMisses, SampledEvent::CpuClock};
    const auto samples = SamplesOf(*state_, {0, 1}, work_, images, SampledEvent::CacheMisses);
    ASSERT_EQ(WriteFile(directory_.Path() + "data",
                        PerfDataBytes(ProcessesOf(images, {0, 1}), samples, true, events)),
              FileResult::Ok);
    const auto counts = Counted();
    const PerFunction shares = LineShares(ProfileOf(*state_, 0));
    for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
        const auto found = counts.find(kWorkFunctions[i].name);
        EXPECT_NEAR(
            found == counts.end() ? 0.0 : found->second / static_cast<double>(samples.size()),
            shares[i], 0.01)
            << kWorkFunctions[i].name;
    }
    EXPECT_THAT(Perf("script -i data"), HasSubstr("       2000 cache-misses: \n"));
}

TEST_F(PerfTruth, ComparesTheVersionsOfAProgramFunctionByFunction) {
    Have(1, 51, 1);
    Write("first");
    Have(1, 51, 2);
    Write("second");
    const std::string rows = Perf("diff first second");
    EXPECT_THAT(rows,
                testing::ContainsRegex(
                    " 20\\.[0-9]*%  *\\+1[12]\\.[0-9]*%  frame_worker   \\[\\.\\] match_features"));
    EXPECT_THAT(rows,
                testing::ContainsRegex(
                    "\n             *\\+[67]\\.[0-9]*%  frame_worker   \\[\\.\\] sort_tracks"));
}

}  // namespace
}  // namespace zarn::board
