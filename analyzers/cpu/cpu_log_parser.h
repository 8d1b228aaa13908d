#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "analyzers/cpu/cpu_patterns.h"

// What the raw logs of the CPU collection hold. All texts are views into the log.
namespace zarn {

// The shares of CPU time that are kept, in percent, in the order of their names.
inline constexpr std::size_t kCpuFieldCount = 5;
inline constexpr std::array<const char*, kCpuFieldCount> kCpuFieldNames = {"hi", "id", "si", "sy",
                                                                           "us"};
inline constexpr std::size_t kCpuIdle = 1;  // index of "id"

// Values in file order, each with the index of the sample it belongs to, so that a sample torn out
// of the log shifts nothing. What stands before the first time stamp belongs to the first sample.
struct CpuSeries {
    std::vector<double> values;
    std::vector<std::size_t> samples;
};
using CpuFieldSeries = std::array<CpuSeries, kCpuFieldCount>;

// A list of lists in two blocks of memory.
template <typename Item>
class Batches {
public:
    // Makes room for that many items beforehand.
    void Reserve(std::size_t count) { items_.reserve(count); }
    void Add(const Item& item) { items_.push_back(item); }
    // Ends the batch that was added to, which may be empty.
    void Close() { ends_.push_back(items_.size()); }
    // Whether something was added since the last Close.
    [[nodiscard]] bool IsOpen() const { return items_.size() != Start(ends_.size()); }
    [[nodiscard]] std::size_t Count() const { return ends_.size(); }

    struct Range {
        const Item* first;
        const Item* last;
        [[nodiscard]] const Item* begin() const { return first; }
        [[nodiscard]] const Item* end() const { return last; }
    };
    // `batch` is below Count().
    [[nodiscard]] Range At(std::size_t batch) const {
        return {items_.data() + Start(batch), items_.data() + ends_[batch]};
    }

private:
    [[nodiscard]] std::size_t Start(std::size_t batch) const {
        return batch == 0 ? 0 : ends_[batch - 1];
    }

    std::vector<Item> items_;
    std::vector<std::size_t> ends_;
};

// What both logs say of the system.
struct CpuLogHead {
    std::vector<std::string_view> timeStamps;  // 17 digits, one per sample
    std::map<std::string, std::vector<double>> loads = {
        {"avgLoad15min", {}}, {"avgLoad1min", {}}, {"avgLoad5min", {}}};
    std::vector<double> tasks;
};

// A process, known by the text of its pid.
struct CpuProcess {
    std::string_view pid;
    std::string_view command;    // the last one seen under this pid
    std::vector<double> values;  // %CPU in each row of the process
};

// One row of one sample.
struct CpuProcessRow {
    std::uint32_t process;  // index into processes
    std::uint32_t command;  // index into commands
    double usage;           // %CPU
};

struct CpuUsageLog {
    CpuLogHead head;
    CpuFieldSeries summary;
    std::vector<double> sampleTotals;        // sum of %CPU of the rows, one per time stamp
    std::vector<CpuProcess> processes;       // in order of appearance
    std::vector<std::string_view> commands;  // all that occur, in order of appearance
    Batches<CpuProcessRow> sampleProcs;      // one batch per time stamp
    // Lines that may be process rows (see RewriteProcessRow), one batch per header line of `top`.
    Batches<std::string_view> sampleRows;
};

struct CpuCore {
    std::string_view name;  // such as "Cpu0"
    CpuFieldSeries fields;
};

struct CpuCoresLog {
    CpuLogHead head;
    std::vector<CpuCore> cores;  // in order of appearance
};

// Reads a usage log in one walk. Each line is tried against each of the expressions; what none
// matches, and a number beyond what a double holds (after the line of TextToDouble), is passed
// over. Accepts any bytes; `text` must outlive the result. Throws std::out_of_range if `patterns`
// lacks an expression.
//  - A time stamp closes the sample before it, if there is one, and opens the next.
//  - A header line of `top` gives the loads, a "Tasks:" line the tasks, a "Cpu(s):" line the
//  shares.
//  - A process row adds to the sample's total, to its process and to the sample's rows.
//  - A line whose first word is "top" opens the next batch of lines; a line whose first word is all
//    digits goes into the batch.
[[nodiscard]] CpuUsageLog ParseUsageLog(std::string_view text, const CpuPatternTable& patterns);

// The same for a cores log: time stamps, loads, tasks, and the shares of each core.
[[nodiscard]] CpuCoresLog ParseCoresLog(std::string_view text, const CpuPatternTable& patterns);

}  // namespace zarn
