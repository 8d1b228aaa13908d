#include "formats/aicpu.h"

#include <map>
#include <utility>

#include "foundation/text.h"
#include "report/families/families.h"
#include "report/series.h"

namespace zarn::report {
namespace {

using Passes = std::vector<Moment>;

[[nodiscard]] bool IsTime(std::string_view name) {
    return name.find("_time") != std::string_view::npos;
}

[[nodiscard]] std::string_view NameOf(const JsonValue& name) {
    return TextOf(&name).value_or("");
}

// The moments of passes; none, if one of them is no moment.
[[nodiscard]] Passes PassesIn(const JsonValue* times) {
    Passes passes;
    for (const JsonValue* time : ElementsOf(times)) {
        const auto moment = MomentOf(time);
        if (!moment) {
            return {};
        }
        passes.push_back(*moment);
    }
    return passes;
}

// The record's processes, by their names, with their passes.
[[nodiscard]] std::map<std::string, Passes> RecordedPasses(FamilyContext& context) {
    std::map<std::string, Passes> passes;
    for (const RunFile& file : context.run.Find(aicpu_files::kRecord)) {
        ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t /*line*/) {
            for (const JsonValue* process :
                 ElementsOf(MemberOf(&document, {"content", "process_info"}))) {
                passes[ShortText(TextOf(MemberOf(process, "name")).value_or("?"))] =
                    PassesIn(MemberOf(process, "collect_time"));
            }
        });
    }
    return passes;
}

// Where a document stands, and what it is about.
struct Place {
    const RunFile& file;
    std::uint64_t line;
    std::string subject;
};

// The chart of the members that are lists of as many texts as there are passes: the times, or the
// counts.
void AddChart(FamilyContext& context, const JsonValue& content, const Place& place,
              const Passes& passes, bool times, std::vector<Block>& blocks) {
    std::vector<std::string> names;
    std::vector<std::vector<const JsonValue*>> lists;
    for (const auto& member : content.GetObject()) {
        const std::string_view name = NameOf(member.name);
        const JsonValue* first = FirstOf(&member.value);
        if (first != nullptr && first->IsString() && name != "collect_time" &&
            IsTime(name) == times && member.value.Size() == passes.size() &&
            names.size() < kMostColumns) {
            names.push_back(ShortText(name));
            lists.push_back(ElementsOf(&member.value));
        }
    }
    SeriesMaker maker(names, false);
    for (std::size_t i = 0; i < passes.size() && !names.empty(); ++i) {
        std::vector<std::optional<double>> values;
        values.reserve(lists.size());
        for (const auto& list : lists) {
            values.push_back(NumberOf(list[i]));
        }
        maker.Add(passes[i], values, place.line);
    }
    if (maker.HasSamples()) {
        blocks.emplace_back(maker.Make(
            context, place.file,
            {place.subject + (times ? ": times of events" : ": events since the driver was loaded"),
             "", std::nullopt},
            times ? "us" : "events"));
    }
}

// The lists of objects as tables, and the rest that is one value each as another.
void AddTables(FamilyContext& context, const JsonValue& content, const Place& place,
               std::vector<Block>& blocks) {
    const Source source = context.At(place.file, place.line);
    TableBlock values;
    values.head = {place.subject + ": values", "", source};
    values.columns = {{"what", "", false}, {"value", "", true}};
    for (const auto& member : content.GetObject()) {
        const std::string name = ShortText(NameOf(member.name));
        const JsonValue* first = FirstOf(&member.value);
        if (first != nullptr && first->IsObject()) {
            blocks.emplace_back(
                TableOfObjects({place.subject + ": " + name, "", source}, member.value, source));
        } else if (!member.value.IsArray() && !member.value.IsObject()) {
            AddRow(values, {TextCellOf(name, source), FigureCell(&member.value, source)});
        }
    }
    if (!values.rows.empty()) {
        blocks.emplace_back(std::move(values));
    }
}

// Threads over a threshold: the first of each list is for the first page.
void TellRankings(FamilyContext& context, const JsonValue& content, const Place& place) {
    constexpr std::string_view kRanking = "topN_abnormal_";
    const Source source = context.At(place.file, place.line);
    for (const auto& member : content.GetObject()) {
        const std::string_view name = NameOf(member.name);
        const JsonValue* first = FirstOf(&member.value);
        if (StartsWith(name, kRanking) && first != nullptr) {
            const auto thread = TextOf(MemberOf(first, "pid:thread_name"));
            context.findings.push_back({TextCellOf("AI CPUs, most abnormal events (" +
                                                       std::string(name.substr(kRanking.size())) +
                                                       "): " + std::string(thread.value_or("?")),
                                                   source),
                                        NumberCell(MemberOf(first, "times"), source), "events",
                                        EmptyCell(Reason::NotInFile)});
        }
    }
}

// How many events of a process were over each threshold.
void AddAbnormal(FamilyContext& context, const JsonValue& content, const Place& place,
                 std::vector<Block>& blocks) {
    const JsonValue* lists = MemberOf(&content, "soc_proc_info");
    if (lists == nullptr || !lists->IsObject()) {
        return;
    }
    const Source source = context.At(place.file, place.line);
    TableBlock table;
    table.head = {place.subject + ": events over their thresholds", "", source};
    table.columns = {{"list", "", false}, {"events", "", true}, {"threshold", "us", true}};
    for (const auto& list : lists->GetObject()) {
        const std::string name(NameOf(list.name));
        const Cell events = NumberCell(MemberOf(&list.value, "num"), source);
        const auto* count = std::get_if<double>(&events.value);
        if (count != nullptr && *count > 0.0) {
            context.findings.push_back(
                {TextCellOf("AI CPUs, " + place.subject + ": events over the threshold of " + name,
                            source),
                 events, "events", EmptyCell(Reason::NotInFile)});
        }
        AddRow(table, {TextCellOf(name, source), events,
                       NumberCell(MemberOf(&content, name + "_threshold"), source)});
    }
    blocks.emplace_back(std::move(table));
}

}  // namespace

std::vector<Block> AicpuBlocks(FamilyContext& context) {
    const std::map<std::string, Passes> recorded = RecordedPasses(context);
    // The names of all its documents begin as that of the complex does, up to what it is about.
    const std::string complex = aicpu_files::kSocAnalysis.prefix;
    const std::string prefix = complex.substr(0, complex.rfind("soc_"));
    std::vector<Block> blocks;
    for (const RunFile& file :
         context.run.Find(run_tree::kJsonDir, prefix, std::string(".") + kDataSuffix)) {
        AddLastDocuments(
            context, {file}, "",
            [&](const JsonValue& content, const Source& source, std::vector<Block>& own) {
                if (!content.IsObject()) {
                    return;
                }
                const auto name = TextOf(MemberOf(&content, "name"));
                const Place place{file, source.line,
                                  name ? "Process " + ShortText(*name) : "The complex"};
                Passes passes = PassesIn(MemberOf(&content, "collect_time"));
                const auto known = recorded.find(ShortText(name.value_or("")));
                if (name && known != recorded.end()) {
                    passes = known->second;
                }
                AddChart(context, content, place, passes, false, own);
                AddChart(context, content, place, passes, true, own);
                AddTables(context, content, place, own);
                AddAbnormal(context, content, place, own);
                TellRankings(context, content, place);
            },
            blocks);
    }
    return blocks;
}

}  // namespace zarn::report
