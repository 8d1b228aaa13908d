#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "kit/setting_key.h"

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

[[nodiscard]] const SettingKeys& CpuCollectorKeys();

// Fills `settings` from the section CpuCollector of `config`, an object. False after its lines;
// what was read before stays. A number or boolean of another JSON type, or a list that is no array,
// trips the JSON library's assertion.
[[nodiscard]] bool ReadCpuSettings(const JsonDocument& config, CpuSettings& settings);

}  // namespace zarn
