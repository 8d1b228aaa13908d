#pragma once

#include <cstdint>

#include "board/model/cpu_events.h"
#include "board/model/work_functions.h"

// What a program does to the pipeline of the core that it runs on. Plain data and pure functions.
namespace zarn::board {

inline constexpr double kSlotsPerCycle = 4.0;
// Cycles that an instruction's miss costs, when the next level has it and when it has not.
inline constexpr double kNearMissCycles = 15.0;
inline constexpr double kFarMissCycles = 100.0;

inline constexpr std::uint32_t kMaxCores = 16;

// A program's profile while the memory serves all that is asked for. Shares of the cycles where
// nothing else is said.
struct PipelineProfile {
    double load = 0.0;          // how much of each of its cores it takes; 0: it is idle
    std::uint32_t cores = 0;    // a bit for each core that it runs on
    std::uint32_t version = 1;  // of the program's file

    // Shares of the issue slots; what the three leave is lost in the back end.
    double retiring = 0.35;
    double badSpeculation = 0.06;
    double frontend = 0.15;

    double fetchLatency = 0.6;  // share of the front end's slots
    double itlbNear = 0.01;
    double itlbFar = 0.01;
    double icacheNear = 0.03;
    double icacheFar = 0.02;

    double branchMisses = 6.0;  // these three in 1000 cycles
    double flushes = 1.0;
    double spBranches = 2.0;
    double indirect = 0.2;  // these three are shares of the branch misses
    double push = 0.1;
    double pop = 0.1;
    double nuke = 0.3;  // share of the flushes

    double loadStall = 0.08;  // without the wait for the DDR
    double storeStall = 0.03;
    double ddrWait = 0.1;      // loads that wait for the DDR
    double ddrOverlap = 0.05;  // a miss of the second level is open, and the core works on
    double l1Open = 0.05;      // a miss of the first level is open, and none of the second

    double resource = 0.08;
    double rob = 0.05;
    double sync = 0.01;
    double tags = 0.01;
    double saveQueue = 0.01;
    double pcBuffer = 0.01;

    double core = 0.12;
    double divider = 0.02;
    double fsu = 0.03;
    double aluPorts = 0.05;
    double lsPorts = 0.03;
    double fsuPorts = 0.02;

    PerFunction functions{};  // shares of the cycles, with the sum 1
};

// The shares of the functions that a program has without being told any: those of its version.
[[nodiscard]] PerFunction UsualFunctions(std::uint32_t version);

// What of its cycles the program waits for the DDR while the memory serves all.
[[nodiscard]] double DdrWait(const PipelineProfile& profile);

// How much longer the program takes for the same work when the memory serves 1 / `stretch` of what
// is asked for: what is waited for the DDR takes that much longer, all else stays.
[[nodiscard]] double TimeFactor(const PipelineProfile& profile, double stretch);

// The shares of the functions in the program's cycles then.
[[nodiscard]] PerFunction FunctionShares(const PipelineProfile& profile, double stretch);

// The shares of the functions in the lines that the program gets from the DDR, whatever the memory
// serves; all 0 if it gets none.
[[nodiscard]] PerFunction LineShares(const PipelineProfile& profile);

// What a cycle of the program brings of each event then.
[[nodiscard]] CpuCounts RatesPerCycle(const PipelineProfile& profile, double stretch);

}  // namespace zarn::board
