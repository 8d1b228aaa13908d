#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

namespace bench_jobs {

inline constexpr const char* kMessaging = "messaging";
inline constexpr const char* kPipe = "pipe";
inline constexpr const char* kMemset = "memset";
inline constexpr const char* kMemcpy = "memcpy";
inline constexpr const char* kStat = "stat";

}  // namespace bench_jobs

// The node that is the whole system; every other one is a process by its name.
inline constexpr const char* kGlobalNode = "global";

// The jobs that are asked for.
using BenchJobs = std::set<std::string>;

// The object `stat`.
struct BenchStatSettings {
    std::vector<std::string> nodes;
    std::int32_t sleep = 0;  // seconds
};

[[nodiscard]] const SettingKeys& BenchCollectorKeys();

// Replaces `jobs` by those that `config`, an object, asks for. False after a line on the error
// stream; `jobs` is untouched then. A section that is no object trips the JSON library's assertion.
[[nodiscard]] bool ReadBenchJobs(const JsonDocument& config, BenchJobs& jobs);

// Fills `settings` from a section that has been opened. False after a line on the error stream;
// what was read before it stays. A `stat` that is no object trips the
// JSON library's assertion.
[[nodiscard]] bool ReadBenchStat(const JsonDocument& config, BenchStatSettings& settings);

}  // namespace zarn
