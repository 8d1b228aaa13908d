#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <utility>

#include "formats/hot_fun.h"
#include "formats/run_tree.h"
#include "foundation/text.h"
#include "report/families/families.h"
#include "report/page_room.h"
#include "report/samples.h"
#include "report/stacks.h"

namespace zarn::report {
namespace {

constexpr std::array<const char*, 4> kColumns = {"percentage", "command", "shared_object",
                                                 "symbol"};

// How many samples the recordings hold, by what they are about.
using Recorded = std::map<std::string, SampleCount>;

[[nodiscard]] SampleCount SamplesOf(const Recorded& recorded, const std::string& tag) {
    const auto found = recorded.find(tag);
    return found == recorded.end() ? std::nullopt : found->second;
}

// A report, and how many samples it is of.
struct Report {
    std::string title;
    SampleCount samples;
};

// Rows of a report.
void AddRows(const Report& report, const JsonValue& rows, const Source& source,
             FamilyContext& context, std::vector<Block>& blocks) {
    if (!HasRoom(context, blocks)) {
        return;
    }
    const std::string& title = report.title;
    FewSamples few;
    TableBlock table;
    table.head = {title, "Share of the samples in which the function ran or had called what ran.",
                  source};
    table.columns = {
        {"share", "%", true}, {"command", "", false}, {"in", "", false}, {"function", "", false}};
    for (const JsonValue* row : ElementsOf(&rows)) {
        const auto share = TextOf(MemberOf(row, kColumns[0]));
        Cell cell = share ? NumberCellOf(*share, source, "%") : EmptyCell(Reason::NotInFile);
        few.Mark(report.samples, cell);
        AddRow(table, {std::move(cell), TextCell(MemberOf(row, kColumns[1]), source),
                       TextCell(MemberOf(row, kColumns[2]), source),
                       TextCell(MemberOf(row, kColumns[3]), source)});
    }
    few.TellIn(table.head);
    if (!table.rows.empty()) {
        const std::vector<Cell>& first = table.rows.front();
        const auto* symbol = std::get_if<std::string>(&first[3].value);
        context.findings.push_back(
            {TextCellOf(title + ": most in " + (symbol == nullptr ? "?" : *symbol), source),
             first[0], "%", EmptyCell(Reason::NotInFile)});
    }
    blocks.emplace_back(std::move(table));
}

// The shares of the names in each function set.
void AddSets(const JsonValue& sets, const SampleCount& samples, const Source& source,
             FamilyContext& context, std::vector<Block>& blocks) {
    for (const auto& set : sets.GetObject()) {
        FewSamples few;
        BarsBlock bars;
        bars.head = {"Function set " + ShortText(*TextOf(&set.name)),
                     "Percent of the cycles of all samples.", source};
        bars.unit = "%";
        bars.names = {"share"};
        if (!set.value.IsObject() || !HasRoom(context, blocks)) {
            continue;
        }
        for (const auto& name : set.value.GetObject()) {
            if (bars.rows.size() < kMostRows) {
                Cell share = NumberCellOf(TextOf(&name.value).value_or(""), source, "%");
                few.Mark(samples, share);
                bars.rows.push_back({ShortText(*TextOf(&name.name)), {std::move(share)}});
            }
        }
        few.TellIn(bars.head);
        blocks.emplace_back(std::move(bars));
    }
}

// What a recording is about, of its name behind the prefix: without the time, and of a process
// without the pid, which another version's has not.
[[nodiscard]] std::string TagOf(std::string name) {
    const std::string process = hot_fun_files::ProcessTag("");
    for (int ends = StartsWith(name, process) ? 2 : 1; ends > 0; --ends) {
        name.resize(std::min(name.rfind('_'), name.size()));
    }
    return name;
}

// What a document of the system or of a core is about.
[[nodiscard]] std::string TagOfDocument(const std::string& job, const RunFile& file) {
    const std::string begin = hot_fun_files::ObjectId(job) + "_core";
    const std::string name = file.name.substr(file.name.rfind('/') + 1);
    return job == hot_fun_files::kCore && name.rfind(begin, 0) == 0
               ? hot_fun_files::CoreTag(
                     name.substr(begin.size(), name.find('_', begin.size()) - begin.size()))
               : job;
}

void AddDocument(FamilyContext& context, const std::string& job, const RunFile& file,
                 const Recorded& recorded, std::vector<Block>& blocks) {
    ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
        const JsonValue* content = MemberOf(&document, "content");
        const Source source = context.At(file, line);
        if (content != nullptr && content->IsArray()) {
            AddRows({"Functions, " + file.name.substr(file.name.find('/') + 1),
                     SamplesOf(recorded, TagOfDocument(job, file))},
                    *content, source, context, blocks);
        } else if (content != nullptr && content->IsObject() &&
                   job == hot_fun_files::kFunctionSet) {
            AddSets(*content, SamplesOf(recorded, job), source, context, blocks);
        } else if (content != nullptr && content->IsObject()) {
            for (const auto& process : content->GetObject()) {
                const std::string name(*TextOf(&process.name));
                AddRows({"Functions of " + ShortText(name),
                         SamplesOf(recorded, hot_fun_files::ProcessTag(name))},
                        process.value, source, context, blocks);
            }
        } else {
            context.files.Trouble(file.index,
                                  "line " + std::to_string(line) + " holds no functions");
        }
    });
}

void AddDocuments(FamilyContext& context, const Recorded& recorded, std::vector<Block>& blocks) {
    using namespace hot_fun_files;
    for (const char* job : {kGlobal, kCore, kProcess, kFunctionSet}) {
        for (const RunFile& file :
             context.run.Find(run_tree::kJsonDir, ObjectId(job), std::string(".") + kDataSuffix)) {
            AddDocument(context, job, file, recorded, blocks);
        }
    }
}

}  // namespace

std::vector<Block> HotFunctionBlocks(FamilyContext& context) {
    std::vector<Block> flames;
    Recorded recorded;
    for (const RunFile& file : context.run.Find(hot_fun_files::kRawDir, hot_fun_files::kRawPrefix,
                                                hot_fun_files::kScriptSuffix)) {
        if (!HasRoom(context, flames)) {
            continue;
        }
        const std::string begin = std::string(hot_fun_files::kRawDir) + hot_fun_files::kRawPrefix;
        const std::string tag = TagOf(file.name.substr(begin.size()));
        StackCounts counts;
        std::vector<std::string_view> stack;
        ReadPerfScript(context, file, [&](const PerfSample& sample) {
            stack.assign(1, sample.command);
            stack.insert(stack.end(), sample.functions.begin(), sample.functions.end());
            counts.Add(stack);
        });
        // Of two recordings it is not told which one a document is of.
        const bool isFirst = recorded.emplace(tag, counts.Samples()).second;
        if (!isFirst) {
            recorded[tag].reset();
        }
        if (counts.Samples() > 0) {
            flames.emplace_back(FlameOf(counts, "Stacks of " + tag, {file.index, 0}));
        }
    }
    std::vector<Block> blocks;
    AddDocuments(context, recorded, blocks);
    std::move(flames.begin(), flames.end(), std::back_inserter(blocks));
    return blocks;
}

}  // namespace zarn::report
