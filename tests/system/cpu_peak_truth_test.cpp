#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "board/model/bursts.h"
#include "board/model/core_times.h"
#include "board/model/sched_model.h"
#include "board/state/sched_tasks.h"
#include "formats/run_tree.h"
#include "foundation/time.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/support/run_tree.h"
#include "tests/system/support/board_runner.h"
#include "tests/system/support/program_lock.h"

// Peaks of load on the virtual board, whose scheduler is known: the cores that are recorded must be
// those that its model has busy, and each sample must name the task that it has running.
namespace zarn::test {
namespace {

using board::SchedEvent;
using board::SchedSpan;
using testing::IsEmpty;
using testing::Not;

constexpr std::uint64_t kUsPerSecond = 1000000;
constexpr double kIdleLimit = 0.2;
constexpr std::uint64_t kPeriodTicks = 10;
// How late a reading may be on a machine that has much else to do, in ticks of the clock; and the
// one that was taken while the machine itself stood still.
constexpr std::uint64_t kLate = 20;
constexpr std::uint64_t kStoodStill = 600;
// perf begins this late at the most, and is in time for the burst when it begins this soon.
constexpr std::uint64_t kLateStartUs = 2 * kUsPerSecond;
constexpr std::uint64_t kInTimeUs = 150000;
// A recording's moments of sampling, two of them left to what rounds.
constexpr std::uint64_t kFrequency = 999;
constexpr int kMoments = 97;

// A sample as perf's text has it.
struct Sample {
    std::string name;
    std::uint32_t tid = 0;
    std::uint32_t core = 0;
    std::uint64_t timeUs = 0;  // of the board
    std::vector<std::string> calls;
};

// A recording: which cores, when it was begun, what was seen.
struct Recording {
    std::string cores;
    std::uint64_t timeUs = 0;  // of the board
    std::vector<Sample> samples;
};

// The seeds that the test runs with; the model is another one with each.
class CpuPeakTruthTest : public testing::TestWithParam<int> {
protected:
    void SetUp() override {
        if (std::system("perf --version >/dev/null 2>&1") != 0) {
            GTEST_SKIP() << "there is no perf on this machine";
        }
        ConfigText config;
        config.serial = R"(["CpuPeakCollector"])";
        const std::string settings = R"({"scanDuration": 8000, "scanPeriod": 100, "maxUsage": 80.0,
            "collectionDuration": 0.1, "collectionFrequency": )" +
                                     std::to_string(kFrequency) + "}";
        BoardRun run;
        run.options = "--board kept --scenario short_spike --seed " + std::to_string(GetParam());
        ASSERT_EQ(board_.Run(config.Text({{"CpuPeakCollector", settings}}), run), 0);
        EXPECT_THAT(board_.Err(), Not(testing::HasSubstr("command execution failed!")));
        state_ = board::MapBoardState((board_.Files().Path() + "kept/state").c_str());
        ASSERT_NE(state_, nullptr);
        ReadRecordings();
    }

    // The moment of a name, in the board's time: the clocks of the machine differ by what they do
    // now.
    [[nodiscard]] std::uint64_t BoardTimeOf(const std::string& stamp) const {
        std::uint64_t atMs = 0;
        EXPECT_TRUE(TimeStringToTimestamp(stamp, atMs));
        const auto since = std::chrono::system_clock::now() -
                           std::chrono::system_clock::time_point(std::chrono::milliseconds(atMs));
        return board::BoardTimeUs(*state_) -
               static_cast<std::uint64_t>(
                   std::chrono::duration_cast<std::chrono::microseconds>(since).count());
    }

    void ReadRecordings() {
        const RunTree tree = board_.Tree();
        static const std::regex form("cpu_peak_collect_CPU_([0-9,]+)_([0-9]{17})\\.unfold");
        for (const std::string& name : tree.NamesIn("raw_data/cpu_peak")) {
            std::smatch parts;
            if (std::regex_match(name, parts, form)) {
                recordings_.push_back({parts[1], BoardTimeOf(parts[2]),
                                       ReadSamples(tree.Read("raw_data/cpu_peak/" + name))});
            }
        }
        // Names begin with the cores.
        std::sort(recordings_.begin(), recordings_.end(),
                  [](const Recording& a, const Recording& b) { return a.timeUs < b.timeUs; });
    }

