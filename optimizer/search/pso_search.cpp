#include "optimizer/search/pso_search.h"

#include <exception>

#include "foundation/console.h"
#include "optimizer/search/pso_swarm.h"
#include "optimizer/search/significance.h"

namespace zarn {
namespace {

constexpr int kRetries = 3;  // the try after them is taken whatever it is

// 0 for a group that the comparison did not come to.
double TValueOf(const std::map<std::string, double>& tValues, const std::string& group) {
    const auto entry = tValues.find(group);
    return entry == tValues.end() ? 0.0 : entry->second;
}

std::string TValuesText(const std::map<std::string, double>& tValues) {
    const auto text = [&tValues](const char* group) {
        return TValueText(TValueOf(tValues, group));
    };
    return "[DdrOptimizer] t-value  cpu : " + text("cpu") + " aic : " + text("aic") +
           " imgp : " + text("imgp") + " isp : " + text("isp");
}

}  // namespace

bool PsoSearch::RunPso() {
    tools_.log.WriteOptLog("[DdrOptimizer] ======= start to collect bencharmk perf =======");
    if (!tools_.board.RunBenchmark(benchmarkPerf_)) {
        return PrintFailure("[DdrOptimizer] Failed to get base perf data.");
    }
    tools_.log.WriteOptLog("[DdrOptimizer] ======= start to init pso =======");
    state_.globalBest = StartingBest();
    if (!InitParticles()) {
        return PrintFailure("[DdrOptimizer] Failed to init pso state.");
    }
    PrintLine("[DdrOptimizer] pso init finished.");
    tools_.log.WriteOptLog("[DdrOptimizer] ======= start to search qos setting =======");
    if (!Iterate()) {
        return PrintFailure("[DdrOptimizer] Failed to run pso alg.");
    }
    ApplyBest();
    LogResult();
    return true;
}

PsoSearch::Evaluation PsoSearch::Evaluate(const std::vector<QosConfig>& candidate) const {
    Evaluation evaluation;
    if (!tools_.board.Apply(candidate)) {
        return evaluation;
    }
    if (!tools_.board.RunBenchmark(evaluation.perf)) {
        evaluation.verdict = Verdict::NotMeasured;
        return evaluation;
    }
    std::map<std::string, double> tValues;
    const bool acceptable = ComparePerf(state_, benchmarkPerf_, evaluation.perf, tValues);
    tools_.log.WriteOptLog(TValuesText(tValues));
    evaluation.verdict = acceptable ? Verdict::Acceptable : Verdict::Unacceptable;
    evaluation.cpuTValue = TValueOf(tValues, "cpu");
    return evaluation;
}

// What follows for a candidate that is not taken; nothing for one that is. Counts an unacceptable
// one; after three of them the next is taken like an acceptable one.
std::optional<PsoSearch::Progress> PsoSearch::Dismiss(const Evaluation& evaluation,
                                                      const char* wordsIfNotApplied) {
    if (evaluation.verdict == Verdict::NotApplied) {
        PrintError(wordsIfNotApplied);
        return Progress::Again;
    }
    if (evaluation.verdict == Verdict::NotMeasured) {
        PrintError("[DdrOptimizer] Failed to get pref datas.");
        return Progress::Failed;
    }
    if (evaluation.verdict == Verdict::Unacceptable && tries_ < kRetries) {
        ++tries_;
        return Progress::Again;
    }
    tries_ = 0;
    return std::nullopt;
}

bool PsoSearch::KeepIfGloballyBest(const PsoPosition& position, const Evaluation& evaluation) {
    if (!(position.value > state_.globalBest.value)) {
        return false;
    }
    state_.globalBest = position;
    optimizedPerf_ = evaluation.perf;
    return true;
}

bool PsoSearch::InitParticles() {
    try {
        while (state_.positions.size() < state_.numSize && !IsSet(tools_.stopFlag)) {
            if (InitParticle() == Progress::Failed) {
                return false;
            }
        }
        return true;
    } catch (const std::exception& error) {
        // No bandwidth value to draw from, or no random device.
        return PrintFailure(
            std::string("[DdrOptimizer] Failed to calculate new pso value. Error: ") +
            error.what());
    }
}

PsoSearch::Progress PsoSearch::InitParticle() {
    const std::vector<QosConfig> candidate = DrawCandidate(state_, tools_.random);
    const Evaluation evaluation = Evaluate(candidate);
    if (const auto dismissed =
            Dismiss(evaluation, "[DdrOptimizer] Set new qos conf fail when pso init.")) {
        return *dismissed;
    }
    const PsoPosition position = PositionOf(candidate, evaluation.cpuTValue);
    state_.positions.push_back(position);
    state_.personalBests.push_back(position);
    if (KeepIfGloballyBest(position, evaluation)) {
        PrintLine("[DdrOptimizer] Successfully update global best position!!");
    }
    state_.velocities.push_back(DrawVelocity(state_, candidate, tools_.random));
    tools_.log.WriteOptLog(
        "[DdrOptimizer] ======= pso num: " + std::to_string(state_.positions.size()) +
        " =======, cpu t-value: " + TValueText(evaluation.cpuTValue));
    return Progress::Next;
}

bool PsoSearch::Iterate() {
    try {
        for (unsigned i = 0; i < state_.numIterate; ++i) {
            if (!UpdateParticles()) {
                return false;
            }
            LogIteration(i + 1);
        }
        return true;
    } catch (const std::exception& error) {
        return PrintFailure(std::string("[DdrOptimizer] Failed to update pso. Error: ") +
                            error.what());
    }
}

bool PsoSearch::UpdateParticles() {
    tries_ = 0;
    std::uint16_t k = 0;
    try {
        while (k < state_.numSize && !IsSet(tools_.stopFlag)) {
            const Progress progress = UpdateParticle(k);
            if (progress == Progress::Failed) {
                return false;
            }
            k = static_cast<std::uint16_t>(k + (progress == Progress::Next ? 1 : 0));
        }
        return true;
    } catch (const std::exception& error) {
        PrintError(std::string("[DdrOptimizer] Failed to calculate new pso value. Error: ") +
                   error.what());
        PrintError("[DdrOptimizer] Get new qos conf fail.");
        throw;
    }
}

PsoSearch::Progress PsoSearch::UpdateParticle(std::uint16_t k) {
    const std::vector<QosConfig> candidate = StepParticle(state_, k, tools_.random);
    const Evaluation evaluation = Evaluate(candidate);
    if (const auto dismissed = Dismiss(evaluation, "[DdrOptimizer] Set new qos conf fail.")) {
        return *dismissed;
    }
    const PsoPosition position = PositionOf(candidate, evaluation.cpuTValue);
    PsoPosition& personalBest = state_.personalBests.at(k);
    if (position.value > personalBest.value) {
        personalBest = position;
    }
    KeepIfGloballyBest(position, evaluation);
    tools_.log.WriteOptLog("[DdrOptimizer] ======= update pso num: " + std::to_string(k + 1) +
                           " =======,cpu t-value: " + TValueText(evaluation.cpuTValue));
    return Progress::Next;
}

void PsoSearch::LogIteration(unsigned number) const {
    const PsoPosition& best = state_.globalBest;
    tools_.log.WriteOptLog("[DdrOptimizer] ======= iter num: " + std::to_string(number) +
                           " ======= ");
    tools_.log.WriteOptLog("[DdrOptimizer]   best bwLow setting: " + BoundsText(best.bwLow));
    tools_.log.WriteOptLog("[DdrOptimizer]   best bwHigh setting: " + BoundsText(best.bwHigh));
    tools_.log.WriteOptLog("[DdrOptimizer]   best cpu perf: " + TValueText(best.value));
}

void PsoSearch::ApplyBest() const {
    if (!tools_.board.Apply(ConfigsOfBest(state_.globalBest))) {
        PrintError("[DdrOptimizer] Failed to item qos conf.");
        PrintError(
            "[DdrOptimizer] Warning! Failed to enable the best qos Conf, you can enable them "
            "manually.");
    }
}

void PsoSearch::LogResult() const {
    tools_.log.WriteOptLog("[DdrOptimizer] ======= DDR Optimizer result =======");
    // The labels stand this way round; readers of the log know them so.
    tools_.log.WriteOptLog("[DdrOptimizer] benchmark : " + PerfText(optimizedPerf_));
    tools_.log.WriteOptLog("[DdrOptimizer] optimized : " + PerfText(benchmarkPerf_));
}

}  // namespace zarn
