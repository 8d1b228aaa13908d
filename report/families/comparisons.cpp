// The comparators' tables, with the differences between versions.

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <utility>

#include "formats/cpu.h"
#include "formats/ddr.h"
#include "formats/hot_fun.h"
#include "formats/mem.h"
#include "foundation/text.h"
#include "report/families/families.h"
#include "report/families/version_samples.h"
#include "report/tables.h"

namespace zarn::report {
namespace {

using Cells = std::vector<std::string_view>;

constexpr std::size_t kMostBarRows = 60;

// Twelve digits of the greater of both: what follows is of binary fractions, not of the values.
[[nodiscard]] double Subtract(double to, double from) {
    const double greater = std::max(std::abs(to), std::abs(from));
    const double scale =
        std::pow(10.0, std::clamp(11.0 - std::floor(std::log10(greater)), 0.0, 15.0));
    return std::round((to - from) * scale) / scale;
}

// What a version's value differs by from the first version's.
[[nodiscard]] Cell DifferenceOf(const Cell& first, const Cell& other) {
    const auto* from = std::get_if<double>(&first.value);
    const auto* to = std::get_if<double>(&other.value);
    Cell cell = EmptyCell(Reason::NotInFile);
    cell.source = other.source;
    if (from != nullptr && to != nullptr) {
        cell.value = Subtract(*to, *from);
        cell.computed = "this version's value minus the first version's";
        cell.grey = first.grey || other.grey;
    }
    return cell;
}

// The greatest difference of each version from the first, for the first page.
class GreatestDifferences {
public:
    void Take(const std::string& version, const std::string& figure, const Cell& difference) {
        const auto* by = std::get_if<double>(&difference.value);
        if (by == nullptr || *by == 0.0) {
            return;
        }
        const auto [known, isNew] = greatest_.try_emplace(version, figure, difference);
        const double most = std::abs(std::get<double>(known->second.second.value));
        if (!isNew && std::abs(*by) > most) {
            known->second = {figure, difference};
        }
    }

    void TellIn(const std::string& title, const std::string& unit,
                std::vector<Finding>& findings) const {
        for (const auto& [version, found] : greatest_) {
            std::string what = title;
            what.append(", what differs most in ").append(version).append(": ").append(found.first);
            findings.push_back({TextCellOf(what, found.second.source.value_or(Source{})),
                                found.second, unit, EmptyCell(Reason::NotInFile)});
        }
    }

private:
    std::map<std::string, std::pair<std::string, Cell>> greatest_;
};

// How the rows of a table of versions end that are drawn, and in what unit they are.
struct Drawn {
    const char* begin;
    const char* end;
    const char* unit;
};

// How many samples a figure of a version is of; none for what no samples were summed up for.
using SamplesOfFigure =
    std::function<SampleCount(const std::string& version, std::string_view figure)>;

// Takes the head line.
void BeginVersions(const Cells& cells, TableBlock& table, BarsBlock& bars) {
    table.columns.push_back({"figure", "", false});
    for (std::size_t i = 1; i < cells.size(); ++i) {
        table.columns.push_back({ShortText(cells[i]), "", true});
        bars.names.push_back(ShortText(cells[i]));
    }
    for (std::size_t i = 2; i < cells.size(); ++i) {
        table.columns.push_back({ShortText(cells[i]) + " minus " + bars.names.front(), "", true});
    }
}

// A table with a head line of versions, and a line for each figure.
void AddVersionTable(FamilyContext& context, const RunFile& file, const std::string& title,
                     const Drawn& drawn, const SamplesOfFigure& samplesOf,
                     std::vector<Block>& blocks) {
    FewSamples few;
    GreatestDifferences greatest;
    TableBlock table;
    table.head = {title, "", Source{file.index, 0}};
    BarsBlock bars;
    bars.head = {title + ": means", "", Source{file.index, 0}};
    bars.unit = drawn.unit;
    ReadTable(context.files, file, [&](const Cells& cells, std::uint64_t line) {
        if (line == 1) {
            BeginVersions(cells, table, bars);
            return;
        }
        if (cells.empty()) {
            return;
        }
        const Source source = context.At(file, line);
        std::vector<Cell> values;
        for (std::size_t i = 1; i <= bars.names.size(); ++i) {
            values.push_back(NumberCellOf(i < cells.size() ? cells[i] : "", source));
            few.Mark(samplesOf(bars.names[i - 1], cells[0]), values.back());
        }
        std::vector<Cell> row = {TextCellOf(cells[0], source)};
        row.insert(row.end(), values.begin(), values.end());
        const bool isDrawn = StartsWith(cells[0], drawn.begin) && EndsWith(cells[0], drawn.end);
        for (std::size_t i = 1; i < values.size(); ++i) {
            row.push_back(DifferenceOf(values.front(), values[i]));
            if (isDrawn) {
                greatest.Take(bars.names[i], ShortText(cells[0]), row.back());
            }
        }
        if (isDrawn && bars.rows.size() < kMostBarRows) {
            bars.rows.push_back({ShortText(cells[0]), values});
        }
        AddRow(table, std::move(row));
    });
    greatest.TellIn(title, drawn.unit, context.findings);
    few.TellIn(bars.head);
    few.TellIn(table.head);
    if (!bars.rows.empty()) {
        blocks.emplace_back(std::move(bars));
    }
    if (!table.rows.empty()) {
        blocks.emplace_back(std::move(table));
    }
}

// The memory comparator's tables: blocks, each with two head lines, of which the first names the
// versions and the second the three figures of each.
class MemoryTables {
public:
    MemoryTables(FamilyContext& context, const RunFile& file, std::string title)
        : context_(context), samples_(context), file_(file), title_(std::move(title)) {}

