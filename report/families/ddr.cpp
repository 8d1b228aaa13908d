#include "formats/ddr.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <utility>

#include "foundation/numbers.h"
#include "report/families/families.h"
#include "report/moments.h"
#include "report/statistics.h"

namespace zarn::report {
namespace {

constexpr StatisticsNames kNames = {"meanBw", "maxBw",  "minBw",
                                    "peak",   "trough", {"Value", "timeStamp"}};
constexpr const char* kPercent = "%";
constexpr const char* kGigabytes = "GB/s";
constexpr double kHalfLastPlace = 0.5e-6;  // shares are written with six decimals

// What the settings say of a master, at the start of the collection.
struct Master {
    Source source;
    std::optional<double> low;   // GB/s
    std::optional<double> high;  // GB/s
    std::vector<Cell> cells;     // the bounds, the hard limit, the priority
};

// The analyzer's figures of a master.
constexpr std::size_t kMean = 1;
constexpr std::size_t kMeanAbove = 6;

// What all files of the family say, by the names of masters.
struct DdrRun {
    std::map<std::string, Master> masters;
    std::map<std::string, std::uint64_t> samples;  // with a share
    std::map<std::string, std::uint64_t> over;     // of these above the upper bound
    std::map<std::string, Cell> firstOver;         // when the first of them was
    std::vector<Mark> marks;
    std::size_t sampleFiles = 0;
};

[[nodiscard]] std::size_t IndexOf(const std::string& name) {
    return static_cast<std::size_t>(std::find(ddrNameList.begin(), ddrNameList.end(), name) -
                                    ddrNameList.begin());
}

// The name of a master in an element of `content`; empty for one that no board has.
[[nodiscard]] std::string NameIn(const JsonValue* element) {
    const std::string name(TextOf(MemberOf(element, "mpam_name")).value_or(""));
    return IndexOf(name) < ddrNameList.size() ? name : "";
}

void ReadSettings(FamilyContext& context, DdrRun& ddr) {
    for (const RunFile& file : context.run.Find(ddr_files::kQosSettings)) {
        ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
            const JsonValue* settings = FirstOf(MemberOf(&document, "content"));
            const std::string name = NameIn(settings);
            if (name.empty()) {
                context.files.Trouble(file.index,
                                      "line " + std::to_string(line) + " tells of no master");
                return;
            }
            Master master;
            master.source = context.At(file, line);
            master.low = NumberOf(MemberOf(settings, "bw_low"));
            master.high = NumberOf(MemberOf(settings, "bw_high"));
            for (const char* member : {"bw_low", "bw_high", "hardlimit", "priority"}) {
                master.cells.push_back(NumberCell(MemberOf(settings, member), master.source));
            }
            ddr.masters[name] = std::move(master);
        });
    }
}

// The analyzer's figures, whose peaks mark the charts.
void AddAnalysis(FamilyContext& context, DdrRun& ddr, std::vector<Block>& blocks) {
    const std::vector<RunFile> files = context.run.Find(ddr_files::kAnalysis);
    for (const RunFile& file : files) {
        TableBlock table;
        std::vector<Mark> marks;
        std::vector<Finding> findings;
        ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
            const Source source = context.At(file, line);
            table = StatisticsTable({TitleOf("Shares of the DDR's peak", files, file), "", source},
                                    "master", kPercent);
            table.columns.push_back({"mean above the upper bound", kPercent, true});
            marks.clear();
            findings.clear();
            for (const JsonValue* one : ElementsOf(MemberOf(&document, "content"))) {
                const std::string name = NameIn(one);
                if (name.empty() || table.rows.size() >= kMostRows) {
                    continue;
                }
                const FoundAt at{one, source};
                AddStatistics(name, at, kNames, table);
                table.rows.back().push_back(NumberCell(MemberOf(one, "over"), source));
                AddPeaksAndTroughs(at, kNames, IndexOf(name), marks);
                TellExtremes("DDR " + name, at, kNames, kPercent, findings);
            }
        });
        if (!table.rows.empty()) {
            blocks.emplace_back(std::move(table));
        }
        ddr.marks.insert(ddr.marks.end(), marks.begin(), marks.end());
        context.findings.insert(context.findings.end(), findings.begin(), findings.end());
    }
}

