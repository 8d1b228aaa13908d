#include "collectors/system/cpu/cpu_samples_parser.h"

#include <algorithm>
#include <cstdint>

#include "foundation/commands.h"
#include "foundation/memory.h"
#include "foundation/text.h"
#include "foundation/time.h"

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

// The time of the batch that comes next in `log`; empty where it cannot be had.
std::string NextTime(const CpuSampleTimes& times, const CpuLog& log) {
    std::string time;
    return times.At(log.Size(), time) ? time : std::string();
}

}  // namespace

bool CpuSampleTimes::At(std::size_t index, std::string& time) const {
    std::uint64_t start = 0;
    return TimeStringToTimestamp(start_, start) &&
           TimestampToString(
               start + static_cast<std::uint64_t>(OffsetMilliseconds(interval_, index)), time);
}

void CpuLog::StartBatch(std::string_view time) {
    Close();
    starts_.push_back(text_.size());
    Add(time);
}

void CpuLog::Add(std::string_view line) {
    MakeRoom(text_, line.size() + 1);
    text_.append(line).push_back('\n');
}

void CpuLog::Close() {
    if (!starts_.empty()) {
        text_.push_back('\n');
    }
}

std::string_view CpuLog::Batch(std::size_t index) const {
    if (index >= starts_.size()) {
        return {};
    }
    const std::size_t end = index + 1 < starts_.size() ? starts_[index + 1] : text_.size();
    return std::string_view(text_).substr(starts_[index], end - 1 - starts_[index]);
}

LastTokenFilter::LastTokenFilter(std::vector<std::string> names) : names_(std::move(names)) {
    for (const std::string& name : names_) {
        if (!name.empty()) {
            lastBytes_[static_cast<unsigned char>(name.back())] = true;
        }
    }
}

bool LastTokenFilter::Matches(std::string_view line) const {
    const std::size_t last = line.find_last_not_of(' ');
    if (last == std::string_view::npos || !lastBytes_[static_cast<unsigned char>(line[last])]) {
        return false;
    }
    line = line.substr(0, last + 1);
    const std::string_view token = line.substr(line.rfind(' ') + 1);
    return std::find(names_.begin(), names_.end(), token) != names_.end();
}

void TopOutputCutter::Feed(std::string_view output) {
    splitter_.Feed(output, [this](std::string_view line) { TakeAnyLine(line); });
}

void TopOutputCutter::Finish() {
    splitter_.Finish([this](std::string_view line) { TakeAnyLine(line); });
    if (!begun_) {
        StartBatch();
    }
    Close();
}

void TopOutputCutter::TakeAnyLine(std::string_view line) {
    const std::string_view token = FirstToken(line);
    if (!begun_ || token == "top") {
        begun_ = true;
        StartBatch();
    }
    if (!token.empty()) {
        TakeLine(token, line);
    }
}

CpuUsageCutter::CpuUsageCutter(CpuSampleTimes times, bool wantsGlobal, bool wantsSelected,
                               std::vector<std::string> process)
    : times_(std::move(times)),
      wantsGlobal_(wantsGlobal),
      wantsSelected_(wantsSelected),
      filter_(std::move(process)) {}

void CpuUsageCutter::StartBatch() {
    const std::string time = NextTime(times_, usage);
    usage.StartBatch(time);
    if (wantsGlobal_) {
        global.StartBatch(NextTime(times_, global));
        if (time.empty()) {
            global.Add({});  // lines without a token are kept, and the time line is one here
        }
    }
    if (wantsSelected_) {
        selected.StartBatch(time);
    }
}

void CpuUsageCutter::TakeLine(std::string_view token, std::string_view line) {
    usage.Add(line);
    if (wantsGlobal_ && !IsDigitString(token) && token != "PID") {
        global.Add(line);
    }
    if (wantsSelected_ && filter_.Matches(line)) {
        selected.Add(line);
    }
}

void CpuUsageCutter::Close() {
    usage.Close();
    global.Close();
    selected.Close();
}

void CpuCoreCutter::StartBatch() {
    cores.StartBatch(NextTime(times_, cores));
}

void CpuCoreCutter::TakeLine(std::string_view /*token*/, std::string_view line) {
    PieceCursor pieces(line, '%');
    for (std::string_view piece; pieces.Next(piece);) {
        cores.Add(piece);
    }
}

void CpuThreadCutter::StartBatch() {
    threads.StartBatch(NextTime(times_, threads));
    kept_ = 0;
}

void CpuThreadCutter::TakeLine(std::string_view token, std::string_view line) {
    if (kept_ < kRowsKept && IsDigitString(token)) {
        threads.Add(line);
        ++kept_;
    }
}

void CpuPsCutter::TakePass(std::string_view output) {
    top10.emplace_back();
    selected.emplace_back();
    CommandLineCursor cursor(output);
    for (std::string_view row; cursor.Next(row);) {
        if (row.empty()) {
            top10.emplace_back();
            selected.emplace_back();
            continue;
        }
        if (top10.back().size() < kRowsKept) {
            top10.back().emplace_back(row);
        }
        if (filter_.Matches(row)) {
            selected.back().emplace_back(row);
        }
    }
}

std::string_view PidOfPsRow(std::string_view row) {
    PieceCursor tokens(row, ' ');
    std::string_view user;
    std::string_view pid;
    return tokens.Next(user) && tokens.Next(pid) ? pid : std::string_view();
}

}  // namespace zarn