    void Take(const Cells& cells, std::uint64_t line) {
        if (!cells.empty() && (cells[0] == "project" || cells[0] == "process")) {
            Begin(cells, line);
        } else if (!cells.empty() && !cells[0].empty() && !versions_.empty()) {
            AddFigures(cells, context_.At(file_, line));
        }
    }

    void AddTo(std::vector<Block>& blocks) {
        End();
        std::move(blocks_.begin(), blocks_.end(), std::back_inserter(blocks));
    }

private:
    static constexpr std::size_t kFigures = 3;
    static constexpr std::size_t kMean = 1;

    void Begin(const Cells& cells, std::uint64_t line) {
        End();
        versions_.clear();
        counts_.clear();
        for (std::size_t i = 1; i < cells.size(); i += kFigures) {
            versions_.push_back(ShortText(cells[i]));
            counts_.push_back(SamplesOf(cells[0] == "process", versions_.back()));
        }
        few_ = {};
        table_ = {};
        bars_ = {};
        table_.head = {title_, "", context_.At(file_, line)};
        bars_.head = {title_ + ": means", "", context_.At(file_, line)};
        bars_.unit = "KB";
        bars_.names = versions_;
        table_.columns = {{"figure", "", false}};
        for (const std::string& version : versions_) {
            for (const char* figure : {" least", " mean", " greatest"}) {
                table_.columns.push_back({version + figure, "KB", true});
            }
        }
        for (std::size_t i = 1; i < versions_.size(); ++i) {
            table_.columns.push_back(
                {"mean of " + versions_[i] + " minus " + versions_.front(), "KB", true});
        }
    }

    void AddFigures(const Cells& cells, const Source& source) {
        std::vector<Cell> row = {TextCellOf(cells[0], source)};
        std::vector<Cell> means;
        for (std::size_t i = 1; i <= kFigures * versions_.size(); ++i) {
            row.push_back(NumberCellOf(i < cells.size() ? cells[i] : "", source));
            if ((i - 1) % kFigures == kMean) {
                few_.Mark(counts_[(i - 1) / kFigures], row.back());
                means.push_back(row.back());
            }
        }
        for (std::size_t i = 1; i < means.size(); ++i) {
            row.push_back(DifferenceOf(means.front(), means[i]));
            TellGrowth(ShortText(cells[0]), versions_[i], row.back());
        }
        if (bars_.rows.size() < kMostBarRows) {
            bars_.rows.push_back({ShortText(cells[0]), std::move(means)});
        }
        AddRow(table_, std::move(row));
    }

