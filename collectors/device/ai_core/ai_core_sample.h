#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "kit/event_writer.h"

// A sample of the AI cores, and what is made of it: lines of the log, a document.
namespace zarn {

inline constexpr std::size_t kMaxAiCores = 32;

// How busy the cores were. A byte is a percentage or one of the device's two codes.
struct AiCoreSample {
    static constexpr std::uint8_t kNotANumber = 239;
    static constexpr std::uint8_t kNoValue = 238;

    std::array<std::uint8_t, kMaxAiCores> usage{};
    std::uint32_t coreCount = 0;  // at most kMaxAiCores
    std::string time;             // 17 digits
};

// The mean of the cores that have a figure, in percent. Where none has one it is what the division
// gives, which is no number.
[[nodiscard]] double AiCoreAverage(const AiCoreSample& sample);

// Appends the sample's lines.
void AppendAiCoreLog(const AiCoreSample& sample, std::string& log);

// Adds the sample's document.
void WriteAiCoreDocument(const AiCoreSample& sample, EventWriter& events);

}  // namespace zarn
