#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

// When the board's recorder of long delays was armed, and for which. Plain data: it lies in the
// board's state file, so that whoever serves the board knows what was recorded before.
namespace zarn::board {

inline constexpr std::size_t kMaxArmings = 64;

// A time in which delays above a threshold were noted, microseconds since the board's start.
struct SchedArming {
    static constexpr std::uint64_t kGoesOn = 0xFFFFFFFFFFFFFFFF;

    std::uint64_t fromUs = 0;
    std::uint64_t untilUs = kGoesOn;
    std::uint64_t thresholdNs = 0;
};

// The last ones, one after the other.
struct SchedRecording {
    std::uint32_t count = 0;
    std::array<SchedArming, kMaxArmings> armings{};
};

// For which delays the recorder is armed now; nothing if it is not.
[[nodiscard]] std::optional<std::uint64_t> ArmedThresholdNs(const SchedRecording& recording);

// The arming of a moment, or nullptr.
[[nodiscard]] const SchedArming* ArmingAt(const SchedRecording& recording, std::uint64_t timeUs);

// From a moment on, not before the last one: armed for delays above a threshold, or not at all.
// Without a place left the first arming is forgotten.
void Rearm(SchedRecording& recording, std::uint64_t timeUs,
           const std::optional<std::uint64_t>& thresholdNs);

}  // namespace zarn::board