// How many samples of a master the analyzer had; it refuses more files of samples than one.
[[nodiscard]] SampleCount AnalysedSamples(const DdrRun& ddr, const std::string& master) {
    const auto samples = ddr.samples.find(master);
    const std::uint64_t count = samples == ddr.samples.end() ? 0 : samples->second;
    return ddr.sampleFiles == 1 ? SampleCount(count) : std::nullopt;
}

// Marks the analyzer's figures of too few samples, and tells of means above the bounds.
void FinishAnalysis(FamilyContext& context, const DdrRun& ddr, TableBlock& table) {
    FewSamples few;
    for (std::vector<Cell>& row : table.rows) {
        const std::string name = std::get<std::string>(row[0].value);
        const SampleCount samples = AnalysedSamples(ddr, name);
        MarkMean(samples, kMean, row, few);
        few.Mark(samples, row[kMeanAbove]);
        const auto* by = std::get_if<double>(&row[kMeanAbove].value);
        if (by != nullptr && *by > 0.0) {
            context.findings.push_back(
                {TextCellOf("DDR " + name + ": mean above its upper bound by", *row[0].source),
                 row[kMeanAbove], kPercent, EmptyCell(Reason::NotInFile)});
        }
    }
    few.TellIn(table.head);
}

[[nodiscard]] double PercentOfPeak(double gigabytes) {
    return gigabytes / kDdrPeakGb * 100.0;
}

// Counts the samples of masters, and those above their bounds, whose moments it marks.
void LookAtBounds(const std::vector<std::optional<double>>& shares, Moment moment,
                  const std::function<Source()>& source, DdrRun& ddr, std::vector<Mark>& over) {
    for (std::size_t i = 0; i < shares.size(); ++i) {
        const auto master = ddr.masters.find(ddrNameList[i]);
        if (shares[i]) {
            ++ddr.samples[ddrNameList[i]];
        }
        if (!shares[i] || master == ddr.masters.end() || !master->second.high ||
            *shares[i] <= PercentOfPeak(*master->second.high) + kHalfLastPlace) {
            continue;
        }
        if (++ddr.over[ddrNameList[i]] == 1) {
            ddr.firstOver[ddrNameList[i]] = TextCellOf(DateOf(moment), source());
        }
        if (over.size() == kMostMarks) {
            continue;
        }
        Mark mark;
        mark.moment = moment;
        mark.series = i;
        mark.sign = Sign::Over;
        mark.source = source();
        mark.label = ddrNameList[i] + " above its bound of ";
        AppendNumber(mark.label, *master->second.high);
        mark.label += std::string(" ") + kGigabytes;
        over.push_back(std::move(mark));
    }
}

[[nodiscard]] Limit PeakLimit() {
    return {100.0, "the DDR's peak, 51 GB/s", std::nullopt};
}

// A master's upper bound, to millionths of a percent of the peak.
[[nodiscard]] Limit LimitOf(const std::string& name, const Master& master) {
    constexpr double kMillion = 1e6;
    std::string label = "upper bound of " + name + ", ";
    AppendNumber(label, *master.high);
    return {std::round(PercentOfPeak(*master.high) * kMillion) / kMillion, label + " " + kGigabytes,
            master.source};
}

