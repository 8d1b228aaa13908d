// The comparators' tables, with the differences between versions.

#include <algorithm>
#include <cmath>
#include <utility>

#include "formats/cpu.h"
#include "formats/ddr.h"
#include "formats/hot_fun.h"
#include "formats/mem.h"
#include "report/families/families.h"
#include "report/tables.h"

namespace zarn::report {
namespace {

using Cells = std::vector<std::string_view>;

constexpr std::size_t kMostBarRows = 60;

[[nodiscard]] bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

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
    }
    return cell;
}

// How the rows of a table of versions end that are drawn, and in what unit they are.
struct Drawn {
    const char* begin;
    const char* end;
    const char* unit;
};

// A table with a head line of versions, and a line for each figure.
void AddVersionTable(FamilyContext& context, const RunFile& file, const std::string& title,
                     const Drawn& drawn, std::vector<Block>& blocks) {
    TableBlock table;
    table.head = {title, "", Source{file.index, 0}};
    BarsBlock bars;
    bars.head = {title + ": means", "", Source{file.index, 0}};
    bars.unit = drawn.unit;
    ReadTable(context.files, file, [&](const Cells& cells, std::uint64_t line) {
        if (line == 1) {
            table.columns.push_back({"figure", "", false});
            for (std::size_t i = 1; i < cells.size(); ++i) {
                table.columns.push_back({ShortText(cells[i]), "", true});
                bars.names.push_back(ShortText(cells[i]));
            }
            for (std::size_t i = 2; i < cells.size(); ++i) {
                table.columns.push_back(
                    {ShortText(cells[i]) + " minus " + bars.names.front(), "", true});
            }
            return;
        }
        if (cells.empty()) {
            return;
        }
        const Source source = context.At(file, line);
        std::vector<Cell> values;
        for (std::size_t i = 1; i <= bars.names.size(); ++i) {
            values.push_back(NumberCellOf(i < cells.size() ? cells[i] : "", source));
        }
        std::vector<Cell> row = {TextCellOf(cells[0], source)};
        row.insert(row.end(), values.begin(), values.end());
        for (std::size_t i = 1; i < values.size(); ++i) {
            row.push_back(DifferenceOf(values.front(), values[i]));
        }
        const std::string_view begin = drawn.begin;
        if (cells[0].substr(0, begin.size()) == begin && EndsWith(cells[0], drawn.end) &&
            bars.rows.size() < kMostBarRows) {
            bars.rows.push_back({ShortText(cells[0]), values});
        }
        AddRow(table, std::move(row));
    });
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
        : context_(context), file_(file), title_(std::move(title)) {}

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
        for (std::size_t i = 1; i < cells.size(); i += kFigures) {
            versions_.push_back(ShortText(cells[i]));
        }
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
                means.push_back(row.back());
            }
        }
        for (std::size_t i = 1; i < means.size(); ++i) {
            row.push_back(DifferenceOf(means.front(), means[i]));
        }
        if (bars_.rows.size() < kMostBarRows) {
            bars_.rows.push_back({ShortText(cells[0]), std::move(means)});
        }
        AddRow(table_, std::move(row));
    }

    void End() {
        if (!table_.rows.empty() && blocks_.size() < kMostRows) {
            blocks_.emplace_back(std::move(bars_));
            blocks_.emplace_back(std::move(table_));
        }
        table_ = {};
    }

    FamilyContext& context_;
    const RunFile& file_;
    std::string title_;
    std::vector<std::string> versions_;
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
    FunctionTable(FamilyContext& context, const RunFile& file) : context_(context), file_(file) {
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
            if (i > 0) {
                bars_.names.push_back(version);
            }
        }
    }

    void AddFunction(const Cells& cells, const Source& source) {
        std::vector<Cell> row = {TextCellOf(cells[versions_ + 1], source),
                                 TextCellOf(cells[versions_], source)};
        for (std::size_t i = 0; i < versions_; ++i) {
            row.push_back(NumberCellOf(cells[i] == " " ? "" : cells[i], source, "%"));
        }
        if (bars_.rows.size() < kMostBarRows && versions_ > 1) {
            bars_.rows.push_back(
                {ShortText(cells[versions_ + 1]), {row.begin() + kNameColumns + 1, row.end()}});
        }
        AddRow(table_, std::move(row));
    }

    FamilyContext& context_;
    const RunFile& file_;
    TableBlock table_;
    BarsBlock bars_;
    std::size_t versions_ = 0;
};

}  // namespace

std::vector<Block> ComparisonBlocks(FamilyContext& context) {
    std::vector<Block> blocks;
    if (const auto file =
            context.run.FindOne(std::string(cpu_files::kCsvDir) + cpu_files::kComparison)) {
        AddVersionTable(context, *file, "CPU", {"cpu_", "_avg", "%"}, blocks);
    }
    if (const auto file = context.run.FindOne(std::string(ddr_files::kCsvFolder) + "/" +
                                              ddr_files::kComparison)) {
        AddVersionTable(context, *file, "DDR", {"", "_mean(%)", "%"}, blocks);
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
