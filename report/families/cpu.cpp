#include "formats/cpu.h"

#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <utility>

#include "foundation/text.h"
#include "foundation/time.h"
#include "report/families/families.h"
#include "report/lines.h"
#include "report/moments.h"
#include "report/statistics.h"
#include "report/tables.h"

namespace zarn::report {
namespace {

constexpr StatisticsNames kNames = {"meanUsage", "maxUsage", "minUsage",
                                    "peak",      "trought",  {"cpuValue", "timeStamp"}};
constexpr const char* kPercent = "%";
constexpr const char* kShare = "share";

// Shares of CPU time that the analyzer looks at, by their short names in `top`.
constexpr std::array<const char*, 5> kShares = {"us", "sy", "id", "hi", "si"};

// A chart of one of the analyzer's tables: the samples that its figures are of.
struct TableChart {
    std::string time;  // in the table's name
    SeriesBlock chart;
};

// How many samples the document of that file had of a line of the tables.
class Samples {
public:
    Samples(const std::vector<TableChart>& charts, const std::string& file) {
        const std::string time = GetFileTimestamp(file);
        const auto found =
            std::find_if(charts.begin(), charts.end(),
                         [&time](const TableChart& table) { return table.time == time; });
        chart_ = found == charts.end() ? nullptr : &found->chart;
    }