    // More memory than in the first version that nobody shares: what a leak shows in.
    void TellGrowth(const std::string& figure, const std::string& version, const Cell& difference) {
        const auto* by = std::get_if<double>(&difference.value);
        if ((figure == "used" || figure == "USS") && by != nullptr && *by > 0.0) {
            context_.findings.push_back({TextCellOf(title_ + ", mean " + figure + " of " + version +
                                                        ": more than of " + versions_.front(),
                                                    difference.source.value_or(Source{})),
                                         difference, "KB", EmptyCell(Reason::NotInFile)});
        }
    }

    void End() {
        if (!table_.rows.empty() && blocks_.size() < kMostRows) {
            few_.TellIn(bars_.head);
            few_.TellIn(table_.head);
            blocks_.emplace_back(std::move(bars_));
            blocks_.emplace_back(std::move(table_));
        }
        table_ = {};
    }

    // Of a column: a version, of a process with that in brackets behind it.
    [[nodiscard]] SampleCount SamplesOf(bool isProcess, const std::string& column) {
        if (!isProcess) {
            return samples_.OfSystemMemory(column);
        }
        const std::size_t bracket = column.find('(');
        return bracket == std::string::npos || column.back() != ')'
                   ? std::nullopt
                   : samples_.OfProcessMemory(
                         column.substr(0, bracket),
                         column.substr(bracket + 1, column.size() - bracket - 2));
    }

    FamilyContext& context_;
    VersionSamples samples_;
    const RunFile& file_;
    std::string title_;
    std::vector<std::string> versions_;
    std::vector<SampleCount> counts_;  // of each version
    FewSamples few_;
    TableBlock table_;
    BarsBlock bars_;
    std::vector<Block> blocks_;
};

void AddMemory(FamilyContext& context, const char* name, const char* title,
               std::vector<Block>& blocks) {
    if (const auto file = context.run.FindOne(std::string(mem_files::kCsvFolder) + "/" + name)) {
        MemoryTables tables(context, *file, title);
        ReadTable(context.files, *file,
                  [&tables](const Cells& cells, std::uint64_t line) { tables.Take(cells, line); });
        tables.AddTo(blocks);
    }
}

// A table of functions: the first version's share, and what the others differ by.
class FunctionTable {
public:
    FunctionTable(FamilyContext& context, const RunFile& file)
        : context_(context), samples_(context), file_(file) {
        const std::string name = file.name.substr(file.name.rfind('/') + 1);
        table_.head = {"Functions, " + name, "Differences of the shares of the samples, in points.",
                       Source{file.index, 0}};
        bars_.head = {"Functions, " + name + ": differences", "", Source{file.index, 0}};
        bars_.unit = kPoints;
    }

    void Take(const Cells& cells, std::uint64_t line) {
        if (line == 1) {
            Begin(cells);
        } else if (versions_ == 0 || cells.size() != versions_ + kNameColumns) {
            context_.files.Trouble(file_.index,
                                   "line " + std::to_string(line) + " is no row of the table");
        } else {
            AddFunction(cells, context_.At(file_, line));
        }
    }

    void AddTo(std::vector<Block>& blocks) {
        greatest_.TellIn(table_.head.title, kPoints, context_.findings);
        few_.TellIn(bars_.head);
        few_.TellIn(table_.head);
        if (!bars_.rows.empty()) {
            blocks.emplace_back(std::move(bars_));
        }
        if (!table_.rows.empty()) {
            blocks.emplace_back(std::move(table_));
        }
    }

private:
    static constexpr std::size_t kNameColumns = 2;
    static constexpr const char* kPoints = "points";

