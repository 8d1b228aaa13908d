#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "board/model/bursts.h"
#include "board/server/sched_truth.h"
#include "formats/correlation.h"
#include "formats/cpu.h"
#include "formats/ddr.h"
#include "foundation/json.h"
#include "foundation/text.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/board_runner.h"
#include "tests/system/support/program_lock.h"

// Memory, cores and scheduler measured at once on a board where they burst together: what their
// analyses tell of peaks must lie in the bursts of the model.
namespace zarn::test {
namespace {

using board::KnownBurst;
using board::SchedSpan;
using testing::IsEmpty;
using testing::Not;

constexpr std::int64_t kSecondUs = 1000000;
// A bandwidth table is of the last tick of 100 ms, and is there a moment later.
constexpr std::int64_t kTableAgeUs = 200000;
// The moment of booting as the scheduler's documents have it is that of a command, which may be so
// much later than the machine's.
constexpr std::int64_t kCommandUs = 500000;
constexpr double kPoints = 10.0;
constexpr std::uint64_t kLookUs = 50000;
constexpr std::size_t kRuns = 40;

// What the machine's clock shows at the begin of its uptime, in us.
std::int64_t BootUs() {
    timespec now{};
    timespec up{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    ::clock_gettime(CLOCK_MONOTONIC, &up);
    return (now.tv_sec - up.tv_sec) * kSecondUs + (now.tv_nsec - up.tv_nsec) / 1000;
}

// A time of 14 digits or, with milliseconds, 17.
std::int64_t ClockUs(const std::string& digits) {
    std::tm parts{};
    EXPECT_NE(::strptime(digits.substr(0, 14).c_str(), "%Y%m%d%H%M%S", &parts), nullptr) << digits;
    parts.tm_isdst = -1;
    const std::int64_t milliseconds = digits.size() > 14 ? std::stoll(digits.substr(14)) : 0;
    return std::int64_t{::mktime(&parts)} * kSecondUs + milliseconds * 1000;
}

// A figure with its unit behind it.
std::int64_t InUs(const JsonValue& figure, double unit) {
    return std::llround(std::stod(figure.GetString()) * unit);
}

// A row of a table by its heads.
using Row = std::map<std::string, std::string>;

std::vector<std::string> CellsOf(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> cells;
    for (std::string cell; std::getline(stream, cell, ',');) {
        cells.push_back(cell);
    }
    return cells;
}

std::vector<Row> TableRows(const std::string& text) {
    const std::vector<std::string> lines = LinesIn(text);
    const std::vector<std::string> heads = CellsOf(lines.at(0));
    std::vector<Row> rows;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::vector<std::string> cells = CellsOf(lines[i]);
        EXPECT_EQ(cells.size(), heads.size()) << lines[i];
        Row& row = rows.emplace_back();
        for (std::size_t k = 0; k < std::min(cells.size(), heads.size()); ++k) {
            row[heads[k]] = cells[k];
        }
    }
    return rows;
}

// What a stamp of the scheduler has beyond the moment of booting: it is their sum as digits.
std::int64_t UptimeUs(const std::string& stamp, const std::string& start) {
    constexpr std::size_t kCentury = 4;  // more digits than a number has
    return std::stoll(stamp.substr(kCentury)) - std::stoll(start.substr(kCentury) + "000000");
}

class SharedBurstTest : public testing::TestWithParam<int> {
protected:
    void SetUp() override {
        ConfigText config;
        config.parallel = R"(["CpuCollector", "DdrCollector", "SchedCollector"])";
        config.analyze =
            R"(["CpuAnalyzer", "DdrAnalyzer", "SchedAnalyzer", "CorrelationAnalyzer"])";
        BoardRun run;
        run.options = "--board kept --scenario shared_burst --seed " + std::to_string(GetParam());
        ASSERT_EQ(
            board_.Run(
                config.Text(
                    {{"CpuCollector", R"({"job": ["global", "core"], "interval": 1,
                           "process": [], "count": 11, "thread_collector": false, "json_output": true})"},
                     {"DdrCollector", R"({"job": ["global"], "interval": 1, "count": 9})"},
                     {"SchedCollector", R"({"job": ["global"], "sched":
                           {"is_call_record": false, "duration": 9, "topN": 40, "sorted": "max"}})"},
                     {"CpuAnalyzer", R"({"job": ["global", "core"],
                           "peak_trought_threshold": 0.1, "process_set": {}})"},
                     {"DdrAnalyzer", R"({"job": ["global"]})"},
                     {"SchedAnalyzer", R"({"job": ["global"], "runTimeThreshold": 1e6})"},
                     {"CorrelationAnalyzer", R"({"peak_interval_us": 0, "sched": "global"})"}}),
                run),
            0);
        EXPECT_THAT(board_.Err(),
                    Not(testing::ContainsRegex("\\[(Cpu|Ddr|Sched)(Collector|Analyzer)")));
        state_ = board::MapBoardState((board_.Files().Path() + "kept/state").c_str());
        ASSERT_NE(state_, nullptr);
        const SchedSpan all{0, board::BoardTimeUs(*state_)};
        for (const KnownBurst& burst :
             BurstsIn(state_->scenario.demands, state_->scenario.sched, state_->seed, all)) {
            if (burst.isMasters) {
                bursts_.push_back(burst.span);
            }
        }
    }

    // The board's time, and that of the machine's clock.
    [[nodiscard]] std::int64_t BoardUs(std::int64_t uptimeUs) const {
        return uptimeUs - static_cast<std::int64_t>(state_->startNs / 1000);
    }
    [[nodiscard]] std::int64_t BoardUsOfClock(const std::string& digits) const {
        return BoardUs(ClockUs(digits) - bootUs_);
    }

    // The burst in which a moment of the board lies, or one so much earlier; -1 if none.
    [[nodiscard]] int BurstAt(std::int64_t us, std::int64_t lateUs = 0) const {
        for (std::size_t i = 0; i < bursts_.size(); ++i) {
            if (us >= static_cast<std::int64_t>(bursts_[i].fromUs) &&
                us < static_cast<std::int64_t>(bursts_[i].toUs) + lateUs) {
                return static_cast<int>(i);
            }
        }
        return -1;
    }

    // When the bandwidth of all masters peaked, as its analysis says.
    [[nodiscard]] std::vector<std::int64_t> DdrPeaks() const {
        std::vector<std::int64_t> peaks;
        const auto documents = DocumentsIn(board_.Tree().Read(ddr_files::kAnalysis));
        const JsonValue& total = documents.at(0)["content"][0];
        EXPECT_STREQ(total["mpam_name"].GetString(), kDdrTotal);
        for (const JsonValue& peak : total["peak"].GetArray()) {
            peaks.push_back(BoardUsOfClock(peak["timeStamp"].GetString()));
        }
        return peaks;
    }

    // The model's load of all cores, in percent.
    [[nodiscard]] double LoadIn(const SchedSpan& span) const {
        std::uint64_t runUs = 0;
        for (const auto& task : SchedTruthOf(state_->scenario.sched, state_->seed, span)) {
            runUs += task.runUs;
        }
        return 100.0 * static_cast<double>(runUs) /
               static_cast<double>((span.toUs - span.fromUs) * state_->scenario.sched.cores);
    }

    // The documents of the longest runs.
    [[nodiscard]] JsonDocument LongestRuns() const {
        const RunTree tree = board_.Tree();
        return std::move(
            DocumentsIn(tree.Read(tree.OnlyFile("json", "soc_schedAna_global_timehist_ana_1_")))
                .at(0));
    }

    // The sample of the processors whose second a moment lies in: its end by its stamp, and its
    // load.
    [[nodiscard]] std::optional<std::pair<std::int64_t, double>> SampleAt(std::int64_t us) const {
        for (const std::string& line : LinesIn(board_.Tree().Read(cpu_files::kLoadingTable))) {
            std::vector<std::string> cells;
            SplitString(line, ",", cells);
            const std::int64_t endUs = line[0] == '\'' ? BoardUsOfClock(cells[0].substr(1)) : 0;
            if (endUs >= us) {
                return std::pair(endUs, std::stod(cells[1]));
            }
        }
        return std::nullopt;
    }

    // How late the samples may be. The stamp of one is that of top's start and the samples since
    // then, but top reads later, by what its start and all samples so far have taken; the last one
    // is read when its text is written, or a moment earlier.
    [[nodiscard]] std::int64_t MostLateUs() const {
        const RunTree tree = board_.Tree();
        struct stat written {};
        EXPECT_EQ(::stat(cpu_files::kGlobalLog.FindAll(tree.Path()).at(0).c_str(), &written), 0);
        const std::string last = LinesIn(tree.Read(cpu_files::kLoadingTable)).back();
        return written.st_mtim.tv_sec * kSecondUs + written.st_mtim.tv_nsec / 1000 -
               ClockUs(last.substr(1, 17));
    }

    // The load of that sample is the model's, in a second that is the sample's or a bit later.
    void CheckLoadAt(std::int64_t us) const {
        const auto sample = SampleAt(us);
        ASSERT_TRUE(sample) << "at " << us;
        const auto endUs = static_cast<std::uint64_t>(sample->first);
        const auto mostUs = static_cast<std::uint64_t>(std::max<std::int64_t>(MostLateUs(), 0));
        double least = 100.0;
        for (std::uint64_t lateUs = 0; lateUs <= mostUs; lateUs += kLookUs) {
            const double load = LoadIn({endUs + lateUs - kSecondUs, endUs + lateUs});
            least = std::min(least, std::abs(load - sample->second));
        }
        EXPECT_LE(least, kPoints) << sample->second << " at " << endUs;
    }

    // The same in the one table of all.
    void CheckTable() const {
        std::vector<std::int64_t> peaks;
        std::vector<std::pair<double, std::int64_t>> runs;  // length in ms, and end
        const std::string start = LongestRuns()["content"][0]["systemStartUpTime"].GetString();
        // Stamps of tasks are early by what it lacks, since it has whole seconds.
        const std::int64_t earlyUs = bootUs_ - ClockUs(start);
        EXPECT_GE(earlyUs, -kCommandUs);
        EXPECT_LE(earlyUs, kSecondUs);
        for (const Row& row : TableRows(board_.Tree().Read(correlation_files::kTable))) {
            const std::string stamp = row.at("happen_time").substr(1);
            if (!row.at("ddr_total").empty() && row.at("peak_ddr_total") == "1") {
                peaks.push_back(BoardUsOfClock(stamp.substr(0, 17)));
            }
            if (!row.at("cpu_total").empty()) {
                const auto sample = SampleAt(BoardUsOfClock(stamp.substr(0, 17)));
                ASSERT_TRUE(sample);
                EXPECT_EQ(std::stod(row.at("cpu_total")), sample->second) << stamp;
            }
            const std::string& task = row.at("sched_global_task_name");
            if (!task.empty() && task.rfind("<idle>", 0) != 0) {
                runs.emplace_back(std::stod(row.at("sched_global_run_time")),
                                  UptimeUs(stamp, start));
            }
        }
        EXPECT_EQ(peaks, DdrPeaks());
        ASSERT_GT(runs.size(), kRuns);
        std::sort(runs.rbegin(), runs.rend());
        for (std::size_t i = 0; i < kRuns; ++i) {
            const auto& [length, endUs] = runs[i];
            EXPECT_GE(BurstAt(BoardUs(endUs - std::llround(length * 1e3))), 0) << endUs;
        }
    }

    ProgramLock lock_;
    BoardRunner board_;
    board::BoardState* state_ = nullptr;
    std::int64_t bootUs_ = BootUs();
    std::vector<SchedSpan> bursts_;
};

TEST_P(SharedBurstTest, PeaksOfAllKindsLieInTheModelsBursts) {
    std::set<int> peaked;
    for (const std::int64_t us : DdrPeaks()) {
        const int burst = BurstAt(us, kTableAgeUs);
        EXPECT_GE(burst, 0) << us;
        peaked.insert(burst);
        CheckLoadAt(us);
    }
    EXPECT_THAT(peaked, Not(IsEmpty()));

    std::set<int> ran;
    const JsonDocument document = LongestRuns();
    const JsonValue& runs = document["content"];
    EXPECT_EQ(runs.Size(), kRuns);
    for (const JsonValue& run : runs.GetArray()) {
        const std::int64_t endUs = InUs(run["time"], 1e6);
        const int burst = BurstAt(BoardUs(endUs - InUs(run["runTime"], 1e3)));
        EXPECT_GE(burst, 0) << run["task"].GetString() << " at " << endUs;
        ran.insert(burst);
    }
    for (const int burst : peaked) {
        EXPECT_EQ(ran.count(burst), 1U) << burst;
    }
    CheckTable();
}

INSTANTIATE_TEST_SUITE_P(Seeds, SharedBurstTest, testing::Range(1, 4));

}  // namespace
}  // namespace zarn::test