// The charts of one collection: the masters stacked, and each with its bound.
void AddCharts(FamilyContext& context, const RunFile& file, const std::vector<RunFile>& files,
               DdrRun& ddr, std::vector<Block>& blocks) {
    const std::vector<std::string> masters(ddrNameList.begin() + 1, ddrNameList.end());
    SeriesMaker stacked(masters, true);
    SeriesMaker lines(ddrNameList, false);
    for (const Mark& mark : ddr.marks) {
        lines.Add(mark);
    }
    std::vector<Mark> over;
    ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
        const auto moment = MomentOf(MemberOf(&document, "happenTime"));
        const JsonValue* shares = FirstOf(MemberOf(&document, "content"));
        if (!moment || shares == nullptr) {
            lines.PassOver();
            return;
        }
        std::vector<std::optional<double>> values;
        values.reserve(ddrNameList.size());
        for (const std::string& name : ddrNameList) {
            values.push_back(NumberOf(MemberOf(shares, name)));
        }
        LookAtBounds(
            values, *moment, [&] { return context.At(file, line); }, ddr, over);
        lines.Add(*moment, values, line);
        values.erase(values.begin());
        stacked.Add(*moment, values, line);
    });
    if (!lines.HasSamples()) {
        return;
    }
    SeriesBlock stack = stacked.Make(
        context, file, {TitleOf("Masters stacked against the DDR's peak", files, file), "", {}},
        kPercent);
    stack.limits.push_back(PeakLimit());
    SeriesBlock each = lines.Make(
        context, file, {TitleOf("Total and each master", files, file), "", {}}, kPercent);
    each.marks.insert(each.marks.end(), over.begin(), over.end());
    for (const auto& [name, master] : ddr.masters) {
        // A bound at the DDR's peak or beyond bounds nothing.
        if (master.high && *master.high < kDdrPeakGb) {
            each.limits.push_back(LimitOf(name, master));
        }
    }
    blocks.emplace_back(std::move(stack));
    blocks.emplace_back(std::move(each));
}

// How many samples of a master are above its upper bound.
[[nodiscard]] Cell OverCell(const DdrRun& ddr, const std::string& name, const Master& master,
                            FewSamples& few) {
    constexpr std::size_t kHigh = 1;  // among the settings
    const auto samples = ddr.samples.find(name);
    if (!master.high || samples == ddr.samples.end() || samples->second == 0) {
        const auto* reason = std::get_if<Reason>(&master.cells[kHigh].value);
        const Reason noSample = ddr.sampleFiles > 0 ? Reason::NotInFile : Reason::FileMissing;
        return EmptyCell(reason != nullptr ? *reason : noSample);
    }
    const auto over = ddr.over.find(name);
    Cell cell;
    cell.value = over == ddr.over.end() ? 0.0 : static_cast<double>(over->second);
    cell.computed = "samples whose share of 51 GB/s is above the bound, of " +
                    std::to_string(samples->second) + " samples";
    few.Mark(samples->second, cell);
    return cell;
}

void AddBounds(FamilyContext& context, const DdrRun& ddr, std::vector<Block>& blocks) {
    if (ddr.masters.empty()) {
        return;
    }
    FewSamples few;
    TableBlock table;
    table.head = {
        "Bounds of the masters", "As the settings were at the start of the collection.", {}};
    table.columns = {{"master", "", false},
                     {"lower bound", kGigabytes, true},
                     {"upper bound", kGigabytes, true},
                     {"hard limit", "", true},
                     {"priority", "", true},
                     {"samples above the upper bound", "", true}};
    for (const std::string& name : ddrNameList) {
        const auto master = ddr.masters.find(name);
        if (master == ddr.masters.end()) {
            continue;
        }
        std::vector<Cell> row = {TextCellOf(name, master->second.source)};
        row.insert(row.end(), master->second.cells.begin(), master->second.cells.end());
        Cell count = OverCell(ddr, name, master->second, few);
        if (const auto first = ddr.firstOver.find(name); first != ddr.firstOver.end()) {
            context.findings.push_back(
                {TextCellOf("DDR " + name + ": samples above its upper bound, the first one",
                            master->second.source),
                 count, "samples", first->second});
        }
        row.push_back(std::move(count));
        AddRow(table, std::move(row));
    }
    few.TellIn(table.head);
    blocks.emplace_back(std::move(table));
}

}  // namespace

std::vector<Block> DdrBlocks(FamilyContext& context) {
    DdrRun ddr;
    std::vector<Block> analysis;
    ReadSettings(context, ddr);
    AddAnalysis(context, ddr, analysis);
    std::vector<Block> blocks;
    const std::vector<RunFile> samples = context.run.Find(ddr_files::kBandwidth);
    ddr.sampleFiles = samples.size();
    for (const RunFile& file : samples) {
        AddCharts(context, file, samples, ddr, blocks);
    }
    for (Block& block : analysis) {
        FinishAnalysis(context, ddr, std::get<TableBlock>(block));
    }
    blocks.insert(blocks.end(), std::make_move_iterator(analysis.begin()),
                  std::make_move_iterator(analysis.end()));
    AddBounds(context, ddr, blocks);
    return blocks;
}

}  // namespace zarn::report
