#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "formats/hot_fun.h"
#include "formats/run_tree.h"
#include "report/families/families.h"
#include "report/stacks.h"

namespace zarn::report {
namespace {

constexpr std::array<const char*, 4> kColumns = {"percentage", "command", "shared_object",
                                                 "symbol"};

// Rows of a report.
void AddRows(const std::string& title, const JsonValue& rows, const Source& source,
             FamilyContext& context, std::vector<Block>& blocks) {
    TableBlock table;
    table.head = {title, "Share of the samples in which the function ran or had called what ran.",
                  source};
    table.columns = {
        {"share", "%", true}, {"command", "", false}, {"in", "", false}, {"function", "", false}};
    for (const JsonValue* row : ElementsOf(&rows)) {
        const auto share = TextOf(MemberOf(row, kColumns[0]));
        AddRow(table, {share ? NumberCellOf(*share, source, "%") : EmptyCell(Reason::NotInFile),
                       TextCell(MemberOf(row, kColumns[1]), source),
                       TextCell(MemberOf(row, kColumns[2]), source),
                       TextCell(MemberOf(row, kColumns[3]), source)});
    }
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
void AddSets(const JsonValue& sets, const Source& source, std::vector<Block>& blocks) {
    for (const auto& set : sets.GetObject()) {
        BarsBlock bars;
        bars.head = {"Function set " + ShortText(*TextOf(&set.name)),
                     "Percent of the cycles of all samples.", source};
        bars.unit = "%";
        bars.names = {"share"};
        if (!set.value.IsObject()) {
            continue;
        }
        for (const auto& name : set.value.GetObject()) {
            if (bars.rows.size() < kMostRows) {
                bars.rows.push_back(
                    {ShortText(*TextOf(&name.name)),
                     {NumberCellOf(TextOf(&name.value).value_or(""), source, "%")}});
            }
        }
        blocks.emplace_back(std::move(bars));
    }
}

void AddDocuments(FamilyContext& context, std::vector<Block>& blocks) {
    using namespace hot_fun_files;
    for (const char* job : {kGlobal, kCore, kProcess, kFunctionSet}) {
        for (const RunFile& file :
             context.run.Find(run_tree::kJsonDir, ObjectId(job), std::string(".") + kDataSuffix)) {
            ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
                const JsonValue* content = MemberOf(&document, "content");
                const Source source = context.At(file, line);
                if (content != nullptr && content->IsArray()) {
                    AddRows("Functions, " + file.name.substr(file.name.find('/') + 1), *content,
                            source, context, blocks);
                } else if (content != nullptr && content->IsObject() && job == kFunctionSet) {
                    AddSets(*content, source, blocks);
                } else if (content != nullptr && content->IsObject()) {
                    for (const auto& process : content->GetObject()) {
                        AddRows("Functions of " + ShortText(*TextOf(&process.name)), process.value,
                                source, context, blocks);
                    }
                } else {
                    context.files.Trouble(file.index,
                                          "line " + std::to_string(line) + " holds no functions");
                }
            });
        }
    }
}

// What a recording is about, of its name behind the prefix: without the time, and of a process
// without the pid, which another version's has not.
[[nodiscard]] std::string TagOf(std::string name) {
    const std::string process = hot_fun_files::ProcessTag("");
    for (int ends = name.rfind(process, 0) == 0 ? 2 : 1; ends > 0; --ends) {
        name.resize(std::min(name.rfind('_'), name.size()));
    }
    return name;
}

}  // namespace

std::vector<Block> HotFunctionBlocks(FamilyContext& context) {
    std::vector<Block> blocks;
    AddDocuments(context, blocks);
    for (const RunFile& file : context.run.Find(hot_fun_files::kRawDir, hot_fun_files::kRawPrefix,
                                                hot_fun_files::kScriptSuffix)) {
        const std::string begin = std::string(hot_fun_files::kRawDir) + hot_fun_files::kRawPrefix;
        const std::string tag = TagOf(file.name.substr(begin.size()));
        StackCounts counts;
        std::vector<std::string_view> stack;
        ReadPerfScript(context, file, [&](const PerfSample& sample) {
            stack.assign(1, sample.command);
            stack.insert(stack.end(), sample.functions.begin(), sample.functions.end());
            counts.Add(stack);
        });
        if (counts.Samples() > 0) {
            blocks.emplace_back(FlameOf(counts, "Stacks of " + tag, {file.index, 0}));
        }
    }
    return blocks;
}

}  // namespace zarn::report