    [[nodiscard]] std::vector<Sample> ReadSamples(const std::string& text) const {
        static const std::regex head(
            " *(.*[^ ]) +([0-9]+) \\[([0-9]+)\\] +([0-9]+)\\.([0-9]{6}): +[0-9]+ cycles: ?");
        static const std::regex call("\\s+[0-9a-f]+ ([^ +]+)\\+0x[0-9a-f]+ \\(.*\\)");
        std::vector<Sample> samples;
        for (const std::string& line : LinesIn(text)) {
            std::smatch parts;
            if (std::regex_match(line, parts, head)) {
                const std::uint64_t uptimeUs =
                    std::stoull(parts[4]) * kUsPerSecond + std::stoull(parts[5]);
                samples.push_back({parts[1],
                                   static_cast<std::uint32_t>(std::stoul(parts[2])),
                                   static_cast<std::uint32_t>(std::stoul(parts[3])),
                                   uptimeUs - UptimeUs(*state_, 0),
                                   {}});
            } else if (std::regex_match(line, parts, call)) {
                samples.back().calls.push_back(parts[1]);
            } else {
                EXPECT_EQ(line, "");
            }
        }
        return samples;
    }

    // The model's counts after each of these ticks.
    [[nodiscard]] std::vector<std::vector<board::CoreTicks>> TicksIn(std::uint64_t from,
                                                                     std::uint64_t to) const {
        board::CoreTimes times(state_->scenario.sched, state_->seed);
        std::vector<std::vector<board::CoreTicks>> ticks;
        for (std::uint64_t tick = from; tick <= to; ++tick) {
            times.Advance(tick);
            ticks.push_back(times.Cores());
        }
        return ticks;
    }

    static std::string BusyCores(const std::vector<board::CoreTicks>& before,
                                 const std::vector<board::CoreTicks>& after, std::uint64_t ticks) {
        std::string busy;
        for (std::size_t core = 0; core < after.size(); ++core) {
            const auto idle = static_cast<double>(after[core].idle - before[core].idle);
            if (idle / static_cast<double>(ticks) < kIdleLimit) {
                busy += (busy.empty() ? "" : ",") + std::to_string(core);
            }
        }
        return busy;
    }

    // Whether the model's busy cores between two readings, the later one at most so many ticks
    // before the recording, are those of the recording.
    [[nodiscard]] bool IsTheModels(const Recording& recording, std::uint64_t late) const {
        const std::uint64_t end = recording.timeUs / board::kClockTickUs;
        const std::uint64_t begin = end - std::min(end, kPeriodTicks + kLate + late);
        const auto ticks = TicksIn(begin, end);
        for (std::uint64_t last = end - std::min(end - begin, late); last <= end; ++last) {
            const std::uint64_t least = last - std::min(last - begin, kPeriodTicks + kLate);
            for (std::uint64_t first = least; first + kPeriodTicks - 1 <= last; ++first) {
                if (BusyCores(ticks[first - begin], ticks[last - begin], last - first) ==
                    recording.cores) {
                    return true;
                }
            }
        }
        return false;
    }

    // Whether perf, when late for the burst, can have seen nothing: a task that runs shortly in
    // each period may be missed by each sample.
    [[nodiscard]] bool CanBeEmpty(const Recording& recording) const {
        std::vector<std::uint32_t> cores;
        std::stringstream list(recording.cores);
        for (std::string core; std::getline(list, core, ',');) {
            cores.push_back(static_cast<std::uint32_t>(std::stoul(core)));
        }
        board::SchedSimulation simulation(state_->scenario.sched, state_->seed);
        int nothing = 0;
        std::uint64_t timeUs = recording.timeUs;
        for (std::uint64_t moment = timeUs * kFrequency / kUsPerSecond + 1;
             timeUs < recording.timeUs + kLateStartUs && nothing < kMoments; ++moment) {
            timeUs = moment * kUsPerSecond / kFrequency;
            simulation.Advance(timeUs, nullptr);
            const bool idle = std::all_of(cores.begin(), cores.end(), [&](std::uint32_t core) {
                return simulation.RunningOn(core) == SchedEvent::kIdleTask;
            });
            nothing = idle ? nothing + 1 : 0;
        }
        return nothing >= kMoments;
    }