    void Begin(const Cells& cells) {
        versions_ = cells.size() > kNameColumns ? cells.size() - kNameColumns : 0;
        table_.columns = {{"function", "", false}, {"in", "", false}};
        for (std::size_t i = 0; i < versions_; ++i) {
            const std::string version = ShortText(cells[i]);
            table_.columns.push_back({version, i == 0 ? "%" : kPoints, true});
            counts_.push_back(samples_.OfFunctions(version, Tag()));
            if (i > 0) {
                bars_.names.push_back(version);
            }
        }
    }

    // What the table is about, of its name.
    [[nodiscard]] std::string Tag() const {
        const std::string none = hot_fun_files::ComparisonName("");
        const std::size_t prefix = std::string(hot_fun_files::kRawPrefix).size();
        const std::string name = file_.name.substr(file_.name.rfind('/') + 1);
        return name.substr(prefix, name.size() - std::min(name.size(), none.size()));
    }

    void AddFunction(const Cells& cells, const Source& source) {
        std::vector<Cell> row = {TextCellOf(cells[versions_ + 1], source),
                                 TextCellOf(cells[versions_], source)};
        for (std::size_t i = 0; i < versions_; ++i) {
            row.push_back(NumberCellOf(cells[i] == " " ? "" : cells[i], source, "%"));
            // A difference is of the samples of both.
            few_.Mark(counts_[i], row.back());
            few_.Mark(counts_.front(), row.back());
        }
        if (bars_.rows.size() < kMostBarRows && versions_ > 1) {
            bars_.rows.push_back(
                {ShortText(cells[versions_ + 1]), {row.begin() + kNameColumns + 1, row.end()}});
        }
        for (std::size_t i = 1; i < versions_; ++i) {
            greatest_.Take(bars_.names[i - 1], ShortText(cells[versions_ + 1]),
                           row[kNameColumns + i]);
        }
        AddRow(table_, std::move(row));
    }

    FamilyContext& context_;
    VersionSamples samples_;
    const RunFile& file_;
    GreatestDifferences greatest_;
    TableBlock table_;
    BarsBlock bars_;
    FewSamples few_;
    std::vector<SampleCount> counts_;  // of each version
    std::size_t versions_ = 0;
};

}  // namespace

std::vector<Block> ComparisonBlocks(FamilyContext& context) {
    VersionSamples samples(context);
    std::vector<Block> blocks;
    if (const auto file =
            context.run.FindOne(std::string(cpu_files::kCsvDir) + cpu_files::kComparison)) {
        AddVersionTable(
            context, *file, "CPU", {"cpu_", "_avg", "%"},
            [&samples](const std::string& version, std::string_view figure) {
                return EndsWith(figure, "_avg") ? samples.OfCpu(version, figure) : std::nullopt;
            },
            blocks);
    }
    if (const auto file = context.run.FindOne(std::string(ddr_files::kCsvFolder) + "/" +
                                              ddr_files::kComparison)) {
        AddVersionTable(
            context, *file, "DDR", {"", "_mean(%)", "%"},
            [&samples](const std::string& version, std::string_view figure) {
                const bool isOfMean = EndsWith(figure, "_mean(%)") || EndsWith(figure, "_over(%)");
                return isOfMean ? samples.OfDdr(version) : std::nullopt;
            },
            blocks);
    }
    AddMemory(context, mem_files::kSystemComparison, "Memory of the system", blocks);
    AddMemory(context, mem_files::kProcessComparison, "Memory of processes", blocks);
    for (const RunFile& file : context.run.Find(hot_fun_files::kCsvDir, hot_fun_files::kRawPrefix,
                                                std::string(".") + kCsvSuffix)) {
        FunctionTable table(context, file);
        ReadTable(context.files, file,
                  [&table](const Cells& cells, std::uint64_t line) { table.Take(cells, line); });
        table.AddTo(blocks);
    }
    return blocks;
}

}  // namespace zarn::report
