#include <algorithm>

#include "collectors/system/cpu/cpu_samples_parser.h"
#include "fuzz/fuzz_input.h"

namespace zarn {
namespace {

const CpuSampleTimes kTimes("20261122010203004", 0.5);
const std::vector<std::string> kProcesses{"top", "ps", "kworker/0:1"};

template <class Cutter>
Cutter MakeCutter();

template <>
CpuUsageCutter MakeCutter() {
    return CpuUsageCutter(kTimes, true, true, kProcesses);
}

template <>
CpuCoreCutter MakeCutter() {
    return CpuCoreCutter(kTimes);
}

template <>
CpuThreadCutter MakeCutter() {
    return CpuThreadCutter(kTimes);
}

// The output handed over in pieces of `length` bytes, 0 for all at once; `take` gets the cutter.
template <class Cutter, class Take>
void Cut(std::string_view output, std::size_t length, Take take) {
    Cutter cutter = MakeCutter<Cutter>();
    if (length == 0) {
        cutter.Feed(output);
    } else {
        for (std::size_t at = 0; at < output.size(); at += length) {
            cutter.Feed(output.substr(at, length));
        }
    }
    cutter.Finish();
    take(cutter);
}

// The batches are the text, each with the empty line after it, and each headed by its own time.
void RequireWholeBatches(const CpuLog& log) {
    fuzz::Require(log.Size() > 0, "there is always a batch");
    std::string text;
    for (std::size_t index = 0; index < log.Size(); ++index) {
        const std::string_view batch = log.Batch(index);
        std::string time;
        fuzz::Require(kTimes.At(index, time), "these times can be had");
        fuzz::Require(batch.substr(0, time.size() + 1) == time + "\n",
                      "a batch begins by its time");
        text.append(batch).append("\n");
    }
    fuzz::Require(text == log.Text(), "the batches are the text");
}

std::size_t LinesOf(std::string_view batch) {
    return static_cast<std::size_t>(std::count(batch.begin(), batch.end(), '\n'));
}

void CheckUsage(std::string_view output, std::size_t length) {
    Cut<CpuUsageCutter>(output, 0, [&](const CpuUsageCutter& whole) {
        RequireWholeBatches(whole.usage);
        RequireWholeBatches(whole.global);
        RequireWholeBatches(whole.selected);
        fuzz::Require(whole.global.Size() == whole.usage.Size(), "a global batch per batch");
        fuzz::Require(whole.selected.Size() == whole.usage.Size(), "a selected batch per batch");
        fuzz::Require(whole.global.Text().size() <= whole.usage.Text().size() &&
                          whole.selected.Text().size() <= whole.usage.Text().size(),
                      "a part is not more than the whole");
        Cut<CpuUsageCutter>(output, length, [&](const CpuUsageCutter& pieces) {
            fuzz::Require(pieces.usage.Text() == whole.usage.Text() &&
                              pieces.global.Text() == whole.global.Text() &&
                              pieces.selected.Text() == whole.selected.Text(),
                          "pieces of any length give the same logs");
        });
    });
}

void CheckCores(std::string_view output, std::size_t length) {
    Cut<CpuCoreCutter>(output, 0, [&](const CpuCoreCutter& whole) {
        RequireWholeBatches(whole.cores);
        Cut<CpuCoreCutter>(output, length, [&](const CpuCoreCutter& pieces) {
            fuzz::Require(pieces.cores.Text() == whole.cores.Text(),
                          "pieces of any length give the same cores log");
        });
    });
}

void CheckThreads(std::string_view output, std::size_t length) {
    Cut<CpuThreadCutter>(output, 0, [&](const CpuThreadCutter& whole) {
        RequireWholeBatches(whole.threads);
        for (std::size_t index = 0; index < whole.threads.Size(); ++index) {
            fuzz::Require(LinesOf(whole.threads.Batch(index)) <= 11, "ten rows below the time");
        }
        Cut<CpuThreadCutter>(output, length, [&](const CpuThreadCutter& pieces) {
            fuzz::Require(pieces.threads.Text() == whole.threads.Text(),
                          "pieces of any length give the same threads log");
        });
    });
}

void CheckPs(std::string_view output) {
    CpuPsCutter cutter(kProcesses);
    cutter.TakePass(output);
    fuzz::Require(cutter.top10.size() == cutter.selected.size(), "the lists go together");
    for (const CpuRows& rows : cutter.top10) {
        fuzz::Require(rows.size() <= 10, "ten rows at most");
        for (const std::string& row : rows) {
            (void)PidOfPsRow(row);
        }
    }
    for (const CpuRows& rows : cutter.selected) {
        for (const std::string& row : rows) {
            const std::size_t last = row.find_last_not_of(' ');
            fuzz::Require(last != std::string::npos, "a selected row has a token");
            const std::string token = row.substr(0, last + 1);
            fuzz::Require(std::any_of(kProcesses.begin(), kProcesses.end(),
                                      [&](const std::string& name) {
                                          return token.size() >= name.size() &&
                                                 token.compare(token.size() - name.size(),
                                                               name.size(), name) == 0;
                                      }),
                          "a selected row ends by a name");
        }
    }
}

}  // namespace
}  // namespace zarn

// The collector's readers of what top and ps print. The first byte is the length of the pieces in
// which the rest is handed over.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::string_view output = zarn::fuzz::AsText(data + 1, size - 1);
    const std::size_t length = std::max<std::size_t>(data[0], 1);
    zarn::CheckUsage(output, length);
    zarn::CheckCores(output, length);
    zarn::CheckThreads(output, length);
    zarn::CheckPs(output);
    return 0;
}
