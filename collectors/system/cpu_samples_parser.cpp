#include "collectors/system/cpu_samples_parser.h"

#include <algorithm>
#include <cstdint>

#include "foundation/zarn_utils.h"

namespace zarn {
namespace {

constexpr std::size_t kRowsKept = 10;

// The first piece between blanks; empty if there is none. Every line of a run passes here, so no
// list of tokens is made.
std::string_view FirstToken(std::string_view line) {
    std::string_view token;
    return PieceCursor(line, ' ').Next(token) ? token : std::string_view();
}

std::string_view LastToken(std::string_view line) {
    const std::size_t last = line.find_last_not_of(' ');
    if (last == std::string_view::npos) {
        return {};
    }
    line = line.substr(0, last + 1);
    return line.substr(line.rfind(' ') + 1);
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
    CpuLines lines;
    CutCommandLines(text, lines);
    CpuSamples samples;
    samples.push_back(MakeBatch(times, 0));
    for (const std::string_view& line : lines) {
        const std::string_view token = FirstToken(line);
        if (token.empty()) {
            continue;
        }
        if (token == "top" && &line != lines.data()) {
            const std::size_t size = samples.back().lines.size();
            samples.push_back(MakeBatch(times, samples.size()));
            samples.back().lines.reserve(size);
        }
        keep(token, line, samples.back().lines);
    }
    return samples;
}

// Walks batches closed by empty lines and calls keep(row, rows of the open batch).
template <typename Keep>
std::vector<CpuLines> SplitOnEmptyLines(const CpuLines& psLines, Keep keep) {
    std::vector<CpuLines> batches;
    CpuLines open;
    for (const std::string_view& line : psLines) {
        if (line.empty()) {
            batches.push_back(std::move(open));
            open = CpuLines();
        } else {
            keep(line, open);
        }
    }
    return batches;
}

bool IsSelected(std::string_view line, const std::vector<std::string>& process) {
    const std::string_view token = LastToken(line);
    return !token.empty() && std::find(process.begin(), process.end(), token) != process.end();
}

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
    CpuSamples samples;
    for (const CpuBatch& batch : usage) {
        samples.push_back({batch.time, {}});
        std::copy_if(batch.lines.begin(), batch.lines.end(),
                     std::back_inserter(samples.back().lines),
                     [&process](std::string_view line) { return IsSelected(line, process); });
    }
    return samples;
}

CpuLines ListPsLines(const std::deque<std::string>& passes) {
    CpuLines lines;
    for (const std::string& pass : passes) {
        CutCommandLines(pass, lines);
        lines.emplace_back();
    }
    return lines;
}

std::vector<CpuLines> CutTop10Samples(const CpuLines& psLines) {
    return SplitOnEmptyLines(psLines, [](std::string_view row, CpuLines& kept) {
        if (kept.size() < kRowsKept) {
            kept.push_back(row);
        }
    });
}

std::vector<CpuLines> SelectPsSamples(const CpuLines& psLines,
                                      const std::vector<std::string>& process) {
    return SplitOnEmptyLines(psLines, [&process](std::string_view row, CpuLines& kept) {
        if (IsSelected(row, process)) {
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
