#include <algorithm>
#include <functional>
#include <map>
#include <utility>

#include "formats/mem.h"
#include "report/families/families.h"
#include "report/statistics.h"

namespace zarn::report {
namespace {

constexpr StatisticsNames kNames = {"meanMemValue", "maxMemValue", "minMemValue",
                                    "peak",         "trought",     {"memValue", "timeStamp"}};
constexpr const char* kUnit = "KB";

// Processes that are drawn, those of the greatest values.
constexpr std::size_t kMostProcesses = 30;

// A process of the analysis or of the samples.
using ProcessId = std::pair<std::string, std::string>;  // command, pid

[[nodiscard]] std::string NameOf(const ProcessId& process) {
    return process.first + " (" + process.second + ")";
}

// The analyzer's figures of the system, and its peaks. The document does not say of which field
// they are; the configuration does.
void AddSystemAnalysis(FamilyContext& context, std::vector<Mark>& marks,
                       std::vector<Block>& blocks) {
    const std::string field = context.SettingOf("MemAnalyzer.system_field");
    const auto* column = std::find(kMemSystemColumns.begin(), kMemSystemColumns.end(), field);
    const auto index = column == kMemSystemColumns.end()
                           ? std::nullopt
                           : std::optional<std::size_t>(column - kMemSystemColumns.begin());
    AddLastDocuments(
        context, context.run.Find(mem_files::kSystemAnalysis), "",
        [&](const JsonValue& content, const Source& source, std::vector<Block>& own) {
            TableBlock table =
                StatisticsTable({"Memory of the system, as analysed", "", source}, "field", kUnit);
            marks.clear();
            for (const JsonValue* one : ElementsOf(&content)) {
                const FoundAt at{one, source};
                AddStatistics(field.empty() ? "(the configuration does not tell)" : field, at,
                              kNames, table);
                AddPeaksAndTroughs(at, kNames, index, marks);
                TellExtremes("Memory of the system " + field, at, kNames, kUnit, context.findings);
            }
            own.emplace_back(std::move(table));
        },
        blocks);
}

constexpr std::size_t kMean = 1;  // column of the analyzer's figures

// Marks the figures of all rows that rest on too few samples.
void MarkMeans(const std::function<SampleCount(const std::string& subject)>& samples,
               TableBlock& table) {
    FewSamples few;
    for (std::vector<Cell>& row : table.rows) {
        MarkMean(samples(std::get<std::string>(row[0].value)), kMean, row, few);
    }
    few.TellIn(table.head);
}

void AddSystem(FamilyContext& context, std::vector<Block>& blocks) {
    std::uint64_t samples = 0;  // of all files, which the analyzer takes as one
    std::vector<Mark> marks;
    std::vector<Block> analysis;
    AddSystemAnalysis(context, marks, analysis);
    const std::vector<RunFile> files = context.run.Find(mem_files::kSystemSamples);
    for (const RunFile& file : files) {
        SeriesMaker maker({kMemSystemColumns.begin(), kMemSystemColumns.end()}, false);
        for (const Mark& mark : marks) {
            maker.Add(mark);
        }
        ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
            const auto moment = MomentOf(MemberOf(&document, "happenTime"));
            const JsonValue* memory =
                MemberOf(FirstOf(MemberOf(&document, "content")), kMemSystemMember);
            if (!moment || memory == nullptr) {
                maker.PassOver();
                return;
            }
            ++samples;
            std::vector<std::optional<double>> values;
            values.reserve(kMemSystemColumns.size());
            for (const char* column : kMemSystemColumns) {
                values.push_back(NumberOf(MemberOf(memory, column)));
            }
            maker.Add(*moment, values, line);
        });
        if (maker.HasSamples()) {
            blocks.emplace_back(maker.Make(
                context, file,
                {TitleOf("Memory of the system", files, file),
                 "total, used and free include swap; pss adds all lines with Pss, so that newer "
                 "kernels count some memory twice.",
                 std::nullopt},
                kUnit));
        }
    }
    for (Block& block : analysis) {
        MarkMeans([&](const std::string&) { return samples == 0 ? SampleCount() : samples; },
                  std::get<TableBlock>(block));
    }
    std::move(analysis.begin(), analysis.end(), std::back_inserter(blocks));
}

// What the samples of processes hold of one field.
class ProcessField {
public:
    explicit ProcessField(std::string name) : name_(std::move(name)) {}

    [[nodiscard]] const std::string& Name() const { return name_; }

    void Take(const JsonValue& process, const ProcessId& id, Moment moment, std::uint64_t line) {
        const auto text = TextOf(MemberOf(&process, name_));
        const Cell cell = NumberCellOf(WithoutMemUnit(text.value_or("")), {});
        const auto* value = std::get_if<double>(&cell.value);
        auto known = processes_.find(id);
        if (known == processes_.end()) {
            if (processes_.size() >= kMostColumns) {
                ++left_;
                return;
            }
            known = processes_.emplace(id, Samples{Thinner(1, kSamplesOfProcess), 0.0}).first;
        }
        Samples& samples = known->second;
        samples.thinner.Add(moment, value == nullptr ? std::nullopt : std::optional(*value), line);
        samples.greatest = std::max(samples.greatest, value == nullptr ? 0.0 : *value);
    }