    static bool IsInTime(const Recording& recording) {
        return !recording.samples.empty() &&
               recording.samples.front().timeUs < recording.timeUs + kInTimeUs;
    }

    // The calls of a task's stacks as perf shows them, the innermost first.
    [[nodiscard]] std::set<std::vector<std::string>> StacksOf(const board::SchedTask& task) const {
        std::set<std::vector<std::string>> stacks;
        for (std::uint32_t i = 0; i < task.stackCount; ++i) {
            std::vector<std::string> calls;
            for (std::uint32_t call = task.stacks[i].callCount; call > 0; --call) {
                calls.emplace_back(
                    state_->scenario.sched.functions[task.stacks[i].calls[call - 1]].data());
            }
            stacks.insert(calls);
        }
        return stacks;
    }

    void CheckSample(const Sample& sample, std::uint32_t running) const {
        ASSERT_NE(running, SchedEvent::kIdleTask) << sample.timeUs;
        const board::SchedTask& task = state_->scenario.sched.tasks[running];
        EXPECT_EQ(sample.tid, SchedTid(*state_, running)) << sample.timeUs;
        EXPECT_EQ(sample.name, task.name.data()) << sample.timeUs;
        EXPECT_EQ(StacksOf(task).count(sample.calls), 1U) << testing::PrintToString(sample.calls);
    }

    // The time of the collection, in the board's.
    [[nodiscard]] SchedSpan Collection() const {
        const auto times = DocumentsIn(
            board_.Tree().Read(std::string(run_tree::kJsonDir) + run_tree::kCollectorTimes));
        return {BoardTimeOf(times.at(0)["startCollectorTime"].GetString()),
                BoardTimeOf(times.at(0)["endCollectorTime"].GetString())};
    }

    [[nodiscard]] bool IsCaught(const board::KnownBurst& burst) const {
        const auto isOfIt = [&](const Sample& sample) {
            return sample.timeUs >= burst.span.fromUs && sample.timeUs < burst.span.toUs &&
                   sample.tid == SchedTid(*state_, burst.index);
        };
        return std::any_of(recordings_.begin(), recordings_.end(), [&](const Recording& one) {
            return std::any_of(one.samples.begin(), one.samples.end(), isOfIt);
        });
    }

    // How many bursts were caught is told, not asked for: one that comes while another one is
    // recorded may be missed.
    void TellCaught() const {
        const auto bursts =
            BurstsIn(state_->scenario.demands, state_->scenario.sched, state_->seed, Collection());
        const auto caught =
            std::count_if(bursts.begin(), bursts.end(),
                          [this](const board::KnownBurst& burst) { return IsCaught(burst); });
        std::printf("short_spike, seed %d: %td of %zu bursts caught, in %zu recordings\n",
                    GetParam(), caught, bursts.size(), recordings_.size());
        const auto inTime = std::count_if(recordings_.begin(), recordings_.end(), IsInTime);
        EXPECT_TRUE(caught > 0 || inTime == 0) << inTime;
    }

    const ProgramLock lock_;
    BoardRunner board_;
    board::BoardState* state_ = nullptr;
    std::vector<Recording> recordings_;
};

INSTANTIATE_TEST_SUITE_P(Seeds, CpuPeakTruthTest, testing::Values(1, 2, 3));

TEST_P(CpuPeakTruthTest, RecordsTheBusyCoresAndTheirTasks) {
    ASSERT_THAT(recordings_, Not(IsEmpty()));
    board::SchedSimulation simulation(state_->scenario.sched, state_->seed);
    int stoodStill = 0;
    for (const Recording& recording : recordings_) {
        if (!IsTheModels(recording, kLate)) {
            ++stoodStill;
            EXPECT_TRUE(IsTheModels(recording, kStoodStill))
                << recording.cores << " at " << recording.timeUs;
        }
        EXPECT_TRUE(!recording.samples.empty() || CanBeEmpty(recording)) << recording.timeUs;
        for (const Sample& sample : recording.samples) {
            EXPECT_NE(("," + recording.cores + ",").find("," + std::to_string(sample.core) + ","),
                      std::string::npos);
            simulation.Advance(sample.timeUs, nullptr);
            CheckSample(sample, simulation.RunningOn(sample.core));
        }
    }
    EXPECT_LE(stoodStill, 1);
    TellCaught();
}

}  // namespace
}  // namespace zarn::test