    [[nodiscard]] SampleCount OfLine(std::size_t line) const {
        return chart_ == nullptr ? std::nullopt : SamplesOf(*chart_, line);
    }
    [[nodiscard]] SampleCount OfName(const std::string& name) const {
        for (std::size_t line = 0; chart_ != nullptr && line < chart_->series.size(); ++line) {
            if (chart_->series[line].name == name) {
                return OfLine(line);
            }
        }
        return std::nullopt;
    }

private:
    const SeriesBlock* chart_ = nullptr;
};

// Marks the means, and what is made of them, in rows of too few samples.
void MarkRows(const std::function<SampleCount(const std::vector<Cell>& row)>& samplesOf,
              TableBlock& table) {
    const auto isMean = [](const Column& column) { return column.name == "mean"; };
    const auto mean = static_cast<std::size_t>(
        std::find_if(table.columns.begin(), table.columns.end(), isMean) - table.columns.begin());
    FewSamples few;
    for (std::vector<Cell>& row : table.rows) {
        const SampleCount samples = samplesOf(row);
        MarkMean(samples, mean, row, few);
        if (table.columns.back().name == kShare) {
            few.Mark(samples, row.back());
        }
    }
    few.TellIn(table.head);
}

[[nodiscard]] std::string TextIn(const Cell& cell) {
    const auto* text = std::get_if<std::string>(&cell.value);
    return text == nullptr ? "" : *text;
}

// Of a process, as the analyzer tells it.
void AddProcess(const JsonValue* process, const Source& source, TableBlock& table,
                std::vector<Cell> row = {}) {
    for (const char* name : {"procCommand", "procPID"}) {
        row.push_back(TextCell(MemberOf(process, name), source));
    }
    for (const std::string_view name : {kNames.mean, kNames.greatest, kNames.least}) {
        row.push_back(NumberCell(MemberOf(process, name), source));
    }
    AddRow(table, std::move(row));
}

[[nodiscard]] TableBlock ProcessTable(std::string title, std::string note) {
    TableBlock table;
    table.head = {std::move(title), std::move(note), std::nullopt};
    table.columns = {{"command", "", false},
                     {"pid", "", false},
                     {"mean", kPercent, true},
                     {"greatest", kPercent, true},
                     {"least", kPercent, true}};
    return table;
}

// What the analyzer says of the whole system; of several analyses the last one counts.
struct SystemAnalysis {
    std::optional<TableBlock> shares;
    std::optional<TableBlock> busiest;
    std::vector<Mark> shareMarks;  // on the lines of kShares
    std::vector<Mark> sumMarks;    // on the first line
    std::vector<Finding> findings;
};

void TakeShares(const JsonValue* content, const Source& source, SystemAnalysis& analysis) {
    analysis.shares =
        StatisticsTable({"Shares of CPU time, whole system", "", source}, "share", kPercent);
    analysis.shareMarks.clear();
    analysis.findings.clear();
    for (std::size_t i = 0; i < kShares.size(); ++i) {
        const FoundAt at{MemberOf(content, kShares[i]), source};
        const std::string subject = std::string("CPU share ") + kShares[i];
        AddStatistics(kShares[i], at, kNames, *analysis.shares);
        AddPeaksAndTroughs(at, kNames, i, analysis.shareMarks);
        TellExtremes(subject, at, kNames, kPercent, analysis.findings);
    }
}

void TakeSum(const JsonValue* sum, const Source& source, SystemAnalysis& analysis) {
    const FoundAt at{sum, source};
    analysis.sumMarks.clear();
    AddPeaksAndTroughs(at, kNames, 0, analysis.sumMarks);
    if (analysis.shares) {
        AddStatistics("sum over all processes", at, kNames, *analysis.shares);
    }
    TellExtremes("CPU, sum over all processes", at, kNames, kPercent, analysis.findings);
}

void TakeBusiest(const JsonValue* top, const Source& source, SystemAnalysis& analysis) {
    analysis.busiest = ProcessTable("Busiest processes", "Percent of one processor.");
    if (!top->IsObject()) {
        return;
    }
    for (const auto& member : top->GetObject()) {
        AddProcess(&member.value, source, *analysis.busiest);
    }
}

// Marks what rests on too few samples, and tells of the busiest process. The table has a column for
// the sum of all processes, and behind it one for each process, the busiest first.
void FinishSystem(const Samples& samples, SystemAnalysis& analysis) {
    if (analysis.shares) {
        MarkRows([&samples](const auto&) { return samples.OfLine(0); }, *analysis.shares);
    }
    if (!analysis.busiest || analysis.busiest->rows.empty()) {
        return;
    }
    std::size_t line = 0;
    MarkRows([&](const auto&) { return samples.OfLine(++line); }, *analysis.busiest);
    const std::vector<Cell>& first = analysis.busiest->rows.front();
    Cell what = first[0];
    what.value = "CPU, busiest process: " + TextIn(first[0]);
    analysis.findings.push_back({what, first[2], kPercent, EmptyCell(Reason::NotInFile)});
}

[[nodiscard]] SystemAnalysis ReadSystem(FamilyContext& context, const RunFile& file) {
    SystemAnalysis analysis;
    ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
        const JsonValue* content = MemberOf(&document, "content");
        const Source source = context.At(file, line);
        if (const JsonValue* top = MemberOf(content, "top10ProcInfo")) {
            TakeBusiest(top, source, analysis);
        } else if (const JsonValue* sum = MemberOf(content, "cpuTotalInfo")) {
            TakeSum(sum, source, analysis);
        } else if (MemberOf(content, kShares[0]) != nullptr) {
            TakeShares(content, source, analysis);
        } else {
            context.files.Trouble(file.index,
                                  "line " + std::to_string(line) + " is none of the analyzer's");
        }
    });
    return analysis;
}

// The share of that name in a summary line of `top`: "%Cpu(s):  1.0 us,  0.5 sy, ...".
[[nodiscard]] std::optional<double> ShareIn(std::string_view line, std::string_view name) {
    PieceCursor pieces(line.substr(line.find(':') + 1), ',');
    for (std::string_view piece; pieces.Next(piece);) {
        piece = TrimSpacesView(piece);
        const std::size_t blank = piece.find(' ');
        if (blank != std::string_view::npos && TrimSpacesView(piece.substr(blank)) == name) {
            return WholeNumberIn(piece.substr(0, blank));
        }
    }
    return std::nullopt;
}

