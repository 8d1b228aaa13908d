#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace zarn {

// Frame rates of a benchmark run: group name ("aic", "cpu", "imgp", "isp") to frames per second,
// one element per result line.
using PerfMap = std::map<std::string, std::vector<double>>;

// The groups of masters that the search may change, with the MPAM partitions of each. Everything
// that goes group by group goes in this order.
inline const std::map<std::string, std::vector<std::uint16_t>> stressGroups = {
    {"aic", {5}},
    {"cpu", {0}},
    {"imgp", {3}},
};

// Bounds of one group. In the search space: bandwidth in GB/s, with the values a first candidate is
// drawn from. As a velocity limit: change per step in GB/s, no values.
struct PsoBound {
    std::int16_t low = 0;
    std::int16_t up = 0;
    std::vector<std::uint16_t> values;
};

// One point of the search space, or a velocity: MPAM partition to bound in GB/s. `value` is the
// t-value of the CPU's frame rates there; in a velocity it means nothing.
struct PsoPosition {
    std::map<std::int16_t, std::int16_t> bwLow;
    std::map<std::int16_t, std::int16_t> bwHigh;
    double value = 0.0;
};

// Settings and state of the search.
struct PsoState {
    std::map<std::string, PsoBound> psoSpaceBounds;  // by group, required
    std::map<std::string, PsoBound> psoVelBounds;    // by group, required
    std::uint16_t camFpsBound = 28;                  // the camera's frame rate must stay above it
    double beliefProb = 0.05;                        // read and reported; no stage uses it
    double aiWorseRate = 0.1;    // share of its frame rate the AI and image groups may lose
    std::uint16_t numSize = 20;  // particles
    std::uint16_t perTime = 30;  // read and reported; no stage uses it
    std::uint16_t numIterate = 20;
    double w_v = 0.8;  // inertia
    double w_p = 0.5;  // weight of a particle's own best
    double w_g = 0.5;  // weight of the best of all

    PsoPosition globalBest;
    // One element per initialised particle in each of the three.
    std::vector<PsoPosition> velocities;
    std::vector<PsoPosition> positions;  // what the initialisation drew; never changed afterwards
    std::vector<PsoPosition> personalBests;
};

}  // namespace zarn
