#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "collectors/system/ddr/qos_config.h"
#include "foundation/stop_flag.h"
#include "optimizer/opt_log.h"
#include "optimizer/search/pso_random.h"
#include "optimizer/search/pso_types.h"

namespace zarn {

// What the search does to the board. Each operation prints its own line when it fails.
class StressBoard {
public:
    StressBoard() = default;
    StressBoard(const StressBoard&) = delete;
    StressBoard& operator=(const StressBoard&) = delete;
    virtual ~StressBoard() = default;

    // Writes the bounds to the device.
    [[nodiscard]] virtual bool Apply(const std::vector<QosConfig>& configs) = 0;

    // Runs the stress benchmark and appends its frame rates to `perf`.
    [[nodiscard]] virtual bool RunBenchmark(PerfMap& perf) = 0;
};

// The particle-swarm search for the bounds that raise the CPU's frame rate under stress the most.
// Used once. The board, the log, the random source, the state and the flag must outlive it.
class PsoSearch {
public:
    // What the search works with.
    struct Tools {
        StressBoard& board;
        const OptLog& log;
        RandomSource& random;
        const StopFlag* stopFlag = nullptr;
    };

    PsoSearch(PsoState& state, Tools tools) : state_(state), tools_(tools) {}

    // Measures the board as it is, initialises the particles, iterates, and leaves the best bounds
    // found on the device. False after its lines if the benchmark fails, or if no candidate can be
    // made. When the stop flag is set no further candidate is tried, and the best so far is left on
    // the device. Bounds that the device refuses are tried anew, without end but for the stop flag.
    [[nodiscard]] bool RunPso();

private:
    // How a candidate did.
    enum class Verdict { NotApplied, NotMeasured, Unacceptable, Acceptable };
    struct Evaluation {
        Verdict verdict = Verdict::NotApplied;
        double cpuTValue = 0.0;
        PerfMap perf;
    };

    // What became of a try to move on with one particle.
    enum class Progress { Again, Next, Failed };

    Evaluation Evaluate(const std::vector<QosConfig>& candidate) const;
    std::optional<Progress> Dismiss(const Evaluation& evaluation, const char* wordsIfNotApplied);
    bool KeepIfGloballyBest(const PsoPosition& position, const Evaluation& evaluation);

    bool InitParticles();
    Progress InitParticle();
    bool Iterate();
    bool UpdateParticles();
    Progress UpdateParticle(std::uint16_t k);
    void LogIteration(unsigned number) const;
    void ApplyBest() const;
    void LogResult() const;

    PsoState& state_;
    Tools tools_;
    PerfMap benchmarkPerf_ = {{"aic", {}}, {"cpu", {}}, {"imgp", {}}, {"isp", {}}};
    PerfMap optimizedPerf_ = {{"aic", {}}, {"cpu", {}}, {"imgp", {}}, {"isp", {}}};
    int tries_ = 0;  // unacceptable candidates of the particle in hand
};

}  // namespace zarn
