// optimizer_quality SCENARIOS CONFIG SEEDS STEP TABLE: how good the bounds are that the search
// finds. For each scenario file and each seed the whole search of the optimizer runs against the
// memory model and the stress benchmark of the virtual board, in this process and with a seeded
// random source; what it leaves on the device is compared with the untouched board and with the
// best over all bounds, noise left out. Writes a table to TABLE and the lines of all searches to
// standard output. SCENARIOS is a list of files joined by commas; STEP is the grid of the best in
// GB/s.

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "board/bench/bench_settings.h"
#include "board/bench/best_bounds.h"
#include "board/device/device_info.h"
#include "board/setup/scenario_parser.h"
#include "collectors/system/ddr/qos_access.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbers.h"
#include "foundation/stop_flag.h"
#include "foundation/text.h"
#include "optimizer/benchmark/stress_log_parser.h"
#include "optimizer/search/pso_search.h"

namespace zarn::bench {
namespace {

using board::BenchSettings;
using board::BestBounds;
using board::BoardState;
using board::RunRates;

class SeededRandom final : public RandomSource {
public:
    explicit SeededRandom(std::uint64_t seed) : generator_(seed) {}
    std::size_t Index(std::size_t first, std::size_t last) override {
        return std::uniform_int_distribution<std::size_t>(first, last)(generator_);
    }
    double Canonical() override { return std::generate_canonical<double, 64>(generator_); }

private:
    std::mt19937_64 generator_;
};

// The device calls on a board of this process.
class SimulatedDevice final : public DeviceLibrary {
public:
    int GetCount(int* /*count*/) override { return 1; }
    int List(int* /*devices*/, int /*count*/) override { return 1; }
    explicit SimulatedDevice(BoardState& state) : state_(state) {}
    int GetInfo(std::uint32_t device, std::uint32_t mainCommand, std::uint32_t subCommand,
                void* buffer, std::uint32_t* size) override {
        return board::GetInfo(state_, {device, mainCommand, subCommand}, buffer, *size, 0);
    }
    int SetInfo(std::uint32_t device, std::uint32_t mainCommand, std::uint32_t subCommand,
                const void* buffer, std::uint32_t size) override {
        return board::SetInfo(state_, {device, mainCommand, subCommand}, buffer, size);
    }

private:
    BoardState& state_;
};

// The board and its benchmark: the same lines as the benchmark's, read by the same parser.
class SimulatedBoard final : public StressBoard {
public:
    SimulatedBoard(BoardState& state, const BenchSettings& settings)
        : state_(state), settings_(settings), device_(state) {}

    bool Apply(const std::vector<QosConfig>& configs) override {
        return ApplyQosConfigs(configs, device_);
    }