// The chart of the shares, from the summaries of `top`.
[[nodiscard]] std::optional<SeriesBlock> ShareChart(FamilyContext& context, const RunFile& file,
                                                    const std::vector<Mark>& marks) {
    constexpr std::string_view kSummary = "%Cpu";
    NumberedLines lines(file.path);
    if (!lines.IsOpen()) {
        context.files.Trouble(file.index, "it cannot be opened");
        return std::nullopt;
    }
    SeriesMaker maker({kShares.begin(), kShares.end()}, false);
    for (const Mark& mark : marks) {
        maker.Add(mark);
    }
    Moment moment = 0.0;
    bool hasMoment = false;
    while (lines.Next()) {
        if (const auto time = MomentIn(lines.Text())) {
            moment = *time;
            hasMoment = true;
        } else if (hasMoment && StartsWith(lines.Text(), kSummary)) {
            std::vector<std::optional<double>> values;
            values.reserve(kShares.size());
            for (const char* share : kShares) {
                values.push_back(ShareIn(lines.Text(), share));
            }
            maker.Add(moment, values, lines.Number());
            hasMoment = false;
        }
    }
    if (!maker.HasSamples()) {
        context.files.Trouble(file.index, "it holds no summary of top");
        return std::nullopt;
    }
    return maker.Make(context, file,
                      {"Shares of CPU time over time, whole system", "", std::nullopt}, kPercent);
}

// The charts of the processes.
[[nodiscard]] std::vector<TableChart> ProcessCharts(FamilyContext& context,
                                                    const std::vector<Mark>& marks) {
    constexpr std::size_t kMostProcesses = 11;  // the sum, and the ten busiest
    std::vector<TableChart> charts;
    const std::vector<RunFile> tables = context.run.Find(cpu_files::kGlobalTable);
    for (const RunFile& file : tables) {
        const ChartWords words{{TitleOf("Processes", tables, file),
                                "Percent of one processor: the sum over all processes, and the ten "
                                "busiest.",
                                std::nullopt},
                               kPercent,
                               false,
                               kMostProcesses};
        if (auto chart = ChartOfTable(context, file, words, marks)) {
            charts.push_back({GetFileTimestamp(file.name), std::move(*chart)});
        }
    }
    return charts;
}

void MoveInto(std::vector<TableChart>& charts, std::vector<Block>& blocks) {
    for (TableChart& table : charts) {
        blocks.emplace_back(std::move(table.chart));
    }
}

void AddSystem(FamilyContext& context, std::vector<Block>& blocks) {
    const std::vector<RunFile> documents = context.run.Find(cpu_files::kGlobalAnalysis);
    std::vector<SystemAnalysis> analyses;
    analyses.reserve(documents.size());
    for (const RunFile& file : documents) {
        analyses.push_back(ReadSystem(context, file));
    }
    const SystemAnalysis none;
    const SystemAnalysis& last = analyses.empty() ? none : analyses.back();
    std::vector<TableChart> processes = ProcessCharts(context, last.sumMarks);
    for (std::size_t i = 0; i < analyses.size(); ++i) {
        SystemAnalysis& analysis = analyses[i];
        FinishSystem(Samples(processes, documents[i].name), analysis);
        context.findings.insert(context.findings.end(), analysis.findings.begin(),
                                analysis.findings.end());
        for (auto* table : {&analysis.shares, &analysis.busiest}) {
            if (*table) {
                (*table)->head.title = TitleOf((*table)->head.title, documents, documents[i]);
                blocks.emplace_back(std::move(**table));
            }
        }
    }
    std::vector<RunFile> logs = context.run.Find(cpu_files::kGlobalLog);
    if (logs.empty()) {
        logs = context.run.Find(cpu_files::kUsageLog);
    }
    for (const RunFile& file : logs) {
        if (auto chart = ShareChart(context, file, last.shareMarks)) {
            chart->head.title = TitleOf(chart->head.title, logs, file);
            blocks.emplace_back(std::move(*chart));
        }
    }
    MoveInto(processes, blocks);
}

void AddLoad(FamilyContext& context, std::vector<Block>& blocks) {
    const std::vector<RunFile> tables = context.run.Find(cpu_files::kLoadingTable);
    for (const RunFile& file : tables) {
        const ChartWords words{{TitleOf("Load of the system and of each core", tables, file),
                                "100 minus the idle share.", std::nullopt},
                               kPercent};
        if (auto chart = ChartOfTable(context, file, words, {})) {
            blocks.emplace_back(std::move(*chart));
        }
    }
}

