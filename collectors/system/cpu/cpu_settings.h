#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zarn {

// What the section CpuCollector asks for.
struct CpuSettings {
    std::vector<std::string> job;  // "global", "core", "selected_process"; others are passed over
    double interval = 5.0;         // seconds between samples
    std::vector<std::string> process;  // command names, for "selected_process"
    std::uint32_t count = 1;           // samples, at most kMaxCpuSamples
    bool threadCollector = false;      // also the threads of every process that ps shows
    bool jsonOutput = false;           // also the documents
};

// Bounds the memory that a run's samples take.
inline constexpr std::uint32_t kMaxCpuSamples = 600;

}  // namespace zarn