    bool RunBenchmark(PerfMap& perf) override {
        const std::uint32_t run = state_.benchRuns++;
        std::string log = board::HeadLines(settings_, run);
        for (std::uint32_t period = 0; period < settings_.periods; ++period) {
            log += board::ResultLine(board::MeasuredRates(state_, settings_, run, period));
        }
        return ParseStressLog(log, perf);
    }

private:
    BoardState& state_;
    const BenchSettings& settings_;
    SimulatedDevice device_;
};

// How one search ended.
struct Outcome {
    double ofOptimum = 0.0;    // CPU rate found / best one that keeps the limits; 0: there is none
    double ofUntouched = 0.0;  // CPU rate found / rate of the untouched board
    double optimumOfUntouched = 0.0;
    bool limitsBroken = false;
    std::uint32_t evaluations = 0;
};

// The search space of a table.
struct Space {
    std::string title;
    std::map<std::string, std::pair<int, int>> bounds;
};

struct Job {
    std::vector<std::string> scenarios;
    BenchSettings settings;
    std::uint32_t seeds = 0;
    std::uint32_t step = 0;
    std::vector<Space> spaces;
    std::string logPath;  // of the searches
};

PsoState MakeState(const Space& space) {
    PsoState state;
    for (const auto& [group, bounds] : space.bounds) {
        PsoBound& bound = state.psoSpaceBounds[group];
        bound.low = static_cast<std::int16_t>(bounds.first);
        bound.up = static_cast<std::int16_t>(bounds.second);
        for (int value = bounds.first; value < bounds.second; value += 2) {
            bound.values.push_back(static_cast<std::uint16_t>(value));
        }
        state.psoVelBounds[group] = {-20, 20, {}};
    }
    return state;
}

Outcome Search(const BoardState& fresh, const Job& job, const Space& space,
               const BestBounds& best) {
    const BenchSettings& settings = job.settings;
    auto state = std::make_unique<BoardState>();
    state->scenario = fresh.scenario;
    state->seed = fresh.seed;
    state->partitions = fresh.partitions;
    state->masters = fresh.masters;
    SimulatedBoard stressBoard(*state, settings);
    const OptLog log(job.logPath);
    SeededRandom random(fresh.seed);
    const StopFlag stopFlag{0};
    PsoState pso = MakeState(space);
    Outcome outcome;
    if (!PsoSearch(pso, {stressBoard, log, random, &stopFlag}).RunPso()) {
        PrintError("optimizer_quality: the search failed");
        return outcome;
    }
    const RunRates before = board::RatesOfRun(fresh, settings);
    const RunRates found = board::RatesOfRun(*state, settings);
    const double untouched = before.mean[board::kCpuStress];
    const double reached = found.mean[board::kCpuStress];
    outcome.ofOptimum = best.found ? reached / best.rates.mean[board::kCpuStress] : 0.0;
    outcome.ofUntouched = reached / untouched;
    outcome.optimumOfUntouched = best.found ? best.rates.mean[board::kCpuStress] / untouched : 0.0;
    outcome.limitsBroken = !board::KeepsLimits(found, before, board::BenchLimits{});
    outcome.evaluations = state->benchRuns - 1;
    return outcome;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

std::string MedianAndWorst(const std::vector<Outcome>& outcomes, double Outcome::*ratio) {
    std::vector<double> values;
    values.reserve(outcomes.size());
    for (const Outcome& outcome : outcomes) {
        values.push_back(outcome.*ratio);
    }
    return FloatToString(Median(values), 3) + " / " +
           FloatToString(*std::min_element(values.begin(), values.end()), 3);
}

std::string Row(const std::string& name, const std::vector<Outcome>& outcomes) {
    const auto broken = std::count_if(outcomes.begin(), outcomes.end(),
                                      [](const Outcome& outcome) { return outcome.limitsBroken; });
    std::vector<double> evaluations;
    std::vector<double> possible;
    evaluations.reserve(outcomes.size());
    possible.reserve(outcomes.size());
    for (const Outcome& outcome : outcomes) {
        evaluations.push_back(outcome.evaluations);
        possible.push_back(outcome.optimumOfUntouched);
    }
    return "| " + name + " | " + FloatToString(Median(possible), 3) + " | " +
           MedianAndWorst(outcomes, &Outcome::ofUntouched) + " | " +
           MedianAndWorst(outcomes, &Outcome::ofOptimum) + " | " + std::to_string(broken) + " of " +
           std::to_string(outcomes.size()) + " | " + FloatToString(Median(evaluations), 0) + " |\n";
}

bool RunScenario(const Job& job, const std::string& path, std::vector<std::string>& rows) {
    std::string text;
    if (ReadFile(path, text) != FileResult::Ok) {
        return PrintFailure("optimizer_quality: cannot read " + path);
    }
    std::vector<std::vector<Outcome>> outcomes(job.spaces.size());
    for (std::uint32_t seed = 1; seed <= job.seeds; ++seed) {
        const auto state = std::make_unique<BoardState>();
        if (const auto reason = board::ParseScenario(text, *state)) {
            return PrintFailure("optimizer_quality: " + path + ": " + *reason);
        }
        state->seed = seed;
        const BestBounds best =
            board::FindBestBounds(*state, job.settings, board::BenchLimits{}, job.step);
        for (std::size_t i = 0; i < job.spaces.size(); ++i) {
            outcomes[i].push_back(Search(*state, job, job.spaces[i], best));
        }
    }
    const std::size_t slash = path.rfind('/') + 1;
    const std::string name = path.substr(slash, path.rfind('.') - slash);
    for (std::size_t i = 0; i < job.spaces.size(); ++i) {
        rows[i] += Row(name, outcomes[i]);
    }
    return true;
}

bool WriteTables(const Job& job, const std::string& path) {
    std::vector<std::string> rows(job.spaces.size());
    for (const std::string& scenario : job.scenarios) {
        if (!RunScenario(job, scenario, rows)) {
            return false;
        }
    }
    std::string text;
    for (std::size_t i = 0; i < job.spaces.size(); ++i) {
        text += (i == 0 ? "" : "\n") + job.spaces[i].title +
                ":\n\n"
                "| scenario | best / untouched | found / untouched (median / worst) | found / best "
                "(median / worst) | limits broken | evaluations (median) |\n"
                "| --- | --- | --- | --- | --- | --- |\n" +
                rows[i];
    }
    return WriteFile(path, text) == FileResult::Ok ||
           PrintFailure("optimizer_quality: cannot write " + path);
}

bool ReadJob(const std::vector<std::string>& arguments, Job& job) {
    SplitString(arguments[0], ",", job.scenarios);
    std::string text;
    if (ReadFile(arguments[1], text) != FileResult::Ok) {
        return PrintFailure("optimizer_quality: cannot read " + arguments[1]);
    }
    if (const auto reason = board::ParseBenchSettings(text, job.settings)) {
        return PrintFailure("optimizer_quality: " + arguments[1] + ": " + *reason);
    }
    job.logPath = arguments[4] + ".log";
    job.spaces = {
        {"The whole space, 0 to 51 for every group",
         {{"aic", {0, 51}}, {"cpu", {0, 51}}, {"imgp", {0, 51}}}},
        {"The AI and image block held at what memory_hungry grants them untouched: aic 20 to 21, "
         "cpu 6 to 11, imgp 10 to 11",
         {{"aic", {20, 21}}, {"cpu", {6, 11}}, {"imgp", {10, 11}}}},
    };
    return StringToUint32(arguments[2], job.seeds) && job.seeds > 0 &&
           StringToUint32(arguments[3], job.step) && job.step > 0;
}

}  // namespace
}  // namespace zarn::bench

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    zarn::bench::Job job;
    if (arguments.size() != 5 || !zarn::bench::ReadJob(arguments, job)) {
        zarn::PrintError("usage: optimizer_quality SCENARIO,... CONFIG SEEDS STEP TABLE");
        return 2;
    }
    return zarn::bench::WriteTables(job, arguments[4]) ? 0 : 1;
}