// Where a document stands, and the samples that it is of.
struct FoundIn {
    Source source;
    Samples samples;
};

// The cores of one document: their order by load, and their shares.
void TakeCores(FamilyContext& context, const JsonValue& content, const FoundIn& found,
               std::vector<Block>& blocks) {
    const Source& source = found.source;
    FewSamples fewLoads;
    BarsBlock bars;
    bars.head = {"Load of the cores", "Mean of 100 minus the idle share, busiest first.", source};
    bars.unit = kPercent;
    bars.names = {"mean load"};
    for (const JsonValue* core : ElementsOf(MemberOf(&content, "coresUsageSorted"))) {
        const auto name = TextOf(MemberOf(core, "coreID"));
        if (bars.rows.size() < kMostRows) {
            Cell load = NumberCell(MemberOf(core, kNames.mean), source);
            fewLoads.Mark(found.samples.OfName(std::string(name.value_or("?")) + " id"), load);
            bars.rows.push_back({ShortText(name.value_or("?")), {std::move(load)}});
        }
    }
    fewLoads.TellIn(bars.head);
    TableBlock table =
        StatisticsTable({"Shares of CPU time, each core", "", source}, "core, share", kPercent);
    for (const JsonValue* core : ElementsOf(MemberOf(&content, "cpuUsage"))) {
        const std::string name(TextOf(MemberOf(core, "coreID")).value_or("?"));
        for (const char* share : kShares) {
            const FoundAt at{MemberOf(core, share), source};
            AddStatistics(name + " " + share, at, kNames, table);
            TellExtremes("CPU " + name + " " + share, at, kNames, kPercent, context.findings);
        }
    }
    MarkRows([&](const std::vector<Cell>& row) { return found.samples.OfName(TextIn(row[0])); },
             table);
    blocks.emplace_back(std::move(bars));
    blocks.emplace_back(std::move(table));
}

// The chart of the table of cores, which has a line for each core and share, and a column for each
// sample.
[[nodiscard]] std::optional<SeriesBlock> CoreChart(FamilyContext& context, const RunFile& file) {
    constexpr std::size_t kFirstSample = 2;
    std::vector<std::optional<Moment>> moments;
    SeriesBlock chart;
    ReadLines(context.files, file, [&](std::string_view text, std::uint64_t line) {
        CellCursor cells(text);
        std::string name;
        std::size_t column = 0;
        std::optional<SeriesMaker> maker;
        for (std::string_view cell; cells.Next(cell); ++column) {
            if (line == 1) {
                moments.push_back(MomentOfCell(cell));
            } else if (column < kFirstSample) {
                name += (column == 0 ? "" : " ") + std::string(cell);
            } else if (column < moments.size() && moments[column]) {
                maker = maker ? std::move(maker) : SeriesMaker({name}, false);
                maker->Add(*moments[column], {WholeNumberIn(cell)}, line);
            }
        }
        if (maker && chart.series.size() < kMostColumns) {
            SeriesBlock one = maker->Make(context, file, {}, kPercent);
            chart.head.note = one.head.note;
            chart.total += one.total;
            chart.series.push_back(std::move(one.series.front()));
        }
    });
    if (chart.series.empty()) {
        return std::nullopt;
    }
    chart.unit = kPercent;
    return chart;
}

void AddCores(FamilyContext& context, std::vector<Block>& blocks) {
    std::vector<TableChart> charts;
    const std::vector<RunFile> tables = context.run.Find(cpu_files::kCoreTable);
    for (const RunFile& file : tables) {
        if (auto chart = CoreChart(context, file)) {
            chart->head.title = TitleOf("Shares of CPU time over time, each core", tables, file);
            charts.push_back({GetFileTimestamp(file.name), std::move(*chart)});
        }
    }
    AddLastDocuments(
        context, context.run.Find(cpu_files::kCoreAnalysis), "cpuUsage",
        [&](const JsonValue& content, const Source& source, std::vector<Block>& own) {
            const FoundIn found{source, Samples(charts, context.files.All()[source.file].name)};
            TakeCores(context, content, found, own);
        },
        blocks);
    MoveInto(charts, blocks);
}

