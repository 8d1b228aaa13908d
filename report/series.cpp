#include "report/series.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "report/json_out.h"
#include "report/moments.h"
#include "report/tables.h"

namespace zarn::report {
namespace {

// So many points of a chart no screen shows, and each costs some 25 bytes of the report.
constexpr std::size_t kMostPoints = 24000;
constexpr std::size_t kMostPointsOfLine = 2000;
constexpr std::size_t kLeastPointsOfLine = 200;

[[nodiscard]] std::size_t RowsFor(std::size_t columns) {
    return std::clamp(kMostPoints / std::max<std::size_t>(columns, 1), kLeastPointsOfLine,
                      kMostPointsOfLine);
}

[[nodiscard]] std::string WithSentence(const std::string& note, const std::string& sentence) {
    return note.empty() ? sentence : note + " " + sentence;
}

}  // namespace

SeriesMaker::SeriesMaker(std::vector<std::string> names, bool isStacked)
    : names_(std::move(names)), isStacked_(isStacked) {
    const std::size_t rows = RowsFor(names_.size());
    if (isStacked_) {
        thinners_.emplace_back(names_.size(), rows);
    } else {
        thinners_.assign(names_.size(), Thinner(1, rows));
    }
}

void SeriesMaker::Add(Mark mark) {
    ++marksInAll_;
    if (marks_.size() >= kMostMarks) {
        return;
    }
    // A document may tell of lines that the table beside it does not have.
    if (mark.series && *mark.series >= names_.size()) {
        mark.series.reset();
    }
    for (std::size_t i = 0; i < thinners_.size(); ++i) {
        if (isStacked_ || !mark.series || *mark.series == i) {
            thinners_[i].MustKeep(mark.moment);
        }
    }
    marks_.push_back(std::move(mark));
}

void SeriesMaker::Add(Moment moment, const std::vector<std::optional<double>>& values,
                      std::uint64_t line) {
    if (isStacked_) {
        thinners_.front().Add(moment, values, line);
        return;
    }
    for (std::size_t i = 0; i < thinners_.size(); ++i) {
        thinners_[i].Add(moment, i < values.size() ? values[i] : std::nullopt, line);
    }
}

void SeriesMaker::AddTo(std::size_t index, Moment moment, const std::optional<double>& value,
                        std::uint64_t line) {
    thinners_[index].Add(moment, value, line);
}

bool SeriesMaker::HasSamples() const {
    return std::any_of(thinners_.begin(), thinners_.end(),
                       [](const Thinner& thinner) { return thinner.Taken() > 0; });
}

SeriesLine LineOf(Thinner& thinner, std::size_t column, const std::string& name) {
    SeriesLine line;
    line.name = std::string(CutUtf8(name, kMostOfName));
    for (const Thinner::Row& row : thinner.Rows()) {
        line.moments.push_back(row.moment);
        line.values.push_back(row.values[column]);
        line.lines.push_back(row.line);
        if (thinner.BucketSize() > 1) {
            line.counts.push_back(row.measured[column].count);
            line.means.push_back(row.measured[column].Mean());
        }
    }
    // Numbers near the greatest there are have means beyond them.
    if (!std::all_of(line.means.begin(), line.means.end(),
                     [](double mean) { return std::isfinite(mean); })) {
        line.counts.clear();
        line.means.clear();
    }
    return line;
}

void FinishLine(FamilyContext& context, const RunFile& file, SeriesLine& line) {
    line.run = context.run.Number();
    line.file = file.index;
    for (const std::uint64_t number : line.lines) {
        context.files.WantPoint(file.index, number);
    }
}

std::string SeriesMaker::Note(const std::string& note) const {
    std::uint64_t backward = 0;
    std::uint64_t bucket = 1;
    for (const Thinner& thinner : thinners_) {
        backward = std::max(backward, thinner.Backward());
        bucket = std::max(bucket, thinner.BucketSize());
    }
    std::string words = note;
    if (bucket > 1) {
        words = WithSentence(words, "Thinned: of every " + std::to_string(bucket) +
                                        " samples the least and the greatest are here.");
    }
    if (backward > 0) {
        words = WithSentence(words, "Left out: " + std::to_string(backward) +
                                        " samples whose time lies before that of the one before.");
    }
    if (passedOver_ > 0) {
        words = WithSentence(words,
                             "Left out: " + std::to_string(passedOver_) + " rows without a time.");
    }
    if (marksInAll_ > marks_.size()) {
        words = WithSentence(words, "Marked are the first " + std::to_string(marks_.size()) +
                                        " of " + std::to_string(marksInAll_) + " moments.");
    }
    return words;
}

SeriesBlock SeriesMaker::MakeLines(FamilyContext& context, BlockHead head, std::string unit) {
    SeriesBlock block;
    block.head = std::move(head);
    block.unit = std::move(unit);
    block.isStacked = isStacked_;
    std::uint64_t measured = 0;
    std::uint64_t kept = 0;
    for (std::size_t i = 0; i < names_.size(); ++i) {
        Thinner& thinner = thinners_[isStacked_ ? 0 : i];
        block.series.push_back(LineOf(thinner, isStacked_ ? i : 0, names_[i]));
        block.series.back().run = context.run.Number();
        measured += thinner.Taken();
        kept += block.series.back().values.size();
    }
    block.head.note = Note(block.head.note);
    block.total = measured > kept ? measured : 0;
    block.marks = std::move(marks_);
    return block;
}

SeriesBlock SeriesMaker::Make(FamilyContext& context, const RunFile& file, BlockHead head,
                              std::string unit) {
    SeriesBlock block = MakeLines(context, std::move(head), std::move(unit));
    for (SeriesLine& line : block.series) {
        FinishLine(context, file, line);
    }
    return block;
}

SeriesBlock SeriesMaker::MakeOfFiles(FamilyContext& context,
                                     const std::vector<std::uint32_t>& files, BlockHead head,
                                     std::string unit) {
    SeriesBlock block = MakeLines(context, std::move(head), std::move(unit));
    for (SeriesLine& line : block.series) {
        for (const std::uint64_t place : line.lines) {
            line.sources.push_back({files[place], 1});
            context.files.WantPoint(files[place], 1);
        }
        line.lines.clear();
    }
    return block;
}

void AddMarks(const JsonValue* found, const MarkNames& names, const Mark& like,
              std::vector<Mark>& marks) {
    for (const JsonValue* one : ElementsOf(found)) {
        const auto moment = MomentOf(MemberOf(one, names.moment));
        const JsonValue* value = MemberOf(one, names.value);
        if (!moment || !NumberOf(value)) {
            continue;
        }
        Mark mark = like;
        mark.moment = *moment;
        mark.label += " " + std::string(TextOf(value).value_or(""));
        marks.push_back(std::move(mark));
    }
}

std::optional<SeriesBlock> ChartOfTable(FamilyContext& context, const RunFile& file,
                                        const ChartWords& words, const std::vector<Mark>& marks) {
    std::optional<SeriesMaker> maker;
    std::vector<std::string> head;
    std::vector<std::optional<double>> values;
    const auto begin = [&](const std::vector<std::string_view>& cells) {
        head.assign(cells.begin(), cells.end());
        std::vector<std::string> names(head.begin() + 1, head.end());
        names.resize(std::min(names.size(), words.mostLines));
        maker.emplace(std::move(names), words.isStacked);
        for (const Mark& mark : marks) {
            maker->Add(mark);
        }
    };
    ReadTable(context.files, file, [&](const auto& cells, std::uint64_t line) {
        const bool isHead =
            maker ? std::equal(cells.begin(), cells.end(), head.begin(), head.end()) : true;
        if (isHead) {
            if (cells.size() > 1) {
                begin(cells);
            }
            return;
        }
        const auto moment = cells.empty() ? std::nullopt : MomentOfCell(cells[0]);
        if (!moment) {
            maker->PassOver();
            return;
        }
        values.clear();
        for (std::size_t i = 1; i < cells.size() && i <= words.mostLines; ++i) {
            values.push_back(WholeNumberIn(cells[i]));
        }
        maker->Add(*moment, values, line);
    });
    if (!maker || !maker->HasSamples()) {
        return std::nullopt;
    }
    return maker->Make(context, file, words.head, words.unit);
}

}  // namespace zarn::report
