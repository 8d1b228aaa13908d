#include "analyzers/cpu/cpu_log_parser.h"

#include <optional>
#include <unordered_map>

#include "foundation/files.h"
#include "foundation/numbers.h"
#include "foundation/text.h"

namespace zarn {
namespace {

// Where the kept shares stand among the eight that are matched, by field.
constexpr std::array<std::size_t, kCpuFieldCount> kShareOfField = {6, 4, 7, 2, 1};

// The least bytes that most process rows have.
constexpr std::size_t kUsualRow = 72;

using FieldValues = std::array<double, kCpuFieldCount>;

// The kept shares of a match whose eight shares are numbered from `firstGroup`.
std::optional<FieldValues> ReadShares(const CpuGroups& groups, std::size_t firstGroup) {
    FieldValues values{};
    for (std::size_t field = 0; field < kCpuFieldCount; ++field) {
        if (!TextToDouble(groups[firstGroup + kShareOfField[field] - 1], values[field])) {
            return std::nullopt;
        }
    }
    return values;
}

// Numbers texts in the order of their first appearance.
class Numbering {
public:
    // The text's number, and whether it is new.
    std::pair<std::uint32_t, bool> Number(std::string_view text) {
        const auto next = static_cast<std::uint32_t>(numbers_.size());
        const auto [place, isNew] = numbers_.try_emplace(text, next);
        return {place->second, isNew};
    }

private:
    std::unordered_map<std::string_view, std::uint32_t> numbers_;
};

// Knows which lines of a text hold a byte, at the cost of one search through the text.
class ByteAhead {
public:
    ByteAhead(std::string_view text, char byte) : text_(text), byte_(byte) {}

    // `line` is a view into the text, behind the one asked for before.
    [[nodiscard]] bool IsIn(std::string_view line) {
        const auto start = static_cast<std::size_t>(line.data() - text_.data());
        if (next_ < start || !searched_) {
            next_ = text_.find(byte_, start);
            searched_ = true;
        }
        return next_ < start + line.size();
    }

private:
    std::string_view text_;
    char byte_;
    std::size_t next_ = 0;
    bool searched_ = false;
};

// Reads the lines that both logs have.
class HeadReader {
public:
    HeadReader(const CpuPatternTable& patterns, CpuLogHead& head)
        : matchTimeStamp_(patterns.at("regexpTimeStamp").match),
          matchTop_(patterns.at("regexpTop").match),
          matchTasks_(patterns.at("regexpTasks").match),
          head_(head) {}

    // The sample that a value found now belongs to.
    [[nodiscard]] std::size_t Sample() const {
        return head_.timeStamps.empty() ? 0 : head_.timeStamps.size() - 1;
    }

    void Append(const FieldValues& values, CpuFieldSeries& series) const {
        for (std::size_t field = 0; field < kCpuFieldCount; ++field) {
            series[field].values.push_back(values[field]);
            series[field].samples.push_back(Sample());
        }
    }

    // Takes what the line has; `closeSample` is called before a time stamp that is not the first.
    template <typename CloseSample>
    void Read(std::string_view line, CpuGroups& groups, CloseSample closeSample) {
        if (matchTimeStamp_(line, groups)) {
            if (!head_.timeStamps.empty()) {
                closeSample();
            }
            head_.timeStamps.push_back(groups[0]);
        }
        if (matchTop_(line, groups)) {
            ReadLoads(groups);
        }
        double tasks = 0.0;
        if (matchTasks_(line, groups) && TextToDouble(groups[1], tasks)) {
            head_.tasks.push_back(tasks);
        }
    }

private:
    void ReadLoads(const CpuGroups& groups) {
        std::array<double, 3> loads{};
        for (std::size_t i = 0; i < loads.size(); ++i) {
            if (!TextToDouble(groups[2 + i], loads[i])) {
                return;
            }
        }
        head_.loads["avgLoad1min"].push_back(loads[0]);
        head_.loads["avgLoad5min"].push_back(loads[1]);
        head_.loads["avgLoad15min"].push_back(loads[2]);
    }

    CpuMatcher matchTimeStamp_;
    CpuMatcher matchTop_;
    CpuMatcher matchTasks_;
    CpuLogHead& head_;
};

class UsageLogReader {
public:
    UsageLogReader(std::string_view text, const CpuPatternTable& patterns, CpuUsageLog& log)
        : parenthesis_(text, '('),
          head_(patterns, log.head),
          matchCpu_(patterns.at("regexpCpu").match),
          matchProcInfo_(patterns.at("regexpProcInfo").match),
          log_(log) {
        log_.sampleProcs.Reserve(text.size() / kUsualRow);
        log_.sampleRows.Reserve(text.size() / kUsualRow);
    }