// A set of processes: its figures, and those of its processes.
void TakeSets(FamilyContext& context, const JsonValue& content, const Source& source,
              std::vector<Block>& blocks) {
    TableBlock sets =
        StatisticsTable({"Sets of processes",
                         "Percent of one processor; the share is that of all processors.", source},
                        "set", kPercent);
    sets.columns.push_back({kShare, kPercent, true});
    TableBlock processes = ProcessTable("Processes of the sets", "Percent of one processor.");
    processes.columns.insert(processes.columns.begin(), {"set", "", false});
    const JsonValue* all = MemberOf(&content, "procSetInfo");
    if (!all->IsObject()) {
        return;
    }
    for (const auto& member : all->GetObject()) {
        const std::string name(member.name.GetString(), member.name.GetStringLength());
        const FoundAt at{&member.value, source};
        AddStatistics(name, at, kNames, sets);
        if (sets.rows.size() < kMostRows) {
            sets.rows.back().push_back(NumberCell(MemberOf(&member.value, "usagePercent"), source));
        }
        TellExtremes("CPU, set " + name, at, kNames, kPercent, context.findings);
        for (const JsonValue* process : ElementsOf(MemberOf(&member.value, "procInfo"))) {
            AddProcess(process, source, processes, {TextCellOf(name, source)});
        }
    }
    blocks.emplace_back(std::move(sets));
    blocks.emplace_back(std::move(processes));
}

// The marks of the sets' sums, in the order of the sets, which is that of the table's columns.
[[nodiscard]] std::vector<Mark> SetMarks(const JsonValue& content, const Source& source) {
    std::vector<Mark> marks;
    const JsonValue* all = MemberOf(&content, "procSetInfo");
    for (std::size_t i = 0; all->IsObject() && i < all->MemberCount(); ++i) {
        const JsonValue& set = (all->MemberBegin() + static_cast<std::ptrdiff_t>(i))->value;
        AddPeaksAndTroughs({&set, source}, kNames, i, marks);
    }
    return marks;
}

void AddSets(FamilyContext& context, std::vector<Block>& blocks) {
    std::vector<Mark> marks;
    std::vector<Block> own;
    AddLastDocuments(
        context, context.run.Find(cpu_files::kSelectedAnalysis), "procSetInfo",
        [&](const JsonValue& content, const Source& source, std::vector<Block>& made) {
            TakeSets(context, content, source, made);
            marks = SetMarks(content, source);
        },
        own);
    std::vector<TableChart> charts;
    const std::vector<RunFile> tables = context.run.Find(cpu_files::kSelectedTable);
    for (const RunFile& file : tables) {
        const ChartWords words{{TitleOf("Sums of the sets of processes", tables, file),
                                "Percent of one processor.", std::nullopt},
                               kPercent};
        if (auto chart = ChartOfTable(context, file, words, marks)) {
            charts.push_back({GetFileTimestamp(file.name), std::move(*chart)});
        }
    }
    for (Block& block : own) {
        // A process was seen in no more samples than its set.
        const auto samplesOf = [&](const std::vector<Cell>& row) {
            const std::string& file = context.files.All()[row[0].source->file].name;
            return Samples(charts, file).OfName(TextIn(row[0]) + "_total");
        };
        MarkRows(samplesOf, std::get<TableBlock>(block));
        blocks.push_back(std::move(block));
    }
    MoveInto(charts, blocks);
}

}  // namespace

std::vector<Block> CpuBlocks(FamilyContext& context) {
    std::vector<Block> blocks;
    AddLoad(context, blocks);
    AddSystem(context, blocks);
    AddCores(context, blocks);
    AddSets(context, blocks);
    return blocks;
}

}  // namespace zarn::report