    // The chart of the processes that need most; none where nobody has anything of it.
    [[nodiscard]] std::optional<SeriesBlock> Make(FamilyContext& context, const RunFile& file,
                                                  const std::string& title) {
        std::vector<std::pair<double, const ProcessId*>> order;
        for (const auto& [id, samples] : processes_) {
            if (samples.greatest > 0.0) {
                order.emplace_back(-samples.greatest, &id);
            }
        }
        if (order.empty()) {
            return std::nullopt;
        }
        std::sort(order.begin(), order.end());
        SeriesBlock block;
        block.head.title = title;
        block.unit = kUnit;
        if (order.size() > kMostProcesses || left_ > 0) {
            block.head.note = "Of " + std::to_string(order.size()) + " processes those of the " +
                              std::to_string(std::min(order.size(), kMostProcesses)) +
                              " greatest values.";
            order.resize(std::min(order.size(), kMostProcesses));
        }
        std::uint64_t measured = 0;
        std::uint64_t kept = 0;
        for (const auto& [value, id] : order) {
            Thinner& thinner = processes_.at(*id).thinner;
            block.series.push_back(LineOf(thinner, 0, NameOf(*id)));
            FinishLine(context, file, block.series.back());
            measured += thinner.Taken();
            kept += block.series.back().values.size();
        }
        block.total = measured > kept ? measured : 0;
        return block;
    }

private:
    static constexpr std::size_t kSamplesOfProcess = 400;

    struct Samples {
        Thinner thinner;
        double greatest;
    };

    std::string name_;
    std::map<ProcessId, Samples> processes_;
    std::uint64_t left_ = 0;  // rows of processes beyond those that are kept
};

// How many samples there are of each process, by its name in the page.
using ProcessSamples = std::map<std::string, std::uint64_t>;

void CountSample(const std::string& process, ProcessSamples& samples) {
    constexpr std::size_t kMostCounted = 4096;
    if (samples.size() < kMostCounted || samples.count(process) != 0) {
        ++samples[process];
    }
}

[[nodiscard]] ProcessSamples AddProcessCharts(FamilyContext& context, std::vector<Block>& blocks) {
    ProcessSamples samples;
    std::vector<std::string> fields = {"RSS", "USS", kMemSharePoolColumn};
    const std::string chosen = context.SettingOf("MemAnalyzer.process_field");
    if (!chosen.empty() && std::count(fields.begin(), fields.end(), chosen) == 0) {
        fields.push_back(chosen);
    }
    const std::vector<RunFile> files = context.run.Find(mem_files::kProcessSamples);
    for (const RunFile& file : files) {
        std::vector<ProcessField> makers(fields.begin(), fields.end());
        ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
            const auto moment = MomentOf(MemberOf(&document, "happenTime"));
            const JsonValue* rows =
                MemberOf(FirstOf(MemberOf(&document, "content")), kMemProcessMember);
            if (!moment || rows == nullptr) {
                context.files.Trouble(file.index, "line " + std::to_string(line) + " is no sample");
                return;
            }
            for (const JsonValue* row : ElementsOf(rows)) {
                const ProcessId id{
                    ShortText(TextOf(MemberOf(row, kMemCommandColumn)).value_or("?")),
                    ShortText(TextOf(MemberOf(row, kMemPidColumn)).value_or("?"))};
                CountSample(NameOf(id), samples);
                for (ProcessField& maker : makers) {
                    maker.Take(*row, id, *moment, line);
                }
            }
        });
        for (ProcessField& maker : makers) {
            const std::string title = maker.Name() == kMemSharePoolColumn
                                          ? "Share pool of the processes"
                                          : maker.Name() + " of the processes";
            if (auto chart = maker.Make(context, file, TitleOf(title, files, file))) {
                blocks.emplace_back(std::move(*chart));
            }
        }
    }
    return samples;
}

// The analyzer's figures of the processes. Where a process has a trough and a later peak its memory
// grew.
void AddProcessAnalysis(FamilyContext& context, const ProcessSamples& samples,
                        std::vector<Block>& blocks) {
    const std::string field = context.SettingOf("MemAnalyzer.process_field");
    AddLastDocuments(
        context, context.run.Find(mem_files::kProcessAnalysis), "",
        [&](const JsonValue& content, const Source& source, std::vector<Block>& own) {
            TableBlock table = StatisticsTable(
                {"Memory of the processes, as analysed" + (field.empty() ? "" : ": " + field), "",
                 source},
                "process", kUnit);
            for (const JsonValue* one : ElementsOf(&content)) {
                const ProcessId id{ShortText(TextOf(MemberOf(one, "command")).value_or("?")),
                                   ShortText(TextOf(MemberOf(one, kMemPidColumn)).value_or("?"))};
                const FoundAt at{one, source};
                AddStatistics(NameOf(id), at, kNames, table);
                TellExtremes("Memory of " + NameOf(id) + " " + field, at, kNames, kUnit,
                             context.findings);
            }
            MarkMeans(
                [&samples](const std::string& process) {
                    const auto found = samples.find(process);
                    return found == samples.end() ? SampleCount() : found->second;
                },
                table);
            own.emplace_back(std::move(table));
        },
        blocks);
}

}  // namespace

std::vector<Block> MemoryBlocks(FamilyContext& context) {
    std::vector<Block> blocks;
    AddSystem(context, blocks);
    const ProcessSamples samples = AddProcessCharts(context, blocks);
    AddProcessAnalysis(context, samples, blocks);
    return blocks;
}

}  // namespace zarn::report