    void Read(std::string_view line) {
        SortIntoBatch(line);
        head_.Read(line, groups_, [this] { CloseSample(); });
        if (parenthesis_.IsIn(line) && matchCpu_(line, groups_)) {
            if (const auto values = ReadShares(groups_, 1)) {
                head_.Append(*values, log_.summary);
            }
        }
        double usage = 0.0;
        if (matchProcInfo_(line, groups_) && TextToDouble(groups_[2], usage)) {
            AddRow(usage);
        }
    }

    void Finish() {
        if (!log_.head.timeStamps.empty()) {
            CloseSample();
        }
        if (sawTop_ || log_.sampleRows.IsOpen()) {
            log_.sampleRows.Close();
        }
    }

private:
    void SortIntoBatch(std::string_view line) {
        std::size_t start = 0;
        while (start < line.size() && line[start] == ' ') {
            ++start;
        }
        const std::string_view words = line.substr(start);
        const bool mayBeRow = !words.empty() && words.front() <= '9';
        if (!mayBeRow && words.substr(0, 3) != "top") {
            return;
        }
        const std::string_view first = words.substr(0, words.find(' '));
        if (first == "top") {
            if (sawTop_) {
                log_.sampleRows.Close();
            }
            sawTop_ = true;
        } else if (mayBeRow && first.size() != words.size() && IsDigitString(first)) {
            log_.sampleRows.Add(line);
        }
    }

    void CloseSample() {
        log_.sampleTotals.push_back(total_);
        log_.sampleProcs.Close();
        total_ = 0.0;
    }

    void AddRow(double usage) {
        const auto [process, isNew] = pids_.Number(groups_[1]);
        if (isNew) {
            log_.processes.push_back({groups_[1], {}, {}});
            commandOf_.push_back(0);
        }
        CpuProcess& record = log_.processes[process];
        if (isNew || record.command != groups_[3]) {
            record.command = groups_[3];
            commandOf_[process] = CommandNumber(groups_[3]);
        }
        record.values.push_back(usage);
        log_.sampleProcs.Add({process, commandOf_[process], usage});
        total_ += usage;
    }

    std::uint32_t CommandNumber(std::string_view command) {
        const auto [number, isNew] = commands_.Number(command);
        if (isNew) {
            log_.commands.push_back(command);
        }
        return number;
    }

    ByteAhead parenthesis_;  // a summary line has one, few others do
    HeadReader head_;
    CpuMatcher matchCpu_;
    CpuMatcher matchProcInfo_;
    CpuUsageLog& log_;
    CpuGroups groups_;
    Numbering pids_;
    Numbering commands_;
    std::vector<std::uint32_t> commandOf_;  // by process
    double total_ = 0.0;
    bool sawTop_ = false;
};

class CoresLogReader {
public:
    CoresLogReader(const CpuPatternTable& patterns, CpuCoresLog& log)
        : head_(patterns, log.head),
          matchCoresCpu_(patterns.at("regexpCoresCpu").match),
          log_(log) {}

    void Read(std::string_view line) {
        head_.Read(line, groups_, [] {});
        if (!matchCoresCpu_(line, groups_)) {
            return;
        }
        const auto values = ReadShares(groups_, 2);
        if (!values) {
            return;
        }
        const auto [core, isNew] = names_.Number(groups_[1]);
        if (isNew) {
            log_.cores.push_back({groups_[1], {}});
        }
        head_.Append(*values, log_.cores[core].fields);
    }

private:
    HeadReader head_;
    CpuMatcher matchCoresCpu_;
    CpuCoresLog& log_;
    CpuGroups groups_;
    Numbering names_;
};

template <typename Reader>
void ReadLines(std::string_view text, Reader& reader) {
    LineCursor cursor(text);
    std::string_view line;
    while (cursor.Next(line)) {
        reader.Read(line);
    }
}

}  // namespace

CpuUsageLog ParseUsageLog(std::string_view text, const CpuPatternTable& patterns) {
    CpuUsageLog log;
    UsageLogReader reader(text, patterns, log);
    ReadLines(text, reader);
    reader.Finish();
    return log;
}

CpuCoresLog ParseCoresLog(std::string_view text, const CpuPatternTable& patterns) {
    CpuCoresLog log;
    CoresLogReader reader(patterns, log);
    ReadLines(text, reader);
    return log;
}

}  // namespace zarn
