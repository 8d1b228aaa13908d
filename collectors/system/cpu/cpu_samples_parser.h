#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/commands.h"

// Cuts what `top` and `ps` print into one batch per sample. Accepted is any text: the lines are
// those of CutCommandLines, so a line beyond its piece length counts as several. The output is
// taken in pieces that end anywhere, as it comes, and only what is kept of it stays in memory.
namespace zarn {

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

// The batches of one raw log, in the form in which they are filed: per batch its time, its lines
// and an empty line.
class CpuLog {
public:
    // Ends the open batch, if there is one, and opens the next, headed by `time`, which is empty
    // where it cannot be had.
    void StartBatch(std::string_view time);
    // Adds a line to the open batch.
    void Add(std::string_view line);
    // Ends the last batch. Nothing is added afterwards.
    void Close();

    // The text of the raw log, once it is closed.
    [[nodiscard]] const std::string& Text() const { return text_; }
    // How many batches there are.
    [[nodiscard]] std::size_t Size() const { return starts_.size(); }
    // The time and the lines of a batch, each with its newline; empty if there is no such batch.
    [[nodiscard]] std::string_view Batch(std::size_t index) const;

private:
    std::string text_;
    std::vector<std::size_t> starts_;  // of the batches in the text
};

// Whether the last token of a line is one of some names. Few lines of a run pass, so their last
// byte is looked at before anything else.
class LastTokenFilter {
public:
    explicit LastTokenFilter(std::vector<std::string> names);

    [[nodiscard]] bool Matches(std::string_view line) const;

private:
    std::vector<std::string> names_;
    std::array<bool, 256> lastBytes_{};
};

// Walks the output of a program of the `top` family: hands on the lines that have a token, and the
// beginning of each batch. A line whose first token is "top" begins one, unless it is the very
// first line, which belongs to the first batch; there is always a first batch, be the output empty.
class TopOutputCutter {
public:
    TopOutputCutter() = default;
    TopOutputCutter(const TopOutputCutter&) = delete;
    TopOutputCutter& operator=(const TopOutputCutter&) = delete;
    virtual ~TopOutputCutter() = default;

    void Feed(std::string_view output);
    // The output is at its end.
    void Finish();

protected:
    virtual void StartBatch() = 0;
    // `token` is the first one of `line`.
    virtual void TakeLine(std::string_view token, std::string_view line) = 0;
    virtual void Close() = 0;

private:
    void TakeAnyLine(std::string_view line);

    CommandLineSplitter splitter_;
    bool begun_ = false;  // a line was seen
};

// Of `top -b`, in one pass: the usage log, all lines; the global log, of them the summary, that is
// all but those whose first token is a number or "PID"; the log of the selected processes, of them
// those whose last token is one of some names.
class CpuUsageCutter final : public TopOutputCutter {
public:
    // The last two logs are only made if asked for; `process` are the names for the last.
    CpuUsageCutter(CpuSampleTimes times, bool wantsGlobal, bool wantsSelected,
                   std::vector<std::string> process);

    CpuLog usage;
    CpuLog global;
    CpuLog selected;

private:
    void StartBatch() override;
    void TakeLine(std::string_view token, std::string_view line) override;
    void Close() override;

    CpuSampleTimes times_;
    bool wantsGlobal_;
    bool wantsSelected_;
    LastTokenFilter filter_;
};

// Of `top -1 -b`, which prints several cores on a line: the pieces between "%", each a line.
class CpuCoreCutter final : public TopOutputCutter {
public:
    explicit CpuCoreCutter(CpuSampleTimes times) : times_(std::move(times)) {}

    CpuLog cores;

private:
    void StartBatch() override;
    void TakeLine(std::string_view token, std::string_view line) override;
    void Close() override { cores.Close(); }

    CpuSampleTimes times_;
};

// Of `top -b -H`: the first ten lines of each batch whose first token is a number.
class CpuThreadCutter final : public TopOutputCutter {
public:
    explicit CpuThreadCutter(CpuSampleTimes times) : times_(std::move(times)) {}

    CpuLog threads;

private:
    void StartBatch() override;
    void TakeLine(std::string_view token, std::string_view line) override;
    void Close() override { threads.Close(); }

    CpuSampleTimes times_;
    std::size_t kept_ = 0;  // lines of the open batch
};

using CpuRows = std::vector<std::string>;

// Of the passes of ps, one batch each; an empty line inside a pass ends a batch too. Kept are the
// first ten rows, and the rows whose last token is one of some names.
class CpuPsCutter {
public:
    explicit CpuPsCutter(std::vector<std::string> process) : filter_(std::move(process)) {}

    // `output` is that of one whole pass.
    void TakePass(std::string_view output);

    std::vector<CpuRows> top10;
    std::vector<CpuRows> selected;

private:
    LastTokenFilter filter_;
};

// The pid of a row of ps, its second token; empty if the row has fewer than two.
[[nodiscard]] std::string_view PidOfPsRow(std::string_view row);

}  // namespace zarn
