#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// What the stress benchmark of the virtual board is told by its Config.yaml.
namespace zarn::board {

// The stresses, in the order of a result line.
enum Stress : std::size_t { kAicStress, kCpuStress, kVencStress, kVpcStress, kIspStress };
inline constexpr std::size_t kStressCount = 5;

// How a stress turns bandwidth into frames.
struct StressSpeed {
    double fps = 0.0;   // frames per second when it gets all it can use
    double need = 1.0;  // share of its demand it can use, above 0
};

// What goes wrong in a run.
enum class BenchFault { None, Fail, Kill, Silent, Short, Long, Malformed, Hang, Endless };

struct BenchSettings {
    std::uint32_t periods = 26;    // result lines, at most 1000000
    std::uint32_t periodMs = 500;  // board time of one line
    std::uint32_t paceMs = 2;      // wall time of one line
    double noise = 0.01;           // share of the rate it moves by at most, 0 to 1
    std::uint32_t seed = 0;
    std::array<StressSpeed, kStressCount> speeds{
        {{120.0, 1.0}, {60.0, 1.0}, {60.0, 0.8}, {240.0, 1.0}, {30.0, 0.5}}};
    BenchFault fault = BenchFault::None;
    std::uint32_t faultSkip = 0;  // runs that go well before
};

// Reads the settings. Accepts: lines "key: value", blank lines, comments from "#" on, a "---".
// Refuses everything else, an unknown key, a value out of its range: the reason comes back, and
// `settings` is then not to be used. A key given twice keeps the later value.
[[nodiscard]] std::optional<std::string> ParseBenchSettings(std::string_view text,
                                                            BenchSettings& settings);

}  // namespace zarn::board
