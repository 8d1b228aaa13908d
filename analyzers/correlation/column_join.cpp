#include "analyzers/correlation/column_join.h"

namespace zarn {
namespace {

constexpr std::size_t kPiece = std::size_t{256} << 10U;
constexpr std::size_t kQuotedTime = kTimeDigits + 1;

// A group on its way along the table.
class GroupWalk {
public:
    explicit GroupWalk(const ColumnGroup& group)
        : rows_(*group.rows), hasRow_(rows_.Next()), columns_(group.columns) {
        without_.assign(columns_, ',');
        for (const PeakColumn& column : *group.peaks) {
            peaks_.emplace_back(column.spans);
            without_ += "0,";
        }
    }

    void Append(const TimeDigits& time, std::string& line) {
        while (hasRow_ && rows_.Time() < time) {
            hasRow_ = rows_.Next();
        }
        char* mark = without_.data() + columns_;
        for (SpanWalk& spans : peaks_) {
            *mark = IsInPeak(time, spans) ? '1' : '0';
            mark += 2;
        }
        if (hasRow_ && rows_.Time() == time) {
            rows_.AppendCells(line);
            line.append(without_, columns_);
            hasRow_ = rows_.Next();
        } else {
            line += without_;
        }
    }

    void TakeRest() {
        while (hasRow_) {
            hasRow_ = rows_.Next();
        }
    }

private:
    SourceRows& rows_;
    bool hasRow_;
    std::size_t columns_;
    std::vector<SpanWalk> peaks_;
    std::string without_;  // the cells of a line without a row: empty ones, then those of the peaks
};

void AppendHeads(const ColumnGroup& group, std::string& line) {
    line += group.heads;
    for (const PeakColumn& column : *group.peaks) {
        line.append(column.head).push_back(',');
    }
}

}  // namespace

void JoinColumns(const NextLine& table, const std::vector<ColumnGroup>& groups,
                 const std::function<void(std::string_view)>& give) {
    std::string text;
    std::string_view line;
    if (table(line)) {
        text += line;
    }
    std::vector<GroupWalk> walks;
    for (const ColumnGroup& group : groups) {
        AppendHeads(group, text);
        walks.emplace_back(group);
    }
    text.push_back('\n');
    while (table(line)) {
        if (line.size() < kQuotedTime) {
            continue;
        }
        const TimeDigits time = TimeDigits::At(line.data() + 1);
        text += line;
        for (GroupWalk& walk : walks) {
            walk.Append(time, text);
        }
        text.push_back('\n');
        if (text.size() >= kPiece) {
            give(text);
            text.clear();
        }
    }
    for (GroupWalk& walk : walks) {
        walk.TakeRest();
    }
    give(text);
}

}  // namespace zarn
