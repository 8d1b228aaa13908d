#include "collectors/system/cpu_samples_parser.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "foundation/zarn_utils.h"

namespace zarn {
namespace {

constexpr std::size_t kRowsKept = 10;

// The first piece between blanks; empty if there is none. Every line of a run passes here, so no
// list of tokens is made.
std::string_view FirstToken(std::string_view line) {
    std::size_t first = 0;
    while (first < line.size() && line[first] == ' ') {
        ++first;
    }
    std::size_t end = first;
    while (end < line.size() && line[end] != ' ') {
        ++end;
    }
    return line.substr(first, end - first);
}

// Milliseconds from the start to a sample. Beyond what can be a time they are only kept apart from
// every possible one.
std::int64_t OffsetMilliseconds(double interval, std::size_t index) {
    constexpr double kLimit = 4e18;
    const double offset = interval * static_cast<double>(index) * 1000;
    return static_cast<std::int64_t>(std::clamp(offset, -kLimit, kLimit));
}

// A batch headed by the time of sample `index`; the time is empty where it cannot be had.
CpuBatch MakeBatch(const CpuSampleTimes& times, std::size_t index) {
    CpuBatch batch;
    if (!times.At(index, batch.time)) {
        batch.time.clear();
    }
    return batch;
}

// Walks the lines that have a token, opens a batch at each "top" but one on the very first line,
// and calls keep(firstToken, line, lines of the open batch).
template <typename Keep>
CpuSamples SplitOnTop(std::string_view text, const CpuSampleTimes& times, Keep keep) {
    CpuSamples samples;
    samples.push_back(MakeBatch(times, 0));
    CommandLineCursor cursor(text);
    for (std::string_view line; cursor.Next(line);) {
        const std::string_view token = FirstToken(line);
        if (token.empty()) {
            continue;
        }
        if (token == "top" && line.data() != text.data()) {
            const std::size_t size = samples.back().lines.size();
            samples.push_back(MakeBatch(times, samples.size()));
            samples.back().lines.reserve(size);
        }
        keep(token, line, samples.back().lines);
    }
    return samples;
}

// Cuts each pass into batches, which an empty line in it and its end close, and calls keep(row,
// rows of the open batch).
template <typename Keep>
std::vector<CpuLines> SplitPasses(const std::deque<std::string>& psPasses, Keep keep) {
    std::vector<CpuLines> batches;
    for (const std::string& pass : psPasses) {
        batches.emplace_back();
        CommandLineCursor cursor(pass);
        for (std::string_view row; cursor.Next(row);) {
            if (row.empty()) {
                batches.emplace_back();
            } else {
                keep(row, batches.back());
            }
        }
    }
    return batches;
}

// Whether the last token of a line is one of some names. Few lines of a run pass, so their last
// byte is looked at before anything else.
class LastTokenFilter {
public:
    // `names` must outlive the filter.
    explicit LastTokenFilter(const std::vector<std::string>& names) : names_(names) {
        for (const std::string& name : names) {
            if (!name.empty()) {
                lastBytes_[static_cast<unsigned char>(name.back())] = true;
            }
        }
    }

    [[nodiscard]] bool Matches(std::string_view line) const {
        const std::size_t last = line.find_last_not_of(' ');
        if (last == std::string_view::npos || !lastBytes_[static_cast<unsigned char>(line[last])]) {
            return false;
        }
        line = line.substr(0, last + 1);
        const std::string_view token = line.substr(line.rfind(' ') + 1);
        return std::find(names_.begin(), names_.end(), token) != names_.end();
    }

private:
    const std::vector<std::string>& names_;
    std::array<bool, 256> lastBytes_{};
};

std::size_t RawFileSize(const CpuSamples& samples) {
    std::size_t size = 0;
    for (const CpuBatch& batch : samples) {
        size += batch.time.size() + 2;
        for (const std::string_view line : batch.lines) {
            size += line.size() + 1;
        }
    }
    return size;
}

}  // namespace

bool CpuSampleTimes::At(std::size_t index, std::string& time) const {
    std::uint64_t start = 0;
    return TimeStringToTimestamp(start_, start) &&
           TimestampToString(
               start + static_cast<std::uint64_t>(OffsetMilliseconds(interval_, index)), time);
}

CpuSamples CutUsageSamples(std::string_view topText, const CpuSampleTimes& times) {
    return SplitOnTop(topText, times, [](std::string_view, std::string_view line, CpuLines& kept) {
        kept.push_back(line);
    });
}

CpuSamples CutGlobalSamples(const CpuSamples& usage, const CpuSampleTimes& times) {
    CpuSamples samples;
    for (const CpuBatch& batch : usage) {
        samples.push_back(MakeBatch(times, samples.size()));
        CpuLines& kept = samples.back().lines;
        if (batch.time.empty()) {
            kept.emplace_back();  // a line without a token is kept, the time line being one here
        }
        for (const std::string_view line : batch.lines) {
            const std::string_view token = FirstToken(line);
            if (token.empty() || !(IsDigitString(token) || token == "PID")) {
                kept.push_back(line);
            }
        }
    }
    return samples;
}

CpuSamples CutCoreSamples(std::string_view coreText, const CpuSampleTimes& times) {
    return SplitOnTop(coreText, times, [](std::string_view, std::string_view line, CpuLines& kept) {
        SplitViews(line, "%", kept);
    });
}

CpuSamples CutThreadSamples(std::string_view threadText, const CpuSampleTimes& times) {
    return SplitOnTop(threadText, times,
                      [](std::string_view token, std::string_view line, CpuLines& kept) {
                          if (kept.size() < kRowsKept && IsDigitString(token)) {
                              kept.push_back(line);
                          }
                      });
}

CpuSamples SelectSamples(const CpuSamples& usage, const std::vector<std::string>& process) {
    const LastTokenFilter filter(process);
    CpuSamples samples;
    for (const CpuBatch& batch : usage) {
        samples.push_back({batch.time, {}});
        std::copy_if(batch.lines.begin(), batch.lines.end(),
                     std::back_inserter(samples.back().lines),
                     [&filter](std::string_view line) { return filter.Matches(line); });
    }
    return samples;
}

std::vector<CpuLines> CutTop10Samples(const std::deque<std::string>& psPasses) {
    return SplitPasses(psPasses, [](std::string_view row, CpuLines& kept) {
        if (kept.size() < kRowsKept) {
            kept.push_back(row);
        }
    });
}

std::vector<CpuLines> SelectPsSamples(const std::deque<std::string>& psPasses,
                                      const std::vector<std::string>& process) {
    const LastTokenFilter filter(process);
    return SplitPasses(psPasses, [&filter](std::string_view row, CpuLines& kept) {
        if (filter.Matches(row)) {
            kept.push_back(row);
        }
    });
}

CpuThreadInfo CutThreadInfo(const std::map<std::string, std::string>& textByPid) {
    CpuThreadInfo info;
    for (const auto& [pid, text] : textByPid) {
        CutCommandLines(text, info[pid]);
    }
    return info;
}

std::string_view PidOfPsRow(std::string_view row) {
    PieceCursor tokens(row, ' ');
    std::string_view user;
    std::string_view pid;
    return tokens.Next(user) && tokens.Next(pid) ? pid : std::string_view();
}

std::string FormatRawFile(const CpuSamples& samples) {
    std::string text;
    text.reserve(RawFileSize(samples));
    for (const CpuBatch& batch : samples) {
        text.append(batch.time).push_back('\n');
        for (const std::string_view line : batch.lines) {
            text.append(line).push_back('\n');
        }
        text.push_back('\n');
    }
    return text;
}

}  // namespace zarn
