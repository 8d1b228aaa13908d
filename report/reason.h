#pragma once

#include <array>
#include <cstdint>

// Why there is no number.
namespace zarn::report {

enum class Reason : std::uint8_t {
    NotMeasured,
    FileMissing,
    FileUnreadable,
    NotInFile,
    NotANumber,
    NotFound,
    TooFewSamples,
    Cut,
};

// A reason's code in the page's data, and what the page says of it.
struct ReasonWords {
    const char* code;
    const char* words;
};

// In the order of Reason.
inline constexpr std::array<ReasonWords, 8> kReasons = {{
    {"not-measured", "the mission was not run"},
    {"file-missing", "the mission was run, and its file is not there"},
    {"file-unreadable", "the file is there and cannot be read"},
    {"not-in-file", "the file does not hold this value"},
    {"not-a-number", "what stands there is no number"},
    {"not-found", "the analyzer found none"},
    {"too-few-samples", "there are too few samples to say anything"},
    {"cut", "left out for the size of the report"},
}};

[[nodiscard]] inline const ReasonWords& WordsOf(Reason reason) {
    return kReasons[static_cast<std::size_t>(reason)];
}

}  // namespace zarn::report
