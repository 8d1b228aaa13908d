#pragma once

#include <optional>
#include <string>
#include <vector>

#include "report/family.h"
#include "report/thinner.h"

namespace zarn::report {

// A chart in the making, of samples that come one after another.
class SeriesMaker {
public:
    // `isStacked`: the lines keep the same moments, so that they can be added up.
    SeriesMaker(std::vector<std::string> names, bool isStacked);

    // A mark on a line, or on none, whose sample stays. To be told before the samples.
    void Add(Mark mark);

    // A sample of all lines: those beyond the values have none.
    void Add(Moment moment, const std::vector<std::optional<double>>& values, std::uint64_t line);
    // A sample of one line, of a chart that is not stacked.
    void AddTo(std::size_t index, Moment moment, const std::optional<double>& value,
               std::uint64_t line);

    // What a sample that has no moment counts to.
    void PassOver() { ++passedOver_; }

    [[nodiscard]] bool HasSamples() const;

    // The chart; the maker is empty then. Its note ends in what was left out.
    [[nodiscard]] SeriesBlock Make(FamilyContext& context, const RunFile& file, BlockHead head,
                                   std::string unit);
    // The same of samples that are the first lines of many files: the "line" that came with each
    // was a place in `files`.
    [[nodiscard]] SeriesBlock MakeOfFiles(FamilyContext& context,
                                          const std::vector<std::uint32_t>& files, BlockHead head,
                                          std::string unit);

private:
    [[nodiscard]] SeriesBlock MakeLines(FamilyContext& context, BlockHead head, std::string unit);
    [[nodiscard]] std::string Note(const std::string& note) const;

    std::vector<std::string> names_;
    bool isStacked_;
    std::vector<Thinner> thinners_;  // one for all lines that are stacked, else one for each
    std::vector<Mark> marks_;
    std::uint64_t marksInAll_ = 0;
    std::uint64_t passedOver_ = 0;
};

// A line of a chart with what a thinner kept of a column.
[[nodiscard]] SeriesLine LineOf(Thinner& thinner, std::size_t column, const std::string& name);
// Says where its values come from: from the lines of a file of that run.
void FinishLine(FamilyContext& context, const RunFile& file, SeriesLine& line);

// The marks of an analyzer's peaks or troughs: objects with a value and a moment under these names.
struct MarkNames {
    std::string_view value;
    std::string_view moment;
};
void AddMarks(const JsonValue* found, const MarkNames& names, const Mark& like,
              std::vector<Mark>& marks);

// The chart of a table: a head line, and lines of a moment and numbers. A head line that comes
// again begins the table anew, since the last analysis counts.
struct ChartWords {
    BlockHead head;
    std::string unit;
    bool isStacked = false;
    std::size_t mostLines = kMostColumns;
};
[[nodiscard]] std::optional<SeriesBlock> ChartOfTable(FamilyContext& context, const RunFile& file,
                                                      const ChartWords& words,
                                                      const std::vector<Mark>& marks);

}  // namespace zarn::report
