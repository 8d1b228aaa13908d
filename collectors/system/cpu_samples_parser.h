#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

// Cuts what `top` and `ps` printed into one batch per sample. Accepted is any text: the lines are
// those of CutCommandLines, so a line beyond its piece length counts as several. Lines stay views
// into the captured text, which must outlive the batches.
namespace zarn {

using CpuLines = std::vector<std::string_view>;

// One sample: its time and the lines kept of it. In a file the time is the first line.
struct CpuBatch {
    std::string time;  // 17 digits; empty if the start time is no time
    CpuLines lines;
};
using CpuSamples = std::vector<CpuBatch>;

// The rows of each pid's threads.
using CpuThreadInfo = std::map<std::string, CpuLines, std::less<>>;

// Everything that is cut from one collection. A list whose job is off is empty.
struct CpuSampleLists {
    CpuSamples usage;     // of `top`, whole
    CpuSamples global;    // of `top`, the summary lines
    CpuSamples cores;     // one core a line
    CpuSamples selected;  // of `top`, the rows of the configured processes
    CpuSamples threads;   // the busiest ten
    // Only for the documents:
    std::vector<CpuLines> top10;       // the first ten rows of each pass
    std::vector<CpuLines> selectedPs;  // the rows of the configured processes
    CpuThreadInfo threadInfoByPid;
};

// When the samples of one program were taken: its start, then one every `interval` seconds.
class CpuSampleTimes {
public:
    CpuSampleTimes(std::string start, double interval)
        : start_(std::move(start)), interval_(interval) {}

    // The time of sample `index`, the offset cut to whole milliseconds. False after the utilities'
    // line if the start is no time or the result is beyond what a time string holds.
    [[nodiscard]] bool At(std::size_t index, std::string& time) const;

private:
    std::string start_;  // 17 digits, or empty
    double interval_;    // seconds
};

// Of `top -b`: every line that has a token. A line whose first token is "top" starts the next
// batch, unless it is the first line of all. There is always a first batch, be the text empty.
[[nodiscard]] CpuSamples CutUsageSamples(std::string_view topText, const CpuSampleTimes& times);

// Of the batches of CutUsageSamples the summary lines: all but those whose first token is a number
// or "PID".
[[nodiscard]] CpuSamples CutGlobalSamples(const CpuSamples& usage, const CpuSampleTimes& times);

// Of `top -1 -b`, several cores on a line: the pieces between "%", each a line. Lines without a
// token are skipped.
[[nodiscard]] CpuSamples CutCoreSamples(std::string_view coreText, const CpuSampleTimes& times);

// Of `top -b -H`: the first ten lines of each batch whose first token is a number.
[[nodiscard]] CpuSamples CutThreadSamples(std::string_view threadText, const CpuSampleTimes& times);

// Of each batch the lines whose last token is one of `process`; a batch without any stays.
[[nodiscard]] CpuSamples SelectSamples(const CpuSamples& usage,
                                       const std::vector<std::string>& process);

// Of the passes of ps, one batch each; an empty line inside a pass ends a batch too. Kept are the
// first ten rows, or the rows whose last token is one of `process`.
[[nodiscard]] std::vector<CpuLines> CutTop10Samples(const std::deque<std::string>& psPasses);
[[nodiscard]] std::vector<CpuLines> SelectPsSamples(const std::deque<std::string>& psPasses,
                                                    const std::vector<std::string>& process);

// The rows of the texts that ps printed for single pids.
[[nodiscard]] CpuThreadInfo CutThreadInfo(const std::map<std::string, std::string>& textByPid);

// The pid of a row of ps, its second token; empty if the row has fewer than two.
[[nodiscard]] std::string_view PidOfPsRow(std::string_view row);

// A raw file's text: per batch its time, its lines and an empty line.
[[nodiscard]] std::string FormatRawFile(const CpuSamples& samples);

}  // namespace zarn
