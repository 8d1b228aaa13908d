#pragma once

#include <string>
#include <string_view>
#include <vector>

// A reading of the CPU family's raw logs that shares nothing with the program's own: by regular
// expressions, line by line, for the checks of what the program makes of the same text.
namespace zarn::test {

// One sample: its time line and the lines below it.
struct RawCpuSample {
    std::string time;
    std::vector<std::string> lines;
};

[[nodiscard]] std::vector<RawCpuSample> CutRawLog(const std::string& text);

// The number before `word` ("us", "total") on the first line that begins with `head`, per sample.
// Fails the test for a sample without it.
[[nodiscard]] std::vector<double> NumbersBefore(const std::vector<RawCpuSample>& samples,
                                                const std::string& head, const std::string& word);

// The load averages of the samples: 0 for the first minute, 1 for five, 2 for fifteen.
[[nodiscard]] std::vector<double> LoadAverages(const std::vector<RawCpuSample>& samples,
                                               std::size_t which);

// Token `index` of the rows that end in `command`, over all samples.
[[nodiscard]] std::vector<std::string> RowTokens(const std::vector<RawCpuSample>& samples,
                                                 const std::string& command, std::size_t index);

[[nodiscard]] double Mean(const std::vector<double>& values);
[[nodiscard]] std::vector<double> Numbers(const std::vector<std::string>& texts);

// Each run of 17 digits, a time, becomes "<time>".
[[nodiscard]] std::string WithoutTimes(const std::string& text);

}  // namespace zarn::test
