#include "report/statistics.h"

#include <utility>

namespace zarn::report {
namespace {

// How many elements a list of moments has; a list without any is what the analyzer found none of.
[[nodiscard]] Cell CountCell(const JsonValue* list, const Source& source) {
    if (list == nullptr || !list->IsArray()) {
        return EmptyCell(list == nullptr ? Reason::NotInFile : Reason::NotANumber);
    }
    Cell cell = EmptyCell(Reason::NotFound);
    cell.source = source;
    if (!list->Empty()) {
        cell.value = static_cast<double>(list->Size());
        cell.computed = "counted";
    }
    return cell;
}

// Of the listed moments the one of the greatest value, or with `sign` -1 of the least.
[[nodiscard]] const JsonValue* ExtremeOf(const JsonValue* list, const MarkNames& names,
                                         double sign) {
    const JsonValue* extreme = nullptr;
    std::optional<double> best;
    for (const JsonValue* one : ElementsOf(list)) {
        const auto value = NumberOf(MemberOf(one, names.value));
        if (value && (!best || sign * *value > sign * *best)) {
            best = value;
            extreme = one;
        }
    }
    return extreme;
}

}  // namespace

TableBlock StatisticsTable(BlockHead head, const std::string& subject, const std::string& unit) {
    TableBlock table;
    table.head = std::move(head);
    table.columns = {{subject, "", false},  {"mean", unit, true}, {"greatest", unit, true},
                     {"least", unit, true}, {"peaks", "", true},  {"troughs", "", true}};
    return table;
}

void AddStatistics(const std::string& subject, const FoundAt& at, const StatisticsNames& names,
                   TableBlock& table) {
    AddRow(table,
           {TextCellOf(subject, at.source), NumberCell(MemberOf(at.figures, names.mean), at.source),
            NumberCell(MemberOf(at.figures, names.greatest), at.source),
            NumberCell(MemberOf(at.figures, names.least), at.source),
            CountCell(MemberOf(at.figures, names.peaks), at.source),
            CountCell(MemberOf(at.figures, names.troughs), at.source)});
}

void MarkMean(const SampleCount& samples, std::size_t mean, std::vector<Cell>& row,
              FewSamples& few) {
    constexpr std::size_t kFigures = 3;
    const std::size_t marked = samples == 0U ? kFigures : 1;
    for (std::size_t i = mean; i < mean + marked && i < row.size(); ++i) {
        few.Mark(samples, row[i]);
    }
}

void AddPeaksAndTroughs(const FoundAt& at, const StatisticsNames& names,
                        std::optional<std::size_t> line, std::vector<Mark>& marks) {
    Mark like;
    like.series = line;
    like.source = at.source;
    like.label = "peak";
    like.sign = Sign::Peak;
    AddMarks(MemberOf(at.figures, names.peaks), names.marks, like, marks);
    like.label = "trough";
    like.sign = Sign::Trough;
    AddMarks(MemberOf(at.figures, names.troughs), names.marks, like, marks);
}

void TellExtremes(const std::string& subject, const FoundAt& at, const StatisticsNames& names,
                  const std::string& unit, std::vector<Finding>& findings) {
    const auto tell = [&](std::string_view list, const std::string& words, double sign) {
        const JsonValue* one = ExtremeOf(MemberOf(at.figures, list), names.marks, sign);
        if (one != nullptr) {
            findings.push_back({TextCellOf(subject + words, at.source),
                                NumberCell(MemberOf(one, names.marks.value), at.source), unit,
                                MomentCell(MemberOf(one, names.marks.moment), at.source)});
        }
    };
    tell(names.peaks, ": greatest peak", 1.0);
    tell(names.troughs, ": least trough", -1.0);
}

}  // namespace zarn::report
